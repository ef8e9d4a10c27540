// Quadric construction, placement and cost of the edge-collapse metric.
//
// Positions are normalised to the bounding box of the vertices (p^ = (p - c) / h, c the box
// centre, h half its largest extent, 1 for a box of zero extent), which keeps the quadrics well
// conditioned whatever the units of the mesh. Every triangle adds one quadric to the cost and to
// the placement quadric of each of its corners:
// - a well-shaped triangle its plane quadric [n; -n.p0][n; -n.p0]^T with weight 1 (no area
//   weighting);
// - a thin (needle-like) triangle, |cross| / longest squared edge < 0.1, the squared distance to
//   the line through its centroid along its longest edge, weighted by 1000.
// The merged vertex minimises the summed placement quadric, divided by the mean of its first
// three diagonal entries when that is positive (so lambda is relative to the quadric's scale),
// plus lambda |x - midpoint|^2: the 4x4 system with last row (0, 0, 0, 1) is solved through its
// inverse. The cost is the summed cost quadric at that point (the two quadric sets hold the same
// values: one is read for the cost, the other for the placement). A collapse is refused (cost
// +infinity) when more than 10 distinct triangle slots, 0xFFFFFFFF counted, surround the edge,
// or when a triangle among them would turn over: a negative dot product of its unnormalised
// normals before and after (a triangle of the edge itself degenerates to zero and passes).
// Merging an edge gives both endpoints the sum of their quadrics.
//
// Based on: Garland and Heckbert, Surface simplification using quadric error metrics, 1997
// (plane quadrics summed over a vertex's triangles, their sum as the collapse cost, the
// minimiser as the merged position).
#include "oxQuadricErrorMetric.h"
#include "oxMeshLibTypes.h"
#include "processing/oxDisjointSets.h"

#include <cmath>
#include <limits>

#include "addons/oxBBox.h"
#include "scenegraph/oxIndexBuffer.h"
#include "scenegraph/oxVertexBuffer.h"

