// The triangle rewrite shared by the edge-flip operations.
#pragma once

#include <cstdint>
#include <unordered_set>

namespace ox {
namespace detail {

/// Key of the undirected edge {a, b}: the smaller index in the high word.
inline std::uint64_t undirectedEdgeKey(unsigned int a, unsigned int b)
{
    return a < b ? (std::uint64_t(a) << 32) | b : (std::uint64_t(b) << 32) | a;
}

/// Flips edge ab of the triangle pair c0 = (a, b, c), c1 = (b, a, d) in place: they become
/// (a, d, c) and (d, b, c), with the same winding, and the edge set trades ab for cd.
inline void flipTrianglePair(unsigned int* c0, unsigned int* c1, unsigned int a, unsigned int b,
                             unsigned int c, unsigned int d, std::unordered_set<std::uint64_t>& edges)
{
    c0[0] = a;
    c0[1] = d;
    c0[2] = c;
    c1[0] = d;
    c1[1] = b;
    c1[2] = c;
    edges.erase(undirectedEdgeKey(a, b));
    edges.insert(undirectedEdgeKey(c, d));
}

}  // namespace detail
}  // namespace ox
