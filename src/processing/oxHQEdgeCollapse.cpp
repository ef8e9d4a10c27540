// Visually lossless simplification by the quadric edge collapse: QuadricSimplify with no target
// and an error bound of 1e-3 of half the bounding box's largest side, so only the triangles that
// flat and gently curved regions do not need are removed.
#include "addons/oxBBox.h"
#include "oxMeshProcessing.h"
#include "scenegraph/oxVertexBuffer.h"

namespace ox {
namespace oxMeshProcessing {

namespace {
/// Error bound relative to half the bounding box's largest side.
const float kHqRelativeError = 1e-3f;
}  // namespace

void HQEdgeCollapse(oxTriMesh& mesh, oxProgressNotifierInterface* progress)
{
    const oxVertexBuffer* vertices = mesh.GetVertexBuffer();
    if (vertices == nullptr || vertices->GetVertexQuantity() == 0)
        return;
    oxBBox box(vertices->Position3(0));
    for (int v = 1; v < vertices->GetVertexQuantity(); ++v)
        box.selfExpand(vertices->Position3(v));
    unsigned int axis = 0;
    tQuadricSimplifyOptions options;
    options.maxError = kHqRelativeError * 0.5f * box.getMaxExtent(axis);
    QuadricSimplify(mesh, options, progress, nullptr);
}

}  // namespace oxMeshProcessing
}  // namespace ox
