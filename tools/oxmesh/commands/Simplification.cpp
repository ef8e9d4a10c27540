#include "commands/Simplification.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iostream>
#include <sstream>
#include <unordered_map>
#include <vector>

#include "addons/oxBBox.h"
#include "scenegraph/oxIndexBuffer.h"
#include "scenegraph/oxVertexBuffer.h"

namespace oxmesh {
namespace {

using ox::oxMeshProcessing::tCollapseStop;

unsigned int triangleCount(const ox::oxTriMesh& mesh)
{
    const ox::oxIndexBuffer* indices = mesh.GetIndexBuffer();
    return indices ? unsigned(indices->GetIndexQuantity()) / 3 : 0;
}

/// Vertices on an edge that only one triangle uses. O(T) expected.
std::vector<bool> boundaryVertices(const ox::oxTriMesh& mesh)
{
    const ox::oxIndexBuffer& indices = *mesh.GetIndexBuffer();
    const unsigned int triangles = triangleCount(mesh);
    std::unordered_map<std::uint64_t, unsigned int> uses;
    uses.reserve(3 * std::size_t(triangles));
    auto key = [](std::uint64_t a, std::uint64_t b) { return a < b ? (a << 32) | b : (b << 32) | a; };
    for (unsigned int t = 0; t < triangles; ++t)
        for (int k = 0; k < 3; ++k)
            ++uses[key(indices[int(3 * t) + k], indices[int(3 * t) + (k + 1) % 3])];
    std::vector<bool> boundary(std::size_t(mesh.GetVertexBuffer()->GetVertexQuantity()), false);
    for (const auto& entry : uses)
        if (entry.second == 1)
            boundary[entry.first >> 32] = boundary[entry.first & 0xFFFFFFFFu] = true;
    return boundary;
}

/// Sends standard output into a string while alive (the collapse writes its diagnostics there).
class CaptureStdout {
public:
    CaptureStdout() : previous_(std::cout.rdbuf(captured_.rdbuf())) {}
    ~CaptureStdout() { std::cout.rdbuf(previous_); }
    CaptureStdout(const CaptureStdout&) = delete;
    CaptureStdout& operator=(const CaptureStdout&) = delete;
    std::string text() const { return captured_.str(); }

private:
    std::ostringstream captured_;
    std::streambuf* previous_;
};

/// First line of `text` that starts with `prefix`, or "".
std::string lineStartingWith(const std::string& text, const std::string& prefix)
{
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
        if (line.compare(0, prefix.size(), prefix) == 0)
            return line;
    return "";
}

/// Maps the progress of one collapse run (done / needed of its own collapses) onto the
/// overall fraction of triangles removed towards the target.
class PassProgress : public ox::oxProgressNotifierInterface {
public:
    PassProgress(ox::oxProgressNotifierInterface* outer, unsigned int before, unsigned int passStart,
                 unsigned int target)
        : outer_(outer), before_(before), passStart_(passStart), target_(target)
    {}

