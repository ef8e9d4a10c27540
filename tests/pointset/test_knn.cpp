// The neighbour graph against brute force: for every point whose candidate set is not
// decided by a distance tie, the list equals the S - 1 nearest points by exhaustive
// search, without the nearest, thinned by the stated rule.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "oxPointSetProcessing.h"
#include "scenegraph/oxAttributes.h"

using namespace ox::oxPointSetProcessing;

namespace {

constexpr unsigned kStride = 4;  // x y z + input index

std::vector<float> cloud(int kind, unsigned n, unsigned seed)
{
    std::mt19937 rng(seed);
    std::uniform_real_distribution<float> u(-1.0f, 1.0f);
    std::normal_distribution<float> g(0.0f, 1.0f);
    std::vector<float> pts(std::size_t(n) * kStride);
    for (unsigned i = 0; i < n; ++i) {
        float* p = &pts[std::size_t(i) * kStride];
        switch (kind) {
        case 0:  // uniform in a flat box
            p[0] = u(rng), p[1] = u(rng), p[2] = 0.2f * u(rng);
            break;
        case 1: {  // clustered: a few dense blobs far apart
            const int c = int(rng() % 6);
            p[0] = 10.0f * c + 0.05f * g(rng), p[1] = 3.0f * (c % 2) + 0.05f * g(rng), p[2] = 0.05f * g(rng);
            break;
        }
        case 2: {  // surface sample of a unit sphere
            float x = g(rng), y = g(rng), z = g(rng);
            const float l = std::sqrt(x * x + y * y + z * z);
            p[0] = x / l, p[1] = y / l, p[2] = z / l;
            break;
        }
        default: {  // duplicated: every position three times
            const unsigned base = i / 3;
            std::mt19937 r2(base * 7919u + 1);
            p[0] = u(r2), p[1] = u(r2), p[2] = u(r2);
        }
        }
        p[3] = float(i);
    }
    return pts;
}

float dist2(const float* a, const float* b)
{
    const float dx = b[0] - a[0], dy = b[1] - a[1], dz = b[2] - a[2];
    return dx * dx + dy * dy + dz * dz;
}

// Exhaustive answer for point i; returns false when a tie makes the candidate set or its
// order ambiguous.
bool bruteForce(const std::vector<float>& pts, unsigned n, unsigned i, unsigned S, std::vector<unsigned>& out)
{
    const float* p = &pts[std::size_t(i) * kStride];
    std::vector<std::pair<float, unsigned>> all;
    for (unsigned j = 0; j < n; ++j)
        all.emplace_back(dist2(&pts[std::size_t(j) * kStride], p), j);
    std::sort(all.begin(), all.end());
    const unsigned m = S - 1;
    for (unsigned k = 1; k < m; ++k)
        if (all[k].first == all[k - 1].first)
            return false;
    if (m < n && all[m].first == all[m - 1].first)
        return false;
    std::vector<unsigned> kept;
    for (unsigned k = 1; k < m; ++k)
        kept.push_back(all[k].second);
    const double pd[3] = {p[0], p[1], p[2]};
    for (std::size_t a = 0; a < kept.size(); ++a) {
        const float* fa = &pts[std::size_t(kept[a]) * kStride];
        std::vector<unsigned> next(kept.begin(), kept.begin() + a + 1);
        for (std::size_t q = a + 1; q < kept.size(); ++q) {
            const float* fq = &pts[std::size_t(kept[q]) * kStride];
            double dot = 0;
            for (int c = 0; c < 3; ++c)
                dot += (double(fq[c]) - fa[c]) * (pd[c] - fa[c]);
            if (dot > 0)
                next.push_back(kept[q]);
        }
        kept.swap(next);
    }
    out = kept;
    return true;
}

bool anyMarked(const std::vector<float>& pts, unsigned n)
{
    for (unsigned i = 0; i < n; ++i) {
        std::uint32_t w;
        std::memcpy(&w, &pts[std::size_t(i) * kStride], 4);
        if (w & 1u)
            return true;
    }
    return false;
}

struct RecordingNotifier : ox::oxProgressNotifierInterface {
    std::vector<float> values;
    void notifyProgress(float v) override { values.push_back(v); }
};

}  // namespace

