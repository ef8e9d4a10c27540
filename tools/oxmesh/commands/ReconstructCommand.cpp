#include "commands/ReconstructCommand.h"

#include <chrono>
#include <cstdio>
#include <filesystem>

#include "commands/ProgressBar.h"
#include "io/AtomicFile.h"
#include "io/InputError.h"
#include "io/MeshReader.h"
#include "io/MeshWriter.h"

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
    subcommand_
        ->add_option("IN", input_, "Point cloud with normals (any supported format; faces are ignored)")
        ->required();
    subcommand_->add_option("-o,--output", output_, "Mesh to write (.ply, .obj or .xyz)")->required();
    subcommand_
        ->add_option("--surface", surfaceText_,
                     "apss: algebraic spheres, smooth (default); rimls: robust planes, keeps sharp edges")
        ->check(CLI::IsMember({"apss", "rimls"}));
    subcommand_
        ->add_option("--depth", depth_, "Grid of 2^N cells along the longest side, 1 to 10 (default 7)")
        ->check(CLI::Range(1u, 10u));
    subcommand_->add_flag("--estimate-normals", estimateNormals_,
                          "Estimate and orient normals first (replaces normals the file has)");
    subcommand_->add_flag("--raw", raw_,
                          "Write the mesher's output as it is, without splitting pinched vertices, dropping "
                          "stray pieces and closing small holes");
    subcommand_->add_flag("-v,--verbose", verbose_, "Also print the mesher's own progress lines");
}

int ReconstructCommand::run()
{
    const SurfaceKind surface = surfaceText_ == "rimls" ? SurfaceKind::Rimls : SurfaceKind::Apss;
    checkOutputExtension(output_);
    // An unwritable output fails now, not after the meshing.
    if (std::filesystem::is_directory(output_))
        throw InputError(output_, "cannot write: it is a folder");
    {
        AtomicFile probe(output_);
    }
    const auto mode = global_.quiet ? ProgressBar::Mode::Never : ProgressBar::Mode::Auto;

    auto start = std::chrono::steady_clock::now();
    MeshData cloud;
    {
        ProgressBar bar("reading " + input_, mode);
        cloud = readMesh(input_, bar.function());
    }
    const double readSeconds = secondsSince(start);

    std::size_t dropped = 0;
    double estimateSeconds = 0.0;
    if (estimateNormals_) {
        if (cloud.vertexCount() < kMinReconstructionPoints)
            checkOrientedCloud(input_, cloud);  // too few points
        start = std::chrono::steady_clock::now();
        ProgressBar bar("estimating normals", mode);
        dropped = estimateOrientedNormals(cloud, 16, &bar);
        estimateSeconds = secondsSince(start);
    }
    checkOrientedCloud(input_, cloud);

    start = std::chrono::steady_clock::now();
    const CloudQuery query(cloud);
    const double querySeconds = secondsSince(start);

    Reconstruction result;
    {
        ProgressBar bar(std::string("meshing (") + surfaceName(surface) + ")", mode);
        result = reconstructSurface(query, surface, depth_, &bar, verbose_ ? stdout : nullptr, !raw_);
    }
    if (result.mesh.triangleCount() == 0)
        throw InputError(input_, "no surface found near the points (the potential has no sign change); "
                                 "check that the normals are consistently oriented");

    start = std::chrono::steady_clock::now();
    writeMesh(output_, result.mesh);
    const double writeSeconds = secondsSince(start);

    if (!global_.quiet) {
        std::string times = "read " + formatSeconds(readSeconds);
        if (estimateNormals_)
            times += ", estimated normals " + formatSeconds(estimateSeconds);
        times += ", query " + formatSeconds(querySeconds) + ", " + describeStages(result) + ", write " +
                 formatSeconds(writeSeconds);
        std::printf("%s: %s (%s, depth %u); %s\n", output_.c_str(), describeMesh(result.mesh).c_str(),
                    surfaceName(surface), depth_, times.c_str());
        const std::string cleanup = describeCleanup(result.cleanup);
        if (!cleanup.empty())
            std::printf("%s\n", cleanup.c_str());
        if (dropped)
            std::printf("warning: %zu points got no normal (their neighbours do not span a plane) and were "
                        "left out\n",
                        dropped);
    }
    return std::fflush(stdout) == 0 ? 0 : 1;
}

}  // namespace oxmesh
