#include "commands/DemoCommand.h"

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <system_error>

#include "cli/CloudChecks.h"
#include "cli/ProgressBar.h"
#include "cli/Reports.h"
#include "formats/FileError.h"
#include "formats/MeshWriter.h"
#include "formats/SceneConversion.h"
#include "oxPointSetQuery.h"
#include "oxSurfaceReconstruction.h"

// The build passes the bundled cloud's path in the source tree; a build without it needs --input.
#ifndef OXMESH_DEMO_CLOUD
#define OXMESH_DEMO_CLOUD ""
#endif

namespace oxmesh {
namespace {

namespace fs = std::filesystem;

double secondsSince(std::chrono::steady_clock::time_point start)
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

}  // namespace

std::string DemoCommand::bundledCloud()
{
    return OXMESH_DEMO_CLOUD;
}

DemoCommand::DemoCommand(CLI::App& app, const GlobalOptions& global)
    : Command(app, global, "demo", "Reconstruct a bundled point cloud with both surfaces")
{
    m_input = bundledCloud();
    m_subcommand->add_option("--output-dir", m_outputDir,
                             "Folder for the two meshes (default ./oxmesh-demo-output)");
    m_subcommand->add_option("--input", m_input, "Oriented cloud to use instead of the bundled one");
    m_subcommand
        ->add_option("--depth", m_depth, "Grid of 2^N cells along the longest side, 1 to 10 (default 7)")
        ->check(CLI::Range(1u, 10u));
}

int DemoCommand::run()
{
    namespace pp = ox::oxPointSetProcessing;
    if (m_input.empty())
        throw FileError("demo", "this build does not know where its bundled cloud is; pass --input FILE");
    std::error_code error;
    fs::create_directories(m_outputDir, error);
    if (error || !fs::is_directory(m_outputDir))
        throw FileError(m_outputDir,
                        "cannot create the output folder: " +
                            (error ? error.message() : std::string("a file of that name exists")));

    auto start = std::chrono::steady_clock::now();
    const MeshData input = readInput();
    const ox::oxPointer<ox::oxVertexBuffer> cloud(toVertexBuffer(input));
    checkOrientedCloud(m_input, *cloud, input.hasNormals());
    const double readSeconds = secondsSince(start);
    start = std::chrono::steady_clock::now();
    const std::unique_ptr<ox::oxPointSetQuery> query = pp::BuildReconstructionQuery(*cloud);
    const double querySeconds = secondsSince(start);
    if (!m_global.quiet)
        std::printf("%s: %zu points; read %s, query %s; meshing at depth %u\n", m_input.c_str(),
                    input.vertexCount(), formatSeconds(readSeconds).c_str(),
                    formatSeconds(querySeconds).c_str(), m_depth);

    const std::string stem = fs::path(m_input).stem().string();
    for (const pp::tSurfaceKind kind : {pp::tSurfaceKind::Apss, pp::tSurfaceKind::Rimls}) {
        const std::string output =
            (fs::path(m_outputDir) / (stem + "-" + surfaceName(kind) + ".ply")).string();
        pp::tReconstructionOptions options;
        options.surface = kind;
        options.depth = m_depth;
        pp::tReconstructionReport report;
        ox::oxPointer<ox::oxTriMesh> mesh;
        {
            ProgressBar bar(std::string("meshing (") + surfaceName(kind) + ")", progressMode());
            mesh = pp::ReconstructSurface(*query, options, &bar, &report);
        }
        start = std::chrono::steady_clock::now();
        writeMesh(output, fromTriMesh(*mesh));
        const double writeSeconds = secondsSince(start);
        if (m_global.quiet)
            continue;
        std::printf("%s: %s; %s, write %s\n", surfaceName(kind), describeMesh(*mesh).c_str(),
                    describeStages(report).c_str(), formatSeconds(writeSeconds).c_str());
        const std::string repair = describeRepair(report.repair);
        if (!repair.empty())
            std::printf("  %s\n", repair.c_str());
        std::printf("  -> %s\n", output.c_str());
    }
    return std::fflush(stdout) == 0 ? 0 : 1;
}

}  // namespace oxmesh
