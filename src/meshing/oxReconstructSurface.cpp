// The reconstruction pipeline: copy of the cloud with unit normals and a point-size channel,
// the point-set query (which normalises the points in place), the chosen point-set surface,
// the regular-grid mesher, the mesh mapped back to the cloud's frame with angle-weighted
// vertex normals, and the repair of a reconstructed mesh with a support test that asks the
// query for each vertex's nearest point.
//
// The support test maps a vertex back into the query's frame and calls it unsupported when it
// lies farther from its nearest point than the given fraction of that point's support radius.
// The mesher's progress, which restarts in every stage and growth iteration, is mapped onto one
// rising value: the query up to 0.1, the mesher's three stages from 0.1, 0.28 and 0.55 up to
// 0.95, and 1 once the mesh is finished and repaired. The point-set surfaces and the mesher are
// described in their own sources.
#include "oxSurfaceReconstruction.h"

#include "frame/oxOptionalReport.h"

#include <algorithm>
#include <chrono>
#include <cmath>

#include "oxAPSSSurface.h"
#include "oxPointSetQuery.h"
#include "oxRIMLSSurface.h"
#include "scenegraph/oxAttributes.h"
#include "scenegraph/oxGeometry.h"

namespace ox {
namespace oxPointSetProcessing {

namespace {

/// Where each stage of a reconstruction starts on the overall progress scale.
constexpr float kQueryEnd = 0.1f;
constexpr float kStageStart[] = {kQueryEnd, 0.28f, 0.55f, 0.95f};

double secondsSince(std::chrono::steady_clock::time_point start)
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// Turns the mesher's per-stage progress values (restarting at 0 in every stage and every
/// growth iteration) into one rising value for the caller.
class tMeshingProgress : public oxProgressNotifierInterface {
public:
    explicit tMeshingProgress(oxProgressNotifierInterface* downstream) : m_downstream(downstream) {}

    void enter(tGridMeshingStage stage) { m_stage = std::min(static_cast<int>(stage), 3); }

