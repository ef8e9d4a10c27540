#include "io/DuplicatePositions.h"

#include <cmath>
#include <cstring>
#include <limits>

namespace oxmesh {
namespace {

constexpr std::uint32_t kEmpty = std::numeric_limits<std::uint32_t>::max();

/// Bit pattern of a coordinate with -0 folded onto +0, so that equal values give equal keys.
std::uint32_t coordinateBits(float value)
{
    if (value == 0.0f)
        value = 0.0f;
    std::uint32_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

std::uint64_t mix(std::uint64_t h)
{
    h ^= h >> 33;
    h *= 0xff51afd7ed558ccdULL;
    h ^= h >> 33;
    h *= 0xc4ceb9fe1a85ec53ULL;
    h ^= h >> 33;
    return h;
}

}  // namespace

std::vector<std::uint32_t> firstVertexWithSamePosition(const std::vector<float>& positions)
{
    const std::size_t n = positions.size() / 3;
    std::vector<std::uint32_t> first(n);
    std::size_t slots = 16;
    while (slots < 2 * n)
        slots *= 2;
    const std::size_t mask = slots - 1;
    std::vector<std::uint32_t> table(slots, kEmpty);

    for (std::size_t v = 0; v < n; ++v) {
        const float* p = &positions[3 * v];
        first[v] = static_cast<std::uint32_t>(v);
        if (!std::isfinite(p[0]) || !std::isfinite(p[1]) || !std::isfinite(p[2]))
            continue;
        const std::uint32_t kx = coordinateBits(p[0]), ky = coordinateBits(p[1]), kz = coordinateBits(p[2]);
        std::size_t slot = mix((std::uint64_t(kx) << 32 | ky) ^ mix(kz + 0x9e3779b97f4a7c15ULL)) & mask;
        for (;; slot = (slot + 1) & mask) {
            const std::uint32_t other = table[slot];
            if (other == kEmpty) {
                table[slot] = static_cast<std::uint32_t>(v);
                break;
            }
            const float* q = &positions[3 * std::size_t(other)];
            if (coordinateBits(q[0]) == kx && coordinateBits(q[1]) == ky && coordinateBits(q[2]) == kz) {
                first[v] = other;
                break;
            }
        }
    }
    return first;
}

std::size_t countDuplicatePositions(const std::vector<float>& positions)
{
    const std::vector<std::uint32_t> first = firstVertexWithSamePosition(positions);
    std::size_t duplicates = 0;
    for (std::size_t v = 0; v < first.size(); ++v)
        duplicates += first[v] != v;
    return duplicates;
}

}  // namespace oxmesh
