// The compact copy of a query read by the point-set surfaces, and the far-field sign rule.
#include "oxSurfaceGathering.h"

#include <limits>

namespace ox {

using Vec3 = Wm4::Vector3<float>;

void oxSurfaceGathering::makeRecord(const Vec3& p, const Vec3& n, float* record)
{
    record[kPX] = p.X();
    record[kPY] = p.Y();
    record[kPZ] = p.Z();
    record[kPP] = p.SquaredLength();
    record[kNX] = n.X();
    record[kNY] = n.Y();
    record[kNZ] = n.Z();
    record[kPN] = p.Dot(n);
}

oxSurfaceGathering::oxSurfaceGathering(const oxPointSetQuery& query)
{
    const oxPointSetProcessing::oxMiniBVH& bvh = *query.getBVH();
    const float inf = std::numeric_limits<float>::infinity();
    const unsigned int nodes = bvh.getNoNodes();
    m_boxes.resize(nodes);
    m_links.resize(nodes);
    for (unsigned int i = 0; i < nodes; ++i) {
        const oxBBox& box = bvh.getNodeBBox(i);
        m_boxes[i] = tBox{{box.getMin().X(), box.getMin().Y(), box.getMin().Z(), -inf},
                          {box.getMax().X(), box.getMax().Y(), box.getMax().Z(), inf}};
        const oxPointSetProcessing::oxMiniBVHNode& node = bvh.getNode(i);
        m_links[i] = node.isLeaf() ? tLink{node.getFirstPrimIdx(), node.getNoPrimitives()}
                                   : tLink{bvh.getNodeIndex(node.leftChildNode()), kInner};
    }

    const oxVertexBuffer& vb = *query.getVertices();
    const unsigned int count = static_cast<unsigned int>(vb.GetVertexQuantity());
    const std::size_t padded = std::size_t(count) + 3;  // room for a four-wide load at the end
    m_x.assign(padded, 0.0f);
    m_y.assign(padded, 0.0f);
    m_z.assign(padded, 0.0f);
    m_radius.assign(padded, 0.0f);
    m_radius2.assign(padded, 0.0f);
    m_records.resize(count);
    for (unsigned int j = 0; j < count; ++j) {
        const int i = static_cast<int>(j);
        const Vec3& p = vb.Position3(i);
        const float r = vb.PSize1(i);
        m_x[j] = p.X();
        m_y[j] = p.Y();
        m_z[j] = p.Z();
        m_radius[j] = r;
        m_radius2[j] = r * r;
        makeRecord(p, vb.Normal3(i), m_records[j].v);
    }
}

float oxSurfaceGathering::nearestNormalSide(const oxPointSetQuery& query, const Vec3& x)
{
    const unsigned int j = query.getNearestVertex(x, 0xFFFFFFFFu);
    const oxVertexBuffer& vb = *query.getVertices();
    const float inf = std::numeric_limits<float>::infinity();
    if (vb.GetVertexQuantity() == 0)
        return inf;
    const int i = static_cast<int>(j);
    return (vb.Position3(i) - x).Dot(vb.Normal3(i)) > 0.0f ? -inf : inf;
}

}  // namespace ox
