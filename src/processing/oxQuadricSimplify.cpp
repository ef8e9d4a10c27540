// Greedy quadric edge-collapse simplification: area-weighted plane quadrics carried through
// the whole run, an indexed priority queue of edges re-keyed around every collapse, optimal
// placement regularised towards the edge midpoint, topological and fold-over guards, and a
// final compaction.
//
// - Positions move, in double precision, to a frame centred on the bounding box where half its
//   largest side is 1, so the quadrics stay well conditioned whatever the units of the file.
// - Every vertex holds the plane quadrics of its original triangles, weighted by area, plus the
//   planes through every open border edge perpendicular to its triangle, weighted by ten times
//   the edge's squared length (they hold borders in place and add no area). Merged vertices add
//   their quadrics, so the error is always measured against the input.
// - The merged vertex minimises its quadric plus a pull towards the edge midpoint of 1e-9 times
//   the quadric's weight, which only decides the directions the planes leave free (along a
//   crease, across a flat region); a singular system falls back to the midpoint, and a locked
//   endpoint keeps its position.
// - Candidates are ordered by their quadric error (area times squared distance) in an indexed
//   four-ary heap. The error bound is tested against the area-weighted RMS distance (the root of
//   error over area) of each candidate taken, so a candidate over it is passed over rather than
//   ending the run. After a collapse the survivor's edges are re-keyed. An edge refused for its
//   neighbourhood leaves the queue; when the queue runs dry above the target, the live edges are
//   queued again as long as a collapse happened since the last refill.
// - Legality: the link condition, no inner edge joining two border vertices, no pinched
//   endpoint, every apex keeps at least three triangles (one on a border) (tCollapsibleMesh);
//   then no other triangle around a or b may turn by more than about 78 degrees (cosine 0.2) or
//   become degenerate.
// - The run stops once fewer than target + 2 triangles are live (a collapse removes two, one on
//   a border); untouched vertices keep their exact positions in the compacted buffers.
//
// Based on: Garland and Heckbert, Surface simplification using quadric error metrics, 1997
// (plane quadrics, the optimal placement, perpendicular planes that preserve borders); the link
// condition of Dey, Edelsbrunner, Guha and Nekhayev, Topology preserving edge contraction, 1999;
// the four-ary heap of Johnson, Priority queues with update and finding minimum spanning trees,
// 1975.
#include <algorithm>
#include <cmath>
#include <iostream>
#include <limits>

#include "frame/oxMessages.h"
#include "frame/oxOptionalReport.h"
#include "oxMeshProcessing.h"
#include "processing/oxCollapseInput.h"
#include "processing/oxCollapsibleMesh.h"
#include "processing/oxMeshCompaction.h"
#include "processing/oxQuadric.h"
#include "processing/oxQuaternaryHeap.h"
#include "scenegraph/oxIndexBuffer.h"
#include "scenegraph/oxVertexBuffer.h"

namespace ox {
namespace oxMeshProcessing {

namespace {

using detail::tCollapsibleMesh;
using detail::tPoint3d;
using detail::tQuadric;

/// Pull of a merged vertex towards the edge midpoint, relative to the quadric's total weight:
/// negligible against any direction the planes constrain (even weakly, on gently curved
/// surfaces), decisive only in the directions they leave free (along a crease, across a flat
/// region), where it keeps the placement at the midpoint and the system regular.
const double REGULARISATION = 1e-9;
/// Weight of the planes that hold an open border in place, relative to the squared length of
/// the border edge (a face quadric weighs the triangle's area).
const double BOUNDARY_WEIGHT = 10.0;
/// Smallest cosine allowed between a triangle's normal before and after a collapse.
const double MIN_NORMAL_COSINE = 0.2;

tPoint3d sub(const tPoint3d& p, const tPoint3d& q)
{
    return {p.x - q.x, p.y - q.y, p.z - q.z};
}
tPoint3d cross(const tPoint3d& u, const tPoint3d& v)
{
    return {u.y * v.z - u.z * v.y, u.z * v.x - u.x * v.z, u.x * v.y - u.y * v.x};
}
double dot(const tPoint3d& u, const tPoint3d& v)
{
    return u.x * v.x + u.y * v.y + u.z * v.z;
}

class tSimplification {
public:
    tSimplification(oxTriMesh& mesh, const tQuadricSimplifyOptions& options)
        : m_mesh(mesh), m_options(options), m_vertices(*mesh.GetVertexBuffer())
    {}

