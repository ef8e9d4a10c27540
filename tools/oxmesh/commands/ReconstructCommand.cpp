#include "commands/ReconstructCommand.h"

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <iostream>

#include "cli/CloudChecks.h"
#include "cli/ProgressBar.h"
#include "cli/Reports.h"
#include "formats/AtomicFile.h"
#include "formats/FileError.h"
#include "formats/MeshWriter.h"
#include "formats/SceneConversion.h"
#include "oxMeshLibInit.h"
#include "oxPointSetProcessing.h"
#include "oxSurfaceReconstruction.h"

namespace oxmesh {
namespace {

double secondsSince(std::chrono::steady_clock::time_point start)
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

}  // namespace

ReconstructCommand::ReconstructCommand(CLI::App& app, const GlobalOptions& global)
    : Command(app, global, "reconstruct", "Mesh the surface of an oriented point cloud")
{
    m_subcommand
        ->add_option("IN", m_input, "Point cloud with normals (any supported format; faces are ignored)")
        ->required();
    m_subcommand->add_option("-o,--output", m_output, "Mesh to write (.ply, .obj or .xyz)")->required();
    m_subcommand
        ->add_option("--surface", m_surfaceText,
                     "apss: algebraic spheres, smooth (default); rimls: robust planes, keeps sharp edges")
        ->check(CLI::IsMember({"apss", "rimls"}));
    m_subcommand
        ->add_option("--depth", m_depth, "Grid of 2^N cells along the longest side, 1 to 10 (default 7)")
        ->check(CLI::Range(1u, 10u));
    m_subcommand->add_flag("--estimate-normals", m_estimateNormals,
                           "Estimate and orient normals first (replaces normals the file has)");
    m_subcommand->add_flag("--raw", m_raw,
                           "Write the mesher's output as it is, without splitting pinched vertices, dropping "
                           "stray pieces and closing small holes");
    m_subcommand->add_flag("-v,--verbose", m_verbose, "Also print the mesher's own progress lines");
}

int ReconstructCommand::run()
{
    namespace pp = ox::oxPointSetProcessing;
    pp::tReconstructionOptions options;
    options.surface = m_surfaceText == "rimls" ? pp::tSurfaceKind::Rimls : pp::tSurfaceKind::Apss;
    options.depth = m_depth;
    options.repair = !m_raw;
    checkOutputExtension(m_output);
    // An unwritable output fails now, not after the meshing.
    if (std::filesystem::is_directory(m_output))
        throw FileError(m_output, "cannot write: it is a folder");
    {
        AtomicFile probe(m_output);
    }

    auto start = std::chrono::steady_clock::now();
    const MeshData input = readInput();
    const double readSeconds = secondsSince(start);
    const ox::oxPointer<ox::oxVertexBuffer> cloud(toVertexBuffer(input, m_estimateNormals));

    std::size_t dropped = 0;
    double estimateSeconds = 0.0;
    if (m_estimateNormals) {
        if (cloud->GetVertexQuantity() < int(pp::kMinReconstructionPoints))
            checkOrientedCloud(m_input, *cloud, false);  // too few points
        start = std::chrono::steady_clock::now();
        ProgressBar bar("estimating normals", progressMode());
        pp::EstimateOrientedNormals(*cloud, 16, &bar);
        dropped = pp::RemovePointsWithoutNormal(*cloud);
        estimateSeconds = secondsSince(start);
    }
    checkOrientedCloud(m_input, *cloud, m_estimateNormals || input.hasNormals());

    pp::tReconstructionReport report;
    ox::oxPointer<ox::oxTriMesh> mesh;
    {
        ProgressBar bar(std::string("meshing (") + surfaceName(options.surface) + ")", progressMode());
        std::ostream* previous = ox::oxMeshLib::SetMessageStream(m_verbose ? &std::cout : nullptr);
        mesh = pp::ReconstructSurface(*cloud, options, &bar, &report);
        ox::oxMeshLib::SetMessageStream(previous);
    }
    if (!mesh || mesh->GetTriangleQuantity() == 0)
        throw FileError(m_input, "no surface found near the points (the potential has no sign change); "
                                 "check that the normals are consistently oriented");

    start = std::chrono::steady_clock::now();
    writeMesh(m_output, fromTriMesh(*mesh));
    const double writeSeconds = secondsSince(start);

    if (!m_global.quiet) {
        std::string times = "read " + formatSeconds(readSeconds);
        if (m_estimateNormals)
            times += ", estimated normals " + formatSeconds(estimateSeconds);
        times += ", query " + formatSeconds(report.querySeconds) + ", " + describeStages(report) +
                 ", write " + formatSeconds(writeSeconds);
        std::printf("%s: %s (%s, depth %u); %s\n", m_output.c_str(), describeMesh(*mesh).c_str(),
                    surfaceName(options.surface), m_depth, times.c_str());
        const std::string repair = describeRepair(report.repair);
        if (!repair.empty())
            std::printf("%s\n", repair.c_str());
        if (dropped)
            std::printf("warning: %zu points got no normal (their neighbours do not span a plane) and were "
                        "left out\n",
                        dropped);
    }
    return std::fflush(stdout) == 0 ? 0 : 1;
}

}  // namespace oxmesh
