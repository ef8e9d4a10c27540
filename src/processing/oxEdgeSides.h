// The library's edge table: the sides of triangles (or polygons) grouped by undirected edge.
// Repair, statistics, boundary detection and edge enumeration all read edges through it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace ox {
namespace detail {

/// Side c of a face runs from corner c to the face's next corner. The sides are bucketed by
/// their lower vertex with a counting sort, and each bucket is sorted by the higher vertex, so
/// the sides of one undirected edge are adjacent. Cost O(V + C) expected (C corners), 8 bytes
/// per corner plus 8 per vertex; no allocation per edge.
class tEdgeSides {
public:
    /// Sides of `cornerCount / 3` triangles (three corners each). Corners must be below
    /// `vertexCount`.
    tEdgeSides(std::size_t vertexCount, const unsigned int* corners, std::size_t cornerCount);

    /// Sides of polygons: side c runs from corners[c] to corners[next[c]].
    tEdgeSides(std::size_t vertexCount, const unsigned int* corners, std::size_t cornerCount,
               const unsigned int* next);

    /// Corner after `corner` in its face.
    unsigned int nextCorner(unsigned int corner) const
    {
        if (m_next)
            return m_next[corner];
        return corner % 3 == 2 ? corner - 2 : corner + 1;
    }

    /// The side index stored in an entry handed to forEachEdge.
    static unsigned int side(std::uint64_t entry) { return static_cast<unsigned int>(entry); }

    /// Calls visit(lo, hi, sides, count) once per undirected edge {lo <= hi}, in increasing
    /// (lo, hi) order, with the `count` sides lying on it (side(sides[i]) are their indices, in
    /// increasing order).
    template <class Visit>
    void forEachEdge(Visit&& visit) const
    {
        for (std::size_t v = 0; v + 1 < m_start.size(); ++v) {
            const std::size_t end = m_start[v + 1];
            for (std::size_t i = m_start[v]; i < end;) {
                const std::uint64_t hi = m_keys[i] >> 32;
                std::size_t last = i + 1;
                while (last < end && (m_keys[last] >> 32) == hi)
                    ++last;
                visit(static_cast<unsigned int>(v), static_cast<unsigned int>(hi), &m_keys[i], last - i);
                i = last;
            }
        }
    }

private:
    void build(std::size_t vertexCount, std::size_t cornerCount);

    const unsigned int* m_corners;
    const unsigned int* m_next;
    std::vector<std::size_t> m_start;   ///< bucket of each lower vertex, plus the end
    std::vector<std::uint64_t> m_keys;  ///< higher vertex << 32 | side
};

/// The distinct undirected edges of `triangleCount` triangles, numbered by first appearance
/// when walking the triangles in order and, within triangle (a, b, c), the corner pairs (a, b),
/// (b, c), (c, a). On return v0[e] <= v1[e] are the ends of edge e and triangleEdges[3t + k]
/// the edge of corner pair k of triangle t. Indices must be below `vertexCount`. O(V + T).
void enumerateEdges(const unsigned int* indices, unsigned int triangleCount, unsigned int vertexCount,
                    std::vector<unsigned int>& v0, std::vector<unsigned int>& v1,
                    std::vector<unsigned int>& triangleEdges);

}  // namespace detail
}  // namespace ox