    /// Runs the whole simplification; fills `report`.
    void run(oxProgressNotifierInterface* progress, tEdgeCollapseReport& report)
    {
        const unsigned int triangles = static_cast<unsigned int>(m_mesh.GetTriangleQuantity());
        const unsigned int vertices = detail::vertexCount(m_mesh);
        report.trianglesBefore = report.trianglesAfter = triangles;
        if (!m_topology.build(m_mesh.GetIndexBuffer()->GetData(), triangles, vertices)) {
            report.stop = tCollapseStop::NotManifold;  // checked by the driver before
            return;
        }
        if (m_options.targetTriangleCount >= triangles) {
            report.stop = tCollapseStop::TargetAboveCount;
            return;
        }
        loadPositions();
        buildQuadrics();
        m_moved.assign(vertices, 0);
        m_locked.assign(vertices, 0);
        if (m_options.lockedVertices)
            for (unsigned int v = 0; v < vertices && v < m_options.lockedVertices->size(); ++v)
                m_locked[v] = (*m_options.lockedVertices)[v] ? 1 : 0;
        const double bound = m_options.maxError / m_scale;
        m_maxError = bound * bound;

        report.stop = collapseUntilDone(progress);
        report.collapses = m_collapses;
        writeBack();
        report.trianglesAfter = static_cast<unsigned int>(m_mesh.GetTriangleQuantity());
    }

private:
    /// Positions in a frame centred on the bounding box with half its largest side = 1, so the
    /// quadrics stay well conditioned whatever the units of the file.
    void loadPositions()
    {
        const unsigned int n = m_topology.vertexCount();
        double lo[3] = {std::numeric_limits<double>::infinity(), std::numeric_limits<double>::infinity(),
                        std::numeric_limits<double>::infinity()};
        double hi[3] = {-lo[0], -lo[1], -lo[2]};
        for (unsigned int v = 0; v < n; ++v) {
            const Wm4::Vector3<float>& p = m_vertices.Position3(static_cast<int>(v));
            for (int k = 0; k < 3; ++k) {
                lo[k] = std::min(lo[k], double(p[k]));
                hi[k] = std::max(hi[k], double(p[k]));
            }
        }
        const double extent = std::max({hi[0] - lo[0], hi[1] - lo[1], hi[2] - lo[2]});
        m_scale = extent > 0.0 ? 0.5 * extent : 1.0;
        m_centre = {0.5 * (lo[0] + hi[0]), 0.5 * (lo[1] + hi[1]), 0.5 * (lo[2] + hi[2])};
        m_positions.resize(n);
        for (unsigned int v = 0; v < n; ++v) {
            const Wm4::Vector3<float>& p = m_vertices.Position3(static_cast<int>(v));
            m_positions[v] = {(p[0] - m_centre.x) / m_scale, (p[1] - m_centre.y) / m_scale,
                              (p[2] - m_centre.z) / m_scale};
        }
    }

    /// Every triangle adds its plane weighted by its area to its three corners; every border
    /// edge adds the plane through it perpendicular to its triangle to both endpoints.
    void buildQuadrics()
    {
        const unsigned int n = m_topology.vertexCount();
        m_quadrics.assign(n, tQuadric());
        const unsigned int triangles = m_topology.liveTriangleCount();
        for (unsigned int t = 0; t < triangles; ++t) {
            const unsigned int* c = m_topology.corners(t);
            const tPoint3d& p0 = m_positions[c[0]];
            const tPoint3d normal = cross(sub(m_positions[c[1]], p0), sub(m_positions[c[2]], p0));
            const double length = std::sqrt(dot(normal, normal));
            if (!(length > 0.0))
                continue;
            const tPoint3d unit{normal.x / length, normal.y / length, normal.z / length};
            const double area = 0.5 * length;
            tQuadric q;
            q.addPlane(unit.x, unit.y, unit.z, -dot(unit, p0), area, area);
            for (int k = 0; k < 3; ++k)
                m_quadrics[c[k]] += q;
            for (int k = 0; k < 3; ++k) {
                const unsigned int u = c[k], v = c[(k + 1) % 3];
                if (!m_topology.onBoundary(u) || !m_topology.onBoundary(v) || !isBorderEdge(u, v))
                    continue;
                const tPoint3d edge = sub(m_positions[v], m_positions[u]);
                const tPoint3d side = cross(edge, unit);
                const double sideLength = std::sqrt(dot(side, side));
                if (!(sideLength > 0.0))
                    continue;
                const tPoint3d m{side.x / sideLength, side.y / sideLength, side.z / sideLength};
                tQuadric border;
                border.addPlane(m.x, m.y, m.z, -dot(m, m_positions[u]), BOUNDARY_WEIGHT * dot(edge, edge),
                                0.0);
                m_quadrics[u] += border;
                m_quadrics[v] += border;
            }
        }
    }

