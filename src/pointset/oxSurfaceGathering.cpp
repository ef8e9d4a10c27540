// The far-field sign rule shared by the point-set surfaces.
#include "oxSurfaceGathering.h"

#include <limits>

namespace ox {
namespace oxSurfaceGathering {

float nearestNormalSide(const oxPointSetQuery& query, const Wm4::Vector3<float>& x) {
    const unsigned int j = query.getNearestVertex(x, 0xFFFFFFFFu);
    const oxVertexBuffer& vb = *query.getVertices();
    const float inf = std::numeric_limits<float>::infinity();
    if (vb.GetVertexQuantity() == 0) return inf;
    const int i = static_cast<int>(j);
    return (vb.Position3(i) - x).Dot(vb.Normal3(i)) > 0.0f ? -inf : inf;
}

}  // namespace oxSurfaceGathering
}  // namespace ox
