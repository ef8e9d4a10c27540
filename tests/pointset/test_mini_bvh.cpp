// The Morton point hierarchy against independent answers: codes from a bit-by-bit
// interleave, the sort against std::stable_sort, and the tree against a literal
// level-by-level walk of explicit split lists.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include "oxMiniBVH.h"

using ox::oxPointSetProcessing::oxMiniBVH;
using ox::oxPointSetProcessing::oxMiniBVHNode;

namespace {

constexpr unsigned kStride = 5;  // x y z, then two attributes: input index and a payload

struct Cube {
    float origin[3];
    float scale;
    std::uint64_t mask;
};

Cube cubeOf(const std::vector<float>& pts, unsigned bits)
{
    float lo[3] = {INFINITY, INFINITY, INFINITY}, hi[3] = {-INFINITY, -INFINITY, -INFINITY};
    for (std::size_t i = 0; i < pts.size(); i += kStride)
        for (int a = 0; a < 3; ++a) {
            float v = pts[i + a];
            std::uint32_t w;
            std::memcpy(&w, &v, 4);
            if (a == 0)
                w &= ~1u, std::memcpy(&v, &w, 4);
            lo[a] = std::min(lo[a], v);
            hi[a] = std::max(hi[a], v);
        }
    const float e = std::max(hi[0] - lo[0], std::max(hi[1] - lo[1], hi[2] - lo[2]));
    Cube c;
    for (int a = 0; a < 3; ++a)
        c.origin[a] = (lo[a] + hi[a]) / 2.0f - e / 2.0f;
    c.scale = float(std::uint64_t(1) << bits) / e;
    c.mask = (std::uint64_t(1) << bits) - 1;
    return c;
}

// Bit-by-bit interleave: bit j of qx -> 3j, of qy -> 3j+1, of qz -> 3j+2.
std::uint64_t naiveCode(const float* p, const Cube& c, unsigned bits)
{
    std::uint64_t q[3];
    for (int a = 0; a < 3; ++a) {
        const double v = double((p[a] - c.origin[a]) * c.scale);
        q[a] = (std::isnan(v) || v >= double(c.mask)) ? c.mask : (v <= 0 ? 0 : std::uint64_t(v));
    }
    std::uint64_t code = 0;
    for (unsigned j = 0; j < bits; ++j)
        for (int a = 0; a < 3; ++a)
            code |= ((q[a] >> j) & 1u) << (3 * j + a);
    return code;
}

std::vector<float> makeCloud(std::mt19937& rng, unsigned n, int kind)
{
    std::vector<float> pts(std::size_t(n) * kStride);
    std::uniform_real_distribution<float> u(-1.0f, 1.0f);
    std::normal_distribution<float> g(0.0f, 0.01f);
    for (unsigned i = 0; i < n; ++i) {
        float* p = &pts[std::size_t(i) * kStride];
        if (kind == 0) {  // uniform
            p[0] = u(rng), p[1] = u(rng), p[2] = u(rng) * 0.3f;
        } else if (kind == 1) {  // tight clusters: many equal codes at low depth
            const int c = int(rng() % 5);
            p[0] = c + g(rng), p[1] = -c + g(rng), p[2] = 0.5f * c + g(rng);
        } else {  // duplicates: a few distinct positions repeated
            const int c = int(rng() % 7);
            p[0] = float(c), p[1] = float(c * c % 5), p[2] = float(c % 3);
        }
        p[3] = float(i);
        p[4] = p[0] * 3.0f + p[1];
    }
    return pts;
}

// The tree rule written literally: explicit split lists per level, segments walked level
// by level with their owning node.
struct LiteralTree {
    std::vector<std::uint64_t> leafWords;  // per node: leaf (first, count) or inner (left child index)
    std::vector<bool> isLeaf;
};
LiteralTree literalTree(const std::vector<std::uint64_t>& codes, unsigned bits, unsigned leafSize)
{
    const unsigned L = 3 * bits;
    const std::uint32_t n = std::uint32_t(codes.size());
    std::vector<std::vector<std::uint32_t>> lists(L + 1);
    for (std::uint32_t i = 1; i < n; ++i) {
        if (codes[i] == codes[i - 1])
            continue;
        unsigned h = 63;
        while (!(((codes[i] ^ codes[i - 1]) >> h) & 1u))
            --h;
        for (unsigned l = L - h; l <= L; ++l)
            lists[l].push_back(i - 1);
    }
    for (auto& l : lists)
        l.push_back(n ? n - 1 : 0);
    LiteralTree t;
    t.leafWords.push_back((std::uint64_t(0) << 32) | n);
    t.isLeaf.push_back(true);
    struct Seg {
        std::uint32_t s, e, owner;
    };
    std::vector<Seg> segs{{0, n ? n - 1 : 0, 0}};
    for (unsigned l = 1; l <= L && n; ++l) {
        std::vector<Seg> next;
        std::size_t k = 0;
        for (const Seg& sg : segs) {
            const std::uint32_t entry = lists[l][k];
            if (entry == sg.e) {
                next.push_back(sg);
                ++k;
                continue;
            }
            const std::uint32_t b = entry;
            k += 2;
            if (b - sg.s + 1 >= leafSize || sg.e - b >= leafSize) {
                const std::uint32_t j = std::uint32_t(t.isLeaf.size());
                t.leafWords.push_back((std::uint64_t(sg.s) << 32) | (b - sg.s + 1));
                t.leafWords.push_back((std::uint64_t(b + 1) << 32) | (sg.e - b));
                t.isLeaf.push_back(true);
                t.isLeaf.push_back(true);
                t.isLeaf[sg.owner] = false;
                t.leafWords[sg.owner] = j;
                next.push_back({sg.s, b, j});
                next.push_back({b + 1, sg.e, j + 1});
            } else {
                next.push_back({sg.s, b, sg.owner});
                next.push_back({b + 1, sg.e, sg.owner});
            }
        }
        segs.swap(next);
    }
    return t;
}

void expectSameTree(const oxMiniBVH& bvh, const LiteralTree& t)
{
    ASSERT_EQ(bvh.getNoNodes(), t.isLeaf.size());
    for (unsigned i = 0; i < bvh.getNoNodes(); ++i) {
        const oxMiniBVHNode& node = bvh.getNode(i);
        ASSERT_EQ(node.isLeaf(), bool(t.isLeaf[i])) << "node " << i;
        if (node.isLeaf()) {
            ASSERT_EQ(node.getFirstPrimIdx(), t.leafWords[i] >> 32) << "node " << i;
            ASSERT_EQ(node.getNoPrimitives(), t.leafWords[i] & 0xFFFFFFFFu) << "node " << i;
        } else {
            ASSERT_EQ(bvh.getNodeIndex(node.leftChildNode()), t.leafWords[i]) << "node " << i;
            ASSERT_EQ(bvh.getNodeIndex(node.rightChildNode()), t.leafWords[i] + 1);
        }
    }
}

}  // namespace

