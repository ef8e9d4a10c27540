// Plain k-nearest-neighbour search for every point of a cloud, without reordering the
// caller's array: a private copy (x, y, z, input index) is Morton-sorted by the point
// hierarchy, and each point runs a branch-and-bound descent that visits the nearer child
// box first and prunes boxes farther than its current k-th neighbour. Queries run in
// Morton order so consecutive searches touch the same nodes.
#include <algorithm>
#include <cstring>
#include <limits>
#include <vector>

#include "oxPointSetProcessing.h"

namespace ox {
namespace oxPointSetProcessing {

namespace {

constexpr unsigned int kNoIndex = 0xFFFFFFFFu;

class tKNearestSearch {
public:
    tKNearestSearch(const oxMiniBVH& bvh, const float* copy, unsigned int k)
        : m_bvh(bvh), m_copy(copy), m_k(k), m_dist(k), m_idx(k)
    {}

    /// The k nearest points of sorted point i (itself excluded), nearest first.
    void query(unsigned int i)
    {
        const float* p = m_copy + 4 * std::size_t(i);
        m_p[0] = p[0], m_p[1] = p[1], m_p[2] = p[2];
        m_self = i;
        m_found = 0;
        std::fill(m_dist.begin(), m_dist.end(), std::numeric_limits<float>::infinity());
        std::fill(m_idx.begin(), m_idx.end(), kNoIndex);
        descend(0);
    }
    unsigned int found() const { return m_found; }
    unsigned int index(unsigned int r) const { return m_idx[r]; }

private:
    float worst() const { return m_dist[m_k - 1]; }

    float boxDistance2(unsigned int node) const
    {
        const oxBBox& box = m_bvh.getNodeBBox(node);
        float d2 = 0.0f;
        for (int a = 0; a < 3; ++a) {
            const float lo = box.getMin()[a], hi = box.getMax()[a];
            const float gap = m_p[a] < lo ? lo - m_p[a] : (m_p[a] > hi ? m_p[a] - hi : 0.0f);
            d2 += gap * gap;
        }
        return d2;
    }

    // Sorted insertion into the k best (k is small: a shift beats a heap here).
    void offer(unsigned int j)
    {
        const float* q = m_copy + 4 * std::size_t(j);
        const float dx = q[0] - m_p[0], dy = q[1] - m_p[1], dz = q[2] - m_p[2];
        const float d = dx * dx + dy * dy + dz * dz;
        if (d >= worst())
            return;
        unsigned int pos = m_k - 1;
        while (pos > 0 && m_dist[pos - 1] > d) {
            m_dist[pos] = m_dist[pos - 1];
            m_idx[pos] = m_idx[pos - 1];
            --pos;
        }
        m_dist[pos] = d;
        m_idx[pos] = j;
        if (m_found < m_k)
            ++m_found;
    }

    void descend(unsigned int node)
    {
        const oxMiniBVHNode& n = m_bvh.getNode(node);
        if (n.isLeaf()) {
            const unsigned int first = n.getFirstPrimIdx(), end = first + n.getNoPrimitives();
            for (unsigned int j = first; j < end; ++j)
                if (j != m_self)
                    offer(j);
            return;
        }
        const unsigned int left = m_bvh.getNodeIndex(n.leftChildNode());
        const float dl = boxDistance2(left), dr = boxDistance2(left + 1);
        const unsigned int nearChild = dl <= dr ? left : left + 1;
        const float nearDist = std::min(dl, dr), farDist = std::max(dl, dr);
        if (nearDist < worst())
            descend(nearChild);
        if (farDist < worst())
            descend(nearChild == left ? left + 1 : left);
    }

    const oxMiniBVH& m_bvh;
    const float* m_copy;
    unsigned int m_k;
    std::vector<float> m_dist;
    std::vector<unsigned int> m_idx;
    float m_p[3] = {0, 0, 0};
    unsigned int m_self = 0;
    unsigned int m_found = 0;
};

}  // namespace

void ComputeKNearest(const float* points, unsigned int count, unsigned int stride, unsigned int k,
                     std::vector<unsigned int>& neighbours, oxProgressNotifierInterface* notifier)
{
    neighbours.assign(std::size_t(count) * k, kNoIndex);
    if (count == 0 || k == 0)
        return;
    // Private records: x, y, z and the input index (its bits kept in the fourth float).
    std::vector<float> copy(4 * std::size_t(count));
    for (unsigned int i = 0; i < count; ++i) {
        std::memcpy(&copy[4 * std::size_t(i)], points + std::size_t(i) * stride, 3 * sizeof(float));
        std::memcpy(&copy[4 * std::size_t(i) + 3], &i, sizeof(unsigned int));
    }
    oxMiniBVH bvh;
    bvh.build(copy.data(), count, 4, 21, 8);
    const float noRadius = 0.0f;
    bvh.computeBBoxes(&noRadius, 0);
    std::vector<unsigned int> original(count);
    for (unsigned int i = 0; i < count; ++i)
        std::memcpy(&original[i], &copy[4 * std::size_t(i) + 3], sizeof(unsigned int));

    tKNearestSearch search(bvh, copy.data(), k);
    const unsigned int reportEvery = std::max(1u, count / 100);
    for (unsigned int i = 0; i < count; ++i) {
        if (notifier && i % reportEvery == 0)
            notifier->notifyProgress(float(i) / float(count));
        search.query(i);
        unsigned int* out = &neighbours[std::size_t(original[i]) * k];
        for (unsigned int r = 0; r < search.found(); ++r)
            out[r] = original[search.index(r)];
    }
    if (notifier)
        notifier->notifyProgress(1.0f);
}

}  // namespace oxPointSetProcessing
}  // namespace ox
