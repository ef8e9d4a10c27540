// The neighbourhood-limited edge collapse: the set-up of edges, neighbour maps and valencies,
// an indexed queue of edges ordered by cost (ties by the smaller edge index), the legality
// tests of each collapse (boundary, apex valency, link condition, the metric's fold-over and
// crowding test), union-find merging of vertices and edges, and the final rebuild.
//
// The edge at the front of the queue is taken out and re-costed. It is skipped when it was
// merged into another edge or its endpoints already coincide, when it lies on the boundary
// (one triangle), when an apex has valency <= 3, or when the link condition fails (the
// endpoints share a neighbour other than the two apexes). An interior edge whose two ends both
// lie on the boundary is collapsible like any other. The error bound is tested on the queued
// cost only; a recomputed cost that differs from the queued one prints the diagnostic line
// during the first 100 collapses and the collapse proceeds whatever its value (the queued cost
// passed the fold-over and crowding test when it was computed; edges around every survivor are
// re-costed, but an edge further out keeps a cost that a later collapse may have made stale).
// A collapse attaches the larger
// endpoint under the smaller in the vertex forest, gives the survivor the sum of the two
// valencies less 4, merges the quadrics, folds the edge from the removed vertex to each apex
// onto the survivor's, hands the removed vertex's other neighbours to the survivor and re-costs
// every edge around the survivor (an edge locked at both ends leaves the queue). The run ends
// with new buffers: the vertices that represent themselves, in index order, and the triangles
// whose three representatives differ.
//
// Based on: Garland and Heckbert, Surface simplification using quadric error metrics, 1997;
// the link condition of Dey, Edelsbrunner, Guha and Nekhayev, Topology preserving edge
// contraction, 1999.
#include <algorithm>
#include <cmath>

#include "frame/oxMessages.h"
#include "frame/oxOptionalReport.h"
#include "oxMeshProcessing.h"
#include "processing/oxCollapseInput.h"
#include "processing/oxDisjointSets.h"
#include "processing/oxEdgeSides.h"
#include "processing/oxMeshCompaction.h"
#include "processing/oxQuaternaryHeap.h"
#include "scenegraph/oxIndexBuffer.h"
#include "scenegraph/oxVertexBuffer.h"

namespace ox {
namespace oxMeshProcessing {

namespace {

/// Working state of one collapse run.
struct tCollapseRun {
    oxTriMesh& mesh;
    oxQuadricErrorMetric& metric;
    oxVertexBuffer& vertices;
    const unsigned int* indices;
    float squaredMaxError;
    bool hasColor;

    std::vector<tEdge> edges;
    detail::tDisjointSets vertexSets;
    std::vector<unsigned int> edgeParents;
    std::vector<tNeighbourMap> neighbours;
    std::vector<unsigned int> valency;
    std::vector<char> locked;
    std::vector<float> costs;
    detail::tQuaternaryHeap<true> queue;  ///< queued edges by cost, ties by the smaller edge index

    tCollapseRun(oxTriMesh& m, oxQuadricErrorMetric& q)
        : mesh(m), metric(q), vertices(*m.GetVertexBuffer()), indices(m.GetIndexBuffer()->GetData()),
          squaredMaxError(0.0f), hasColor(vertices.GetAttributes().HasColor(0))
    {}

    /// Representative of v, shortening the path.
    unsigned int find(unsigned int v) { return vertexSets.find(v); }

    /// Edge table with triangle slots filled in triangle order, neighbour maps and valencies.
    /// The input passed the collapse input check (no repeated corner, no edge on a third
    /// triangle).
    void setUp(unsigned int triangleCount, unsigned int vertexCount)
    {
        std::vector<unsigned int> v0, v1, triangleEdges;
        detail::enumerateEdges(indices, triangleCount, vertexCount, v0, v1, triangleEdges);
        edges.resize(v0.size());
        for (std::size_t e = 0; e < v0.size(); ++e) {
            edges[e].v0 = v0[e];
            edges[e].v1 = v1[e];
        }
        for (unsigned int t = 0; t < triangleCount; ++t) {
            for (int k = 0; k < 3; ++k) {
                tEdge& edge = edges[triangleEdges[3 * t + k]];
                (edge.t0 == kNoIndex ? edge.t0 : edge.t1) = t;
            }
        }
        vertexSets.reset(vertexCount);
        edgeParents.resize(edges.size());
        neighbours.assign(vertexCount, tNeighbourMap());
        for (unsigned int e = 0; e < edges.size(); ++e) {
            edgeParents[e] = e;
            neighbours[edges[e].v0].insert(edges[e].v1, e);
            neighbours[edges[e].v1].insert(edges[e].v0, e);
        }
        valency.resize(vertexCount);
        for (unsigned int v = 0; v < vertexCount; ++v) {
            valency[v] = static_cast<unsigned int>(neighbours[v].size());
        }
    }

