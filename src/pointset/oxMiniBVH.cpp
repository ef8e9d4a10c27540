// Morton-ordered point hierarchy (linear BVH over points).
//
// Build: quantise every point into a 2^bits cube, sort the records by Morton code with a
// stable radix sort, then split runs of points top-down, one code bit (one level) at a
// time, wherever a level's bit changes inside a run and either side holds at least
// leafSize points. Nodes are numbered root first, then sibling pairs in order of creation,
// level by level and left to right within a level.
//
// Codes are computed once into a temporary array and the records are permuted once at the
// end of the sort; the outcome is the stable order by code, exactly as a record-moving
// radix sort would leave it.
#include "oxMiniBVH.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <vector>

#include "pointset/oxMortonCode.h"

namespace ox {
namespace oxPointSetProcessing {

struct oxMiniBVH::Impl {
    void* rawNodes = nullptr;        // realloc'd block; the node array starts one node in
    oxMiniBVHNode* nodes = nullptr;  // node 0 = root, just before a 16-byte boundary
    unsigned int noNodes = 0;
    std::vector<oxBBox> boxes;
    float* points = nullptr;
    unsigned int stride = 0;
    unsigned int noPoints = 0;
    float bboxMin[3] = {0, 0, 0};
    float bboxMax[3] = {0, 0, 0};
    float origin[3] = {0, 0, 0};
    float center[3] = {0, 0, 0};
    float scale = 1.0f;
    std::uint32_t mask32 = 0;
    std::uint64_t mask64 = 0;

    // Resizes the raw block to `slots` nodes and re-points the inner nodes when the block
    // moved (inner nodes hold absolute child addresses).
    void resizeNodes(std::size_t slots)
    {
        // Only the old address's value is kept, to re-point children if the block moves.
        const std::uintptr_t oldNodes = rawNodes ? reinterpret_cast<std::uintptr_t>(nodes) : 0;
        void* grown = std::realloc(rawNodes, slots * sizeof(oxMiniBVHNode));
        if (!grown)
            throw std::bad_alloc();
        rawNodes = grown;
        nodes = static_cast<oxMiniBVHNode*>(rawNodes) + 1;
        const auto newNodes = reinterpret_cast<std::uintptr_t>(nodes);
        if (oldNodes && newNodes != oldNodes) {
            for (unsigned int i = 0; i < noNodes; ++i)
                if (!nodes[i].isLeaf())
                    nodes[i].setWord(nodes[i].getWord() - oldNodes + newNodes);
        }
    }

    std::uint64_t code(const float* p) const
    {
        return morton::spreadBits64(morton::quantize(p[0], origin[0], scale, mask64)) |
               (morton::spreadBits64(morton::quantize(p[1], origin[1], scale, mask64)) << 1) |
               (morton::spreadBits64(morton::quantize(p[2], origin[2], scale, mask64)) << 2);
    }

