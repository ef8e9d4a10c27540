// Neighbourhood gathering shared by the point-set surfaces: visits every point of the
// query whose support sphere strictly contains an evaluation position.
//
// The walk descends the query's point hierarchy from the root through the nodes whose box
// (points grown by their support radii) strictly contains the position, left child before
// right child, with an explicit stack and no allocation. Both children's boxes are tested
// at an inner node, so only nodes that can hold a supporting point are ever pushed.
//
// Every surface evaluation re-fits from the points, so this walk is the hot loop of the
// meshers. A ready query therefore carries a compact copy of what the walk reads, made
// once by computePointRadii: node boxes padded to four floats next to the node links,
// positions and radii as separate arrays (four points tested per step) and, per point, an
// eight-float record (p, |p|^2, n, p . n) that the fits accumulate directly. Without that
// copy (a query whose point sizes were written by its caller) the same walk reads the
// vertex buffer. Both produce the same supporting points, in the same order, with
// bit-identical weights and records.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

#include "oxPointSetQuery.h"
#include "oxPointSetSurface.h"
#include "scenegraph/oxVertexBuffer.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace ox {

class oxSurfaceGathering {
public:
    /// Layout of a point record: position, its squared length, normal, position . normal
    /// (computed with Wm4's SquaredLength and Dot, so sums built from them match sums built
    /// from the vectors).
    enum : unsigned int { kPX, kPY, kPZ, kPP, kNX, kNY, kNZ, kPN, kRecordSize };

    /// Four floats added, multiplied and divided lane by lane: the same correctly rounded
    /// operations as four scalar lines, one instruction each where the target has them.
    typedef float tFloat4 __attribute__((vector_size(16)));
    /// Four consecutive floats, no alignment needed.
    static tFloat4 load4(const float* v)
    {
        tFloat4 r;
        std::memcpy(&r, v, sizeof r);
        return r;
    }

    /// One supporting point as a fit sees it.
    struct tSupport {
        float weight;         ///< WeightFunction(|p - x| / r), r the point size
        const float* record;  ///< kRecordSize floats, see the layout above
    };

    /// Copies the points (positions, normals, point sizes) and the node boxes of a ready
    /// query whose buffer has normals, in hierarchy order. O(points + nodes) time and
    /// about 60 bytes per point.
    explicit oxSurfaceGathering(const oxPointSetQuery& query);

    /// Calls visit(const tSupport&) for every point j with r_j^2 > |p_j - x|^2 found in
    /// the leaves reached through nodes whose box strictly contains x, in hierarchy order
    /// (left subtree first, points of a leaf in index order). Reads the query's compact
    /// copy when it has one, else its buffer. Precondition: the query is ready and its
    /// buffer has normals. Cost: proportional to the nodes whose box contains x and the
    /// points of their leaves; no allocation.
    template <class Visit>
    static void forEachSupportingPoint(const oxPointSetQuery& query, const Wm4::Vector3<float>& x,
                                       Visit&& visit);

    /// True when the query carries the compact copy: the records handed to a visitor then
    /// stay valid as long as the query's copy (until computePointRadii runs again). O(1).
    static bool hasCompactCopy(const oxPointSetQuery& query) { return query.m_gathering != nullptr; }

    /// The sign fallback of the surfaces far from the cloud: -infinity when x lies behind
    /// the normal of its nearest point ((p - x) . n > 0, inside), +infinity otherwise (also
    /// for an empty cloud). O(log n) typical.
    static float nearestNormalSide(const oxPointSetQuery& query, const Wm4::Vector3<float>& x);

private:
    /// A node box, each corner padded with a fourth coordinate (-inf below, +inf above)
    /// that every position passes, so a box test is one four-wide comparison pair.
    struct alignas(16) tBox {
        float lo[4];
        float hi[4];
    };
    /// A node link: an inner node's left child (the right child follows it), or a leaf's
    /// point range.
    struct tLink {
        std::uint32_t first;  ///< left child, or first point of the leaf
        std::uint32_t count;  ///< points of the leaf; kInner for an inner node
    };
    static constexpr std::uint32_t kInner = 0xFFFFFFFFu;
    struct alignas(32) tRecord {
        float v[kRecordSize];
    };

    class tCompactTree;
    class tBufferTree;

    template <class Tree, class Visit>
    static void walk(const Tree& tree, Visit& visit);

    /// Fills a record from a position and a normal.
    static void makeRecord(const Wm4::Vector3<float>& p, const Wm4::Vector3<float>& n, float* record);