    /// Cost and merged position of edge e: the optimal placement, or the locked endpoint's
    /// position when exactly one endpoint is locked.
    float cost(unsigned int e, Vec3& position)
    {
        const unsigned int a = find(edges[e].v0), b = find(edges[e].v1);
        if (locked[a] != locked[b]) {
            position = vertices.Position3(static_cast<int>(locked[a] ? a : b));
            return metric.estimateEdgeCostAt(e, mesh, edges, vertexSets.parents(), edgeParents, neighbours,
                                             position);
        }
        return metric.estimateEdgeCost(e, mesh, edges, vertexSets.parents(), edgeParents, neighbours,
                                       position);
    }

    bool bothLocked(unsigned int e) { return locked[find(edges[e].v0)] && locked[find(edges[e].v1)]; }

    void enqueue(unsigned int e, float c)
    {
        costs[e] = c;
        queue.set(e, c);
    }

    void dequeue(unsigned int e) { queue.remove(e); }

    /// Corner of triangle t that is neither a nor b (kNoIndex when there is none).
    unsigned int apex(unsigned int t, unsigned int a, unsigned int b)
    {
        for (int k = 0; k < 3; ++k) {
            const unsigned int v = find(indices[3 * t + k]);
            if (v != a && v != b) {
                return v;
            }
        }
        return kNoIndex;
    }

    /// True when a and b share a neighbour other than the two apexes.
    bool linkFails(unsigned int a, unsigned int b, unsigned int c0, unsigned int c1) const
    {
        for (const tNeighbourMap::tEntry& entry : neighbours[a]) {
            const unsigned int n = entry.first;
            if (n != c0 && n != c1 && n != b && neighbours[b].find(n) != kNoIndex) {
                return true;
            }
        }
        return false;
    }

    /// Folds edge r-c onto s-c at apex c (tc the collapsing triangle on that side).
    void mergeApexEdges(unsigned int s, unsigned int r, unsigned int c, unsigned int tc)
    {
        const unsigned int es = neighbours[s].find(c), er = neighbours[r].find(c);
        edgeParents[er] = es;
        dequeue(er);
        const unsigned int otherS = edges[es].t0 == tc ? edges[es].t1 : edges[es].t0;
        const unsigned int otherR = edges[er].t0 == tc ? edges[er].t1 : edges[er].t0;
        edges[es].t0 = std::min(otherS, otherR);
        edges[es].t1 = std::max(otherS, otherR);
        neighbours[c].erase(r);
        --valency[c];
    }

    /// Collapses edge e (endpoints a, b, apexes c0 of t0 and c1 of t1) onto `position`.
    void collapse(unsigned int e, unsigned int a, unsigned int b, unsigned int c0, unsigned int c1,
                  const Vec3& position)
    {
        const unsigned int s = std::min(a, b), r = std::max(a, b);
        vertexSets.attach(r, s);
        valency[s] = valency[a] + valency[b] - 4;
        vertices.Position3(static_cast<int>(s)) = position;
        if (hasColor) {
            vertices.Color3(0, static_cast<int>(s)) = Wm4::ColorRGB(0.2f, 0.2f, 1.0f);
        }
        locked[s] = locked[s] || locked[r];
        tEdge merged;
        merged.v0 = s;
        merged.v1 = r;
        metric.collapseEdge(merged);
        mergeApexEdges(s, r, c0, edges[e].t0);
        mergeApexEdges(s, r, c1, edges[e].t1);
        neighbours[s].erase(r);
        for (const tNeighbourMap::tEntry& entry : neighbours[r]) {
            if (entry.first != s && entry.first != c0 && entry.first != c1) {
                neighbours[s].insert(entry.first, entry.second);
                neighbours[entry.first].rename(r, s);
            }
        }
        neighbours[r].clear();
        // Shorten the parent paths of every corner around the survivor, then re-cost its edges.
        for (const tNeighbourMap::tEntry& entry : neighbours[s]) {
            for (unsigned int t : {edges[entry.second].t0, edges[entry.second].t1}) {
                if (t != kNoIndex) {
                    find(indices[3 * t]);
                    find(indices[3 * t + 1]);
                    find(indices[3 * t + 2]);
                }
            }
        }
        Vec3 unused;
        for (const tNeighbourMap::tEntry& entry : neighbours[s]) {
            if (bothLocked(entry.second)) {
                dequeue(entry.second);
            } else {
                enqueue(entry.second, cost(entry.second, unused));
            }
        }
    }