    void computeBoxRecursive(unsigned int index, const float* radii, unsigned int radiusStride);
};

namespace {

// Stable LSD radix sort of (code, index) pairs on 8-bit digits; passes whose digit is the
// same for every code are skipped (they would not move anything).
void radixSortByCode(std::vector<std::uint64_t>& codes, std::vector<std::uint32_t>& order,
                     unsigned int digits)
{
    const std::size_t n = codes.size();
    std::vector<std::uint64_t> codesTmp(n);
    std::vector<std::uint32_t> orderTmp(n);
    for (unsigned int pass = 0; pass < digits; ++pass) {
        const unsigned shift = 8 * pass;
        std::size_t histogram[257] = {0};
        for (std::size_t i = 0; i < n; ++i)
            ++histogram[((codes[i] >> shift) & 0xFF) + 1];
        if (std::any_of(histogram + 1, histogram + 257, [n](std::size_t c) { return c == n; }))
            continue;
        for (int d = 0; d < 256; ++d)
            histogram[d + 1] += histogram[d];
        for (std::size_t i = 0; i < n; ++i) {
            const std::size_t slot = histogram[(codes[i] >> shift) & 0xFF]++;
            codesTmp[slot] = codes[i];
            orderTmp[slot] = order[i];
        }
        codes.swap(codesTmp);
        order.swap(orderTmp);
    }
}

// A run of sorted points [s, e] owned by node `owner` that will split at its boundary b
// (last index of the left part) when its level comes.
struct tPendingSplit {
    std::uint32_t s, e, b, owner;
};

}  // namespace

oxMiniBVH::oxMiniBVH() : m_impl(new Impl) {}

oxMiniBVH::~oxMiniBVH()
{
    std::free(m_impl->rawNodes);
    delete m_impl;
}

void oxMiniBVH::build(float* points, unsigned int count, unsigned int stride, unsigned int bits,
                      unsigned int leafSize)
{
    Impl& d = *m_impl;
    d.points = points;
    d.stride = stride;
    d.noPoints = count;
    bits = std::min(bits, 21u);
    const unsigned int levels = 3 * bits;

    // Clear the mark bit of every x (the neighbour search hides a flag there), then bound.
    float lo[3] = {std::numeric_limits<float>::infinity(), std::numeric_limits<float>::infinity(),
                   std::numeric_limits<float>::infinity()};
    float hi[3] = {-lo[0], -lo[1], -lo[2]};
    for (unsigned int i = 0; i < count; ++i) {
        float* p = points + std::size_t(i) * stride;
        std::uint32_t word;
        std::memcpy(&word, p, 4);
        word &= ~1u;
        std::memcpy(p, &word, 4);
        for (int a = 0; a < 3; ++a) {
            lo[a] = std::min(lo[a], p[a]);
            hi[a] = std::max(hi[a], p[a]);
        }
    }
    if (count == 0)
        for (int a = 0; a < 3; ++a)
            lo[a] = hi[a] = 0.0f;

    // The Morton cube: centred on the box, side E = the largest extent.
    const float extent = std::max(hi[0] - lo[0], std::max(hi[1] - lo[1], hi[2] - lo[2]));
    for (int a = 0; a < 3; ++a) {
        d.bboxMin[a] = lo[a];
        d.bboxMax[a] = hi[a];
        d.center[a] = (lo[a] + hi[a]) / 2.0f;
        d.origin[a] = d.center[a] - extent / 2.0f;
    }
    d.scale = static_cast<float>(std::uint64_t(1) << bits) / extent;
    d.mask64 = (std::uint64_t(1) << bits) - 1;
    d.mask32 = static_cast<std::uint32_t>(d.mask64);

    // Codes, stable sort, one permutation of the whole records.
    std::vector<std::uint64_t> codes(count);
    std::vector<std::uint32_t> order(count);
    for (unsigned int i = 0; i < count; ++i) {
        codes[i] = d.code(points + std::size_t(i) * stride);
        order[i] = i;
    }
    radixSortByCode(codes, order, bits <= 10 ? 4 : 8);
    if (count > 1) {
        std::vector<float> sorted(std::size_t(count) * stride);
        for (unsigned int i = 0; i < count; ++i)
            std::memcpy(&sorted[std::size_t(i) * stride], points + std::size_t(order[i]) * stride,
                        sizeof(float) * stride);
        std::memcpy(points, sorted.data(), sizeof(float) * sorted.size());
    }

    // Worst-case node storage: two nodes per run boundary, plus the root and the slot
    // that puts the root just before a 16-byte boundary.
    std::size_t runs = count ? 1 : 0;
    for (unsigned int i = 1; i < count; ++i)
        runs += codes[i] != codes[i - 1];
    d.noNodes = 0;
    d.resizeNodes(2 * std::max<std::size_t>(runs, 1) + 1);
    d.nodes[0].setLeaf(0, count);
    d.noNodes = 1;

    // Splits are taken level by level; a run is scheduled at the level of the highest
    // code bit that changes inside it (the first level whose list has a boundary in it).
    std::vector<std::vector<tPendingSplit>> byLevel(levels + 1);
    auto schedule = [&](std::uint32_t s, std::uint32_t e, std::uint32_t owner) {
        // A run of leafSize points or fewer can never split: both parts would be smaller.
        if (e - s + 1 <= leafSize || codes[s] == codes[e])
            return;
        const unsigned h = morton::highestBit64(codes[s] ^ codes[e]);
        const std::uint64_t bit = std::uint64_t(1) << h;
        // Codes share every bit above h in the run, so bit h is 0 then 1 along it.
        const std::uint32_t firstSet = static_cast<std::uint32_t>(
            std::partition_point(codes.begin() + s, codes.begin() + e + 1,
                                 [bit](std::uint64_t c) { return (c & bit) == 0; }) -
            codes.begin());
        byLevel[levels - h].push_back({s, e, firstSet - 1, owner});
    };
    if (count > 0)
        schedule(0, count - 1, 0);
    for (unsigned int level = 1; level <= levels; ++level) {
        auto& pending = byLevel[level];
        std::sort(pending.begin(), pending.end(),
                  [](const tPendingSplit& a, const tPendingSplit& b) { return a.s < b.s; });
        for (const tPendingSplit& run : pending) {
            const std::uint32_t left = run.b - run.s + 1, right = run.e - run.b;
            if (left < leafSize && right < leafSize)
                continue;  // refused: stays one leaf for good
            const unsigned int j = d.noNodes;
            d.nodes[j].setLeaf(run.s, left);
            d.nodes[j + 1].setLeaf(run.b + 1, right);
            d.nodes[run.owner].setNode(&d.nodes[j]);
            d.noNodes += 2;
            schedule(run.s, run.b, j);
            schedule(run.b + 1, run.e, j + 1);
        }
        std::vector<tPendingSplit>().swap(pending);
    }

    d.resizeNodes(std::size_t(d.noNodes) + 1);
    d.boxes.assign(d.noNodes, oxBBox());
}

void oxMiniBVH::Impl::computeBoxRecursive(unsigned int index, const float* radii, unsigned int radiusStride)
{
    const oxMiniBVHNode& node = nodes[index];
    oxBBox& box = boxes[index];
    if (node.isLeaf()) {
        box = oxBBox();
        const unsigned int first = node.getFirstPrimIdx(), n = node.getNoPrimitives();
        for (unsigned int i = first; i < first + n; ++i) {
            const float* p = points + std::size_t(i) * stride;
            const float r = radii[std::size_t(i) * radiusStride];
            oxBBox pointBox;
            pointBox.Make(p[0] - r, p[1] - r, p[2] - r, p[0] + r, p[1] + r, p[2] + r);
            box.selfUnion(pointBox);
        }
        return;
    }
    const unsigned int left = static_cast<unsigned int>(node.leftChildNode() - nodes);
    computeBoxRecursive(left, radii, radiusStride);
    computeBoxRecursive(left + 1, radii, radiusStride);
    box = boxes[left].bboxUnion(boxes[left + 1]);
}

void oxMiniBVH::computeBBoxes(const float* radii, unsigned int radiusStride)
{
    if (m_impl->noNodes == 0)
        return;
    m_impl->boxes.resize(m_impl->noNodes);
    m_impl->computeBoxRecursive(0, radii, radiusStride);
}

bool oxMiniBVH::check() const
{
    const Impl& d = *m_impl;
    if (d.noNodes == 0)
        return false;
    // (a) Leaves of the whole node array cover every point exactly once.
    std::vector<bool> covered(d.noPoints, false);
    for (unsigned int i = 0; i < d.noNodes; ++i) {
        const oxMiniBVHNode& node = d.nodes[i];
        if (!node.isLeaf())
            continue;
        const std::uint64_t first = node.getFirstPrimIdx(), n = node.getNoPrimitives();
        if (first + n > d.noPoints)
            return false;
        for (std::uint64_t p = first; p < first + n; ++p) {
            if (covered[p])
                return false;
            covered[p] = true;
        }
    }
    if (std::find(covered.begin(), covered.end(), false) != covered.end())
        return false;
    // (b) The walk from the root reaches no node twice and ends in leaves.
    std::vector<bool> visited(d.noNodes, false);
    std::vector<unsigned int> stack{0};
    while (!stack.empty()) {
        const unsigned int i = stack.back();
        stack.pop_back();
        if (i >= d.noNodes || visited[i])
            return false;
        visited[i] = true;
        const oxMiniBVHNode& node = d.nodes[i];
        if (node.isLeaf())
            continue;
        const std::ptrdiff_t left = node.leftChildNode() - d.nodes;
        if (left < 0 || std::size_t(left) + 1 >= d.noNodes)
            return false;
        stack.push_back(static_cast<unsigned int>(left) + 1);
        stack.push_back(static_cast<unsigned int>(left));
    }
    return true;
}

unsigned int oxMiniBVH::getNoNodes() const
{
    return m_impl->noNodes;
}
oxMiniBVHNode& oxMiniBVH::getNode(unsigned int i)
{
    return m_impl->nodes[i];
}
const oxMiniBVHNode& oxMiniBVH::getNode(unsigned int i) const
{
    return m_impl->nodes[i];
}
const oxBBox& oxMiniBVH::getNodeBBox(unsigned int i) const
{
    return m_impl->boxes[i];
}
unsigned int oxMiniBVH::getNodeIndex(const oxMiniBVHNode* node) const
{
    return static_cast<unsigned int>(node - m_impl->nodes);
}
const float* oxMiniBVH::getPoints() const
{
    return m_impl->points;
}
unsigned int oxMiniBVH::getNoPoints() const
{
    return m_impl->noPoints;
}
unsigned int oxMiniBVH::getStride() const
{
    return m_impl->stride;
}
const float* oxMiniBVH::getBBoxMin() const
{
    return m_impl->bboxMin;
}
const float* oxMiniBVH::getBBoxMax() const
{
    return m_impl->bboxMax;
}
const float* oxMiniBVH::getOrigin() const
{
    return m_impl->origin;
}
const float* oxMiniBVH::getCenter() const
{
    return m_impl->center;
}
float oxMiniBVH::getCubeSize() const
{
    const Impl& d = *m_impl;
    return std::max(d.bboxMax[0] - d.bboxMin[0],
                    std::max(d.bboxMax[1] - d.bboxMin[1], d.bboxMax[2] - d.bboxMin[2]));
}
float oxMiniBVH::getScale() const
{
    return m_impl->scale;
}
std::uint32_t oxMiniBVH::getMask32() const
{
    return m_impl->mask32;
}
std::uint64_t oxMiniBVH::getMask64() const
{
    return m_impl->mask64;
}
std::uint64_t oxMiniBVH::mortonCode64(const float* p) const
{
    return m_impl->code(p);
}
std::uint32_t oxMiniBVH::mortonCode32(const float* p) const
{
    const Impl& d = *m_impl;
    return morton::spreadBits32(
               static_cast<std::uint32_t>(morton::quantize(p[0], d.origin[0], d.scale, d.mask64))) |
           (morton::spreadBits32(
                static_cast<std::uint32_t>(morton::quantize(p[1], d.origin[1], d.scale, d.mask64)))
            << 1) |
           (morton::spreadBits32(
                static_cast<std::uint32_t>(morton::quantize(p[2], d.origin[2], d.scale, d.mask64)))
            << 2);
}

}  // namespace oxPointSetProcessing
}  // namespace ox