    /// Whether (u, v) lies on exactly one triangle.
    bool isBorderEdge(unsigned int u, unsigned int v) const
    {
        unsigned int shared = 0;
        for (const unsigned int* t = m_topology.trianglesBegin(u); t != m_topology.trianglesEnd(u); ++t) {
            const unsigned int* c = m_topology.corners(*t);
            shared += (c[0] == v || c[1] == v || c[2] == v) ? 1u : 0u;
        }
        return shared == 1;
    }

    /// Position and quadric error of merging a and b (the quadric's value, an area times a
    /// squared distance); `meanSquared` receives it per unit area. A locked endpoint keeps its
    /// position.
    double evaluate(unsigned int a, unsigned int b, tPoint3d& x, double& meanSquared) const
    {
        tQuadric q = m_quadrics[a];
        q += m_quadrics[b];
        if (m_locked[a]) {
            x = m_positions[a];
        } else if (m_locked[b]) {
            x = m_positions[b];
        } else {
            const tPoint3d& pa = m_positions[a];
            const tPoint3d& pb = m_positions[b];
            const tPoint3d mid{0.5 * (pa.x + pb.x), 0.5 * (pa.y + pb.y), 0.5 * (pa.z + pb.z)};
            if (!q.minimise(mid, REGULARISATION, x))
                x = mid;
        }
        const double cost = q.evaluate(x);
        meanSquared = cost / std::max(q.weight, std::numeric_limits<double>::min());
        return cost;
    }

    /// The queue key of edge e: its quadric error.
    float edgeKey(unsigned int e) const
    {
        tPoint3d x;
        double meanSquared;
        return static_cast<float>(
            evaluate(m_topology.edgeEnd(e, 0), m_topology.edgeEnd(e, 1), x, meanSquared));
    }

    bool collapsible(unsigned int e) const
    {
        return !(m_locked[m_topology.edgeEnd(e, 0)] && m_locked[m_topology.edgeEnd(e, 1)]);
    }

    /// Queues every live edge that is not queued; returns how many.
    unsigned int queueAllEdges()
    {
        unsigned int queued = 0;
        for (unsigned int e = 0; e < m_topology.edgeCount(); ++e) {
            if (!m_topology.isEdgeAlive(e) || m_queue.contains(e) || !collapsible(e))
                continue;
            m_queue.append(e, edgeKey(e));
            ++queued;
        }
        m_queue.heapify();
        return queued;
    }

    /// No triangle around a or b (other than the two that vanish) may turn by more than about
    /// 78 degrees or become degenerate when a and b move to x.
    bool keepsOrientation(unsigned int a, unsigned int b, const tPoint3d& x) const
    {
        for (unsigned int v : {a, b}) {
            for (const unsigned int* t = m_topology.trianglesBegin(v); t != m_topology.trianglesEnd(v); ++t) {
                const unsigned int* c = m_topology.corners(*t);
                tPoint3d before[3], after[3];
                int moved = 0;
                for (int k = 0; k < 3; ++k) {
                    before[k] = after[k] = m_positions[c[k]];
                    if (c[k] == a || c[k] == b) {
                        after[k] = x;
                        ++moved;
                    }
                }
                if (moved == 2)
                    continue;  // a triangle of the edge itself
                const tPoint3d n0 = cross(sub(before[1], before[0]), sub(before[2], before[0]));
                const tPoint3d n1 = cross(sub(after[1], after[0]), sub(after[2], after[0]));
                const double l0 = dot(n0, n0);
                if (!(l0 > 0.0))
                    continue;  // no orientation to lose
                const double d = dot(n0, n1);
                if (d <= 0.0 || d * d < MIN_NORMAL_COSINE * MIN_NORMAL_COSINE * l0 * dot(n1, n1))
                    return false;
            }
        }
        return true;
    }

