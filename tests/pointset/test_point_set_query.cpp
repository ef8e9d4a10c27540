// The point-set query's nearest-vertex and in-sphere queries against exhaustive search,
// and its buffer handling (normalisation, Morton order, point-size replacement, sharing).
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include "oxPointSetQuery.h"
#include "scenegraph/oxAttributes.h"

using ox::oxPointer;
using ox::oxPointSetQuery;
using ox::oxVertexBuffer;
using Vec3 = Wm4::Vector3<float>;

namespace {

oxPointer<oxVertexBuffer> sphereCloud(unsigned n, bool colours, unsigned seed = 21)
{
    ox::oxAttributes a;
    a.SetPositionChannels(3);
    a.SetNormalChannels(3);
    if (colours)
        a.SetColorChannels(0, 3);
    oxPointer<oxVertexBuffer> vb(new oxVertexBuffer(a, int(n)));
    std::mt19937 rng(seed);
    std::normal_distribution<float> g;
    for (unsigned i = 0; i < n; ++i) {
        Vec3 p(g(rng), g(rng), g(rng));
        p.Normalize();
        vb->Normal3(int(i)) = p;
        vb->Position3(int(i)) = p * 3.0f + Vec3(10.0f, -2.0f, 5.0f);
        if (colours)
            vb->Color3(0, int(i)) = Wm4::ColorRGB(0.5f, 0.5f, 0.5f);
    }
    return vb;
}

}  // namespace

TEST(PointSetQuery, QueriesMatchExhaustiveSearch)
{
    oxPointer<oxVertexBuffer> input = sphereCloud(3000, true);
    oxPointSetQuery query(input.get());
    ASSERT_TRUE(query.isPending());
    query.computePointRadii();
    ASSERT_FALSE(query.isPending());
    const oxVertexBuffer& vb = *query.getVertices();
    ASSERT_NE(&vb, input.get()) << "a buffer without point sizes is replaced";
    EXPECT_TRUE(vb.GetAttributes().HasPSize());
    EXPECT_TRUE(vb.GetAttributes().HasNormal());
    for (int i = 0; i < vb.GetVertexQuantity(); ++i) {
        ASSERT_EQ(vb.Color3(0, i).R(), 0.0f) << "only positions, normals and sizes are carried over";
    }
    const int n = vb.GetVertexQuantity();
    ASSERT_EQ(n, 3000);
    // Normalised: the cloud spans [-1, 1] along its largest axis, and is in Morton order.
    float lo = 1e9f, hi = -1e9f;
    for (int i = 0; i < n; ++i) {
        lo = std::min(lo, vb.Position3(i).X());
        hi = std::max(hi, vb.Position3(i).X());
        EXPECT_NEAR(vb.Normal3(i).Dot(vb.Position3(i)) / vb.Position3(i).Length(), 1.0f, 0.02f)
            << "normals travelled with their positions";
        if (i > 0) {
            ASSERT_LE(query.getBVH()->mortonCode64(static_cast<const float*>(vb.Position3(i - 1))),
                      query.getBVH()->mortonCode64(static_cast<const float*>(vb.Position3(i))));
        }
        ASSERT_GT(vb.PSize1(i), 0.0f);
    }
    EXPECT_GT(hi - lo, 1.9f);
    std::mt19937 rng(5);
    std::uniform_real_distribution<float> u(-1.3f, 1.3f);
    for (int t = 0; t < 400; ++t) {
        const Vec3 q(u(rng), u(rng), u(rng));
        const unsigned excluded = (t % 3 == 0) ? unsigned(rng() % n) : 0xFFFFFFFFu;
        float best = std::numeric_limits<float>::infinity();
        for (int j = 0; j < n; ++j)
            if (unsigned(j) != excluded)
                best = std::min(best, (vb.Position3(j) - q).SquaredLength());
        const unsigned got = query.getNearestVertex(q, excluded);
        ASSERT_NE(got, excluded);
        ASSERT_EQ((vb.Position3(int(got)) - q).SquaredLength(), best) << "query " << t;
        const float radius = 0.05f + 0.3f * float(t % 5);
        unsigned inside = 0;
        for (int j = 0; j < n; ++j)
            inside += radius * radius > (vb.Position3(j) - q).SquaredLength();
        ASSERT_EQ(query.getNoPointsInSphere(q, radius), inside) << "query " << t;
    }
    // A point exactly on the sphere is not counted; the point itself at radius 0 neither.
    const Vec3 p0 = vb.Position3(0), p1 = vb.Position3(1);
    const float d01 = (p1 - p0).Length();
    const unsigned onSphere = query.getNoPointsInSphere(p0, d01);
    unsigned strictly = 0;
    for (int j = 0; j < n; ++j)
        strictly += d01 * d01 > (vb.Position3(j) - p0).SquaredLength();
    EXPECT_EQ(onSphere, strictly);
    EXPECT_EQ(query.getNoPointsInSphere(p0, 0.0f), 0u);
    EXPECT_EQ(query.getNearestVertex(p0, 0xFFFFFFFFu), 0u);
}