    void notifyProgress(float value) override
    {
        const float begin = kStageStart[m_stage], end = kStageStart[std::min(m_stage + 1, 3)];
        const float within = value >= 0.0f ? std::min(value, 1.0f) : 0.0f;  // NaN counts as 0
        const float overall = begin + (end - begin) * within;
        if (overall <= m_shown)
            return;
        m_shown = overall;
        if (m_downstream)
            m_downstream->notifyProgress(overall);
    }

private:
    oxProgressNotifierInterface* m_downstream;
    int m_stage = 0;
    float m_shown = 0.0f;
};

}  // namespace

bool IsReconstructible(const oxVertexBuffer& cloud)
{
    const oxAttributes& layout = cloud.GetAttributes();
    if (cloud.GetVertexQuantity() < static_cast<int>(kMinReconstructionPoints) || !layout.HasNormal() ||
        layout.GetPositionChannels() < 3)
        return false;
    for (int i = 0; i < cloud.GetVertexQuantity(); ++i) {
        const Vec3& p = cloud.Position3(i);
        if (!std::isfinite(p.X()) || !std::isfinite(p.Y()) || !std::isfinite(p.Z()))
            return false;
    }
    return true;
}

namespace {

/// A copy of the cloud's positions and unit normals with a point-size channel, so that
/// computing the radii keeps that buffer and its single normalisation.
oxPointer<oxVertexBuffer> queryBuffer(const oxVertexBuffer& cloud)
{
    oxAttributes layout;
    layout.SetPositionChannels(3);
    layout.SetNormalChannels(3);
    layout.SetPSizeChannels(1);
    const int n = cloud.GetVertexQuantity();
    oxPointer<oxVertexBuffer> buffer(new oxVertexBuffer(layout, n));
    for (int i = 0; i < n; ++i) {
        buffer->Position3(i) = cloud.Position3(i);
        Vec3 normal = cloud.Normal3(i);
        normal.Normalize();
        buffer->Normal3(i) = normal;
        buffer->PSize1(i) = 0.0f;
    }
    return buffer;
}

/// Whether a vertex of `mesh` (cloud frame) lies farther than `fraction` of its nearest
/// point's support radius from that point. O(log n) per vertex.
oxMeshProcessing::tUnsupportedVertexTest unsupportedTest(const oxPointSetQuery& query, const oxTriMesh& mesh,
                                                         float fraction)
{
    return [&query, &mesh, fraction](unsigned int v) {
        const Vec3 p = mesh.GetVertexBuffer()->Position3(static_cast<int>(v));
        Vec3 x;  // the query's normalised frame
        for (int a = 0; a < 3; ++a)
            x[a] = (p[a] - query.getCenter()[a]) / query.getScale();
        const int j = static_cast<int>(query.getNearestVertex(x, kNoIndex));
        const oxVertexBuffer& points = *query.getVertices();
        return (points.Position3(j) - x).Length() > fraction * points.PSize1(j);
    };
}

oxPointer<oxTriMesh> meshSurface(const oxPointSetQuery& query, const tReconstructionOptions& options,
                                 tMeshingProgress& progress, tReconstructionReport& report)
{
    const oxAPSSSurface apss(&query);
    const oxRIMLSSurface rimls(&query);
    const oxPointSetSurface* surface = options.surface == tSurfaceKind::Apss
                                           ? static_cast<const oxPointSetSurface*>(&apss)
                                           : static_cast<const oxPointSetSurface*>(&rimls);
    oxRegularGridSurfaceMesher mesher(surface);
    mesher.setDepth(options.depth);
    mesher.setProgressNotifier(&progress);
    mesher.setStageCallback([&progress](tGridMeshingStage stage) { progress.enter(stage); });
    oxPointer<oxGeometry> geometry(mesher.computeMesh());
    mesher.setProgressNotifier(nullptr);
    report.meshing = mesher.getReport();
    return oxPointer<oxTriMesh>(geometry.get());
}

}  // namespace

Vec3 ToInputFrame(const oxPointSetQuery& query, const Vec3& normalised)
{
    const float* centre = query.getCenter();
    return normalised * query.getScale() + Vec3(centre[0], centre[1], centre[2]);
}

void MapToInputFrame(const oxPointSetQuery& query, oxVertexBuffer& vertices)
{
    for (int v = 0; v < vertices.GetVertexQuantity(); ++v)
        vertices.Position3(v) = ToInputFrame(query, vertices.Position3(v));
}

std::unique_ptr<oxPointSetQuery> BuildReconstructionQuery(const oxVertexBuffer& cloud)
{
    if (!IsReconstructible(cloud))
        return nullptr;
    oxPointer<oxVertexBuffer> points = queryBuffer(cloud);
    auto query = std::make_unique<oxPointSetQuery>(points.get());
    query->computePointRadii();
    return query;
}

oxPointer<oxTriMesh> ReconstructSurface(const oxPointSetQuery& query, const tReconstructionOptions& options,
                                        oxProgressNotifierInterface* progress, tReconstructionReport* report)
{
    tReconstructionReport local;
    tReconstructionReport& out = detail::resetReport(report, local);
    tMeshingProgress meshingProgress(progress);
    oxPointer<oxTriMesh> mesh = meshSurface(query, options, meshingProgress, out);
    out.cellSize = out.meshing.cellSize * query.getScale();

    auto start = std::chrono::steady_clock::now();
    oxVertexBuffer& vertices = *mesh->GetVertexBuffer();
    MapToInputFrame(query, vertices);
    for (int v = 0; v < vertices.GetVertexQuantity(); ++v)
        vertices.Normal3(v) = Vec3(0.0f, 0.0f, 0.0f);  // RecomputeNormals adds to what is there
    oxMeshProcessing::RecomputeNormals(*mesh);
    out.finishSeconds = secondsSince(start);

    if (options.repair) {
        start = std::chrono::steady_clock::now();
        out.repairRequested = true;
        oxMeshProcessing::tRepairOptions repairOptions = options.repairOptions;
        repairOptions.unsupportedVertex = unsupportedTest(query, *mesh, options.unsupportedFraction);
        oxMeshProcessing::RepairMesh(*mesh, oxMeshProcessing::kRepairReconstruction, repairOptions,
                                     &out.repair);
        out.repairSeconds = secondsSince(start);
    }
    if (progress)
        progress->notifyProgress(1.0f);
    return mesh;
}

oxPointer<oxTriMesh> ReconstructSurface(const oxVertexBuffer& cloud, const tReconstructionOptions& options,
                                        oxProgressNotifierInterface* progress, tReconstructionReport* report)
{
    tReconstructionReport local;
    tReconstructionReport& out = detail::resetReport(report, local);
    const auto start = std::chrono::steady_clock::now();
    const std::unique_ptr<oxPointSetQuery> query = BuildReconstructionQuery(cloud);
    if (!query)
        return oxPointer<oxTriMesh>();
    const double querySeconds = secondsSince(start);
    if (progress)
        progress->notifyProgress(kQueryEnd);
    oxPointer<oxTriMesh> mesh = ReconstructSurface(*query, options, progress, &out);
    out.querySeconds = querySeconds;
    return mesh;
}

}  // namespace oxPointSetProcessing
}  // namespace ox