    void notifyProgress(float value) override
    {
        if (!outer_ || before_ <= target_)
            return;
        const double removed = double(before_ - passStart_) + double(value) * double(passStart_ - target_);
        outer_->notifyProgress(float(removed / double(before_ - target_)));
    }

private:
    ox::oxProgressNotifierInterface* outer_;
    unsigned int before_, passStart_, target_;
};

/// Sides of the bounding box of the mesh's vertices (zero for no vertices).
Wm4::Vector3<float> boundingBoxSides(const ox::oxTriMesh& mesh)
{
    const ox::oxVertexBuffer& vertices = *mesh.GetVertexBuffer();
    if (vertices.GetVertexQuantity() == 0)
        return Wm4::Vector3<float>(0.0f, 0.0f, 0.0f);
    ox::oxBBox box(vertices.Position3(0));
    for (int v = 1; v < vertices.GetVertexQuantity(); ++v)
        box.selfExpand(vertices.Position3(v));
    return box.getMax() - box.getMin();
}

SimplifyOutcome simplifyByQuadrics(ox::oxTriMesh& mesh, const SimplifyRequest& request,
                                   ox::oxProgressNotifierInterface* progress)
{
    SimplifyOutcome outcome;
    const std::vector<bool> locked = request.lockBoundary ? boundaryVertices(mesh) : std::vector<bool>();
    ox::oxMeshProcessing::tQuadricSimplifyOptions options;
    options.targetTriangleCount = request.targetTriangles;
    options.maxError = float(double(request.maxError) * double(boundingBoxSides(mesh).Length()));
    options.lockedVertices = request.lockBoundary ? &locked : nullptr;
    ox::oxMeshProcessing::tEdgeCollapseReport report;
    {
        CaptureStdout capture;
        ox::oxMeshProcessing::QuadricSimplify(mesh, options, progress, &report);
        outcome.setUpMessage = lineStartingWith(capture.text(), "Error while initializing");
    }
    outcome.passes = 1;
    outcome.stop = report.stop;
    outcome.trianglesBefore = report.trianglesBefore;
    outcome.trianglesAfter = report.trianglesAfter;
    return outcome;
}

SimplifyOutcome simplifyInPasses(ox::oxTriMesh& mesh, const SimplifyRequest& request,
                                 ox::oxProgressNotifierInterface* progress)
{
    SimplifyOutcome outcome;
    outcome.trianglesBefore = outcome.trianglesAfter = triangleCount(mesh);
    // The generic collapse measures in a frame where half the box's largest side is 1.
    const Wm4::Vector3<float> sides = boundingBoxSides(mesh);
    const double halfSide = 0.5 * double(std::max({sides[0], sides[1], sides[2]}));
    const float maxError = halfSide > 0.0
                               ? float(double(request.maxError) * double(sides.Length()) / halfSide)
                               : request.maxError;
    while (outcome.passes < request.maxPasses) {
        if (outcome.passes > 0) {
            const unsigned int flips =
                ox::oxMeshProcessing::FlipEdgesForValence(mesh, request.maxBendDegrees);
            outcome.flips += flips;
            if (flips == 0)
                break;
        }
        const std::vector<bool> locked = request.lockBoundary ? boundaryVertices(mesh) : std::vector<bool>();
        ox::oxMeshProcessing::oxQuadricErrorMetric metric(request.lambda);
        ox::oxMeshProcessing::tEdgeCollapseReport report;
        PassProgress passProgress(progress, outcome.trianglesBefore, outcome.trianglesAfter,
                                  request.targetTriangles);
        std::string diagnostics;
        {
            CaptureStdout capture;
            ox::oxMeshProcessing::GenericEdgeCollapse(mesh, metric, request.targetTriangles, maxError,
                                                      request.lockBoundary ? &locked : nullptr, &passProgress,
                                                      &report);
            diagnostics = capture.text();
        }
        ++outcome.passes;
        outcome.stop = report.stop;
        outcome.trianglesAfter = report.trianglesAfter;
        if (report.stop == tCollapseStop::NotManifold) {
            outcome.setUpMessage = lineStartingWith(diagnostics, "Error while initializing");
            break;
        }
        if (report.stop != tCollapseStop::NoLegalCollapse)
            break;
        if (report.collapses == 0 && outcome.passes > 1)
            break;
    }
    return outcome;
}

}  // namespace

SimplifyOutcome simplifyMesh(ox::oxTriMesh& mesh, const SimplifyRequest& request,
                             ox::oxProgressNotifierInterface* progress)
{
    SimplifyOutcome outcome = request.method == SimplifyMethod::Quadric
                                  ? simplifyByQuadrics(mesh, request, progress)
                                  : simplifyInPasses(mesh, request, progress);
    if (progress && outcome.stop == tCollapseStop::TargetReached)
        progress->notifyProgress(1.0f);
    return outcome;
}

const char* describeStop(tCollapseStop stop)
{
    switch (stop) {
    case tCollapseStop::NotManifold:
        return "input is not manifold";
    case tCollapseStop::TargetAboveCount:
        return "target above the triangle count, nothing to do";
    case tCollapseStop::TargetReached:
        return "target reached";
    case tCollapseStop::ErrorBoundReached:
        return "error bound reached";
    case tCollapseStop::NoLegalCollapse:
        return "no legal collapse left";
    }
    return "unknown";
}

}  // namespace oxmesh
