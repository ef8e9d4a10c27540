// Normalisation of a cloud into [-1, 1] along its largest axis.
#include <algorithm>
#include <limits>

#include "oxPointSetProcessing.h"

namespace ox {
namespace oxPointSetProcessing {

void CenterAndScale(float* points, unsigned int count, unsigned int stride, float* centre, float* scale)
{
    float lo[3] = {std::numeric_limits<float>::max(), std::numeric_limits<float>::max(),
                   std::numeric_limits<float>::max()};
    float hi[3] = {-lo[0], -lo[1], -lo[2]};
    for (unsigned int i = 0; i < count; ++i) {
        const float* p = points + std::size_t(i) * stride;
        for (int a = 0; a < 3; ++a) {
            lo[a] = std::min(lo[a], p[a]);
            hi[a] = std::max(hi[a], p[a]);
        }
    }
    double c[3] = {0.0, 0.0, 0.0};
    double half = 1.0;
    if (count > 0) {
        double extent = 0.0;
        for (int a = 0; a < 3; ++a) {
            c[a] = (double(lo[a]) + double(hi[a])) / 2.0;
            extent = std::max(extent, double(hi[a]) - double(lo[a]));
        }
        // A cloud of one point, or of identical points, has no extent: it is only moved
        // to the origin instead of being divided by zero.
        half = extent > 0.0 ? extent / 2.0 : 1.0;
    }
    for (unsigned int i = 0; i < count; ++i) {
        float* p = points + std::size_t(i) * stride;
        for (int a = 0; a < 3; ++a)
            p[a] = static_cast<float>((double(p[a]) - c[a]) / half);
    }
    for (int a = 0; a < 3; ++a)
        centre[a] = static_cast<float>(c[a]);
    *scale = static_cast<float>(half);
}

}  // namespace oxPointSetProcessing
}  // namespace ox
