#include "commands/NormalsCommand.h"

#include <cstdio>

#include "commands/ProgressBar.h"
#include "io/InputError.h"
#include "io/MeshReader.h"
#include "io/MeshWriter.h"
#include "oxPointSetProcessing.h"
#include "system/oxTimer.h"

namespace oxmesh {

NormalsCommand::NormalsCommand(CLI::App& app, const GlobalOptions& global)
    : Command(app, global, "normals", "Estimate and orient a normal for every point of a cloud")
{
    subcommand_->add_option("IN", input_, "Point cloud or mesh to read (any supported format)")->required();
    subcommand_->add_option("-o,--output", output_, "File to write (.ply, .xyz or .obj)")->required();
    subcommand_->add_option("--viewpoint", viewpoint_, "Orient towards this scanner position x,y,z instead")
        ->expected(3)
        ->delimiter(',');
    subcommand_->add_option("-k,--neighbours", neighbours_, "Neighbours per local plane fit (3 to 256)")
        ->check(CLI::Range(3u, 256u));
}

int NormalsCommand::run()
{
    checkOutputExtension(output_);
    const auto mode = global_.quiet ? ProgressBar::Mode::Never : ProgressBar::Mode::Auto;
    MeshData cloud;
    {
        ProgressBar bar("reading " + input_, mode);
        cloud = readMesh(input_, bar.function());
    }
    const unsigned int n = static_cast<unsigned int>(cloud.vertexCount());
    if (n < 3)
        throw InputError(input_, "needs at least 3 points to estimate normals, but has " + std::to_string(n));

    ox::oxTimer timer;
    cloud.normals.assign(cloud.positions.size(), 0.0f);
    unsigned int parts = 0;
    {
        ProgressBar bar("estimating normals", mode);
        ox::oxPointSetProcessing::EstimateNormals(cloud.positions.data(), n, 3, cloud.normals.data(), 3,
                                                  neighbours_, &bar);
    }
    if (viewpoint_.size() == 3) {
        ox::oxPointSetProcessing::OrientNormalsTowards(cloud.positions.data(), n, 3, cloud.normals.data(), 3,
                                                       viewpoint_.data());
    } else {
        ProgressBar bar("orienting normals", mode);
        parts = ox::oxPointSetProcessing::OrientNormals(cloud.positions.data(), n, 3, cloud.normals.data(), 3,
                                                        neighbours_, &bar);
    }
    timer.snapTime();
    std::size_t missing = 0;
    for (unsigned int i = 0; i < n; ++i)
        missing += cloud.normals[3 * i] == 0.0f && cloud.normals[3 * i + 1] == 0.0f &&
                   cloud.normals[3 * i + 2] == 0.0f;

    writeMesh(output_, cloud);
    if (!global_.quiet) {
        std::printf("%s: %u points, normals in %.0f ms", output_.c_str(), n, timer.getElapsedMs());
        if (viewpoint_.size() == 3)
            std::printf(", oriented towards (%g, %g, %g)", viewpoint_[0], viewpoint_[1], viewpoint_[2]);
        else
            std::printf(", %u connected part%s oriented outwards", parts, parts == 1 ? "" : "s");
        std::printf("\n");
        if (missing)
            std::printf("warning: %zu points have no normal (their neighbours do not span a plane); written "
                        "as 0 0 0\n",
                        missing);
    }
    return std::fflush(stdout) == 0 ? 0 : 1;
}

}  // namespace oxmesh
