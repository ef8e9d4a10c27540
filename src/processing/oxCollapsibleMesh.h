// The connectivity of an edge-manifold triangle mesh under edge collapses: triangles and edges
// with live flags, the live triangles and edges around every vertex, boundary flags, and the
// topological legality of a collapse (link condition, no pinching, no degenerate fan).
#pragma once

#include <vector>

namespace ox {
namespace detail {

class tCollapsibleMesh {
public:
    static constexpr unsigned int NONE = 0xFFFFFFFFu;

    /// The triangles around edge (a, b) and the vertices opposite to it.
    struct tEdgeFan {
        unsigned int triangles = 0;  ///< 1 on the boundary, 2 inside
        unsigned int apex[2] = {NONE, NONE};
    };

    /// Takes the triangle list (3 indices per triangle, all below vertexCount). Returns false,
    /// leaving the object unusable, when a triangle repeats a vertex or an edge belongs to more
    /// than two triangles. O(V + T).
    bool build(const unsigned int* indices, unsigned int triangleCount, unsigned int vertexCount);

    unsigned int liveTriangleCount() const { return m_live; }
    bool isLive(unsigned int t) const { return m_alive[t] != 0; }
    const unsigned int* corners(unsigned int t) const { return &m_corners[3 * std::size_t(t)]; }
    bool onBoundary(unsigned int v) const { return m_boundary[v] != 0; }
    unsigned int vertexCount() const { return static_cast<unsigned int>(m_start.size()); }

    /// The live triangles around v (valid until the next collapse).
    const unsigned int* trianglesBegin(unsigned int v) const { return m_refs.data() + m_start[v]; }
    const unsigned int* trianglesEnd(unsigned int v) const { return m_refs.data() + m_start[v] + m_count[v]; }

    /// Edges: numbered once at build time; a collapse kills the collapsed edge and, at each
    /// apex, the edge from the removed vertex (the survivor's twin edge lives on), and hands
    /// the removed vertex's other edges to the survivor.
    unsigned int edgeCount() const { return static_cast<unsigned int>(m_edgeAlive.size()); }
    bool isEdgeAlive(unsigned int e) const { return m_edgeAlive[e] != 0; }
    unsigned int edgeEnd(unsigned int e, int k) const { return m_edgeEnds[2 * std::size_t(e) + k]; }
    unsigned int otherEnd(unsigned int e, unsigned int v) const
    {
        const unsigned int* ends = &m_edgeEnds[2 * std::size_t(e)];
        return ends[0] == v ? ends[1] : ends[0];
    }
    const unsigned int* edgesBegin(unsigned int v) const { return m_edgeRefs.data() + m_edgeStart[v]; }
    const unsigned int* edgesEnd(unsigned int v) const
    {
        return m_edgeRefs.data() + m_edgeStart[v] + m_edgeCount[v];
    }
    /// The edges the last collapse killed.
    const std::vector<unsigned int>& killedEdges() const { return m_killed; }

    /// Calls f(u) once for every vertex u sharing a live triangle with v.
    template <class F>
    void forEachNeighbour(unsigned int v, F&& f)
    {
        const unsigned int stamp = nextStamp();
        for (const unsigned int* t = trianglesBegin(v); t != trianglesEnd(v); ++t) {
            const unsigned int* c = corners(*t);
            for (int k = 0; k < 3; ++k) {
                if (c[k] != v && m_mark[c[k]] != stamp) {
                    m_mark[c[k]] = stamp;
                    f(c[k]);
                }
            }
        }
    }

    /// Whether collapsing edge (a, b) keeps the mesh an edge-manifold surface of the same
    /// topology: the edge exists, a and b share no neighbour besides the apexes (link
    /// condition), an interior edge does not join two boundary vertices, neither end is a
    /// pinched vertex (several fans meeting), and no apex is left with a degenerate fan. Fills
    /// `fan`. O(triangles around a and b).
    bool canCollapse(unsigned int a, unsigned int b, tEdgeFan& fan);

    /// Collapses edge (survivor, removed), which canCollapse accepted with `fan`: the triangles
    /// of the edge die, the removed vertex's triangles move to the survivor.
    void collapse(unsigned int survivor, unsigned int removed, const tEdgeFan& fan);

private:
    unsigned int nextStamp();
    void numberEdges();
    void moveEdges(unsigned int survivor, unsigned int removed, const tEdgeFan& fan);

    std::vector<unsigned int> m_corners;
    std::vector<char> m_alive;
    std::vector<unsigned int> m_start, m_count, m_refs;
    std::vector<unsigned int> m_edgeEnds;  ///< two vertices per edge
    std::vector<char> m_edgeAlive;
    std::vector<unsigned int> m_edgeStart, m_edgeCount, m_edgeRefs;
    std::vector<unsigned int> m_killed;
    std::vector<char> m_boundary;
    std::vector<char> m_pinched;  ///< vertices where several fans of triangles meet
    std::vector<unsigned int> m_mark;
    unsigned int m_stamp = 0;
    unsigned int m_live = 0;
};

}  // namespace detail
}  // namespace ox
