#include "commands/DemoCommand.h"

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <system_error>

#include "commands/ProgressBar.h"
#include "commands/Reconstruction.h"
#include "io/InputError.h"
#include "io/MeshReader.h"
#include "io/MeshWriter.h"

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
    input_ = bundledCloud();
    subcommand_->add_option("--output-dir", outputDir_,
                            "Folder for the two meshes (default ./oxmesh-demo-output)");
    subcommand_->add_option("--input", input_, "Oriented cloud to use instead of the bundled one");
    subcommand_
        ->add_option("--depth", depth_, "Grid of 2^N cells along the longest side, 1 to 10 (default 7)")
        ->check(CLI::Range(1u, 10u));
}

int DemoCommand::run()
{
    if (input_.empty())
        throw InputError("demo", "this build does not know where its bundled cloud is; pass --input FILE");
    const auto mode = global_.quiet ? ProgressBar::Mode::Never : ProgressBar::Mode::Auto;
    std::error_code error;
    fs::create_directories(outputDir_, error);
    if (error || !fs::is_directory(outputDir_))
        throw InputError(outputDir_,
                         "cannot create the output folder: " +
                             (error ? error.message() : std::string("a file of that name exists")));

    auto start = std::chrono::steady_clock::now();
    MeshData cloud;
    {
        ProgressBar bar("reading " + input_, mode);
        cloud = readMesh(input_, bar.function());
    }
    checkOrientedCloud(input_, cloud);
    const double readSeconds = secondsSince(start);
    start = std::chrono::steady_clock::now();
    const CloudQuery query(cloud);
    const double querySeconds = secondsSince(start);
    if (!global_.quiet)
        std::printf("%s: %zu points; read %s, query %s; meshing at depth %u\n", input_.c_str(),
                    cloud.vertexCount(), formatSeconds(readSeconds).c_str(),
                    formatSeconds(querySeconds).c_str(), depth_);

    const std::string stem = fs::path(input_).stem().string();
    for (const SurfaceKind kind : {SurfaceKind::Apss, SurfaceKind::Rimls}) {
        const std::string output =
            (fs::path(outputDir_) / (stem + "-" + surfaceName(kind) + ".ply")).string();
        Reconstruction result;
        {
            ProgressBar bar(std::string("meshing (") + surfaceName(kind) + ")", mode);
            result = reconstructSurface(query, kind, depth_, &bar, nullptr);
        }
        start = std::chrono::steady_clock::now();
        writeMesh(output, result.mesh);
        const double writeSeconds = secondsSince(start);
        if (global_.quiet)
            continue;
        std::printf("%s: %s; %s, write %s\n", surfaceName(kind), describeMesh(result.mesh).c_str(),
                    describeStages(result).c_str(), formatSeconds(writeSeconds).c_str());
        const std::string cleanup = describeCleanup(result.cleanup);
        if (!cleanup.empty())
            std::printf("  %s\n", cleanup.c_str());
        std::printf("  -> %s\n", output.c_str());
    }
    return std::fflush(stdout) == 0 ? 0 : 1;
}

}  // namespace oxmesh
