#include "commands/NormalsCommand.h"

#include <cstdio>

#include "cli/ProgressBar.h"
#include "formats/FileError.h"
#include "formats/MeshReader.h"
#include "formats/MeshWriter.h"
#include "oxPointSetProcessing.h"
#include "system/oxTimer.h"

namespace oxmesh {

NormalsCommand::NormalsCommand(CLI::App& app, const GlobalOptions& global)
    : Command(app, global, "normals", "Estimate and orient a normal for every point of a cloud")
{
    m_subcommand->add_option("IN", m_input, "Point cloud or mesh to read (any supported format)")->required();
    m_subcommand->add_option("-o,--output", m_output, "File to write (.ply, .xyz or .obj)")->required();
    m_subcommand->add_option("--viewpoint", m_viewpoint, "Orient towards this scanner position x,y,z instead")
        ->expected(3)
        ->delimiter(',');
    m_subcommand->add_option("-k,--neighbours", m_neighbours, "Neighbours per local plane fit (3 to 256)")
        ->check(CLI::Range(3u, 256u));
}

int NormalsCommand::run()
{
    checkOutputExtension(m_output);
    MeshData cloud = readInput();
    const unsigned int n = static_cast<unsigned int>(cloud.vertexCount());
    if (n < 3)
        throw FileError(m_input, "needs at least 3 points to estimate normals, but has " + std::to_string(n));

    ox::oxTimer timer;
    cloud.normals.assign(cloud.positions.size(), 0.0f);
    unsigned int parts = 0;
    {
        ProgressBar bar("estimating normals", progressMode());
        ox::oxPointSetProcessing::EstimateNormals(cloud.positions.data(), n, 3, cloud.normals.data(), 3,
                                                  m_neighbours, &bar);
    }
    if (m_viewpoint.size() == 3) {
        ox::oxPointSetProcessing::OrientNormalsTowards(cloud.positions.data(), n, 3, cloud.normals.data(), 3,
                                                       m_viewpoint.data());
    } else {
        ProgressBar bar("orienting normals", progressMode());
        parts = ox::oxPointSetProcessing::OrientNormals(cloud.positions.data(), n, 3, cloud.normals.data(), 3,
                                                        m_neighbours, &bar);
    }
    timer.snapTime();
    std::size_t missing = 0;
    for (unsigned int i = 0; i < n; ++i)
        missing += cloud.normals[3 * i] == 0.0f && cloud.normals[3 * i + 1] == 0.0f &&
                   cloud.normals[3 * i + 2] == 0.0f;

    writeMesh(m_output, cloud);
    if (!m_global.quiet) {
        std::printf("%s: %u points, normals in %.0f ms", m_output.c_str(), n, timer.getElapsedMs());
        if (m_viewpoint.size() == 3)
            std::printf(", oriented towards (%g, %g, %g)", m_viewpoint[0], m_viewpoint[1], m_viewpoint[2]);
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