TEST(MiniBVH, SortsRecordsStablyAndBuildsTheLevelTree)
{
    std::mt19937 rng(1234);
    for (int kind = 0; kind < 3; ++kind)
        for (unsigned n : {1u, 2u, 17u, 100u, 3000u})
            for (unsigned bits : {4u, 10u, 21u})
                for (unsigned leafSize : {1u, 4u, 16u}) {
                    SCOPED_TRACE(testing::Message() << "kind " << kind << " n " << n << " bits " << bits
                                                    << " leaf " << leafSize);
                    std::vector<float> pts = makeCloud(rng, n, kind);
                    const Cube cube = cubeOf(pts, bits);
                    // Expected order: stable sort of the input by the naive code.
                    std::vector<std::uint32_t> order(n);
                    std::vector<std::uint64_t> inCodes(n);
                    for (unsigned i = 0; i < n; ++i) {
                        std::vector<float> p(pts.begin() + i * kStride, pts.begin() + i * kStride + 3);
                        std::uint32_t w;
                        std::memcpy(&w, &p[0], 4);
                        w &= ~1u;
                        std::memcpy(&p[0], &w, 4);
                        inCodes[i] = naiveCode(p.data(), cube, bits);
                        order[i] = i;
                    }
                    std::stable_sort(order.begin(), order.end(), [&](std::uint32_t a, std::uint32_t b) {
                        return inCodes[a] < inCodes[b];
                    });
                    const std::vector<float> input = pts;
                    oxMiniBVH bvh;
                    bvh.build(pts.data(), n, kStride, bits, leafSize);
                    std::vector<std::uint64_t> sortedCodes(n);
                    for (unsigned i = 0; i < n; ++i) {
                        const float* p = &pts[i * kStride];
                        const float* src = &input[order[i] * kStride];
                        std::uint32_t w;
                        std::memcpy(&w, p, 4);
                        ASSERT_EQ(w & 1u, 0u) << "mark bit left set";
                        ASSERT_EQ(p[3], float(order[i])) << "records not in stable Morton order";
                        ASSERT_EQ(p[4], src[4]) << "attributes did not travel with their position";
                        ASSERT_EQ(p[1], src[1]);
                        sortedCodes[i] = inCodes[order[i]];
                        ASSERT_EQ(bvh.mortonCode64(p), sortedCodes[i]);
                    }
                    ASSERT_TRUE(bvh.check());
                    expectSameTree(bvh, literalTree(sortedCodes, bits, leafSize));
                    // Sibling pairs share one 16-byte block; the root sits just before one.
                    if (bvh.getNoNodes() > 1) {
                        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(&bvh.getNode(1)) % 16, 0u);
                        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(&bvh.getNode(0)) % 16, 8u);
                    }
                }
}