namespace ox {
namespace oxMeshProcessing {

namespace {

typedef Wm4::Matrix4<float> tMat4;
const float kThinTriangleRatio = 0.1f;
const float kLineQuadricWeight = 1000.0f;
const std::size_t kMaxTrianglesAroundEdge = 10;

/// The quadric of one triangle in normalised coordinates (see the header comment).
tMat4 triangleQuadric(const Vec3& p0, const Vec3& p1, const Vec3& p2)
{
    const Vec3 e[3] = {p1 - p0, p2 - p1, p0 - p2};
    const Vec3 cross = e[0].Cross(p2 - p0);
    int longest = 0;
    float longestSquared = e[0].SquaredLength();
    for (int k = 1; k < 3; ++k) {
        if (e[k].SquaredLength() > longestSquared) {
            longest = k;
            longestSquared = e[k].SquaredLength();
        }
    }
    const float ratio = cross.Length() / longestSquared;
    tMat4 q;
    if (ratio < kThinTriangleRatio) {
        // Squared distance to the line through the centroid along the longest edge.
        Vec3 d = e[longest];
        d.Normalize();
        const Vec3 g = (p0 + p1 + p2) * 0.33333334f;
        float A[3][3];
        for (int r = 0; r < 3; ++r) {
            for (int c = 0; c < 3; ++c) {
                A[r][c] = (r == c ? 1.0f : 0.0f) - d[r] * d[c];
            }
        }
        float Ag[3];
        for (int r = 0; r < 3; ++r) {
            Ag[r] = A[r][0] * g[0] + A[r][1] * g[1] + A[r][2] * g[2];
        }
        for (int r = 0; r < 3; ++r) {
            for (int c = 0; c < 3; ++c) {
                q(r, c) = kLineQuadricWeight * A[r][c];
            }
            q(r, 3) = q(3, r) = -kLineQuadricWeight * Ag[r];
        }
        q(3, 3) = kLineQuadricWeight * (g[0] * Ag[0] + g[1] * Ag[1] + g[2] * Ag[2]);
    } else {
        Vec3 n = cross;
        n.Normalize();
        const float plane[4] = {n[0], n[1], n[2], -n.Dot(p0)};
        for (int r = 0; r < 4; ++r) {
            for (int c = 0; c < 4; ++c) {
                q(r, c) = plane[r] * plane[c];
            }
        }
    }
    return q;
}

}  // namespace

oxQuadricErrorMetric::oxQuadricErrorMetric(float lambda)
    : m_squaredMaxError(0.0f), m_center(), m_halfExtent(1.0f), m_lambda(lambda)
{}

void oxQuadricErrorMetric::resolveEndpoints(const tEdge& edge, const std::vector<unsigned int>& vertexParents,
                                            unsigned int& a, unsigned int& b)
{
    a = detail::findRootOf(vertexParents, edge.v0);
    b = detail::findRootOf(vertexParents, edge.v1);
}

void oxQuadricErrorMetric::init(const oxTriMesh& mesh, const std::vector<tEdge>& edges,
                                const std::vector<unsigned int>& vertexParents,
                                const std::vector<unsigned int>& edgeParents,
                                const std::vector<std::map<unsigned int, unsigned int>>& neighbours,
                                std::vector<float>& costs)
{
    initWith(mesh, edges, vertexParents, edgeParents, neighbours, costs);
}

void oxQuadricErrorMetric::init(const oxTriMesh& mesh, const std::vector<tEdge>& edges,
                                const std::vector<unsigned int>& vertexParents,
                                const std::vector<unsigned int>& edgeParents,
                                const std::vector<tNeighbourMap>& neighbours, std::vector<float>& costs)
{
    initWith(mesh, edges, vertexParents, edgeParents, neighbours, costs);
}

template <class Maps>
void oxQuadricErrorMetric::initWith(const oxTriMesh& mesh, const std::vector<tEdge>& edges,
                                    const std::vector<unsigned int>& vertexParents,
                                    const std::vector<unsigned int>& edgeParents, const Maps& neighbours,
                                    std::vector<float>& costs)
{
    const oxVertexBuffer& vb = *mesh.GetVertexBuffer();
    const int vertexCount = vb.GetVertexQuantity();
    m_costQuadrics.assign(static_cast<std::size_t>(vertexCount), tMat4());
    oxBBox box;
    for (int v = 0; v < vertexCount; ++v) {
        box.selfExpand(vb.Position3(v));
    }
    unsigned int axis = 0;
    m_center = vertexCount > 0 ? box.getCenter() : Vec3();
    m_halfExtent = vertexCount > 0 ? 0.5f * box.getMaxExtent(axis) : 0.0f;
    if (!(m_halfExtent > 0.0f)) {
        m_halfExtent = 1.0f;
    }
    const float inverseHalf = 1.0f / m_halfExtent;

    const oxIndexBuffer* ib = mesh.GetIndexBuffer();
    const int triangleCount = ib ? ib->GetIndexQuantity() / 3 : 0;
    for (int t = 0; t < triangleCount; ++t) {
        const unsigned int c[3] = {(*ib)[3 * t], (*ib)[3 * t + 1], (*ib)[3 * t + 2]};
        Vec3 p[3];
        for (int k = 0; k < 3; ++k) {
            p[k] = (vb.Position3(static_cast<int>(c[k])) - m_center) * inverseHalf;
        }
        const tMat4 q = triangleQuadric(p[0], p[1], p[2]);
        for (int k = 0; k < 3; ++k) {
            m_costQuadrics[c[k]] += q;
        }
    }
    m_placementQuadrics = m_costQuadrics;

    costs.resize(edges.size());
    Vec3 position;
    for (std::size_t e = 0; e < edges.size(); ++e) {
        costs[e] = estimateWith(static_cast<unsigned int>(e), mesh, edges, vertexParents, edgeParents,
                                neighbours, position);
    }
}

float oxQuadricErrorMetric::quadricCost(unsigned int a, unsigned int b, const Vec3& x) const
{
    const tMat4& Ka = m_costQuadrics[a];
    const tMat4& Kb = m_costQuadrics[b];
    const float h[4] = {x[0], x[1], x[2], 1.0f};
    float cost = 0.0f;
    for (int r = 0; r < 4; ++r) {
        float row = 0.0f;
        for (int c = 0; c < 4; ++c) {
            row += (Ka(r, c) + Kb(r, c)) * h[c];
        }
        cost += h[r] * row;
    }
    return cost;
}

float oxQuadricErrorMetric::optimalPlacement(const oxTriMesh& mesh, unsigned int a, unsigned int b,
                                             Vec3& normalised) const
{
    tMat4 P = m_placementQuadrics[a] + m_placementQuadrics[b];
    const float s = (P(0, 0) + P(1, 1) + P(2, 2)) * 0.333333f;
    if (s > 0.0f) {
        P /= s;
    }
    const oxVertexBuffer& vb = *mesh.GetVertexBuffer();
    const Vec3 midpoint = (vb.Position3(static_cast<int>(a)) + vb.Position3(static_cast<int>(b))) * 0.5f;
    const Vec3 m = (midpoint - m_center) / m_halfExtent;
    for (int k = 0; k < 3; ++k) {
        P(k, k) += m_lambda;
    }
    P(3, 0) = P(3, 1) = P(3, 2) = 0.0f;
    P(3, 3) = 1.0f;
    const Wm4::Vector4<float> x =
        P.Inverse() * Wm4::Vector4<float>(m_lambda * m[0], m_lambda * m[1], m_lambda * m[2], 1.0f);
    normalised = Vec3(x[0], x[1], x[2]);
    return quadricCost(a, b, normalised);
}

template <class Maps>
bool oxQuadricErrorMetric::neighbourhoodAllows(const oxTriMesh& mesh, unsigned int a, unsigned int b,
                                               const Vec3& position, const std::vector<tEdge>& edges,
                                               const std::vector<unsigned int>& vertexParents,
                                               const std::vector<unsigned int>& edgeParents,
                                               const Maps& neighbours) const
{
    // Distinct triangle slots of the edges around a and b; more than 10 rejects the collapse.
    unsigned int triangles[kMaxTrianglesAroundEdge + 1];
    std::size_t count = 0;
    for (unsigned int endpoint : {a, b}) {
        for (const auto& entry : neighbours[endpoint]) {
            const tEdge& edge = edges[detail::findRootOf(edgeParents, entry.second)];
            for (unsigned int t : {edge.t0, edge.t1}) {
                bool known = false;
                for (std::size_t i = 0; i < count && !known; ++i) {
                    known = triangles[i] == t;
                }
                if (!known) {
                    if (count == kMaxTrianglesAroundEdge) {
                        return false;
                    }
                    triangles[count++] = t;
                }
            }
        }
    }
    // Fold-over: no triangle may turn to face the other way.
    const oxVertexBuffer& vb = *mesh.GetVertexBuffer();
    const unsigned int* indices = mesh.GetIndexBuffer()->GetData();
    for (std::size_t i = 0; i < count; ++i) {
        if (triangles[i] == kNoIndex) {
            continue;
        }
        const unsigned int* c = indices + 3 * triangles[i];
        Vec3 before[3], after[3];
        for (int k = 0; k < 3; ++k) {
            const unsigned int v = detail::findRootOf(vertexParents, c[k]);
            before[k] = vb.Position3(static_cast<int>(v));
            after[k] = (v == a || v == b) ? position : before[k];
        }
        const Vec3 n0 = (before[1] - before[0]).Cross(before[2] - before[0]);
        const Vec3 n1 = (after[1] - after[0]).Cross(after[2] - after[0]);
        if (n0.Dot(n1) < 0.0f) {
            return false;
        }
    }
    return true;
}

float oxQuadricErrorMetric::estimateEdgeCost(
    unsigned int edge, const oxTriMesh& mesh, const std::vector<tEdge>& edges,
    const std::vector<unsigned int>& vertexParents, const std::vector<unsigned int>& edgeParents,
    const std::vector<std::map<unsigned int, unsigned int>>& neighbours, Vec3& position) const
{
    return estimateWith(edge, mesh, edges, vertexParents, edgeParents, neighbours, position);
}

float oxQuadricErrorMetric::estimateEdgeCost(unsigned int edge, const oxTriMesh& mesh,
                                             const std::vector<tEdge>& edges,
                                             const std::vector<unsigned int>& vertexParents,
                                             const std::vector<unsigned int>& edgeParents,
                                             const std::vector<tNeighbourMap>& neighbours,
                                             Vec3& position) const
{
    return estimateWith(edge, mesh, edges, vertexParents, edgeParents, neighbours, position);
}

template <class Maps>
float oxQuadricErrorMetric::estimateWith(unsigned int edge, const oxTriMesh& mesh,
                                         const std::vector<tEdge>& edges,
                                         const std::vector<unsigned int>& vertexParents,
                                         const std::vector<unsigned int>& edgeParents, const Maps& neighbours,
                                         Vec3& position) const
{
    unsigned int a, b;
    resolveEndpoints(edges[edge], vertexParents, a, b);
    Vec3 normalised;
    const float cost = optimalPlacement(mesh, a, b, normalised);
    position = normalised * m_halfExtent + m_center;
    if (std::isnan(cost) ||
        !neighbourhoodAllows(mesh, a, b, position, edges, vertexParents, edgeParents, neighbours)) {
        return std::numeric_limits<float>::infinity();
    }
    return cost;
}

float oxQuadricErrorMetric::estimateEdgeCostAt(unsigned int edge, const oxTriMesh& mesh,
                                               const std::vector<tEdge>& edges,
                                               const std::vector<unsigned int>& vertexParents,
                                               const std::vector<unsigned int>& edgeParents,
                                               const std::vector<tNeighbourMap>& neighbours,
                                               const Vec3& position) const
{
    unsigned int a, b;
    resolveEndpoints(edges[edge], vertexParents, a, b);
    const float cost = quadricCost(a, b, (position - m_center) / m_halfExtent);
    if (std::isnan(cost) ||
        !neighbourhoodAllows(mesh, a, b, position, edges, vertexParents, edgeParents, neighbours)) {
        return std::numeric_limits<float>::infinity();
    }
    return cost;
}

void oxQuadricErrorMetric::collapseEdge(const tEdge& edge)
{
    const unsigned int i = edge.v0, j = edge.v1;
    m_costQuadrics[i] += m_costQuadrics[j];
    m_costQuadrics[j] = m_costQuadrics[i];
    m_placementQuadrics[i] += m_placementQuadrics[j];
    m_placementQuadrics[j] = m_placementQuadrics[i];
}

}  // namespace oxMeshProcessing
}  // namespace ox
