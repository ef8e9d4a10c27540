// Surface reconstruction, measured: our APSS and RIMLS surfaces through the regular-grid mesher
// (the pipeline of `oxmesh reconstruct`) and, when the build found it, Open3D's screened Poisson
// reconstruction, on the same oriented clouds in the same run, single-threaded.
//
// For every cloud and method: time per stage (ours: query build, corner signs, growth,
// bisection, normals, topology clean-up; Poisson: total), whether the mesh is closed and
// manifold, and the distance to the mesh the cloud was sampled from: two-sided Hausdorff and RMS
// over dense samples of both surfaces, as fractions of the source's bounding-box diagonal. On
// fandisk the same distances restricted to samples near its crease edges (dihedral angle above
// 30 degrees) show how sharp each method keeps them.
//
//   bench_reconstruct                 depths 8 and 9, each in a process of its own (the mesher
//                                     fixes its face tables on its first call in a process)
//   bench_reconstruct --depth N       one depth in this process
//   bench_reconstruct --depth N --quick   the real clouds only, without the 1M-point cloud
//   bench_reconstruct ... --raw       our meshes as the mesher leaves them, without the clean-up
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "BenchDistance.h"
#include "BenchReport.h"
#include "BenchSampling.h"
#include "CreaseEdges.h"
#include "formats/MeshReader.h"
#include "formats/MeshView.h"
#include "formats/SceneConversion.h"
#include "oxPointSetQuery.h"
#include "oxSurfaceReconstruction.h"
#include "scenegraph/oxVertexBuffer.h"

#ifdef OX_HAVE_OPEN3D
#include <open3d/geometry/PointCloud.h>
#include <open3d/geometry/TriangleMesh.h>
#endif

namespace {

constexpr std::size_t kQualitySamples = 400000;  // per surface and direction
constexpr double kCreaseDegrees = 30.0;
constexpr double kCreaseBand = 0.005;  // of the diagonal, around the crease edges

struct Input {
    std::string name;
    oxmesh::MeshData cloud;
    oxmesh::MeshData source;
    bool creases = false;
};

struct Measured {
    std::string method;
    double seconds = 0.0;
    std::string stages;
    oxmesh::MeshData mesh;
};

std::string seconds(double value)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.3f s", value);
    return text;
}

std::string figure(double value)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.2e", value);
    return text;
}

/// "rms 1.3e-04 hausdorff 2.1e-03 closed manifold [crease rms ... hausdorff ...]".
std::string quality(const Input& input, const oxmesh::MeshData& mesh)
{
    if (mesh.triangleCount() == 0)
        return "empty";
    const double diagonal = oxbench::boundingDiagonal(input.source);
    const oxbench::SurfaceDeviation all =
        oxbench::compareSurfaces(mesh, input.source, kQualitySamples, diagonal);
    const ox::oxMeshProcessing::tMeshStatistics stats = oxmesh::statisticsOf(mesh);
    std::string text = "rms " + figure(all.rms) + " hausdorff " + figure(all.hausdorff) + " " +
                       (stats.closed ? "closed" : "open") + " " +
                       (stats.manifold ? "manifold" : "non-manifold");
    if (input.creases) {
        const std::vector<float> creases = oxbench::creaseEdges(input.source, kCreaseDegrees);
        const double band = kCreaseBand * diagonal;
        const oxbench::SurfaceDeviation nearCreases =
            oxbench::compareSurfaces(mesh, input.source, kQualitySamples, diagonal, [&](const float* p) {
                return oxbench::distanceToSegments(p, creases) <= band;
            });
        text += " | near creases (" + std::to_string(creases.size() / 6) + " edges, " +
                std::to_string(nearCreases.samples) + " samples): rms " + figure(nearCreases.rms) +
                " hausdorff " + figure(nearCreases.hausdorff);
    }
    return text;
}

