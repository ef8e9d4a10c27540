// Simplification to 10 % and 1 % of the triangles: ours (the greedy quadric collapse that
// `oxmesh simplify` runs by default; with --generic also the neighbourhood-limited collapse in
// passes with valence flips, `--method generic`) against meshoptimizer's
// meshopt_simplify and, when it was found at configure time, CGAL's Garland-Heckbert edge
// collapse, on the same welded input in the same run. Only the simplification call is timed
// (single thread). For every result: achieved triangles against the target, edge-manifold and
// closed, Euler characteristic against the input's, triangles turned over against the nearest
// input triangle, and the two-sided Hausdorff and RMS distance to the input as fractions of
// its bounding-box diagonal.
//
//   bench_simplify [--generic] [--quick] [MESH ...]
//     (default meshes: bunny, rocker-arm, igea, fandisk of the data set; --quick leaves CGAL out)
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include <meshoptimizer.h>

#include "BenchDistance.h"
#include "BenchReport.h"
#include "BenchSampling.h"
#include "formats/MeshReader.h"
#include "formats/MeshView.h"
#include "formats/SceneConversion.h"
#include "formats/Weld.h"
#include "oxMeshProcessing.h"
#include "scenegraph/oxPointer.h"

#ifdef OX_BENCH_HAVE_CGAL
#include <CGAL/Simple_cartesian.h>
#include <CGAL/Surface_mesh.h>
#include <CGAL/Surface_mesh_simplification/Policies/Edge_collapse/Count_stop_predicate.h>
#include <CGAL/Surface_mesh_simplification/Policies/Edge_collapse/GarlandHeckbert_plane_policies.h>
#include <CGAL/Surface_mesh_simplification/edge_collapse.h>
#endif

