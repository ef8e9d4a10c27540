// Greedy colocation in index order through a hashed uniform grid of cells as large as the
// tolerance: every representative within the tolerance of a point lies in one of the 27 cells
// around the point's cell. Exact colocation (tolerance 0) hashes the coordinates' bits.
#include "addons/oxColocate.h"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

namespace ox {

namespace {

constexpr unsigned int kEmpty = 0xFFFFFFFFu;

std::uint64_t mix(std::uint64_t h)
{
    h ^= h >> 33;
    h *= 0xff51afd7ed558ccdULL;
    h ^= h >> 33;
    h *= 0xc4ceb9fe1a85ec53ULL;
    h ^= h >> 33;
    return h;
}

bool isFinite(const float* p)
{
    return std::isfinite(p[0]) && std::isfinite(p[1]) && std::isfinite(p[2]);
}

/// Bit pattern of a coordinate with -0 folded onto +0, so that equal values give equal keys.
std::uint32_t coordinateBits(float value)
{
    if (value == 0.0f)
        value = 0.0f;
    std::uint32_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

/// Slots of an open-addressing table for n entries: a power of two at least 2n.
std::size_t slotsFor(std::size_t n)
{
    std::size_t slots = 16;
    while (slots < 2 * n)
        slots *= 2;
    return slots;
}

/// Visits the points in order: a non-finite point is its own group; otherwise `join(p, i)`
/// returns the representative it joins, or kEmpty after filing it as a new representative.
template <class Join>
std::size_t colocate(const float* points, std::size_t count, std::size_t stride, unsigned int* representative,
                     Join&& join)
{
    std::size_t groups = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const float* p = points + i * stride;
        const unsigned int found = isFinite(p) ? join(p, static_cast<unsigned int>(i)) : kEmpty;
        representative[i] = found == kEmpty ? static_cast<unsigned int>(i) : found;
        groups += found == kEmpty;
    }
    return groups;
}

std::size_t colocateExactly(const float* points, std::size_t count, std::size_t stride,
                            unsigned int* representative)
{
    const std::size_t mask = slotsFor(count) - 1;
    std::vector<unsigned int> table(mask + 1, kEmpty);
    return colocate(points, count, stride, representative, [&](const float* p, unsigned int i) {
        const std::uint32_t kx = coordinateBits(p[0]), ky = coordinateBits(p[1]), kz = coordinateBits(p[2]);
        std::size_t slot = mix((std::uint64_t(kx) << 32 | ky) ^ mix(kz + 0x9e3779b97f4a7c15ULL)) & mask;
        for (;; slot = (slot + 1) & mask) {
            const unsigned int other = table[slot];
            if (other == kEmpty) {
                table[slot] = i;
                return kEmpty;
            }
            const float* q = points + std::size_t(other) * stride;
            if (coordinateBits(q[0]) == kx && coordinateBits(q[1]) == ky && coordinateBits(q[2]) == kz)
                return other;
        }
    });
}

/// Grid coordinate of a value for cells of side `cell`, clamped far inside the int64 range so
/// that huge coordinates (relative to the tolerance) cannot overflow the neighbour offsets.
std::int64_t gridCoordinate(double value, double cell)
{
    constexpr double kLimit = 4.0e18;
    return static_cast<std::int64_t>(std::fmax(-kLimit, std::fmin(kLimit, std::floor(value / cell))));
}

/// Representatives filed by grid cell: an open-addressing table of cells, each cell heading a
/// chain of its representatives through `next`.
class tCellTable {
public:
    explicit tCellTable(std::size_t count) : m_mask(slotsFor(count) - 1), m_slots(m_mask + 1) {}

    /// First representative of `cell` (kEmpty when none); the rest follow through next().
    unsigned int head(const std::int64_t* cell) const
    {
        for (std::size_t slot = hash(cell) & m_mask;; slot = (slot + 1) & m_mask) {
            const tSlot& s = m_slots[slot];
            if (s.head == kEmpty)
                return kEmpty;
            if (s.cell[0] == cell[0] && s.cell[1] == cell[1] && s.cell[2] == cell[2])
                return s.head;
        }
    }

    unsigned int next(unsigned int representative) const { return m_next[representative]; }

    void insert(const std::int64_t* cell, unsigned int representative)
    {
        if (m_next.size() <= representative)
            m_next.resize(std::size_t(representative) + 1, kEmpty);
        for (std::size_t slot = hash(cell) & m_mask;; slot = (slot + 1) & m_mask) {
            tSlot& s = m_slots[slot];
            if (s.head == kEmpty) {
                std::memcpy(s.cell, cell, sizeof s.cell);
                s.head = representative;
                return;
            }
            if (s.cell[0] == cell[0] && s.cell[1] == cell[1] && s.cell[2] == cell[2]) {
                m_next[representative] = s.head;
                s.head = representative;
                return;
            }
        }
    }

private:
    struct tSlot {
        std::int64_t cell[3] = {0, 0, 0};
        unsigned int head = kEmpty;
    };

    static std::uint64_t hash(const std::int64_t* cell)
    {
        return mix(std::uint64_t(cell[0]) ^ mix(std::uint64_t(cell[1]) ^ mix(std::uint64_t(cell[2]))));
    }

    std::size_t m_mask;
    std::vector<tSlot> m_slots;
    std::vector<unsigned int> m_next;
};

std::size_t colocateWithin(const float* points, std::size_t count, std::size_t stride, float tolerance,
                           unsigned int* representative)
{
    const double cell = tolerance;
    const double squaredTolerance = cell * cell;
    tCellTable table(count);
    return colocate(points, count, stride, representative, [&](const float* p, unsigned int i) {
        const std::int64_t home[3] = {gridCoordinate(p[0], cell), gridCoordinate(p[1], cell),
                                      gridCoordinate(p[2], cell)};
        unsigned int best = kEmpty;
        for (std::int64_t dx = -1; dx <= 1; ++dx)
            for (std::int64_t dy = -1; dy <= 1; ++dy)
                for (std::int64_t dz = -1; dz <= 1; ++dz) {
                    const std::int64_t near[3] = {home[0] + dx, home[1] + dy, home[2] + dz};
                    for (unsigned int r = table.head(near); r != kEmpty; r = table.next(r)) {
                        if (r >= best)
                            continue;
                        const float* q = points + std::size_t(r) * stride;
                        const double ex = double(q[0]) - p[0], ey = double(q[1]) - p[1],
                                     ez = double(q[2]) - p[2];
                        if (ex * ex + ey * ey + ez * ez <= squaredTolerance)
                            best = r;
                    }
                }
        if (best == kEmpty)
            table.insert(home, i);
        return best;
    });
}

}  // namespace

std::size_t ColocatePoints(const float* points, std::size_t count, std::size_t stride, float tolerance,
                           unsigned int* representative)
{
    if (!(tolerance >= 0.0f)) {
        for (std::size_t i = 0; i < count; ++i)
            representative[i] = static_cast<unsigned int>(i);
        return count;
    }
    if (tolerance == 0.0f)
        return colocateExactly(points, count, stride, representative);
    return colocateWithin(points, count, stride, tolerance, representative);
}

}  // namespace ox