    tCollapseStop collapseUntilDone(oxProgressNotifierInterface* progress)
    {
        const unsigned int target = m_options.targetTriangleCount;
        const unsigned int start = m_topology.liveTriangleCount();
        const double needed = double(start - target);
        m_queue.reset(m_topology.edgeCount());
        queueAllEdges();
        // Only the edges around a collapse are re-costed, so an edge refused for its
        // neighbourhood (it leaves the queue) may become legal later without coming back:
        // once the queue runs dry above the target, the live edges are queued afresh while
        // that still helps. Candidates are taken by their quadric error (area-weighted); the
        // bound applies to the distance, so a candidate over it is passed over, not a reason
        // to stop.
        unsigned int collapsesAtLastRefill = 0;
        bool overBound = false;
        for (;;) {
            // A collapse removes two triangles (one on a border): stop within one of the target.
            if (m_topology.liveTriangleCount() < target + 2)
                return tCollapseStop::TargetReached;
            if (m_queue.empty()) {
                if (m_collapses == collapsesAtLastRefill)
                    return overBound ? tCollapseStop::ErrorBoundReached : tCollapseStop::NoLegalCollapse;
                overBound = false;
                collapsesAtLastRefill = m_collapses;
                queueAllEdges();
                continue;
            }
            const unsigned int e = m_queue.topId();
            m_queue.remove(e);
            const unsigned int a = std::min(m_topology.edgeEnd(e, 0), m_topology.edgeEnd(e, 1));
            const unsigned int b = std::max(m_topology.edgeEnd(e, 0), m_topology.edgeEnd(e, 1));
            tCollapsibleMesh::tEdgeFan fan;
            if (!m_topology.canCollapse(a, b, fan))
                continue;
            tPoint3d x;
            double meanSquared;
            evaluate(a, b, x, meanSquared);
            if (meanSquared > m_maxError) {
                overBound = true;
                continue;
            }
            if (!keepsOrientation(a, b, x))
                continue;

            const unsigned int survivor = a, removed = b;
            m_topology.collapse(survivor, removed, fan);
            for (const unsigned int killed : m_topology.killedEdges())
                m_queue.remove(killed);
            m_positions[survivor] = x;
            m_moved[survivor] = 1;
            m_quadrics[survivor] += m_quadrics[removed];
            if (m_locked[removed])
                m_locked[survivor] = 1;
            ++m_collapses;
            for (const unsigned int* edge = m_topology.edgesBegin(survivor);
                 edge != m_topology.edgesEnd(survivor); ++edge) {
                if (collapsible(*edge))
                    m_queue.set(*edge, edgeKey(*edge));
                else
                    m_queue.remove(*edge);
            }
            if (progress && (m_collapses & 1023u) == 0)
                progress->notifyProgress(
                    static_cast<float>(double(start - m_topology.liveTriangleCount()) / needed));
        }
    }

    /// Moves the survivors to their positions and replaces the buffers by compacted ones.
    void writeBack()
    {
        const unsigned int triangles = static_cast<unsigned int>(m_mesh.GetTriangleQuantity());
        oxIndexBuffer& ib = *m_mesh.GetIndexBuffer();
        std::vector<char> keepTriangle(triangles, 0);
        std::vector<char> keepVertex(m_topology.vertexCount(), 0);
        for (unsigned int t = 0; t < triangles; ++t) {
            if (!m_topology.isLive(t))
                continue;
            keepTriangle[t] = 1;
            const unsigned int* c = m_topology.corners(t);
            for (int k = 0; k < 3; ++k) {
                ib[static_cast<int>(3 * t) + k] = c[k];
                keepVertex[c[k]] = 1;
            }
        }
        for (unsigned int v = 0; v < m_topology.vertexCount(); ++v) {
            if (!keepVertex[v] || !m_moved[v])
                continue;  // untouched vertices stay bit-exact
            const tPoint3d& p = m_positions[v];
            m_vertices.Position3(static_cast<int>(v)) =
                Wm4::Vector3<float>(static_cast<float>(p.x * m_scale + m_centre.x),
                                    static_cast<float>(p.y * m_scale + m_centre.y),
                                    static_cast<float>(p.z * m_scale + m_centre.z));
        }
        const oxAttributes layout = m_vertices.GetAttributes();
        detail::compactMesh(m_mesh, keepTriangle, keepVertex, layout);
    }

    oxTriMesh& m_mesh;
    const tQuadricSimplifyOptions& m_options;
    oxVertexBuffer& m_vertices;
    tCollapsibleMesh m_topology;
    std::vector<tPoint3d> m_positions;
    std::vector<tQuadric> m_quadrics;
    std::vector<char> m_moved;  ///< survivors of a collapse (the others keep their exact position)
    unsigned int m_collapses = 0;
    std::vector<char> m_locked;
    detail::tQuaternaryHeap<> m_queue;  ///< edges by quadric error
    tPoint3d m_centre;
    double m_scale = 1.0;
    double m_maxError = std::numeric_limits<double>::infinity();
};

}  // namespace

void QuadricSimplify(oxTriMesh& mesh, const tQuadricSimplifyOptions& options,
                     oxProgressNotifierInterface* progress, tEdgeCollapseReport* report)
{
    tEdgeCollapseReport local;
    tEdgeCollapseReport& out = detail::resetReport(report, local);
    const unsigned int triangles = static_cast<unsigned int>(mesh.GetTriangleQuantity());
    out.trianglesBefore = out.trianglesAfter = triangles;
    if (triangles == 0 || mesh.GetVertexBuffer() == nullptr) {
        out.stop = tCollapseStop::TargetAboveCount;
        return;
    }
    if (!detail::acceptCollapseInput(mesh)) {
        out.stop = tCollapseStop::NotManifold;
        return;
    }
    tSimplification(mesh, options).run(progress, out);
}

}  // namespace oxMeshProcessing
}  // namespace ox
