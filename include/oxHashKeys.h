// Fixed-size plain keys of the library's hash tables (oxHashTbl): an octree cell or grid point,
// and an undirected edge between two sample records.
//
// Both keys are compared as raw memory and hashed byte by byte in memory order,
// so they carry no padding and no ordering.
#pragma once

#include <cstdint>
#include <cstring>

namespace ox {

/// Namespace-like holder of the octree's shared record types.
struct tMetaNodeCommon {
    /// Octree cell or canonical grid point, 8 bytes: word 0 = x (low 16 bits) | y (high 16
    /// bits), word 1 = z (low 16 bits) | level or 0 (high 16 bits).
    struct tVertexKey {
        std::uint32_t xy = 0;
        std::uint32_t zl = 0;

        /// The key (0, 0, 0, 0).
        tVertexKey() = default;
        /// Packs a key. Preconditions: every argument below 2^16 (x and z are masked to 16
        /// bits; higher bits of y and level are lost in the shift). O(1).
        tVertexKey(std::uint32_t x, std::uint32_t y, std::uint32_t z, std::uint32_t level)
            : xy((x & 0xFFFFu) | (y << 16)), zl((z & 0xFFFFu) | (level << 16))
        {}

        /// The packed fields. O(1).
        std::uint32_t x() const { return xy & 0xFFFFu; }
        std::uint32_t y() const { return xy >> 16; }
        std::uint32_t z() const { return zl & 0xFFFFu; }
        std::uint32_t level() const { return zl >> 16; }

        /// Equal when both words are equal. O(1).
        bool operator==(const tVertexKey& o) const { return xy == o.xy && zl == o.zl; }
        bool operator!=(const tVertexKey& o) const { return !(*this == o); }
    };
};
static_assert(sizeof(tMetaNodeCommon::tVertexKey) == 8, "tVertexKey is two 32-bit words");

/// An undirected edge between two sample records, named by their addresses with the
/// lower address first, 16 bytes.
struct tEdgeKey {
    std::uint64_t first = 0;
    std::uint64_t second = 0;

    /// The key (0, 0).
    tEdgeKey() = default;
    /// The edge {a, b} in either order: the smaller value first. O(1).
    tEdgeKey(std::uint64_t a, std::uint64_t b) : first(a < b ? a : b), second(a < b ? b : a) {}
    /// The edge between two records, named by their addresses (lower address first). O(1).
    tEdgeKey(const void* a, const void* b)
        : tEdgeKey(static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(a)),
                   static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(b)))
    {}

    /// Equal when both words are equal. O(1).
    bool operator==(const tEdgeKey& o) const { return first == o.first && second == o.second; }
    bool operator!=(const tEdgeKey& o) const { return !(*this == o); }
};
static_assert(sizeof(tEdgeKey) == 16, "tEdgeKey is two 64-bit words");

}  // namespace ox
