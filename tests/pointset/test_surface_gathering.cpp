// Neighbourhood gathering of the point-set surfaces, bit for bit: the hierarchy visits the
// supporting points in index order, so float sums over a plain loop in index order must
// give exactly the fits of both surfaces. Checked on the query's compact copy, on the
// vertex-buffer walk of a twin query without that copy, near the surface, far from it
// (fallback) and in a neighbourhood too crowded for the re-weighting scratch; plus the
// life cycle of the copy (taken by computePointRadii, shared by query copies).
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>

#include "oxAPSSSurface.h"
#include "oxRIMLSSurface.h"
#include "support/Clouds.h"

using ox::oxAPSSSurface;
using ox::oxRIMLSSurface;
using oxtest::Vec3;

namespace {

bool sameBits(float a, float b)
{
    return std::memcmp(&a, &b, sizeof a) == 0;
}

::testing::AssertionResult sameBits(const Vec3& a, const Vec3& b)
{
    if (sameBits(a.X(), b.X()) && sameBits(a.Y(), b.Y()) && sameBits(a.Z(), b.Z()))
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "(" << a.X() << ", " << a.Y() << ", " << a.Z() << ") vs ("
                                         << b.X() << ", " << b.Y() << ", " << b.Z() << ")";
}

// Calls f(j, p, n, r, d2) for every point whose support strictly contains x, in index order.
template <class F>
unsigned int forEachSupportBruteForce(const ox::oxVertexBuffer& vb, const Vec3& x, F&& f)
{
    unsigned int count = 0;
    for (int j = 0; j < vb.GetVertexQuantity(); ++j) {
        const Vec3& p = vb.Position3(j);
        const float dx = p.X() - x.X(), dy = p.Y() - x.Y(), dz = p.Z() - x.Z();
        const float d2 = dx * dx + dy * dy + dz * dz;
        const float r = vb.PSize1(j);
        if (!(r * r > d2))
            continue;
        ++count;
        f(p, vb.Normal3(j), ox::oxPointSetSurface::WeightFunction(std::sqrt(d2) / r));
    }
    return count;
}

// The nearest point's side by exhaustive search: -inf behind its normal, +inf in front.
float nearestSideBruteForce(const ox::oxVertexBuffer& vb, const Vec3& x)
{
    int best = 0;
    for (int j = 1; j < vb.GetVertexQuantity(); ++j)
        if ((vb.Position3(j) - x).SquaredLength() < (vb.Position3(best) - x).SquaredLength())
            best = j;
    const float inf = std::numeric_limits<float>::infinity();
    return (vb.Position3(best) - x).Dot(vb.Normal3(best)) > 0.0f ? -inf : inf;
}

// The sphere fit from float sums accumulated in index order.
oxAPSSSurface::oxAlgebraicSphere sphereBruteForce(const ox::oxVertexBuffer& vb, const Vec3& x)
{
    float w = 0.0f, wpp = 0.0f, wpn = 0.0f;
    Vec3 wp, wn;
    const unsigned int count = forEachSupportBruteForce(vb, x, [&](const Vec3& p, const Vec3& n, float wj) {
        w += wj;
        wp += p * wj;
        wpp += wj * p.SquaredLength();
        wn += n * wj;
        wpn += wj * p.Dot(n);
    });
    if (count < 4)
        return oxAPSSSurface::oxAlgebraicSphere(nearestSideBruteForce(vb, x), Vec3(), 0.0f);
    const float invW = 1.0f / w;
    const float u4 = 0.5f * (wpn - wp.Dot(wn) * invW) / (wpp - wp.Dot(wp) * invW);
    const Vec3 u123 = (wn - wp * (2.0f * u4)) * invW;
    return oxAPSSSurface::oxAlgebraicSphere(-(u123.Dot(wp) + u4 * wpp) * invW, u123, u4);
}

// Four re-weighted passes (sigma 0.5) from float sums accumulated in index order.
oxRIMLSSurface::oxAlgebraicPlane planeBruteForce(const ox::oxVertexBuffer& vb, const Vec3& x,
                                                 const Vec3* hint)
{
    Vec3 g = hint ? *hint : Vec3();
    float s = hint ? 0.5f : std::numeric_limits<float>::infinity();
    oxRIMLSSurface::oxAlgebraicPlane plane;
    for (int pass = 0; pass < 4; ++pass) {
        const float s2 = s * s;
        float w = 0.0f, negWnp = 0.0f;
        Vec3 wn;
        const unsigned int count =
            forEachSupportBruteForce(vb, x, [&](const Vec3& p, const Vec3& n, float wj) {
                if (!std::isinf(s2))
                    wj *= oxRIMLSSurface::GaussianWeightFunction((n - g).SquaredLength(), s2);
                w += wj;
                wn += n * wj;
                negWnp -= wj * n.Dot(p);
            });
        if (count < 4)
            return oxRIMLSSurface::oxAlgebraicPlane(nearestSideBruteForce(vb, x), g);
        const float inv = 1.0f / w;
        plane = oxRIMLSSurface::oxAlgebraicPlane(negWnp * inv, wn * inv);
        g = plane.getU123();
        s = 0.5f;
    }
    return plane;
}

// Both surfaces on `query` against the brute force at x, with and without a hint.
void expectFitsEqualBruteForce(const ox::oxPointSetQuery& query, const Vec3& x, const char* what)
{
    const ox::oxVertexBuffer& vb = *query.getVertices();
    const oxAPSSSurface::oxAlgebraicSphere sphere = oxAPSSSurface(&query).fitSphere(x);
    const oxAPSSSurface::oxAlgebraicSphere sphereRef = sphereBruteForce(vb, x);
    EXPECT_TRUE(sameBits(sphere.getU0(), sphereRef.getU0()))
        << what << " u0 " << sphere.getU0() << " vs " << sphereRef.getU0();
    EXPECT_TRUE(sameBits(sphere.getU123(), sphereRef.getU123())) << what;
    EXPECT_TRUE(sameBits(sphere.getU4(), sphereRef.getU4())) << what;

    const oxRIMLSSurface rimls(&query);
    const Vec3 hint(0.3f, -0.2f, 0.9f);
    for (const Vec3* h : {static_cast<const Vec3*>(nullptr), &hint}) {
        const oxRIMLSSurface::oxAlgebraicPlane plane = rimls.fitPlane(x, h);
        const oxRIMLSSurface::oxAlgebraicPlane planeRef = planeBruteForce(vb, x, h);
        EXPECT_TRUE(sameBits(plane.getU0(), planeRef.getU0()))
            << what << (h ? " hint" : "") << " u0 " << plane.getU0() << " vs " << planeRef.getU0();
        EXPECT_TRUE(sameBits(plane.getU123(), planeRef.getU123())) << what << (h ? " hint" : "");
    }
}

// Random points of a tilted slab with random, mostly upward normals.
std::unique_ptr<oxtest::tCloud> slabCloud(std::mt19937& rng)
{
    std::uniform_real_distribution<float> u(-1.0f, 1.0f);
    std::vector<Vec3> p, n;
    for (int i = 0; i < 3000; ++i) {
        p.emplace_back(u(rng), u(rng), u(rng) * 0.2f + 0.1f * p.size() / 3000.0f);
        Vec3 normal(u(rng) * 0.3f, u(rng) * 0.3f, 1.0f);
        normal.Normalize();
        n.push_back(normal);
    }
    return oxtest::makeCloud(p, n);
}

}  // namespace

