#include "processing/oxCollapsibleMesh.h"

#include <algorithm>

namespace ox {
namespace detail {

namespace {

/// Rows of `counts[v]` entries laid out one after the other: start[v] gets each row's offset,
/// `refs` the total size, plus room for the rows that collapses append (a row per collapse,
/// about twice the initial rows over a run to a tenth of the triangles).
void layOutRows(const std::vector<unsigned int>& counts, std::vector<unsigned int>& start,
                std::vector<unsigned int>& refs)
{
    start.assign(counts.size(), 0);
    std::size_t total = 0;
    for (std::size_t v = 0; v < counts.size(); ++v) {
        start[v] = static_cast<unsigned int>(total);
        total += counts[v];
    }
    refs.assign(total, 0);
    refs.reserve(2 * total + 1024);
}

/// Removes the first entry of row[0 .. count) for which dead(entry) holds, keeping the order
/// of the others (and with it, repeatability).
template <class Dead>
void dropFirst(unsigned int* row, unsigned int& count, Dead&& dead)
{
    unsigned int* end = row + count;
    unsigned int* hit = std::find_if(row, end, dead);
    if (hit == end)
        return;
    std::copy(hit + 1, end, hit);
    --count;
}

}  // namespace

bool tCollapsibleMesh::build(const unsigned int* indices, unsigned int triangleCount,
                             unsigned int vertexCount)
{
    m_corners.assign(indices, indices + 3 * std::size_t(triangleCount));
    m_alive.assign(triangleCount, 1);
    m_live = triangleCount;
    m_count.assign(vertexCount, 0);
    m_boundary.assign(vertexCount, 0);
    m_mark.assign(vertexCount, 0);
    m_stamp = 0;
    for (unsigned int t = 0; t < triangleCount; ++t) {
        const unsigned int* c = corners(t);
        if (c[0] == c[1] || c[1] == c[2] || c[2] == c[0])
            return false;
        for (int k = 0; k < 3; ++k)
            ++m_count[c[k]];
    }
    layOutRows(m_count, m_start, m_refs);  // filled in triangle order
    std::vector<unsigned int> fill(m_start);
    for (unsigned int t = 0; t < triangleCount; ++t)
        for (int k = 0; k < 3; ++k)
            m_refs[fill[corners(t)[k]]++] = t;

    // Each triangle at v names every neighbour of v once, so an edge (v, u) is counted once
    // per triangle on it: 1 on the boundary, 2 inside, more on a non-manifold edge.
    // The triangles at v joined through their inner edges form v's fans; a vertex where
    // several fans meet (two cones touching at their tips) is pinched.
    std::vector<unsigned int> uses(vertexCount, 0), firstTriangle(vertexCount, 0), fan;
    m_pinched.assign(vertexCount, 0);
    for (unsigned int v = 0; v < vertexCount; ++v) {
        const unsigned int stamp = nextStamp();
        const unsigned int count = m_count[v];
        const unsigned int* row = trianglesBegin(v);
        for (unsigned int i = 0; i < count; ++i) {
            const unsigned int* c = corners(row[i]);
            for (int k = 0; k < 3; ++k) {
                const unsigned int u = c[k];
                if (u == v)
                    continue;
                if (m_mark[u] != stamp) {
                    m_mark[u] = stamp;
                    uses[u] = 0;
                    firstTriangle[u] = i;
                }
                ++uses[u];
            }
        }
        fan.resize(count);
        for (unsigned int i = 0; i < count; ++i)
            fan[i] = i;
        auto root = [&fan](unsigned int i) {
            while (fan[i] != i)
                i = fan[i] = fan[fan[i]];
            return i;
        };
        for (unsigned int i = 0; i < count; ++i) {
            const unsigned int* c = corners(row[i]);
            for (int k = 0; k < 3; ++k) {
                const unsigned int u = c[k];
                if (u == v)
                    continue;
                if (uses[u] > 2)
                    return false;
                if (uses[u] == 1)
                    m_boundary[v] = m_boundary[u] = 1;
                if (uses[u] == 2 && firstTriangle[u] != i)
                    fan[root(i)] = root(firstTriangle[u]);
            }
        }
        unsigned int fans = 0;
        for (unsigned int i = 0; i < count; ++i)
            fans += root(i) == i ? 1u : 0u;
        m_pinched[v] = fans > 1 ? 1 : 0;
    }
    numberEdges();
    return true;
}

void tCollapsibleMesh::numberEdges()
{
    const unsigned int n = vertexCount();
    m_edgeCount.assign(n, 0);
    for (unsigned int v = 0; v < n; ++v)
        forEachNeighbour(v, [&](unsigned int) { ++m_edgeCount[v]; });
    layOutRows(m_edgeCount, m_edgeStart, m_edgeRefs);
    m_edgeEnds.clear();
    m_edgeEnds.reserve(m_edgeRefs.size());
    std::vector<unsigned int> fill(m_edgeStart);
    for (unsigned int v = 0; v < n; ++v) {
        forEachNeighbour(v, [&](unsigned int u) {
            if (u < v)
                return;
            const unsigned int e = static_cast<unsigned int>(m_edgeEnds.size() / 2);
            m_edgeEnds.push_back(v);
            m_edgeEnds.push_back(u);
            m_edgeRefs[fill[v]++] = e;
            m_edgeRefs[fill[u]++] = e;
        });
    }
    m_edgeAlive.assign(m_edgeEnds.size() / 2, 1);
}

unsigned int tCollapsibleMesh::nextStamp()
{
    if (++m_stamp == 0) {  // wrapped: old marks could alias the new stamp
        std::fill(m_mark.begin(), m_mark.end(), 0u);
        m_stamp = 1;
    }
    return m_stamp;
}

bool tCollapsibleMesh::canCollapse(unsigned int a, unsigned int b, tEdgeFan& fan)
{
    fan = tEdgeFan();
    for (const unsigned int* t = trianglesBegin(b); t != trianglesEnd(b); ++t) {
        const unsigned int* c = corners(*t);
        if (c[0] != a && c[1] != a && c[2] != a)
            continue;
        if (fan.triangles == 2)
            return false;  // cannot happen on an edge-manifold mesh
        fan.apex[fan.triangles++] = c[0] != a && c[0] != b ? c[0] : (c[1] != a && c[1] != b ? c[1] : c[2]);
    }
    if (fan.triangles == 0)
        return false;  // not an edge (any more)
    if (fan.triangles == 2 && onBoundary(a) && onBoundary(b))
        return false;  // would pinch
    if (m_pinched[a] || m_pinched[b])
        return false;  // keeps the fans of a pinched vertex apart
    for (unsigned int i = 0; i < fan.triangles; ++i) {
        const unsigned int apex = fan.apex[i];
        // An inner apex keeps at least three triangles, a boundary one at least one.
        if (m_count[apex] <= (onBoundary(apex) ? 1u : 3u))
            return false;
    }
    // Link condition: the only vertices next to both a and b are the apexes.
    const unsigned int stamp = nextStamp();
    for (const unsigned int* e = edgesBegin(a); e != edgesEnd(a); ++e)
        m_mark[otherEnd(*e, a)] = stamp;
    for (const unsigned int* e = edgesBegin(b); e != edgesEnd(b); ++e) {
        const unsigned int u = otherEnd(*e, b);
        if (u != a && m_mark[u] == stamp && u != fan.apex[0] && u != fan.apex[1])
            return false;
    }
    return true;
}

void tCollapsibleMesh::moveEdges(unsigned int survivor, unsigned int removed, const tEdgeFan& fan)
{
    m_killed.clear();
    const std::size_t start = m_edgeRefs.size();
    for (unsigned int v : {survivor, removed}) {
        for (unsigned int i = 0; i < m_edgeCount[v]; ++i) {
            const unsigned int e = m_edgeRefs[m_edgeStart[v] + i];
            unsigned int* ends = &m_edgeEnds[2 * std::size_t(e)];
            const unsigned int other = ends[0] == v ? ends[1] : ends[0];
            if (other == removed) {  // the collapsed edge
                m_edgeAlive[e] = 0;
                m_killed.push_back(e);
                continue;
            }
            if (other == survivor)
                continue;  // the collapsed edge, seen from the removed end
            if (v == removed) {
                if (other == fan.apex[0] || other == fan.apex[1]) {  // twin of a survivor edge
                    m_edgeAlive[e] = 0;
                    m_killed.push_back(e);
                    dropFirst(m_edgeRefs.data() + m_edgeStart[other], m_edgeCount[other],
                              [e](unsigned int x) { return x == e; });
                    continue;
                }
                (ends[0] == removed ? ends[0] : ends[1]) = survivor;
            }
            m_edgeRefs.push_back(e);
        }
    }
    m_edgeStart[survivor] = static_cast<unsigned int>(start);
    m_edgeCount[survivor] = static_cast<unsigned int>(m_edgeRefs.size() - start);
    m_edgeCount[removed] = 0;
}

void tCollapsibleMesh::collapse(unsigned int survivor, unsigned int removed, const tEdgeFan& fan)
{
    const std::size_t start = m_refs.size();
    for (unsigned int v : {survivor, removed}) {
        for (unsigned int i = 0; i < m_count[v]; ++i) {
            const unsigned int t = m_refs[m_start[v] + i];
            unsigned int* c = &m_corners[3 * std::size_t(t)];
            const bool onEdge = (c[0] == survivor || c[1] == survivor || c[2] == survivor) &&
                                (c[0] == removed || c[1] == removed || c[2] == removed);
            if (onEdge) {
                if (v == survivor) {  // seen first from the survivor's row
                    m_alive[t] = 0;
                    --m_live;
                }
                continue;
            }
            for (int k = 0; k < 3; ++k)
                if (c[k] == removed)
                    c[k] = survivor;
            m_refs.push_back(t);
        }
    }
    for (unsigned int i = 0; i < fan.triangles; ++i) {
        // The apex's row still names the dead triangle of the edge.
        const unsigned int apex = fan.apex[i];
        dropFirst(m_refs.data() + m_start[apex], m_count[apex],
                  [this](unsigned int t) { return !m_alive[t]; });
    }
    m_start[survivor] = static_cast<unsigned int>(start);
    m_count[survivor] = static_cast<unsigned int>(m_refs.size() - start);
    m_count[removed] = 0;
    if (m_boundary[removed])
        m_boundary[survivor] = 1;
    moveEdges(survivor, removed, fan);
}

}  // namespace detail
}  // namespace ox
