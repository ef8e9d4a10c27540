// The clean-up chain run on remeshed geometry.
#include "oxMeshProcessing.h"

namespace ox {
namespace oxMeshProcessing {

void Filter(oxGeometry& geometry, bool smooth, unsigned int iterations)
{
    KeepSingleConnectedComponent(geometry);
    for (unsigned int i = 0; i < iterations; ++i) {
        if (smooth) {
            SafeLaplacianSmoothing(geometry, 5, 0.2f, nullptr);
        }
        FlipEdges(geometry);
        if (i == 0) {
            HQEdgeCollapse(geometry, nullptr);
        }
    }
}

}  // namespace oxMeshProcessing
}  // namespace ox
