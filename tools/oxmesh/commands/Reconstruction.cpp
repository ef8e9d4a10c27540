#include "commands/Reconstruction.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>

#include "io/InputError.h"
#include "io/MeshStats.h"
#include "io/SceneConversion.h"
#include "oxAPSSSurface.h"
#include "oxMeshProcessing.h"
#include "oxPointSetProcessing.h"
#include "oxPointSetQuery.h"
#include "oxRIMLSSurface.h"
#include "oxRegularGridSurfaceMesher.h"
#include "scenegraph/oxAttributes.h"
#include "scenegraph/oxGeometry.h"
#include "scenegraph/oxPointer.h"
#include "scenegraph/oxVertexBuffer.h"

namespace oxmesh {
namespace {

using Vec3 = Wm4::Vector3<float>;

bool isUsableNormal(const float* n)
{
    const double length2 = double(n[0]) * n[0] + double(n[1]) * n[1] + double(n[2]) * n[2];
    return std::isfinite(length2) && length2 > 0.0;
}

/// Forwards progress values mapped into [offset, offset + 0.5].
class HalfProgress : public ox::oxProgressNotifierInterface {
public:
    HalfProgress(ox::oxProgressNotifierInterface* target, float offset) : target_(target), offset_(offset) {}
    void notifyProgress(float value) override
    {
        if (target_)
            target_->notifyProgress(offset_ + 0.5f * (value >= 0.0f ? std::min(value, 1.0f) : 0.0f));
    }

private:
    ox::oxProgressNotifierInterface* target_;
    float offset_;
};

std::string plural(std::size_t count, const char* singular, const char* pluralForm)
{
    return std::to_string(count) + " " + (count == 1 ? singular : pluralForm);
}

/// A mesh vertex farther than this fraction of the support radius from every point lies
/// where the surface is extrapolated, not fitted: on the data sets, vertices of the fitted
/// surface stay within 0.4 of the nearest point's radius on evenly sampled clouds, while flaps
/// that a surface grows past thin sharp edges or around the rim of a scan's hole sit at 0.5 to
/// 1.1, and on randomly sampled clouds gaps between samples reach 1.5 (so the clean-up only
/// trims such vertices where they reach an open rim).
constexpr float kSupportedFraction = 0.5f;

/// Whether a vertex of the reconstructed mesh (input frame) lies farther from its nearest
/// point than kSupportedFraction of that point's support radius. O(log n) per vertex.
AwayFromPoints vertexAwayFromPoints(const CloudQuery& cloud, const MeshData& mesh)
{
    return [&cloud, &mesh](std::uint32_t v) {
        const ox::oxPointSetQuery& query = cloud.query();
        Vec3 x;  // the query's normalised frame
        for (int a = 0; a < 3; ++a)
            x[a] = (mesh.positions[3 * std::size_t(v) + a] - query.getCenter()[a]) / query.getScale();
        const int j = static_cast<int>(query.getNearestVertex(x, 0xFFFFFFFFu));
        const ox::oxVertexBuffer& points = *query.getVertices();
        return (points.Position3(j) - x).Length() > kSupportedFraction * points.PSize1(j);
    };
}

}  // namespace

const char* surfaceName(SurfaceKind kind)
{
    return kind == SurfaceKind::Apss ? "apss" : "rimls";
}

void checkOrientedCloud(const std::string& path, const MeshData& cloud)
{
    const std::size_t n = cloud.vertexCount();
    if (n < kMinReconstructionPoints)
        throw InputError(path, "too few points to reconstruct a surface: " + std::to_string(n) +
                                   " (at least " + std::to_string(kMinReconstructionPoints) + " needed)");
    if (!cloud.hasNormals())
        throw InputError(path,
                         "the cloud has no normals; run 'oxmesh normals' first or pass --estimate-normals");
    std::size_t bad = 0;
    for (std::size_t i = 0; i < n; ++i)
        bad += !isUsableNormal(&cloud.normals[3 * i]);
    if (bad)
        throw InputError(path, plural(bad, "normal is", "normals are") + " zero or not finite (of " +
                                   std::to_string(n) +
                                   "); fix them with 'oxmesh normals' or pass --estimate-normals");
}

std::size_t estimateOrientedNormals(MeshData& cloud, unsigned int k,
                                    ox::oxProgressNotifierInterface* progress)
{
    const unsigned int n = static_cast<unsigned int>(cloud.vertexCount());
    cloud.normals.assign(cloud.positions.size(), 0.0f);
    HalfProgress estimating(progress, 0.0f), orienting(progress, 0.5f);
    ox::oxPointSetProcessing::EstimateNormals(cloud.positions.data(), n, 3, cloud.normals.data(), 3, k,
                                              &estimating);
    ox::oxPointSetProcessing::OrientNormals(cloud.positions.data(), n, 3, cloud.normals.data(), 3, k,
                                            &orienting);

    // Keep the points that got a normal, in order; colours follow their points.
    std::size_t kept = 0;
    for (std::size_t i = 0; i < n; ++i) {
        if (!isUsableNormal(&cloud.normals[3 * i]))
            continue;
        for (std::size_t c = 0; c < 3; ++c) {
            cloud.positions[3 * kept + c] = cloud.positions[3 * i + c];
            cloud.normals[3 * kept + c] = cloud.normals[3 * i + c];
            if (cloud.hasColors())
                cloud.colors[3 * kept + c] = cloud.colors[3 * i + c];
        }
        ++kept;
    }
    if (kept == n)
        return 0;
    cloud.positions.resize(3 * kept);
    cloud.normals.resize(3 * kept);
    if (cloud.hasColors())
        cloud.colors.resize(3 * kept);
    cloud.triangles.clear();
    cloud.polygonStarts.clear();
    return n - kept;
}

CloudQuery::CloudQuery(const MeshData& cloud)
{
    ox::oxAttributes layout;
    layout.SetPositionChannels(3);
    layout.SetNormalChannels(3);
    layout.SetPSizeChannels(1);
    const int n = static_cast<int>(cloud.vertexCount());
    ox::oxPointer<ox::oxVertexBuffer> buffer(new ox::oxVertexBuffer(layout, n));
    for (int i = 0; i < n; ++i) {
        const std::size_t at = 3 * std::size_t(i);
        buffer->Position3(i) = Vec3(&cloud.positions[at]);
        Vec3 normal(&cloud.normals[at]);
        normal.Normalize();
        buffer->Normal3(i) = normal;
        buffer->PSize1(i) = 0.0f;
    }
    query_ = std::make_unique<ox::oxPointSetQuery>(buffer.get());
    query_->computePointRadii();
}

CloudQuery::~CloudQuery() = default;

Vec3 CloudQuery::toInputFrame(const Vec3& normalised) const
{
    const float* centre = query_->getCenter();
    return normalised * query_->getScale() + Vec3(centre[0], centre[1], centre[2]);
}

Reconstruction reconstructSurface(const CloudQuery& cloud, SurfaceKind kind, unsigned int depth,
                                  ox::oxProgressNotifierInterface* progress, std::FILE* mesherLog,
                                  bool cleanUp)
{
    const ox::oxAPSSSurface apss(&cloud.query());
    const ox::oxRIMLSSurface rimls(&cloud.query());
    const ox::oxPointSetSurface* surface = kind == SurfaceKind::Apss
                                               ? static_cast<const ox::oxPointSetSurface*>(&apss)
                                               : static_cast<const ox::oxPointSetSurface*>(&rimls);
    ox::oxRegularGridSurfaceMesher mesher(surface);
    mesher.setDepth(depth);

    Reconstruction result;
    ox::oxPointer<ox::oxGeometry> geometry;
    {
        MesherStageMonitor monitor(progress, mesherLog);
        mesher.setProgressNotifier(&monitor);
        geometry = ox::oxPointer<ox::oxGeometry>(mesher.computeMesh());
        mesher.setProgressNotifier(nullptr);
        result.stages = monitor.times();
    }

    const auto start = std::chrono::steady_clock::now();
    ox::oxVertexBuffer& vertices = *geometry->GetVertexBuffer();
    for (int v = 0; v < vertices.GetVertexQuantity(); ++v) {
        vertices.Position3(v) = cloud.toInputFrame(vertices.Position3(v));
        vertices.Normal3(v) = Vec3(0.0f, 0.0f, 0.0f);  // RecomputeNormals adds to what is there
    }
    ox::oxMeshProcessing::RecomputeNormals(*geometry);
    result.mesh = fromTriMesh(*geometry);
    result.finishSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();

    if (cleanUp) {
        const auto cleanupStart = std::chrono::steady_clock::now();
        result.cleanupRequested = true;
        result.cleanup =
            cleanReconstruction(result.mesh, CleanupLimits(), vertexAwayFromPoints(cloud, result.mesh));
        result.cleanupSeconds =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - cleanupStart).count();
    }
    return result;
}

std::string describeMesh(const MeshData& mesh)
{
    const MeshStats stats = computeMeshStats(mesh);
    return plural(stats.vertices, "vertex", "vertices") + ", " +
           plural(stats.triangles, "triangle", "triangles") + ", " + (stats.closed ? "closed" : "open") +
           " " + (stats.manifold ? "manifold" : "non-manifold");
}

std::string formatSeconds(double seconds)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.3f s", seconds);
    return text;
}

std::string describeStages(const Reconstruction& result)
{
    return "corner signs " + formatSeconds(result.stages.cornerSigns) + ", growth " +
           formatSeconds(result.stages.growth) + " (" +
           plural(result.stages.iterations, "iteration", "iterations") + "), bisection " +
           formatSeconds(result.stages.bisection) + ", normals " + formatSeconds(result.finishSeconds) +
           (result.cleanupRequested ? ", clean-up " + formatSeconds(result.cleanupSeconds) : std::string());
}

}  // namespace oxmesh