TEST(ComputeKNN, MatchesBruteForceOnVariedClouds)
{
    for (int kind = 0; kind < 4; ++kind)
        for (unsigned n : {3u, 5u, 40u, 1500u}) {
            for (unsigned k : {4u, 16u}) {
                SCOPED_TRACE(testing::Message() << "kind " << kind << " n " << n << " k " << k);
                std::vector<float> pts = cloud(kind, n, 17 + kind * 31 + n);
                oxMiniBVH bvh;
                bvh.build(pts.data(), n, kStride, 21, 16);
                KNN knn;
                ComputeKNN(pts.data(), n, kStride, bvh, k, knn);
                ASSERT_FALSE(anyMarked(pts, n)) << "mark bits must be clear after the search";
                unsigned S = 1;
                while (S * 2 <= std::min(n, k))
                    S *= 2;
                S = std::clamp(S, 2u, 256u);
                if (S > n)
                    S /= 2;
                unsigned checked = 0, position = 0;
                for (unsigned i = 0; i < n; ++i) {
                    ASSERT_EQ(knn.pairs[2 * i + 1], position);
                    position += knn.pairs[2 * i];
                    ASSERT_LE(knn.getNoNeighbours(i), S >= 2 ? S - 2 : 0);
                    std::vector<unsigned> expected;
                    if (!bruteForce(pts, n, i, S, expected))
                        continue;
                    ++checked;
                    std::vector<unsigned> got(knn.getNeighbours(i),
                                              knn.getNeighbours(i) + knn.getNoNeighbours(i));
                    ASSERT_EQ(got, expected) << "point " << i;
                }
                ASSERT_EQ(position, knn.total);
                if (kind != 3 && n >= 40) {
                    EXPECT_GT(checked, n * 9 / 10) << "too many ties to judge";
                }
            }
        }
}

TEST(ComputeKNN, LineOfPointsKeepsOneNeighbourPerSide)
{
    const unsigned n = 50;
    std::vector<float> pts;
    for (unsigned i = 0; i < n; ++i)
        pts.insert(pts.end(), {float(i), 0.0f, 0.0f, float(i)});
    oxMiniBVH bvh;
    bvh.build(pts.data(), n, kStride, 21, 16);
    KNN knn;
    ComputeKNN(pts.data(), n, kStride, bvh, 16, knn);
    for (unsigned i = 0; i < n; ++i) {
        const float x = pts[i * kStride];
        std::vector<float> xs;
        for (unsigned k = 0; k < knn.getNoNeighbours(i); ++k)
            xs.push_back(pts[knn.getNeighbours(i)[k] * kStride]);
        std::sort(xs.begin(), xs.end());
        if (x == 0.0f) {
            EXPECT_EQ(xs, std::vector<float>{1.0f});
        } else if (x == float(n - 1)) {
            EXPECT_EQ(xs, std::vector<float>{x - 1});
        } else {
            EXPECT_EQ(xs, (std::vector<float>{x - 1, x + 1}));
        }
    }
}

