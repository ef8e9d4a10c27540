// Point-set query: normalisation, hierarchy, neighbour graph, radii and the two spatial
// queries (nearest vertex, points in a sphere) by branch-and-bound over node boxes.
#include "oxPointSetQuery.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "oxSurfaceGathering.h"
#include "scenegraph/oxAttributes.h"

namespace ox {

struct oxPointSetQuery::tOwnedStructures {
    oxPointSetProcessing::oxMiniBVH bvh;
    oxPointSetProcessing::KNN knn;
};

oxPointSetQuery::oxPointSetQuery(oxVertexBuffer* vertices)
    : m_vertices(vertices), m_owned(std::make_shared<tOwnedStructures>())
{
    m_bvh = &m_owned->bvh;
    m_knn = &m_owned->knn;
}

oxPointSetQuery::oxPointSetQuery(oxVertexBuffer* vertices, oxPointSetProcessing::oxMiniBVH* bvh,
                                 oxPointSetProcessing::KNN* knn)
    : m_vertices(vertices), m_bvh(bvh), m_knn(knn), m_pending(0)
{}

// Copy and move share one body: the buffer gains a reference, the hierarchy and the graph
// are shared, the parameters and the pending flag are copied.
oxPointSetQuery::oxPointSetQuery(const oxPointSetQuery& other) = default;
oxPointSetQuery::oxPointSetQuery(oxPointSetQuery&& other)
    : oxPointSetQuery(static_cast<const oxPointSetQuery&>(other))
{}
oxPointSetQuery& oxPointSetQuery::operator=(const oxPointSetQuery& other) = default;
oxPointSetQuery& oxPointSetQuery::operator=(oxPointSetQuery&& other)
{
    return *this = static_cast<const oxPointSetQuery&>(other);
}
oxPointSetQuery::~oxPointSetQuery() = default;

void oxPointSetQuery::computeAccelerationStructure()
{
    oxVertexBuffer& vb = *m_vertices;
    const unsigned int count = static_cast<unsigned int>(vb.GetVertexQuantity());
    float* positions = count ? &vb.Position3(0).X() : nullptr;
    const unsigned int stride = static_cast<unsigned int>(vb.GetChannelQuantity());
    oxPointSetProcessing::CenterAndScale(positions, count, stride, m_center, &m_scale);
    m_bvh->build(positions, count, stride, 21, 16);
    oxPointSetProcessing::ComputeKNN(positions, count, stride, *m_bvh, 16, *m_knn, nullptr);
    m_pending = 0;
}

void oxPointSetQuery::computePointRadii()
{
    if (m_pending)
        computeAccelerationStructure();
    if (!m_vertices->GetAttributes().HasPSize()) {
        const oxVertexBuffer& old = *m_vertices;
        oxAttributes attributes = old.GetAttributes();
        attributes.SetPSizeChannels(1);
        const int count = old.GetVertexQuantity();
        oxPointer<oxVertexBuffer> replacement(new oxVertexBuffer(attributes, count));
        const bool normals = old.GetAttributes().HasNormal();
        for (int i = 0; i < count; ++i) {
            replacement->Position3(i) = old.Position3(i);
            if (normals)
                replacement->Normal3(i) = old.Normal3(i);
            replacement->PSize1(i) = 0.0f;
        }
        m_vertices = replacement;
        computeAccelerationStructure();
    }
    oxVertexBuffer& vb = *m_vertices;
    const unsigned int count = static_cast<unsigned int>(vb.GetVertexQuantity());
    if (count == 0) {
        m_bvh->computeBBoxes(nullptr, 0);
    } else {
        const unsigned int stride = static_cast<unsigned int>(vb.GetChannelQuantity());
        float* sizes = &vb.PSize1(0);
        oxPointSetProcessing::ComputePointsRadii(count, &vb.Position3(0).X(), stride, sizes, stride, *m_knn,
                                                 4.0f);
        m_bvh->computeBBoxes(sizes, stride);
    }
    // The surfaces need normals; a cloud without them gets no copy.
    m_gathering.reset();
    if (vb.GetAttributes().HasNormal())
        m_gathering = std::make_shared<const oxSurfaceGathering>(*this);
}

namespace {

// Branch-and-bound walk over the hierarchy's node boxes shared by both queries: `visit`
// is called for every point of every leaf whose box overlaps the sphere around `centre`
// of squared radius `radius2()` (re-read at every node, so a shrinking radius prunes).
template <class Radius2, class Visit>
void walkSphere(const oxPointSetProcessing::oxMiniBVH& bvh, unsigned int node,
                const Wm4::Vector3<float>& centre, const Radius2& radius2, const Visit& visit)
{
    if (!bvh.getNodeBBox(node).overlapsSphere(centre, radius2()))
        return;
    const oxPointSetProcessing::oxMiniBVHNode& n = bvh.getNode(node);
    if (n.isLeaf()) {
        const unsigned int first = n.getFirstPrimIdx(), end = first + n.getNoPrimitives();
        for (unsigned int j = first; j < end; ++j)
            visit(j);
        return;
    }
    const unsigned int left = bvh.getNodeIndex(n.leftChildNode());
    walkSphere(bvh, left, centre, radius2, visit);
    walkSphere(bvh, left + 1, centre, radius2, visit);
}

/// Squared distance from `c` to box `b` (0 inside; infinity for an empty box).
float boxDistance2(const oxBBox& b, const Wm4::Vector3<float>& c)
{
    if (b.isEmpty())
        return std::numeric_limits<float>::infinity();
    float d2 = 0.0f;
    for (int i = 0; i < 3; ++i) {
        const float gap = c[i] < b.getMin()[i] ? b.getMin()[i] - c[i]
                                               : (c[i] > b.getMax()[i] ? c[i] - b.getMax()[i] : 0.0f);
        d2 += gap * gap;
    }
    return d2;
}

/// Lowers `best2` to the smallest squared distance from `c` to a point other than `excluded`
/// under `node`, visiting the nearer child first and skipping boxes no closer than `best2`.
void nearestDistance2(const oxPointSetProcessing::oxMiniBVH& bvh, unsigned int node, const oxVertexBuffer& vb,
                      const Wm4::Vector3<float>& c, unsigned int excluded, float& best2)
{
    const oxPointSetProcessing::oxMiniBVHNode& n = bvh.getNode(node);
    if (n.isLeaf()) {
        const unsigned int first = n.getFirstPrimIdx(), end = first + n.getNoPrimitives();
        for (unsigned int j = first; j < end; ++j) {
            const float d2 = (vb.Position3(int(j)) - c).SquaredLength();
            if (d2 < best2 && j != excluded)
                best2 = d2;
        }
        return;
    }
    const unsigned int left = bvh.getNodeIndex(n.leftChildNode());
    const float dl = boxDistance2(bvh.getNodeBBox(left), c), dr = boxDistance2(bvh.getNodeBBox(left + 1), c);
    const unsigned int nearer = dl <= dr ? left : left + 1, farther = dl <= dr ? left + 1 : left;
    if (std::min(dl, dr) < best2)
        nearestDistance2(bvh, nearer, vb, c, excluded, best2);
    if (std::max(dl, dr) < best2)
        nearestDistance2(bvh, farther, vb, c, excluded, best2);
}

}  // namespace

unsigned int oxPointSetQuery::getNearestVertex(const Wm4::Vector3<float>& position,
                                               unsigned int excluded) const
{
    if (m_bvh->getNoNodes() == 0)
        return 0;
    const oxVertexBuffer& vb = *m_vertices;
    // The answer is the first point, in left-first order, that comes closest. A nearer-child-
    // first search finds that distance quickly; the left-first walk then starts from just
    // above it, visiting only the nodes that can hold such a point, in the same order.
    float nearest2 = std::numeric_limits<float>::infinity();
    nearestDistance2(*m_bvh, 0, vb, position, excluded, nearest2);
    float best = std::numeric_limits<float>::infinity();
    if (nearest2 < best)
        best = std::max(std::sqrt(nearest2) * 1.000001f, 1.1e-19f);  // best^2 > nearest2
    unsigned int bestIndex = 0;
    walkSphere(
        *m_bvh, 0, position, [&] { return best * best; },
        [&](unsigned int j) {
            const float d2 = (vb.Position3(int(j)) - position).SquaredLength();
            if (best * best > d2 && j != excluded) {
                best = std::sqrt(d2);
                bestIndex = j;
            }
        });
    return bestIndex;
}

unsigned int oxPointSetQuery::getNoPointsInSphere(const Wm4::Vector3<float>& centre, float radius) const
{
    if (m_bvh->getNoNodes() == 0)
        return 0;
    const oxVertexBuffer& vb = *m_vertices;
    const float r2 = radius * radius;
    unsigned int count = 0;
    walkSphere(
        *m_bvh, 0, centre, [r2] { return r2; },
        [&](unsigned int j) {
            if (r2 > (vb.Position3(int(j)) - centre).SquaredLength())
                ++count;
        });
    return count;
}

}  // namespace ox
