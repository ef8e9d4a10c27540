// Visually lossless simplification by the quadric edge collapse.
#include "oxMeshProcessing.h"

namespace ox {
namespace oxMeshProcessing {

namespace {
const float HQ_LAMBDA = 0.01f;
const float HQ_MAX_ERROR = 1e-3f;
} // namespace

void HQEdgeCollapse(oxTriMesh& mesh, oxProgressNotifierInterface* progress)
{
    oxQuadricErrorMetric metric(HQ_LAMBDA);
    GenericEdgeCollapse(mesh, metric, 0, HQ_MAX_ERROR, nullptr, progress, nullptr);
}

} // namespace oxMeshProcessing
} // namespace ox
