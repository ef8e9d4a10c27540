// Which positions lie close to an oriented cloud: within a fraction of the support radius of
// some point. A fitted point-set surface is only trustworthy there; beyond, it extrapolates.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace oxmesh {

class PointSupport {
public:
    /// Indexes `count` points: point j at positions[j * positionStride .. + 3) with support
    /// radius radii[j * radiusStride], supporting the ball of radius fraction * r_j around it.
    /// Every ball is entered in the cells of a uniform grid it overlaps (cell side: the 90th
    /// percentile of the ball radii), so a query reads one cell. O(n log n) time, O(n) memory
    /// for clouds of even density.
    PointSupport(const float* positions, std::size_t positionStride, const float* radii, std::size_t radiusStride,
                 std::size_t count, float fraction);

    /// True when x lies in (or on) the ball of some point. O(log cells + points in its cell).
    bool supports(const float* x) const;

private:
    std::uint64_t cellKey(const long long cell[3]) const;

    const float* positions_;
    std::size_t positionStride_;
    std::vector<float> ballRadius2_;  ///< (fraction * r_j)^2
    double origin_[3] = {0.0, 0.0, 0.0};
    double cell_ = 1.0;
    std::vector<std::uint64_t> keys_;     ///< occupied cells, ascending
    std::vector<std::uint32_t> start_;    ///< per occupied cell: first entry in points_
    std::vector<std::uint32_t> points_;   ///< the balls entered in each cell
};

}  // namespace oxmesh