TEST(ComputeKNN, SmallCloudsShrinkTheHeap)
{
    // 2 points: S = 2, the only candidate is the nearest (the point itself) and is dropped.
    std::vector<float> two{0, 0, 0, 0, 1, 0, 0, 1};
    oxMiniBVH bvh;
    bvh.build(two.data(), 2, kStride, 21, 16);
    KNN knn;
    ComputeKNN(two.data(), 2, kStride, bvh, 16, knn);
    EXPECT_EQ(knn.total, 0u);
    EXPECT_EQ(knn.getNoNeighbours(0), 0u);
    EXPECT_EQ(knn.getNoNeighbours(1), 0u);
    // 5 points, k = 16: S = 4, at most 2 neighbours each.
    std::vector<float> five = cloud(0, 5, 3);
    bvh.build(five.data(), 5, kStride, 21, 16);
    ComputeKNN(five.data(), 5, kStride, bvh, 16, knn);
    for (unsigned i = 0; i < 5; ++i)
        EXPECT_LE(knn.getNoNeighbours(i), 2u);
    // One point and no point at all.
    std::vector<float> one{1, 2, 3, 0};
    bvh.build(one.data(), 1, kStride, 21, 16);
    ComputeKNN(one.data(), 1, kStride, bvh, 16, knn);
    EXPECT_EQ(knn.total, 0u);
    EXPECT_FALSE(anyMarked(one, 1));
    bvh.build(nullptr, 0, kStride, 21, 16);
    ComputeKNN(nullptr, 0, kStride, bvh, 16, knn);
    EXPECT_EQ(knn.total, 0u);
}

TEST(ComputeKNN, ProgressAndLowResolutionBranch)
{
    const unsigned n = 200;
    std::vector<float> pts = cloud(2, n, 8);
    oxMiniBVH bvh;
    bvh.build(pts.data(), n, kStride, 21, 16);
    KNN knn;
    RecordingNotifier notifier;
    ComputeKNN(pts.data(), n, kStride, bvh, 16, knn, &notifier);
    ASSERT_EQ(notifier.values.size(), 2u * n);
    for (unsigned i = 0; i < n; ++i) {
        EXPECT_FLOAT_EQ(notifier.values[i], 0.5f * float(i) / float(n));
        EXPECT_FLOAT_EQ(notifier.values[n + i], 0.5f * float(i) / float(n) + 0.5f);
    }
    // A 3-bit hierarchy (mask 7 <= 10) searches but stores nothing: the arrays stay.
    unsigned* oldNeighbours = knn.neighbours;
    const unsigned oldTotal = knn.total;
    bvh.build(pts.data(), n, kStride, 3, 16);
    ComputeKNN(pts.data(), n, kStride, bvh, 16, knn);
    EXPECT_EQ(knn.neighbours, oldNeighbours);
    EXPECT_EQ(knn.total, oldTotal);
    EXPECT_FALSE(anyMarked(pts, n));
}

TEST(PointRadii, GridRadiiAreUniformAndFollowTheFormula)
{
    // A 12 x 12 x 12 grid of spacing h: interior points see identical neighbourhoods.
    const float h = 0.25f;
    const unsigned side = 12, n = side * side * side;
    std::vector<float> pts;
    for (unsigned z = 0; z < side; ++z)
        for (unsigned y = 0; y < side; ++y)
            for (unsigned x = 0; x < side; ++x)
                pts.insert(pts.end(), {x * h, y * h, z * h, 0.0f});
    oxMiniBVH bvh;
    bvh.build(pts.data(), n, kStride, 21, 16);
    KNN knn;
    ComputeKNN(pts.data(), n, kStride, bvh, 16, knn);
    std::vector<float> radii(n);
    ComputePointsRadii(n, pts.data(), kStride, radii.data(), 1, knn, 4.0f);
    std::vector<float> interior;
    for (unsigned i = 0; i < n; ++i) {
        const float* p = &pts[i * kStride];
        bool inside = true;
        for (int a = 0; a < 3; ++a)
            inside = inside && p[a] > 2 * h && p[a] < (side - 3) * h;
        // Independent evaluation of the formula from the list.
        double s = 0;
        for (unsigned k = 0; k < knn.getNoNeighbours(i); ++k) {
            const double d = std::sqrt(double(dist2(&pts[knn.getNeighbours(i)[k] * kStride], p)));
            s += 1.0 / std::pow(0.5 * d, 3);
        }
        const double expected = std::sqrt(M_PI) * std::cbrt(knn.getNoNeighbours(i) / s) * 4.0;
        ASSERT_NEAR(radii[i], expected, 1e-5 * expected);
        if (inside)
            interior.push_back(radii[i]);
    }
    ASSERT_FALSE(interior.empty());
    for (float r : interior)
        EXPECT_FLOAT_EQ(r, interior[0]);
    // No neighbour: 0/0. A neighbour at distance 0: radius 0.
    KNN lonely;
    std::vector<float> two{0, 0, 0, 0, 0, 0, 0, 0};
    bvh.build(two.data(), 2, kStride, 21, 16);
    ComputeKNN(two.data(), 2, kStride, bvh, 16, lonely);
    std::vector<float> r2(2);
    ComputePointsRadii(2, two.data(), kStride, r2.data(), 1, lonely, 4.0f);
    EXPECT_TRUE(std::isnan(r2[0]));
}

