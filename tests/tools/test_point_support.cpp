// PointSupport against exhaustive search: clouds of uneven density and radii, queries near,
// on the rim of, and far from the balls.
#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "io/PointSupport.h"

namespace {

/// Whether some point's ball (radius fraction * r_j) holds x, by checking every point.
bool supportedByAnyPoint(const std::vector<float>& points, const std::vector<float>& radii, float fraction,
                         const float* x) {
    for (std::size_t j = 0; j < radii.size(); ++j) {
        const float dx = points[4 * j] - x[0], dy = points[4 * j + 1] - x[1], dz = points[4 * j + 2] - x[2];
        const float ball = fraction * radii[j];
        if (dx * dx + dy * dy + dz * dz <= ball * ball) return true;
    }
    return false;
}

TEST(PointSupport, AgreesWithExhaustiveSearch) {
    std::mt19937 rng(17);
    std::uniform_real_distribution<float> unit(0.0f, 1.0f);
    for (const float fraction : {0.5f, 1.0f}) {
        // A dense cluster, a sparse spread and a few outliers with large radii; positions with
        // a fourth channel to exercise the stride, radii in a separate array.
        std::vector<float> points, radii;
        for (int j = 0; j < 3000; ++j) {
            const bool dense = j < 2000, outlier = j % 500 == 7;
            const float spread = dense ? 0.2f : 3.0f;
            points.insert(points.end(), {spread * unit(rng), spread * unit(rng), spread * unit(rng), 0.0f});
            radii.push_back(outlier ? 1.5f : (dense ? 0.01f : 0.2f) * (0.5f + unit(rng)));
        }
        const oxmesh::PointSupport support(points.data(), 4, radii.data(), 1, radii.size(), fraction);
        unsigned inside = 0;
        for (int q = 0; q < 20000; ++q) {
            float x[3];
            if (q % 2) {  // near a point, on either side of its ball's rim
                const std::size_t j = std::size_t(rng() % radii.size());
                for (int a = 0; a < 3; ++a) x[a] = points[4 * j + std::size_t(a)] + fraction * radii[j] * (unit(rng) - 0.5f) * 1.6f;
            } else {
                for (float& c : x) c = -2.0f + 7.0f * unit(rng);
            }
            const bool expected = supportedByAnyPoint(points, radii, fraction, x);
            inside += expected;
            ASSERT_EQ(support.supports(x), expected) << "query " << q;
        }
        EXPECT_GT(inside, 2000u);
        EXPECT_LT(inside, 18000u);
    }
    const oxmesh::PointSupport none(nullptr, 3, nullptr, 1, 0, 0.5f);
    const float origin[3] = {0.0f, 0.0f, 0.0f};
    EXPECT_FALSE(none.supports(origin));
}

}  // namespace
