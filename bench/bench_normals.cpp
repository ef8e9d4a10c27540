// Normal estimation and orientation, measured against known normals: the oriented clouds
// sampled from meshes (exact face or vertex normals) and real scans that carry normals of
// their own. For each input the given normals are set aside, ours are estimated (local PCA,
// 16 neighbours) and oriented (spanning-tree propagation, outwards), and compared:
//   oriented:  fraction of points whose normal points to the same side as the reference
//   parallel:  fraction within 10 degrees of the reference line (orientation ignored)
//
//   bench_normals [CLOUD.ply ...]   (default: every cloud of the shared data set, and the
//                                    bunny and multi-view-stereo scans)
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "BenchReport.h"
#include "BenchSampling.h"
#include "formats/MeshReader.h"
#include "oxPointSetProcessing.h"

namespace {

void run(const std::string& path)
{
    const oxmesh::MeshData cloud = oxmesh::readMesh(path);
    const std::string name = path.substr(path.find_last_of('/') + 1);
    if (!cloud.hasNormals()) {
        std::printf("%-44s skipped: no reference normals\n", name.c_str());
        return;
    }
    const unsigned n = unsigned(cloud.vertexCount());
    std::vector<float> normals(cloud.positions.size());
    const double t0 = oxbench::now();
    ox::oxPointSetProcessing::EstimateNormals(cloud.positions.data(), n, 3, normals.data(), 3, 16);
    const double t1 = oxbench::now();
    const unsigned parts =
        ox::oxPointSetProcessing::OrientNormals(cloud.positions.data(), n, 3, normals.data(), 3, 16);
    const double t2 = oxbench::now();
    std::size_t usable = 0, oriented = 0, parallel = 0;
    const double cos10 = std::cos(10.0 * M_PI / 180.0);
    for (unsigned i = 0; i < n; ++i) {
        const float* r = &cloud.normals[3 * i];
        const float* m = &normals[3 * i];
        const double lr = std::sqrt(double(r[0]) * r[0] + double(r[1]) * r[1] + double(r[2]) * r[2]);
        if (!(lr > 0) || !std::isfinite(lr))
            continue;  // reference has no normal here
        ++usable;
        const double d = (double(r[0]) * m[0] + double(r[1]) * m[1] + double(r[2]) * m[2]) / lr;
        oriented += d > 0;
        parallel += std::fabs(d) >= cos10;
    }
    std::printf("%-44s %8u points  oriented %6.2f %%  parallel(10deg) %6.2f %%  parts %4u  estimate %.3f s  "
                "orient %.3f s\n",
                name.c_str(), n, 100.0 * oriented / usable, 100.0 * parallel / usable, parts, t1 - t0,
                t2 - t1);
    std::printf("csv,normals,%s,%u,%.6f,%.6f,%.4f,%.4f,%u\n", name.c_str(), n, t1 - t0, t2 - t1,
                100.0 * oriented / usable, 100.0 * parallel / usable, parts);
}

}  // namespace

int main(int argc, char** argv)
{
    std::vector<std::string> inputs(argv + 1, argv + argc);
    if (inputs.empty()) {
        for (const char* rel : {"clouds/spot-uniform-10k.ply", "clouds/fandisk-poisson-30k.ply",
                                "clouds/stanford-bunny-poisson-40k.ply", "clouds/rocker-arm-poisson-50k.ply",
                                "clouds/igea-poisson-200k.ply", "scans/stanford-bunny-10scans-normals.ply",
                                "scans/mvs-robovision-2016_10_24__17_43_02.ply",
                                "scans/mvs-robovision-2016_10_25__12_12_50.ply", "scans/pcl-bun0.ply",
                                "scans/pcl-sac_plane_test.ply"}) {
            const std::string p = oxbench::findData(rel);
            if (!p.empty())
                inputs.push_back(p);
        }
    }
    for (const std::string& p : inputs)
        run(p);
    return 0;
}
