#include "oxVertexWelder.h"

#include <cmath>

namespace ox {
namespace detail {

namespace {

bool isFinite(const Wm4::Vector3<float>& p)
{
    return std::isfinite(p.X()) && std::isfinite(p.Y()) && std::isfinite(p.Z());
}

/// Grid coordinate of `value` for cells of size `cellSize`, clamped far inside the int64 range
/// so that huge coordinates (relative to the tolerance) cannot overflow the neighbour offsets.
std::int64_t gridCoordinate(float value, float cellSize)
{
    constexpr double kLimit = 4.0e18;
    const double cell = std::floor(static_cast<double>(value) / static_cast<double>(cellSize));
    return static_cast<std::int64_t>(std::fmax(-kLimit, std::fmin(kLimit, cell)));
}

}  // namespace

std::size_t oxVertexWelder::CellHash::operator()(const Cell& cell) const
{
    std::uint64_t h = 1469598103934665603ull;
    for (std::int64_t c : cell) {
        h ^= static_cast<std::uint64_t>(c);
        h *= 1099511628211ull;
        h ^= h >> 29;
    }
    return static_cast<std::size_t>(h);
}

oxVertexWelder::oxVertexWelder(float tolerance) : m_tolerance(tolerance) {}

oxVertexWelder::Cell oxVertexWelder::cellOf(const Wm4::Vector3<float>& point) const
{
    return {gridCoordinate(point.X(), m_tolerance), gridCoordinate(point.Y(), m_tolerance),
            gridCoordinate(point.Z(), m_tolerance)};
}

int oxVertexWelder::newCluster(const Wm4::Vector3<float>& point, bool& isNew)
{
    isNew = true;
    m_representatives.push_back(point);
    return getClusterQuantity() - 1;
}

int oxVertexWelder::findInGrid(const Wm4::Vector3<float>& point, const Cell& cell) const
{
    // Cells are as large as the tolerance, so every representative closer than it lies in one
    // of the 27 cells around the point's cell. The earliest cluster wins, whatever the cell.
    // Distances in double: the squared tolerance must not underflow for tiny tolerances.
    const double squaredTolerance = static_cast<double>(m_tolerance) * m_tolerance;
    const Wm4::Vector3<double> p(point);
    int best = -1;
    for (std::int64_t dx = -1; dx <= 1; ++dx) {
        for (std::int64_t dy = -1; dy <= 1; ++dy) {
            for (std::int64_t dz = -1; dz <= 1; ++dz) {
                const auto found = m_grid.find({cell[0] + dx, cell[1] + dy, cell[2] + dz});
                if (found == m_grid.end()) {
                    continue;
                }
                for (int cluster : found->second) {
                    const Wm4::Vector3<double> r(m_representatives[static_cast<std::size_t>(cluster)]);
                    const bool closer = (r - p).SquaredLength() < squaredTolerance;
                    if (closer && (best < 0 || cluster < best)) {
                        best = cluster;
                    }
                }
            }
        }
    }
    return best;
}

int oxVertexWelder::add(const Wm4::Vector3<float>& point, bool& isNew)
{
    isNew = false;
    if (m_tolerance < 0.0f || !isFinite(point)) {
        return newCluster(point, isNew);
    }
    if (m_tolerance == 0.0f) {
        const auto found = m_exact.find(point);
        if (found != m_exact.end()) {
            return found->second;
        }
        const int cluster = newCluster(point, isNew);
        m_exact.emplace(point, cluster);
        return cluster;
    }
    const Cell cell = cellOf(point);
    const int existing = findInGrid(point, cell);
    if (existing >= 0) {
        return existing;
    }
    const int cluster = newCluster(point, isNew);
    m_grid[cell].push_back(cluster);
    return cluster;
}

}  // namespace detail
}  // namespace ox
