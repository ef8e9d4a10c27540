// Removal of the points whose normal cannot orient a surface (zero or not finite).
#include <cmath>
#include <cstring>

#include "oxPointSetProcessing.h"
#include "scenegraph/oxVertexBuffer.h"

namespace ox {
namespace oxPointSetProcessing {

unsigned int RemovePointsWithoutNormal(oxVertexBuffer& cloud)
{
    if (!cloud.GetAttributes().HasNormal())
        return 0;
    const int n = cloud.GetVertexQuantity();
    const std::size_t stride = static_cast<std::size_t>(cloud.GetChannelQuantity());
    int kept = 0;
    for (int i = 0; i < n; ++i) {
        const Wm4::Vector3<float>& normal = cloud.Normal3(i);
        const double length2 = double(normal.X()) * normal.X() + double(normal.Y()) * normal.Y() +
                               double(normal.Z()) * normal.Z();
        if (!(std::isfinite(length2) && length2 > 0.0))
            continue;
        if (kept != i)
            std::memmove(cloud.GetVertexData(kept), cloud.GetVertexData(i), stride * sizeof(float));
        ++kept;
    }
    if (kept != n)
        cloud.resizeVertexBuffer(kept);
    return static_cast<unsigned int>(n - kept);
}

}  // namespace oxPointSetProcessing
}  // namespace ox