Measured runOurs(const ox::oxPointSetQuery& query, double querySeconds,
                 ox::oxPointSetProcessing::tSurfaceKind kind, unsigned depth, bool raw)
{
    namespace pp = ox::oxPointSetProcessing;
    Measured m;
    m.method = std::string(kind == pp::tSurfaceKind::Apss ? "apss" : "rimls") + (raw ? " raw" : "") + " d" +
               std::to_string(depth);
    pp::tReconstructionOptions options;
    options.surface = kind;
    options.depth = depth;
    options.repair = !raw;
    pp::tReconstructionReport r;
    const ox::oxPointer<ox::oxTriMesh> mesh = pp::ReconstructSurface(query, options, nullptr, &r);
    m.seconds = querySeconds + r.meshing.totalSeconds() + r.finishSeconds + r.repairSeconds;
    m.stages = "query " + seconds(querySeconds) + ", corner signs " + seconds(r.meshing.cornerSignSeconds) +
               ", growth " + seconds(r.meshing.growthSeconds) + " (" + std::to_string(r.meshing.iterations) +
               " iterations), bisection " + seconds(r.meshing.bisectionSeconds) + ", normals " +
               seconds(r.finishSeconds) + (raw ? "" : ", clean-up " + seconds(r.repairSeconds));
    if (r.repair.ran)
        m.stages += "; repair: " + std::to_string(r.repair.unsupportedTriangles) + " trimmed, " +
                    std::to_string(r.repair.pinchedVertices) + " pinched, " +
                    std::to_string(r.repair.smallComponents) + " stray pieces, " +
                    std::to_string(r.repair.holes.closed) + " holes closed, " +
                    std::to_string(r.repair.holes.open) + " open";
    m.mesh = oxmesh::fromTriMesh(*mesh);
    return m;
}

#ifdef OX_HAVE_OPEN3D
Measured runPoisson(const oxmesh::MeshData& cloud, unsigned depth)
{
    open3d::geometry::PointCloud points;
    for (std::size_t i = 0; i < cloud.vertexCount(); ++i) {
        points.points_.emplace_back(cloud.positions[3 * i], cloud.positions[3 * i + 1],
                                    cloud.positions[3 * i + 2]);
        points.normals_.emplace_back(cloud.normals[3 * i], cloud.normals[3 * i + 1],
                                     cloud.normals[3 * i + 2]);
    }
    Measured m;
    m.method = "open3d-poisson d" + std::to_string(depth);
    const double start = oxbench::now();
    auto result =
        open3d::geometry::TriangleMesh::CreateFromPointCloudPoisson(points, depth, 0.0f, 1.1f, false, 1);
    m.seconds = oxbench::now() - start;
    const open3d::geometry::TriangleMesh& mesh = *std::get<0>(result);
    for (const auto& v : mesh.vertices_)
        for (int i = 0; i < 3; ++i)
            m.mesh.positions.push_back(float(v[i]));
    for (const auto& t : mesh.triangles_)
        for (int i = 0; i < 3; ++i)
            m.mesh.triangles.push_back(std::uint32_t(t[i]));
    m.stages = "total " + seconds(m.seconds);
    return m;
}
#endif

bool load(Input& input, const std::string& cloudPath, const std::string& sourcePath)
{
    const std::string cloud = oxbench::findData(cloudPath), source = oxbench::findData(sourcePath);
    if (cloud.empty() || source.empty()) {
        std::printf("%-28s skipped: %s or %s not found\n", input.name.c_str(), cloudPath.c_str(),
                    sourcePath.c_str());
        return false;
    }
    input.cloud = oxmesh::readMesh(cloud);
    input.source = oxmesh::readMesh(source);
    return true;
}

