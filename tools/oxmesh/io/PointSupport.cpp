#include "io/PointSupport.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace oxmesh {

namespace {

constexpr long long kAxisCells = 1LL << 21;  // cells per axis the key can tell apart

}  // namespace

PointSupport::PointSupport(const float* positions, std::size_t positionStride, const float* radii,
                           std::size_t radiusStride, std::size_t count, float fraction)
    : positions_(positions), positionStride_(positionStride), ballRadius2_(count) {
    if (count == 0) {
        start_.push_back(0);
        return;
    }
    std::vector<float> ball(count);
    for (std::size_t j = 0; j < count; ++j) {
        ball[j] = std::fabs(fraction * radii[j * radiusStride]);
        ballRadius2_[j] = ball[j] * ball[j];
    }
    std::vector<float> sorted(ball);
    std::nth_element(sorted.begin(), sorted.begin() + std::ptrdiff_t(9 * (count - 1) / 10), sorted.end());
    double lo[3], hi[3];
    for (int a = 0; a < 3; ++a) {
        lo[a] = std::numeric_limits<double>::infinity();
        hi[a] = -lo[a];
    }
    for (std::size_t j = 0; j < count; ++j)
        for (int a = 0; a < 3; ++a) {
            lo[a] = std::min(lo[a], double(positions[j * positionStride + std::size_t(a)]) - ball[j]);
            hi[a] = std::max(hi[a], double(positions[j * positionStride + std::size_t(a)]) + ball[j]);
        }
    const double extent = std::max({hi[0] - lo[0], hi[1] - lo[1], hi[2] - lo[2], 1e-30});
    // Cells no smaller than the key allows over the whole box.
    cell_ = std::max(double(sorted[9 * (count - 1) / 10]), extent / double(kAxisCells - 2));
    for (int a = 0; a < 3; ++a) origin_[a] = lo[a];

    std::vector<std::pair<std::uint64_t, std::uint32_t>> entries;
    entries.reserve(8 * count);
    for (std::size_t j = 0; j < count; ++j) {
        long long from[3], to[3];
        for (int a = 0; a < 3; ++a) {
            const double c = double(positions[j * positionStride + std::size_t(a)]);
            from[a] = (long long)std::floor((c - ball[j] - origin_[a]) / cell_);
            to[a] = (long long)std::floor((c + ball[j] - origin_[a]) / cell_);
        }
        long long cell[3];
        for (cell[2] = from[2]; cell[2] <= to[2]; ++cell[2])
            for (cell[1] = from[1]; cell[1] <= to[1]; ++cell[1])
                for (cell[0] = from[0]; cell[0] <= to[0]; ++cell[0])
                    entries.emplace_back(cellKey(cell), std::uint32_t(j));
    }
    std::sort(entries.begin(), entries.end());
    points_.reserve(entries.size());
    for (std::size_t e = 0; e < entries.size(); ++e) {
        if (e == 0 || entries[e].first != entries[e - 1].first) {
            keys_.push_back(entries[e].first);
            start_.push_back(std::uint32_t(points_.size()));
        }
        points_.push_back(entries[e].second);
    }
    start_.push_back(std::uint32_t(points_.size()));
}

std::uint64_t PointSupport::cellKey(const long long cell[3]) const {
    std::uint64_t key = 0;
    for (int a = 0; a < 3; ++a) {
        const long long c = std::min(std::max(cell[a] + 1, 0LL), kAxisCells - 1);  // one cell of margin
        key |= std::uint64_t(c) << (21 * a);
    }
    return key;
}

bool PointSupport::supports(const float* x) const {
    long long cell[3];
    for (int a = 0; a < 3; ++a) {
        const double c = std::floor((double(x[a]) - origin_[a]) / cell_);
        if (!(c >= -1.0 && c < double(kAxisCells - 2))) return false;  // outside every ball (or NaN)
        cell[a] = (long long)c;
    }
    const auto it = std::lower_bound(keys_.begin(), keys_.end(), cellKey(cell));
    if (it == keys_.end() || *it != cellKey(cell)) return false;
    const std::size_t k = std::size_t(it - keys_.begin());
    for (std::uint32_t e = start_[k]; e < start_[k + 1]; ++e) {
        const std::uint32_t j = points_[e];
        const float* p = positions_ + std::size_t(j) * positionStride_;
        const float dx = p[0] - x[0], dy = p[1] - x[1], dz = p[2] - x[2];
        if (dx * dx + dy * dy + dz * dz <= ballRadius2_[j]) return true;
    }
    return false;
}

}  // namespace oxmesh