TEST(PointSetQuery, NearestVertexTiesAreDecidedInHierarchyOrder)
{
    // Every point twice: the two copies tie at every query. The answer is decided in index
    // order (the hierarchy's leaves are consecutive index ranges, walked left first): a point
    // replaces the best so far when the square of the best distance (the distance rounded to a
    // float, squared) exceeds its squared distance, so rounding can let the second copy win.
    // A search that visits points in another order answers differently.
    oxPointer<oxVertexBuffer> single = sphereCloud(800, false);
    oxPointer<oxVertexBuffer> doubled(new oxVertexBuffer(single->GetAttributes(), 1600));
    for (int i = 0; i < 1600; ++i) {
        doubled->Position3(i) = single->Position3(i / 2);
        doubled->Normal3(i) = single->Normal3(i / 2);
    }
    oxPointSetQuery query(doubled.get());
    query.computePointRadii();
    const oxVertexBuffer& vb = *query.getVertices();
    std::mt19937 rng(9);
    std::uniform_real_distribution<float> u(-3.0f, 3.0f);
    for (int t = 0; t < 300; ++t) {
        const Vec3 q(u(rng), u(rng), u(rng));
        float best = std::numeric_limits<float>::infinity();
        unsigned expected = 0;
        for (int j = 0; j < vb.GetVertexQuantity(); ++j) {
            const float d2 = (vb.Position3(j) - q).SquaredLength();
            if (best * best > d2)
                best = std::sqrt(d2), expected = unsigned(j);
        }
        ASSERT_EQ(query.getNearestVertex(q, 0xFFFFFFFFu), expected) << "query " << t;
    }
}

TEST(PointSetQuery, SinglePointEmptyBufferAndSharing)
{
    // One point excluded: nothing qualifies, the answer is 0.
    oxPointer<oxVertexBuffer> one = sphereCloud(1, false);
    oxPointSetQuery q1(one.get());
    q1.computePointRadii();
    EXPECT_EQ(q1.getNearestVertex(Vec3(0, 0, 0), 0), 0u);
    EXPECT_TRUE(std::isnan(q1.getVertices()->PSize1(0))) << "a point without neighbours has radius 0/0";
    // Empty buffer: empty structures, zero answers.
    oxPointer<oxVertexBuffer> empty = sphereCloud(0, false);
    oxPointSetQuery q0(empty.get());
    q0.computePointRadii();
    EXPECT_EQ(q0.getNearestVertex(Vec3(1, 2, 3), 0xFFFFFFFFu), 0u);
    EXPECT_EQ(q0.getNoPointsInSphere(Vec3(1, 2, 3), 5.0f), 0u);
    // Copies share the buffer, the hierarchy and the graph.
    oxPointer<oxVertexBuffer> vb = sphereCloud(500, false);
    const int before = vb->GetReferences();
    oxPointSetQuery a(vb.get());
    oxPointSetQuery b(a);
    EXPECT_EQ(vb->GetReferences(), before + 2);
    EXPECT_EQ(a.getBVH(), b.getBVH());
    EXPECT_EQ(a.getKNN(), b.getKNN());
    // Recomputing through the three-argument form on a caller's structures.
    ox::oxPointSetProcessing::oxMiniBVH bvh;
    ox::oxPointSetProcessing::KNN knn;
    oxPointSetQuery c(vb.get(), &bvh, &knn);
    EXPECT_FALSE(c.isPending());
    EXPECT_EQ(c.getDensityToRadiusRatio(), 4.0f);
}