TEST(CenterAndScale, FitsTheUnitCubeAlongTheLargestAxis)
{
    std::vector<float> pts{1, 2, 3, 0, 5, 3, 4, 0, 3, 2.5f, 3.5f, 0};
    float centre[3], scale;
    CenterAndScale(pts.data(), 3, kStride, centre, &scale);
    EXPECT_FLOAT_EQ(centre[0], 3.0f);
    EXPECT_FLOAT_EQ(centre[1], 2.5f);
    EXPECT_FLOAT_EQ(centre[2], 3.5f);
    EXPECT_FLOAT_EQ(scale, 2.0f);
    EXPECT_FLOAT_EQ(pts[0], -1.0f);
    EXPECT_FLOAT_EQ(pts[4], 1.0f);
    EXPECT_FLOAT_EQ(pts[5], 0.25f);
    EXPECT_FLOAT_EQ(pts[6], 0.25f);
    // Identical points are only moved to the origin.
    std::vector<float> same{7, 7, 7, 0, 7, 7, 7, 0};
    CenterAndScale(same.data(), 2, kStride, centre, &scale);
    EXPECT_EQ(scale, 1.0f);
    EXPECT_EQ(same[0], 0.0f);
    EXPECT_EQ(same[6], 0.0f);
}

TEST(KNNToMesh, OneTrianglePerLink)
{
    const unsigned n = 300;
    ox::oxAttributes attributes;
    attributes.SetPositionChannels(3);
    attributes.SetNormalChannels(3);
    ox::oxPointer<ox::oxVertexBuffer> vb(new ox::oxVertexBuffer(attributes, int(n)));
    std::vector<float> c = cloud(2, n, 4);
    for (unsigned i = 0; i < n; ++i) {
        vb->Position3(int(i)) = Wm4::Vector3<float>(c[i * kStride], c[i * kStride + 1], c[i * kStride + 2]);
        vb->Normal3(int(i)) = vb->Position3(int(i));
    }
    oxMiniBVH bvh;
    float* data = &vb->Position3(0).X();
    const unsigned stride = unsigned(&vb->Position3(1).X() - data);
    bvh.build(data, n, stride, 21, 16);
    KNN knn;
    ComputeKNN(data, n, stride, bvh, 16, knn);
    ox::oxPointer<ox::oxTriMesh> mesh = KNNToMesh(knn, vb.get());
    ASSERT_TRUE(mesh);
    ASSERT_EQ(mesh->GetVertexBuffer()->GetVertexQuantity(), int(2 * n));
    ASSERT_EQ(mesh->GetTriangleQuantity(), int(knn.total));
    int t = 0;
    for (unsigned i = 0; i < n; ++i)
        for (unsigned k = 0; k < knn.getNoNeighbours(i); ++k, ++t) {
            int a, b, d;
            ASSERT_TRUE(mesh->GetTriangle(t, a, b, d));
            EXPECT_EQ(unsigned(a), knn.getNeighbours(i)[k]);
            EXPECT_EQ(unsigned(b), i);
            EXPECT_EQ(unsigned(d), n + i);
        }
    const Wm4::Vector3<float> shift = mesh->GetVertexBuffer()->Position3(int(n) + 5) - vb->Position3(5);
    EXPECT_NEAR(shift.X(), 0.0001f, 1e-6f);
    EXPECT_EQ(mesh->GetVertexBuffer()->Normal3(int(n) + 5), vb->Normal3(5));
}