namespace {

using oxmesh::MeshData;

struct Run {
    std::string method;
    double seconds = 0.0;
    MeshData mesh;
};

MeshData trianglesOnly(const MeshData& input)
{
    MeshData mesh;
    mesh.positions = input.positions;
    mesh.triangles = input.triangles;
    return mesh;
}

/// Ours as `oxmesh simplify --method quadric|generic` runs it, through the library.
Run runOurs(const MeshData& input, unsigned target, bool generic)
{
    const ox::oxPointer<ox::oxGeometry> geometry(oxmesh::toGeometry(input));
    const double t0 = oxbench::now();
    if (generic) {
        ox::oxMeshProcessing::tCollapsePassesOptions options;
        options.targetTriangleCount = target;
        ox::oxMeshProcessing::GenericEdgeCollapseInPasses(*geometry, options);
    } else {
        ox::oxMeshProcessing::tQuadricSimplifyOptions options;
        options.targetTriangleCount = target;
        ox::oxMeshProcessing::QuadricSimplify(*geometry, options);
    }
    const double t1 = oxbench::now();
    return Run{generic ? "ours-generic" : "ours", t1 - t0, oxmesh::fromTriMesh(*geometry)};
}

Run runMeshoptimizer(const MeshData& input, unsigned target)
{
    Run run{"meshoptimizer", 0.0, MeshData()};
    run.mesh.positions = input.positions;
    run.mesh.triangles.resize(input.triangles.size());
    // A relative error of 1 (the whole mesh extent) lets the triangle count alone stop it.
    const double t0 = oxbench::now();
    const std::size_t indices = meshopt_simplify(
        run.mesh.triangles.data(), input.triangles.data(), input.triangles.size(), input.positions.data(),
        input.vertexCount(), 3 * sizeof(float), 3 * std::size_t(target), 1.0f, 0, nullptr);
    run.seconds = oxbench::now() - t0;
    run.mesh.triangles.resize(indices);
    return run;
}

#ifdef OX_BENCH_HAVE_CGAL
Run runCgal(const MeshData& input, unsigned target)
{
    typedef CGAL::Simple_cartesian<double> Kernel;
    typedef CGAL::Surface_mesh<Kernel::Point_3> SurfaceMesh;
    namespace SMS = CGAL::Surface_mesh_simplification;
    SurfaceMesh mesh;
    std::vector<SurfaceMesh::Vertex_index> vertices;
    for (std::size_t v = 0; v < input.vertexCount(); ++v)
        vertices.push_back(mesh.add_vertex(
            Kernel::Point_3(input.positions[3 * v], input.positions[3 * v + 1], input.positions[3 * v + 2])));
    for (std::size_t t = 0; t < input.triangleCount(); ++t)
        mesh.add_face(vertices[input.triangles[3 * t]], vertices[input.triangles[3 * t + 1]],
                      vertices[input.triangles[3 * t + 2]]);
    // The stop predicate counts edges: a closed triangle mesh has 3/2 edges per triangle.
    SMS::Count_stop_predicate<SurfaceMesh> stop(3 * std::size_t(target) / 2);
    SMS::GarlandHeckbert_plane_policies<SurfaceMesh, Kernel> policies(mesh);
    const double t0 = oxbench::now();
    SMS::edge_collapse(
        mesh, stop, CGAL::parameters::get_cost(policies.get_cost()).get_placement(policies.get_placement()));
    Run run{"CGAL-GH", oxbench::now() - t0, MeshData()};
    mesh.collect_garbage();
    for (SurfaceMesh::Vertex_index v : mesh.vertices())
        for (int k = 0; k < 3; ++k)
            run.mesh.positions.push_back(float(mesh.point(v)[k]));
    for (SurfaceMesh::Face_index f : mesh.faces())
        for (SurfaceMesh::Vertex_index v : CGAL::vertices_around_face(mesh.halfedge(f), mesh))
            run.mesh.triangles.push_back(std::uint32_t(v));
    return run;
}
#endif

bool withCgal = true;

/// Removes `flag` from `args`; whether it was there.
bool takeFlag(std::vector<std::string>& args, const char* flag)
{
    const auto it = std::find(args.begin(), args.end(), std::string(flag));
    if (it == args.end())
        return false;
    args.erase(it);
    return true;
}

/// One line of the quality table.
std::string quality(const MeshData& input, const ox::oxMeshProcessing::tMeshStatistics& inputStats,
                    const Run& run, unsigned target)
{
    const ox::oxMeshProcessing::tMeshStatistics stats = oxmesh::statisticsOf(run.mesh);
    const oxbench::SurfaceDeviation deviation = oxbench::surfaceDeviation(input, run.mesh);
    char line[256];
    std::snprintf(
        line, sizeof line, "%7zu/%-7u %-3s %-3s %4lld%-1s %6zu %10.2e %10.2e", run.mesh.triangleCount(),
        target, stats.manifold && stats.nonManifoldEdges == 0 ? "yes" : "no", stats.closed ? "yes" : "no",
        stats.eulerCharacteristic, stats.eulerCharacteristic == inputStats.eulerCharacteristic ? "" : "*",
        oxbench::flippedTriangles(input, run.mesh), deviation.hausdorff, deviation.rms);
    return line;
}

void benchmark(const std::string& path, bool withGeneric)
{
    MeshData input = trianglesOnly(oxmesh::readMesh(path));
    oxmesh::weldByPosition(input);
    const std::string name = path.substr(path.find_last_of('/') + 1);
    const ox::oxMeshProcessing::tMeshStatistics inputStats = oxmesh::statisticsOf(input);
    const unsigned triangles = unsigned(input.triangleCount());
    std::printf("\n%s: %u triangles, %s, %s, Euler characteristic %lld\n", name.c_str(), triangles,
                inputStats.closed ? "closed" : "open", inputStats.manifold ? "manifold" : "not manifold",
                inputStats.eulerCharacteristic);
    std::printf("  %-6s %-14s %9s %12s %15s %-3s %-3s %5s %6s %10s %10s\n", "ratio", "method", "seconds",
                "Mtri/s", "achieved/target", "man", "cls", "euler", "flip", "hausdorff", "rms");
    for (const double ratio : {0.1, 0.01}) {
        const unsigned target = unsigned(std::lround(ratio * triangles));
        std::vector<Run> runs{runOurs(input, target, false), runMeshoptimizer(input, target)};
#ifdef OX_BENCH_HAVE_CGAL
        if (withCgal)
            runs.push_back(runCgal(input, target));
#endif
        for (const Run& run : runs) {
            const std::string q = quality(input, inputStats, run, target);
            std::printf("  %5.0f%% %-14s %9.3f %12.3f %s\n", 100 * ratio, run.method.c_str(), run.seconds,
                        triangles / run.seconds / 1e6, q.c_str());
            std::printf("csv,simplify-quality,%s,%g,%s,%.6f,%s\n", name.c_str(), ratio, run.method.c_str(),
                        run.seconds, q.c_str());
        }
        if (withGeneric)
            runs.push_back(runOurs(input, target, true));
        for (std::size_t peer = 1; peer < runs.size(); ++peer)
            oxbench::report("simplify " + std::to_string(int(100 * ratio)) + "%", name, triangles,
                            runs[0].seconds, runs[peer].method, runs[peer].seconds, "see table");
    }
}

}  // namespace

int main(int argc, char** argv)
{
    std::vector<std::string> inputs(argv + 1, argv + argc);
    const bool withGeneric = takeFlag(inputs, "--generic");
    withCgal = !takeFlag(inputs, "--quick");
    if (inputs.empty()) {
        for (const char* rel : {"meshes/stanford-bunny.obj", "meshes/rocker-arm.obj", "meshes/igea-faces.ply",
                                "meshes/fandisk.obj"}) {
            const std::string p = oxbench::findData(rel);
            if (!p.empty())
                inputs.push_back(p);
        }
    }
    std::printf(
        "columns: achieved/target triangles, edge-manifold, closed, Euler characteristic (* differs from "
        "the input), triangles facing against the nearest input triangle, Hausdorff and RMS distance / "
        "bbox diagonal\n");
    for (const std::string& p : inputs)
        benchmark(p, withGeneric);
    return 0;
}
