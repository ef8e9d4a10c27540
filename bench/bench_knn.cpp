// Neighbour graph benchmark: our Morton hierarchy + 16-neighbour graph (search and
// thinning) against nanoflann's k-d tree build + raw 16-nearest query for every point,
// single thread, same process, same points (dense surface samples of real meshes in the
// file's triangle order). nanoflann runs twice, queries in file order and in its own tree
// order, and the better figure is the one compared.
//
//   bench_knn [MESH TARGET_POINTS]...   (default: bunny 100k, igea 1M)
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <nanoflann.hpp>

#include "BenchReport.h"
#include "BenchSampling.h"
#include "formats/MeshReader.h"
#include "oxPointSetProcessing.h"

namespace {

struct CloudAdaptor {
    const std::vector<float>& p;
    std::size_t kdtree_get_point_count() const { return p.size() / 3; }
    float kdtree_get_pt(std::size_t i, std::size_t d) const { return p[3 * i + d]; }
    template <class Box>
    bool kdtree_get_bbox(Box&) const
    {
        return false;
    }
};
using KdTree =
    nanoflann::KDTreeSingleIndexAdaptor<nanoflann::L2_Simple_Adaptor<float, CloudAdaptor>, CloudAdaptor, 3>;

void run(const std::string& meshPath, std::size_t target)
{
    const oxmesh::MeshData mesh = oxmesh::readMesh(meshPath);
    std::vector<float> points;
    oxbench::sampleSurface(mesh, target, points);
    const std::size_t n = points.size() / 3;
    const std::string name = meshPath.substr(meshPath.find_last_of('/') + 1);
    const unsigned k = 16;

    // Ours: hierarchy build (sorts a copy in place) + thinned 16-neighbour graph.
    std::vector<float> ours = points;
    double t0 = oxbench::now();
    ox::oxPointSetProcessing::oxMiniBVH bvh;
    bvh.build(ours.data(), unsigned(n), 3, 21, 16);
    const double tBuild = oxbench::now() - t0;
    ox::oxPointSetProcessing::KNN knn;
    ox::oxPointSetProcessing::ComputeKNN(ours.data(), unsigned(n), 3, bvh, k, knn);
    const double tOurs = oxbench::now() - t0;

    // Ours, plain 16 nearest (same job as the peer's).
    std::vector<unsigned> plain;
    t0 = oxbench::now();
    ox::oxPointSetProcessing::ComputeKNearest(points.data(), unsigned(n), 3, k, plain);
    const double tPlain = oxbench::now() - t0;

    // nanoflann: build + 16-NN per point, file order and tree order.
    CloudAdaptor adaptor{points};
    std::vector<unsigned> idx(k);
    std::vector<float> d2(k);
    t0 = oxbench::now();
    KdTree tree(3, adaptor, nanoflann::KDTreeSingleIndexAdaptorParams(10));
    tree.buildIndex();
    const double tKdBuild = oxbench::now() - t0;
    double checksum = 0;
    t0 = oxbench::now();
    for (std::size_t i = 0; i < n; ++i) {
        tree.knnSearch(&points[3 * i], k, idx.data(), d2.data());
        checksum += d2[k - 1];
    }
    const double tFileOrder = oxbench::now() - t0;
    t0 = oxbench::now();
    for (std::size_t r = 0; r < n; ++r) {
        const std::size_t i = tree.vAcc[r];
        tree.knnSearch(&points[3 * i], k, idx.data(), d2.data());
        checksum -= d2[k - 1];
    }
    const double tTreeOrder = oxbench::now() - t0;
    const double peer = tKdBuild + std::min(tFileOrder, tTreeOrder);

    char quality[256];
    std::snprintf(quality, sizeof quality,
                  "our build %.4f s; graph %.2f neighbours/point after thinning; nanoflann build %.4f s, "
                  "queries %.4f s file order / %.4f s tree order (checksum %.1g)",
                  tBuild, double(knn.total) / double(n), tKdBuild, tFileOrder, tTreeOrder, checksum);
    oxbench::report("knn graph (ours) vs 16-NN", name, n, tOurs, "nanoflann build+16NN", peer, quality);
    oxbench::report("16-NN (ours, plain)", name, n, tPlain, "nanoflann build+16NN", peer,
                    "same job on both sides");
}

}  // namespace

int main(int argc, char** argv)
{
    std::vector<std::pair<std::string, std::size_t>> jobs;
    for (int a = 1; a + 1 < argc; a += 2)
        jobs.emplace_back(argv[a], std::strtoull(argv[a + 1], nullptr, 10));
    if (jobs.empty()) {
        const std::string bunny = oxbench::findData("meshes/stanford-bunny.obj");
        const std::string igea = oxbench::findData("meshes/igea.ply");
        if (!bunny.empty())
            jobs.emplace_back(bunny, 100000);
        if (!igea.empty())
            jobs.emplace_back(igea, 1000000);
    }
    if (jobs.empty()) {
        std::fprintf(stderr, "bench_knn: no input mesh found; pass MESH TARGET_POINTS pairs\n");
        return 1;
    }
    for (const auto& [path, target] : jobs)
        run(path, target);
    return 0;
}
