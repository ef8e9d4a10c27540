// Neighbourhood gathering shared by the point-set surfaces: visits every point of the
// query whose support sphere strictly contains an evaluation position.
//
// The walk descends the query's point hierarchy from the root through the nodes whose box
// (points grown by their support radii) strictly contains the position, left child before
// right child, with an explicit stack and no allocation. Both children's boxes are tested
// at an inner node, so only nodes that can hold a supporting point are ever pushed.
#pragma once

#include "oxPointSetQuery.h"
#include "scenegraph/oxVertexBuffer.h"

namespace ox {
namespace oxSurfaceGathering {

/// One supporting point as the visitor sees it.
struct tSupport {
    const Wm4::Vector3<float>* position;
    const Wm4::Vector3<float>* normal;
    float distance2;  ///< |p - x|^2
    float radius;     ///< r, the point size (support radius); r^2 > distance2
};

/// Strict containment on every axis, inlined (the box is the node's support box).
inline bool strictlyInside(const oxBBox& box, const Wm4::Vector3<float>& x) {
    const Wm4::Vector3<float>& lo = box.getMin();
    const Wm4::Vector3<float>& hi = box.getMax();
    return lo.X() < x.X() && x.X() < hi.X() && lo.Y() < x.Y() && x.Y() < hi.Y() && lo.Z() < x.Z() &&
           x.Z() < hi.Z();
}

/// Calls visit(const tSupport&) for every point j with r_j^2 > |p_j - x|^2 found in the
/// leaves reached through nodes whose box strictly contains x, in hierarchy order (left
/// subtree first, points of a leaf in index order). Precondition: the query is ready
/// (hierarchy, point sizes and node boxes computed) and its buffer has normals. Cost:
/// proportional to the nodes whose box contains x and the points of their leaves.
template <class Visit>
inline void forEachSupportingPoint(const oxPointSetQuery& query, const Wm4::Vector3<float>& x, Visit&& visit) {
    const oxPointSetProcessing::oxMiniBVH& bvh = *query.getBVH();
    if (bvh.getNoNodes() == 0) return;
    const oxPointSetProcessing::oxMiniBVHNode* const nodes = &bvh.getNode(0);
    const oxBBox* const boxes = &bvh.getNodeBBox(0);
    const oxVertexBuffer& vb = *query.getVertices();
    const float* const data = vb.GetData();
    const unsigned int stride = static_cast<unsigned int>(vb.GetChannelQuantity());
    const oxAttributes& layout = vb.GetAttributes();
    const unsigned int positionOffset = static_cast<unsigned int>(layout.GetPositionOffset());
    const unsigned int normalOffset = static_cast<unsigned int>(layout.GetNormalOffset());
    const unsigned int sizeOffset = static_cast<unsigned int>(layout.GetPSizeOffset());

    // Splits happen on distinct Morton code bits (at most 63 levels), so the hierarchy is
    // at most 64 nodes deep and at most one pending right child per level is stacked.
    unsigned int stack[72];
    unsigned int top = 0;
    if (!strictlyInside(boxes[0], x)) return;
    unsigned int node = 0;
    for (;;) {
        const oxPointSetProcessing::oxMiniBVHNode& n = nodes[node];
        if (n.isLeaf()) {
            const unsigned int first = n.getFirstPrimIdx();
            const unsigned int end = first + n.getNoPrimitives();
            for (unsigned int j = first; j < end; ++j) {
                const float* record = data + static_cast<std::size_t>(j) * stride;
                const auto& p = *reinterpret_cast<const Wm4::Vector3<float>*>(record + positionOffset);
                const float dx = p.X() - x.X(), dy = p.Y() - x.Y(), dz = p.Z() - x.Z();
                const float d2 = dx * dx + dy * dy + dz * dz;
                const float r = record[sizeOffset];
                if (r * r > d2) {
                    const tSupport s{&p, reinterpret_cast<const Wm4::Vector3<float>*>(record + normalOffset), d2, r};
                    visit(s);
                }
            }
            if (top == 0) return;
            node = stack[--top];
            continue;
        }
        const unsigned int left = static_cast<unsigned int>(n.leftChildNode() - nodes);
        const bool inLeft = strictlyInside(boxes[left], x);
        const bool inRight = strictlyInside(boxes[left + 1], x);
        if (inLeft) {
            if (inRight) stack[top++] = left + 1;
            node = left;
        } else if (inRight) {
            node = left + 1;
        } else {
            if (top == 0) return;
            node = stack[--top];
        }
    }
}

/// The sign fallback of the surfaces far from the cloud: -infinity when x lies behind the
/// normal of its nearest point ((p - x) . n > 0, inside), +infinity otherwise. O(log n).
float nearestNormalSide(const oxPointSetQuery& query, const Wm4::Vector3<float>& x);

}  // namespace oxSurfaceGathering
}  // namespace ox