void run(const Input& input, unsigned depth, bool raw)
{
    namespace pp = ox::oxPointSetProcessing;
    const ox::oxPointer<ox::oxVertexBuffer> cloud(oxmesh::toVertexBuffer(input.cloud));
    const double start = oxbench::now();
    const std::unique_ptr<ox::oxPointSetQuery> query = pp::BuildReconstructionQuery(*cloud);
    const double querySeconds = oxbench::now() - start;

    std::vector<Measured> ours;
    for (const pp::tSurfaceKind kind : {pp::tSurfaceKind::Apss, pp::tSurfaceKind::Rimls})
        ours.push_back(runOurs(*query, querySeconds, kind, depth, raw));
#ifdef OX_HAVE_OPEN3D
    const Measured peer = runPoisson(input.cloud, depth);
    const std::string peerQuality = quality(input, peer.mesh);
#else
    const Measured peer{"open3d-poisson (not built)", 0.0, "", {}};
    const std::string peerQuality = "-";
#endif
    for (const Measured& m : ours) {
        oxbench::report("reconstruct " + m.method, input.name, input.cloud.vertexCount(), m.seconds,
                        peer.method, peer.seconds, quality(input, m.mesh));
        std::printf("    %s: %zu triangles; %s\n", m.method.c_str(), m.mesh.triangleCount(),
                    m.stages.c_str());
    }
    std::printf("    %s: %zu triangles, %s; %s\n", peer.method.c_str(), peer.mesh.triangleCount(),
                peer.stages.c_str(), peerQuality.c_str());
    std::fflush(stdout);
}

int runDepth(unsigned depth, bool quick, bool raw)
{
    std::printf("depth %u (quality: fractions of the source's bounding-box diagonal, %zu samples per side)\n",
                depth, kQualitySamples);
    const struct {
        const char* name;
        const char* cloud;
        const char* source;
        bool creases;
    } real[] = {
        {"stanford-bunny-40k", "clouds/stanford-bunny-poisson-40k.ply", "meshes/stanford-bunny.obj", false},
        {"rocker-arm-50k", "clouds/rocker-arm-poisson-50k.ply", "meshes/rocker-arm.obj", false},
        {"fandisk-30k", "clouds/fandisk-poisson-30k.ply", "meshes/fandisk.obj", true}};
    for (const auto& r : real) {
        Input input{r.name, {}, {}, r.creases};
        if (load(input, r.cloud, r.source))
            run(input, depth, raw);
    }
    if (quick)
        return 0;

    // About a million points on igea, each with the normal of its triangle.
    Input igea{"igea-1M (sampled)", {}, {}, false};
    const std::string source = oxbench::findData("meshes/igea.ply");
    if (source.empty()) {
        std::printf("igea-1M skipped: meshes/igea.ply not found\n");
        return 0;
    }
    igea.source = oxmesh::readMesh(source);
    oxbench::sampleSurface(igea.source, 1000000, igea.cloud.positions, &igea.cloud.normals);
    run(igea, depth, raw);
    return 0;
}

}  // namespace

int main(int argc, char** argv)
{
    bool quick = false, raw = false;
    int depth = 0;
    for (int a = 1; a < argc; ++a) {
        if (!std::strcmp(argv[a], "--quick"))
            quick = true;
        else if (!std::strcmp(argv[a], "--raw"))
            raw = true;
        else if (!std::strcmp(argv[a], "--depth") && a + 1 < argc)
            depth = std::atoi(argv[++a]);
        else {
            std::fprintf(stderr, "usage: bench_reconstruct [--depth N] [--quick] [--raw]\n");
            return 2;
        }
    }
    if (depth > 0)
        return runDepth(unsigned(depth), quick, raw);

    // One process per depth.
    int status = 0;
    for (const char* d : {"8", "9"}) {
        std::fflush(stdout);
        const pid_t child = ::fork();
        if (child == 0) {
            std::vector<const char*> args{argv[0], "--depth", d};
            if (quick)
                args.push_back("--quick");
            if (raw)
                args.push_back("--raw");
            args.push_back(nullptr);
            ::execv("/proc/self/exe", const_cast<char* const*>(args.data()));
            ::_exit(127);
        }
        int childStatus = 0;
        ::waitpid(child, &childStatus, 0);
        if (!WIFEXITED(childStatus) || WEXITSTATUS(childStatus) != 0)
            status = 1;
    }
    return status;
}