    std::vector<tBox> m_boxes;
    std::vector<tLink> m_links;
    // Positions and radii, one array per coordinate, padded by three entries so that a
    // four-wide load at a leaf's last point stays inside.
    std::vector<float> m_x, m_y, m_z, m_radius, m_radius2;
    std::vector<tRecord> m_records;
};

// ------------------------------------------------------------------ the two hierarchies

/// The hierarchy view of the compact copy: four-wide box tests, four points per step.
class oxSurfaceGathering::tCompactTree {
public:
    tCompactTree(const oxSurfaceGathering& g, const Wm4::Vector3<float>& x) : m_g(g), m_x(x)
    {
#if defined(__SSE2__)
        m_x4 = _mm_setr_ps(x.X(), x.Y(), x.Z(), 0.0f);
#endif
    }

    unsigned int nodeCount() const
    {
        return static_cast<unsigned int>(m_g.m_links.size());
    }
    bool isLeaf(unsigned int node) const
    {
        return m_g.m_links[node].count != kInner;
    }
    unsigned int leftChild(unsigned int node) const
    {
        return m_g.m_links[node].first;
    }

    /// Strict containment of x in the node's box.
    bool contains(unsigned int node) const
    {
        const tBox& b = m_g.m_boxes[node];
#if defined(__SSE2__)
        const __m128 inside =
            _mm_and_ps(_mm_cmplt_ps(_mm_load_ps(b.lo), m_x4), _mm_cmplt_ps(m_x4, _mm_load_ps(b.hi)));
        return _mm_movemask_ps(inside) == 0xF;
#else
        return b.lo[0] < m_x.X() && m_x.X() < b.hi[0] && b.lo[1] < m_x.Y() && m_x.Y() < b.hi[1] &&
               b.lo[2] < m_x.Z() && m_x.Z() < b.hi[2];
#endif
    }

    /// Visits the supporting points of a leaf in index order.
    template <class Visit>
    void scanLeaf(unsigned int node, Visit& visit) const
    {
        const unsigned int first = m_g.m_links[node].first;
        const unsigned int end = first + m_g.m_links[node].count;
        const float* const px = m_g.m_x.data();
        const float* const py = m_g.m_y.data();
        const float* const pz = m_g.m_z.data();
        const float* const pr = m_g.m_radius.data();
        const float* const pr2 = m_g.m_radius2.data();
        const tRecord* const records = m_g.m_records.data();
#if defined(__SSE2__)
        const __m128 x = _mm_set1_ps(m_x.X()), y = _mm_set1_ps(m_x.Y()), z = _mm_set1_ps(m_x.Z());
        const __m128 one = _mm_set1_ps(1.0f);
        for (unsigned int j = first; j < end; j += 4) {
            const __m128 dx = _mm_sub_ps(_mm_loadu_ps(px + j), x);
            const __m128 dy = _mm_sub_ps(_mm_loadu_ps(py + j), y);
            const __m128 dz = _mm_sub_ps(_mm_loadu_ps(pz + j), z);
            // (dx dx + dy dy) + dz dz, the order of the scalar expression.
            const __m128 d2 =
                _mm_add_ps(_mm_add_ps(_mm_mul_ps(dx, dx), _mm_mul_ps(dy, dy)), _mm_mul_ps(dz, dz));
            unsigned int mask =
                static_cast<unsigned int>(_mm_movemask_ps(_mm_cmplt_ps(d2, _mm_loadu_ps(pr2 + j))));
            if (end - j < 4)
                mask &= (1u << (end - j)) - 1u;
            if (mask == 0)
                continue;
            // WeightFunction(sqrt(d2) / r) on four lanes: the same correctly rounded
            // operations as the scalar function, min(q, 1) included (NaN gives 1).
            const __m128 q = _mm_div_ps(_mm_sqrt_ps(d2), _mm_loadu_ps(pr + j));
            const __m128 t = _mm_sub_ps(one, _mm_min_ps(_mm_mul_ps(q, q), one));
            const __m128 tt = _mm_mul_ps(t, t);
            alignas(16) float weights[4];
            _mm_store_ps(weights, _mm_mul_ps(tt, tt));
            do {
                const unsigned int k = static_cast<unsigned int>(__builtin_ctz(mask));
                mask &= mask - 1u;
                const tSupport s{weights[k], records[j + k].v};
                visit(s);
            } while (mask != 0);
        }
#else
        for (unsigned int j = first; j < end; ++j) {
            const float dx = px[j] - m_x.X(), dy = py[j] - m_x.Y(), dz = pz[j] - m_x.Z();
            const float d2 = dx * dx + dy * dy + dz * dz;
            if (!(pr2[j] > d2))
                continue;
            const tSupport s{oxPointSetSurface::WeightFunction(std::sqrt(d2) / pr[j]), records[j].v};
            visit(s);
        }
#endif
    }

private:
    const oxSurfaceGathering& m_g;
    const Wm4::Vector3<float>& m_x;
#if defined(__SSE2__)
    __m128 m_x4;
#endif
};