TEST(SurfaceGathering, FitsEqualIndexOrderSumsBitForBit)
{
    std::mt19937 rng(23);
    auto cloud = slabCloud(rng);
    // A twin over the same buffer, hierarchy and radii, without the compact copy: the
    // surfaces then walk the vertex buffer itself.
    const ox::oxPointSetQuery twin(cloud->query->getVertices(), cloud->bvh.get(), cloud->knn.get());
    std::uniform_real_distribution<float> u(-1.0f, 1.0f);
    unsigned int far = 0;
    for (int t = 0; t < 300; ++t) {
        // Mostly inside the slab, some well above or below it (fallback by the nearest point).
        const float z = t % 5 == 0 ? u(rng) * 0.8f : u(rng) * 0.25f;
        const Vec3 x(u(rng), u(rng), z);
        const unsigned int support =
            forEachSupportBruteForce(*cloud->query->getVertices(), x, [](auto&&...) {});
        far += support < 4;
        expectFitsEqualBruteForce(*cloud->query, x, "compact copy");
        expectFitsEqualBruteForce(twin, x, "buffer walk");
    }
    EXPECT_GT(far, 10u) << "the fallback must be exercised";
}

TEST(SurfaceGathering, CrowdedNeighbourhoodsBeyondTheScratch)
{
    // Concentric spheres of 150 points each, spaced wider apart than their points: a
    // point's neighbours lie on its own sphere, so its radius (from the neighbour spacing)
    // exceeds the sphere's radius and near the centre every point of every sphere supports
    // the position: more points than the re-weighting keeps at hand. The fits must not
    // change.
    std::vector<Vec3> p, n;
    for (float radius : {0.1f, 0.15f, 0.225f})
        for (unsigned int i = 0; i < 150; ++i) {
            const Vec3 d = oxtest::fibonacciDirection(i, 150);
            p.push_back(d * radius);
            n.push_back(d);
        }
    auto cloud = oxtest::makeCloud(p, n);
    std::mt19937 rng(5);
    std::uniform_real_distribution<float> u(-0.01f, 0.01f);
    unsigned int crowded = 0;
    for (int t = 0; t < 60; ++t) {
        const Vec3 x(u(rng), u(rng), u(rng));
        crowded += forEachSupportBruteForce(*cloud->query->getVertices(), x, [](auto&&...) {}) > 256;
        expectFitsEqualBruteForce(*cloud->query, x, "crowded");
    }
    EXPECT_GT(crowded, 30u) << "positions with more supporting points than the scratch holds";
}

TEST(SurfaceGathering, CopyIsTakenByComputePointRadiiAndShared)
{
    auto cloud = oxtest::sphereCloud(3000, Vec3(0.0f, 0.0f, 0.0f), 0.5f);
    ox::oxVertexBuffer& vb = *cloud->query->getVertices();
    const ox::oxPointSetQuery copy(*cloud->query);
    const oxAPSSSurface surface(cloud->query.get()), onCopy(&copy);
    const Vec3 outside(0.55f, 0.0f, 0.0f);
    const float before = surface.computePotential(outside);
    EXPECT_GT(before, 0.0f) << "outward normals: positive outside";
    EXPECT_TRUE(sameBits(onCopy.computePotential(outside), before));

    // Turn every normal inward. The copy taken by computePointRadii does not see the
    // edit; the next computePointRadii (same positions, so the same radii) takes it.
    for (int i = 0; i < vb.GetVertexQuantity(); ++i)
        vb.Normal3(i) = -vb.Normal3(i);
    EXPECT_TRUE(sameBits(surface.computePotential(outside), before));
    cloud->query->computePointRadii();
    const float after = surface.computePotential(outside);
    EXPECT_LT(after, 0.0f);
    EXPECT_NEAR(after, -before, 1e-6f);
    expectFitsEqualBruteForce(*cloud->query, outside, "after the edit");
    EXPECT_TRUE(sameBits(onCopy.computePotential(outside), before)) << "the query copy keeps its own copy";
}