    /// New buffers: surviving vertices in order, triangles with three distinct representatives.
    void rebuild(unsigned int triangleCount, unsigned int vertexCount)
    {
        oxIndexBuffer& ib = *mesh.GetIndexBuffer();
        std::vector<char> keepTriangle(triangleCount, 0), keepVertex(vertexCount, 0);
        for (unsigned int v = 0; v < vertexCount; ++v) {
            keepVertex[v] = find(v) == v;
        }
        // The corners resolved to representatives go into a copy: the caller's index buffer is
        // never rewritten, only replaced.
        oxPointer<oxIndexBuffer> resolved(new oxIndexBuffer(ib.GetIndexQuantity()));
        resolved->SetIndexBufferType(ib.GetIndexBufferType());
        for (unsigned int t = 0; t < triangleCount; ++t) {
            unsigned int c[3];
            for (int k = 0; k < 3; ++k) {
                c[k] = find(ib[static_cast<int>(3 * t) + k]);
                (*resolved)[static_cast<int>(3 * t) + k] = c[k];
            }
            keepTriangle[t] = c[0] != c[1] && c[1] != c[2] && c[2] != c[0];
        }
        mesh.SetIndexBuffer(resolved.get());
        const oxAttributes layout = vertices.GetAttributes();
        detail::compactMesh(mesh, keepTriangle, keepVertex, layout);
    }
};

/// Paints every vertex (1, 0.2, 0.2) when the buffer has colour unit 0; survivors of collapses
/// are painted (0.2, 0.2, 1) later, so the output shows which vertices absorbed collapses.
void paintInputColours(tCollapseRun& run)
{
    if (!run.hasColor)
        return;
    for (int v = 0; v < run.vertices.GetVertexQuantity(); ++v)
        run.vertices.Color3(0, v) = Wm4::ColorRGB(1.0f, 0.2f, 0.2f);
}

void lockVertices(tCollapseRun& run, const std::vector<bool>* lockedVertices, unsigned int vertexCount)
{
    run.locked.assign(vertexCount, 0);
    if (lockedVertices == nullptr)
        return;
    for (unsigned int v = 0; v < vertexCount && v < lockedVertices->size(); ++v)
        run.locked[v] = (*lockedVertices)[v];
}

/// The metric's quadrics and initial costs; every edge not locked at both ends is queued (an
/// edge with one locked end is costed at that end's position).
void queueEveryEdge(tCollapseRun& run)
{
    run.metric.init(run.mesh, run.edges, run.vertexSets.parents(), run.edgeParents, run.neighbours,
                    run.costs);
    const unsigned int edgeCount = static_cast<unsigned int>(run.edges.size());
    run.queue.reset(edgeCount);
    Vec3 position;
    for (unsigned int e = 0; e < edgeCount; ++e) {
        if (run.bothLocked(e))
            continue;
        if (run.locked[run.edges[e].v0] != run.locked[run.edges[e].v1])
            run.costs[e] = run.cost(e, position);
        run.queue.append(e, run.costs[e]);
    }
    run.queue.heapify();
}

/// Collapses the cheapest legal edges until `needed` collapses are done, the cheapest queued
/// cost reaches the bound, or no legal edge is left. Returns the number of collapses.
unsigned int collapseCheapestEdges(tCollapseRun& run, unsigned int needed,
                                   oxProgressNotifierInterface* progress, tCollapseStop& stop)
{
    unsigned int done = 0;
    stop = tCollapseStop::TargetReached;
    while (done < needed) {
        if (progress != nullptr)
            progress->notifyProgress(static_cast<float>(done) / static_cast<float>(needed));
        if (run.queue.empty()) {
            stop = tCollapseStop::NoLegalCollapse;
            break;
        }
        const unsigned int e = run.queue.topId();
        const float queuedCost = run.queue.topKey();
        if (queuedCost >= run.squaredMaxError) {
            // An infinite front cost means every queued edge is illegal (fold-over or crowded).
            stop = std::isinf(queuedCost) ? tCollapseStop::NoLegalCollapse : tCollapseStop::ErrorBoundReached;
            break;
        }
        run.dequeue(e);
        if (run.edgeParents[e] != e)
            continue;
        Vec3 position;
        const float cost = run.cost(e, position);
        const unsigned int a = run.find(run.edges[e].v0), b = run.find(run.edges[e].v1);
        if (a == b || run.edges[e].t1 == kNoIndex || (run.locked[a] && run.locked[b]))
            continue;
        const unsigned int c0 = run.apex(run.edges[e].t0, a, b), c1 = run.apex(run.edges[e].t1, a, b);
        if (c0 == kNoIndex || c1 == kNoIndex || c0 == c1 || run.valency[c0] <= 3 || run.valency[c1] <= 3 ||
            run.linkFails(a, b, c0, c1))
            continue;
        if (cost != queuedCost && done < 100)
            detail::messages() << "error at edge " << e << " (iteration" << done << "): " << cost
                               << " != " << queuedCost << std::endl;
        // The bound was tested on the queued cost; the recomputed cost only prints the line
        // above, and the collapse proceeds whatever its value.
        run.collapse(e, a, b, c0, c1, position);
        ++done;
    }
    return done;
}

}  // namespace

void GenericEdgeCollapse(oxTriMesh& mesh, oxQuadricErrorMetric& metric, unsigned int targetTriangleCount,
                         float maxError, const std::vector<bool>* lockedVertices,
                         oxProgressNotifierInterface* progress, tEdgeCollapseReport* report)
{
    tEdgeCollapseReport local;
    tEdgeCollapseReport& out = detail::resetReport(report, local);
    const unsigned int triangleCount = static_cast<unsigned int>(mesh.GetTriangleQuantity());
    const unsigned int vertexCount = detail::vertexCount(mesh);
    out.trianglesBefore = out.trianglesAfter = triangleCount;
    metric.setSquaredMaxError(maxError * maxError);
    if (triangleCount == 0 || mesh.GetVertexBuffer() == nullptr) {
        // Nothing to set up: the colours are still painted.
        oxVertexBuffer* vertices = mesh.GetVertexBuffer();
        if (vertices != nullptr && vertices->GetAttributes().HasColor(0))
            for (int v = 0; v < vertices->GetVertexQuantity(); ++v)
                vertices->Color3(0, v) = Wm4::ColorRGB(1.0f, 0.2f, 0.2f);
        out.stop = targetTriangleCount > triangleCount ? tCollapseStop::TargetAboveCount
                                                       : tCollapseStop::TargetReached;
        return;
    }
    if (!detail::acceptCollapseInput(mesh))
        return;

    tCollapseRun run(mesh, metric);
    run.squaredMaxError = metric.getSquaredMaxError();
    run.setUp(triangleCount, vertexCount);
    paintInputColours(run);
    if (targetTriangleCount > triangleCount) {
        out.stop = tCollapseStop::TargetAboveCount;
        return;
    }
    lockVertices(run, lockedVertices, vertexCount);
    queueEveryEdge(run);
    out.collapses = collapseCheapestEdges(run, (triangleCount - targetTriangleCount) / 2, progress, out.stop);
    run.rebuild(triangleCount, vertexCount);
    out.trianglesAfter = static_cast<unsigned int>(mesh.GetTriangleQuantity());
}

}  // namespace oxMeshProcessing
}  // namespace ox