/// The hierarchy view of a query without compact copy: its own nodes, boxes and buffer.
class oxSurfaceGathering::tBufferTree {
public:
    tBufferTree(const oxPointSetQuery& query, const Wm4::Vector3<float>& x)
        : m_bvh(*query.getBVH()), m_x(x), m_vb(*query.getVertices())
    {}

    unsigned int nodeCount() const { return m_bvh.getNoNodes(); }
    bool isLeaf(unsigned int node) const { return m_bvh.getNode(node).isLeaf(); }
    unsigned int leftChild(unsigned int node) const
    {
        return m_bvh.getNodeIndex(m_bvh.getNode(node).leftChildNode());
    }
    bool contains(unsigned int node) const
    {
        const oxBBox& box = m_bvh.getNodeBBox(node);
        const Wm4::Vector3<float>& lo = box.getMin();
        const Wm4::Vector3<float>& hi = box.getMax();
        return lo.X() < m_x.X() && m_x.X() < hi.X() && lo.Y() < m_x.Y() && m_x.Y() < hi.Y() &&
               lo.Z() < m_x.Z() && m_x.Z() < hi.Z();
    }

    template <class Visit>
    void scanLeaf(unsigned int node, Visit& visit) const
    {
        const oxPointSetProcessing::oxMiniBVHNode& n = m_bvh.getNode(node);
        const unsigned int first = n.getFirstPrimIdx();
        const unsigned int end = first + n.getNoPrimitives();
        for (unsigned int j = first; j < end; ++j) {
            const int i = static_cast<int>(j);
            const Wm4::Vector3<float>& p = m_vb.Position3(i);
            const float dx = p.X() - m_x.X(), dy = p.Y() - m_x.Y(), dz = p.Z() - m_x.Z();
            const float d2 = dx * dx + dy * dy + dz * dz;
            const float r = m_vb.PSize1(i);
            if (!(r * r > d2))
                continue;
            float record[kRecordSize];
            makeRecord(p, m_vb.Normal3(i), record);
            const tSupport s{oxPointSetSurface::WeightFunction(std::sqrt(d2) / r), record};
            visit(s);
        }
    }

private:
    const oxPointSetProcessing::oxMiniBVH& m_bvh;
    const Wm4::Vector3<float>& m_x;
    const oxVertexBuffer& m_vb;
};

// ------------------------------------------------------------------ the walk

template <class Tree, class Visit>
void oxSurfaceGathering::walk(const Tree& tree, Visit& visit)
{
    if (tree.nodeCount() == 0 || !tree.contains(0))
        return;
    // Splits happen on distinct Morton code bits (at most 63 levels), so the hierarchy is
    // at most 64 nodes deep and at most one pending right child per level is stacked.
    unsigned int stack[72];
    unsigned int top = 0;
    unsigned int node = 0;
    for (;;) {
        if (tree.isLeaf(node)) {
            tree.scanLeaf(node, visit);
            if (top == 0)
                return;
            node = stack[--top];
            continue;
        }
        const unsigned int left = tree.leftChild(node);
        const bool inLeft = tree.contains(left);
        const bool inRight = tree.contains(left + 1);
        if (inLeft) {
            if (inRight)
                stack[top++] = left + 1;
            node = left;
        } else if (inRight) {
            node = left + 1;
        } else {
            if (top == 0)
                return;
            node = stack[--top];
        }
    }
}

template <class Visit>
void oxSurfaceGathering::forEachSupportingPoint(const oxPointSetQuery& query, const Wm4::Vector3<float>& x,
                                                Visit&& visit)
{
    if (const oxSurfaceGathering* compact = query.m_gathering.get()) {
        walk(tCompactTree(*compact, x), visit);
    } else {
        walk(tBufferTree(query, x), visit);
    }
}

}  // namespace ox
