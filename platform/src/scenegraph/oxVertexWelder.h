#pragma once

#include "Wm4/Wm4Vector3.h"

#include <array>
#include <cstdint>
#include <map>
#include <unordered_map>
#include <vector>

namespace ox {
namespace detail {

/// Greedy, deterministic clustering of points fed in order: a point joins the earliest cluster
/// whose representative (its first point) is closer than the tolerance, otherwise it starts a
/// new cluster. Tolerance 0 joins identical positions only; a negative tolerance never joins.
/// Non-finite points always start their own cluster. Cost per point: O(log n) for tolerance 0,
/// O(points in the 27 neighbouring grid cells) for a positive tolerance.
class oxVertexWelder {
public:
    explicit oxVertexWelder(float tolerance);

    /// The cluster of `point`; `isNew` tells whether `point` started it (and represents it).
    int add(const Wm4::Vector3<float>& point, bool& isNew);

    /// Number of clusters so far.
    int getClusterQuantity() const { return static_cast<int>(m_representatives.size()); }

private:
    using Cell = std::array<std::int64_t, 3>;
    struct CellHash {
        std::size_t operator()(const Cell& cell) const;
    };

    Cell cellOf(const Wm4::Vector3<float>& point) const;
    int findInGrid(const Wm4::Vector3<float>& point, const Cell& cell) const;
    int newCluster(const Wm4::Vector3<float>& point, bool& isNew);

    float m_tolerance;
    std::vector<Wm4::Vector3<float>> m_representatives;
    std::map<Wm4::Vector3<float>, int> m_exact;
    std::unordered_map<Cell, std::vector<int>, CellHash> m_grid;
};

}  // namespace detail
}  // namespace ox