TEST(MiniBVH, DegenerateCloudsAndSplitThreshold)
{
    oxMiniBVH bvh;
    // No point and one point: a single root leaf.
    std::vector<float> none;
    bvh.build(none.data(), 0, 3, 21, 16);
    EXPECT_EQ(bvh.getNoNodes(), 1u);
    EXPECT_TRUE(bvh.getNode(0).isLeaf());
    EXPECT_EQ(bvh.getNode(0).getNoPrimitives(), 0u);
    EXPECT_TRUE(bvh.check());
    std::vector<float> one{0.5f, 0.25f, 1.0f};
    bvh.build(one.data(), 1, 3, 21, 16);
    EXPECT_EQ(bvh.getNoNodes(), 1u);
    EXPECT_TRUE(bvh.check());
    // 20 identical points: infinite scale, every code clamped equal, one leaf of 20.
    std::vector<float> same(60, 2.0f);
    bvh.build(same.data(), 20, 3, 21, 16);
    EXPECT_TRUE(std::isinf(bvh.getScale()));
    ASSERT_EQ(bvh.getNoNodes(), 1u);
    EXPECT_EQ(bvh.getNode(0).getNoPrimitives(), 20u);
    // Two clusters split at the top Morton bit (x): 15 + 5 stays one leaf, 16 + 4 splits.
    for (unsigned big : {15u, 16u}) {
        std::vector<float> pts;
        for (unsigned i = 0; i < big; ++i)
            pts.insert(pts.end(), {0.0f, 0.0f, 0.0f});
        for (unsigned i = big; i < 20; ++i)
            pts.insert(pts.end(), {1.0f, 0.0f, 0.0f});
        bvh.build(pts.data(), 20, 3, 21, 16);
        ASSERT_TRUE(bvh.check());
        if (big == 15) {
            ASSERT_EQ(bvh.getNoNodes(), 1u);
            EXPECT_EQ(bvh.getNode(0).getNoPrimitives(), 20u);
        } else {
            ASSERT_EQ(bvh.getNoNodes(), 3u);
            EXPECT_EQ(bvh.getNode(1).getNoPrimitives(), 16u);
            EXPECT_EQ(bvh.getNode(2).getNoPrimitives(), 4u);
            EXPECT_EQ(bvh.getNode(2).getFirstPrimIdx(), 16u);
        }
    }
    // bits above 21 behave as 21 (64-bit codes): same mask.
    std::mt19937 rng(5);
    std::vector<float> pts = makeCloud(rng, 200, 0);
    bvh.build(pts.data(), 200, kStride, 30, 16);
    EXPECT_EQ(bvh.getMask64(), (std::uint64_t(1) << 21) - 1);
    EXPECT_TRUE(bvh.check());
}

TEST(MiniBVH, BoxesEncloseDiscsAndCheckDetectsOverlaps)
{
    std::mt19937 rng(99);
    const unsigned n = 2000;
    std::vector<float> pts = makeCloud(rng, n, 0);
    oxMiniBVH bvh;
    bvh.build(pts.data(), n, kStride, 21, 16);
    // Radii in the payload slot: radius of point i is pts[i*stride + 4] scaled down.
    std::vector<float> radii(n);
    for (unsigned i = 0; i < n; ++i)
        radii[i] = 0.001f * float(i % 7);
    bvh.computeBBoxes(radii.data(), 1);
    // Each node's box equals the brute-force box of the points under it.
    for (unsigned i = 0; i < bvh.getNoNodes(); ++i) {
        std::vector<unsigned> stack{i};
        float lo[3] = {INFINITY, INFINITY, INFINITY}, hi[3] = {-INFINITY, -INFINITY, -INFINITY};
        while (!stack.empty()) {
            const oxMiniBVHNode& nd = bvh.getNode(stack.back());
            stack.pop_back();
            if (!nd.isLeaf()) {
                const unsigned l = bvh.getNodeIndex(nd.leftChildNode());
                stack.push_back(l);
                stack.push_back(l + 1);
                continue;
            }
            for (unsigned p = nd.getFirstPrimIdx(); p < nd.getFirstPrimIdx() + nd.getNoPrimitives(); ++p)
                for (int a = 0; a < 3; ++a) {
                    lo[a] = std::min(lo[a], pts[p * kStride + a] - radii[p]);
                    hi[a] = std::max(hi[a], pts[p * kStride + a] + radii[p]);
                }
        }
        const ox::oxBBox& box = bvh.getNodeBBox(i);
        for (int a = 0; a < 3; ++a) {
            ASSERT_EQ(box.getMin()[a], lo[a]) << "node " << i;
            ASSERT_EQ(box.getMax()[a], hi[a]) << "node " << i;
        }
    }
    ASSERT_TRUE(bvh.check());
    // Make one leaf reach into its sibling's range: check must fail.
    for (unsigned i = 1; i < bvh.getNoNodes(); ++i) {
        oxMiniBVHNode& nd = bvh.getNode(i);
        if (nd.isLeaf() && nd.getFirstPrimIdx() + nd.getNoPrimitives() < n) {
            nd.setLeaf(nd.getFirstPrimIdx(), nd.getNoPrimitives() + 1);
            EXPECT_FALSE(bvh.check());
            break;
        }
    }
}
