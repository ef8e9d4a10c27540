// Splat radius of every point from the distances to its graph neighbours.
#include <cmath>
#include <vector>

#include "oxPointSetProcessing.h"

namespace ox {
namespace oxPointSetProcessing {

void ComputePointsRadii(unsigned int count, const float* points, unsigned int stride, float* radii,
                        unsigned int radiusStride, const KNN& knn, float factor)
{
    // sqrt(pi) * (n / s)^(1/3) is the radius of a disc whose density matches the inverse
    // cubed half-distances of the neighbours.
    static const float kSqrtPi = std::sqrt(3.14159265358979323846f);
    std::vector<float> collected(count);
    for (unsigned int i = 0; i < count; ++i) {
        const float* p = points + std::size_t(i) * stride;
        const unsigned int n = knn.getNoNeighbours(i);
        const unsigned int* list = knn.getNeighbours(i);
        float s = 0.0f;
        for (unsigned int k = 0; k < n; ++k) {
            const float* q = points + std::size_t(list[k]) * stride;
            const float dx = q[0] - p[0], dy = q[1] - p[1], dz = q[2] - p[2];
            const float half = 0.5f * std::sqrt(dx * dx + dy * dy + dz * dz);
            s += 1.0f / (half * half * half);
        }
        collected[i] = kSqrtPi * powf(float(n) / s, 0.33333334f) * factor;
    }
    for (unsigned int i = 0; i < count; ++i)
        radii[std::size_t(i) * radiusStride] = collected[i];
}

}  // namespace oxPointSetProcessing
}  // namespace ox
