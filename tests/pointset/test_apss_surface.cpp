// Algebraic point set surface: the algebraic-sphere operations against closed forms, the
// gathering against exhaustive sums, fits on sampled spheres and planes, the far-field
// fallback and projection.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include "oxAPSSSurface.h"
#include "support/Clouds.h"

using ox::oxAPSSSurface;
using Sphere = ox::oxAPSSSurface::oxAlgebraicSphere;
using oxtest::Vec3;

namespace {

::testing::AssertionResult near(const Vec3& a, const Vec3& b, float tolerance)
{
    if ((a - b).Length() <= tolerance)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "(" << a.X() << ", " << a.Y() << ", " << a.Z() << ") vs ("
                                         << b.X() << ", " << b.Y() << ", " << b.Z() << ")";
}

}  // namespace

TEST(AlgebraicSphere, StatedValues)
{
    Sphere s;
    EXPECT_EQ(s.getU0(), 0.0f);
    EXPECT_EQ(s.getU4(), 0.0f);
    EXPECT_TRUE(s.isInvalid());
    EXPECT_TRUE(Sphere(5.0f, Vec3(), 0.0f).isInvalid()) << "u0 is not looked at";
    EXPECT_FALSE(Sphere(0.0f, Vec3(0.0f, 0.0f, 1e-30f), 0.0f).isInvalid());

    Sphere n(0.0f, Vec3(2.0f, 0.0f, 0.0f), 0.0f);
    n.normalize();
    EXPECT_EQ(n.getU0(), 0.0f);
    EXPECT_EQ(n.getU123(), Vec3(0.5f, 0.0f, 0.0f)) << "divided by the sum of squares";
    Sphere m(1.0f, Vec3(1.0f, 1.0f, 1.0f), 1.0f);
    m.normalize();
    EXPECT_FLOAT_EQ(m.getU0(), 0.2f);
    EXPECT_FLOAT_EQ(m.getU4(), 0.2f);

    Sphere unit;
    unit.setCenterRadius(Vec3(0.0f, 0.0f, 0.0f), 1.0f);
    EXPECT_FLOAT_EQ(unit.eval(Vec3(2.0f, 0.0f, 0.0f)), -1.5f);
    EXPECT_GT(unit.eval(Vec3(0.2f, 0.1f, 0.0f)), 0.0f) << "positive inside";
    Sphere s2;
    const Vec3 c(0.3f, -0.2f, 0.5f);
    s2.setCenterRadius(c, 0.7f);
    EXPECT_TRUE(near(s2.getCenter(), c, 1e-6f));
    EXPECT_NEAR(s2.getRadius(), 0.7f, 1e-6f);
    EXPECT_NEAR(s2.eval(c + Vec3(0.0f, 0.7f, 0.0f)), 0.0f, 1e-6f);
    // Gradient of -0.5 |x - c|^2: c - x.
    EXPECT_TRUE(near(s2.geometricGradientAt(Vec3(1.0f, 1.0f, 1.0f)), c - Vec3(1.0f, 1.0f, 1.0f), 1e-6f));
    EXPECT_TRUE(near(s2.getProjectDirection(Vec3(1.0f, 1.0f, 1.0f)),
                     (c - Vec3(1.0f, 1.0f, 1.0f)) / (c - Vec3(1.0f, 1.0f, 1.0f)).Length(), 1e-6f));
    EXPECT_EQ(s2.getProjectDirection(c + Vec3(1e-5f, 0.0f, 0.0f)).Length() < 1e-4f, true)
        << "a tiny gradient is returned unnormalised";
}

TEST(AlgebraicSphere, ProjectionDistanceAndRaysAgainstClosedForms)
{
    std::mt19937 rng(3);
    std::uniform_real_distribution<float> u(-2.0f, 2.0f);
    for (int t = 0; t < 200; ++t) {
        const Vec3 c(u(rng) * 0.3f, u(rng) * 0.3f, u(rng) * 0.3f);
        const float r = 0.2f + 0.2f * std::fabs(u(rng));
        Sphere s;
        s.setCenterRadius(c, r);
        const float k = 0.5f + std::fabs(u(rng));  // any non-zero multiple is the same sphere
        const Sphere scaled(s.getU0() * k, s.getU123() * k, s.getU4() * k);
        const Vec3 x(u(rng), u(rng), u(rng));
        const Vec3 closest = c + (x - c) * (r / (x - c).Length());
        EXPECT_TRUE(near(scaled.projectOntoSphere(x), closest, 2e-5f));
        EXPECT_NEAR(scaled.distanceToSurface(x), std::fabs((x - c).Length() - r), 2e-5f);

        // Plane n.x + d = 0 (u4 = 0).
        Vec3 normal(u(rng), u(rng), u(rng));
        normal.Normalize();
        const float d = u(rng) * 0.5f;
        const Sphere plane(d * k, normal * k, 0.0f);
        const Vec3 onPlane = x - normal * (normal.Dot(x) + d);
        EXPECT_TRUE(near(plane.projectOntoSphere(x), onPlane, 2e-5f));
        EXPECT_NEAR(plane.distanceToSurface(x), std::fabs(normal.Dot(x) + d), 2e-5f);

        // Ray from inside hits the sphere once going forward; from outside towards the
        // centre it hits at the near side.
        float hit = -1.0f;
        Vec3 dir(u(rng), u(rng), u(rng));
        dir.Normalize();
        ASSERT_TRUE(scaled.intersectRay(c, dir, hit));
        EXPECT_NEAR(hit, r, 2e-5f);
        const Vec3 outside = c + dir * (r + 1.0f);
        ASSERT_TRUE(scaled.intersectRay(outside, -dir, hit));
        EXPECT_NEAR(hit, 1.0f, 2e-5f);
        float untouched = 42.0f;
        // A ray that misses: offset sideways by more than the radius.
        const Vec3 side =
            dir.UnitCross(std::fabs(dir.X()) < 0.9f ? Vec3(1.0f, 0.0f, 0.0f) : Vec3(0.0f, 1.0f, 0.0f));
        EXPECT_FALSE(scaled.intersectRay(c + side * (r * 1.5f), dir, untouched));
        EXPECT_EQ(untouched, 42.0f);
    }
    const Sphere fallback(std::numeric_limits<float>::infinity(), Vec3(), 0.0f);
    EXPECT_EQ(fallback.distanceToSurface(Vec3(1.0f, 2.0f, 3.0f)), std::numeric_limits<float>::infinity());
    Sphere imaginary(1.0f, Vec3(), 1.0f);  // 1 + |x|^2 has no zero
    EXPECT_EQ(imaginary.distanceToSurface(Vec3(1.0f, 2.0f, 3.0f)), std::numeric_limits<float>::infinity());
}

TEST(APSSSurface, GatheringMatchesExhaustiveSums)
{
    // Random cloud, random normals: the fit from the traversal equals the fit from sums
    // over every point that passes the strict support test.
    std::mt19937 rng(11);
    std::uniform_real_distribution<float> u(-1.0f, 1.0f);
    std::vector<Vec3> p, n;
    for (int i = 0; i < 3000; ++i) {
        p.emplace_back(u(rng), u(rng), u(rng) * 0.2f);
        Vec3 normal(u(rng) * 0.3f, u(rng) * 0.3f, 1.0f);
        normal.Normalize();
        n.push_back(normal);
    }
    auto cloud = oxtest::makeCloud(p, n);
    const ox::oxVertexBuffer& vb = *cloud->query->getVertices();
    oxAPSSSurface surface(cloud->query.get());
    for (int t = 0; t < 100; ++t) {
        const Vec3 x(u(rng) * 0.9f, u(rng) * 0.9f, u(rng) * 0.25f);
        double count = 0, w = 0, wpp = 0, wpn = 0, wp[3] = {0, 0, 0}, wn[3] = {0, 0, 0};
        for (int j = 0; j < vb.GetVertexQuantity(); ++j) {
            const Vec3 q = vb.Position3(j);
            const double d2 = (q - x).SquaredLength(), r = vb.PSize1(j);
            if (!(r * r > d2))
                continue;
            const double s = 1.0 - d2 / (r * r), wj = s * s * s * s;
            const Vec3 nj = vb.Normal3(j);
            count += 1;
            w += wj;
            wpp += wj * q.SquaredLength();
            wpn += wj * q.Dot(nj);
            for (int a = 0; a < 3; ++a) {
                wp[a] += wj * q[a];
                wn[a] += wj * nj[a];
            }
        }
        ASSERT_GE(count, 4);
        const double dotPN = wp[0] * wn[0] + wp[1] * wn[1] + wp[2] * wn[2];
        const double dotPP = wp[0] * wp[0] + wp[1] * wp[1] + wp[2] * wp[2];
        const double u4 = 0.5 * (wpn - dotPN / w) / (wpp - dotPP / w);
        double u123[3];
        for (int a = 0; a < 3; ++a)
            u123[a] = (wn[a] - 2 * u4 * wp[a]) / w;
        const double u0 = -(u123[0] * wp[0] + u123[1] * wp[1] + u123[2] * wp[2] + u4 * wpp) / w;
        const Sphere s = surface.fitSphere(x);
        const double scale = std::fabs(u0) + std::fabs(u4) + 1.0;
        EXPECT_NEAR(s.getU4(), u4, 2e-3 * scale) << t;
        EXPECT_NEAR(s.getU0(), u0, 2e-3 * scale) << t;
        for (int a = 0; a < 3; ++a)
            EXPECT_NEAR(s.getU123()[a], u123[a], 2e-3 * scale) << t;
    }
}

TEST(APSSSurface, FitsASampledSphere)
{
    const Vec3 c(0.1f, -0.05f, 0.02f);
    auto cloud = oxtest::sphereCloud(4000, c, 0.5f);
    oxAPSSSurface surface(cloud->query.get());
    std::mt19937 rng(5);
    for (int t = 0; t < 100; ++t) {
        const Vec3 dir = oxtest::fibonacciDirection(unsigned(rng() % 1000), 1000);
        const Vec3 onSurface = c + dir * 0.5f;
        const Sphere s = surface.fitSphere(onSurface);
        EXPECT_TRUE(near(s.getCenter(), c, 2e-3f)) << t;
        EXPECT_NEAR(s.getRadius(), 0.5f, 2e-3f) << t;
        EXPECT_NEAR(surface.computePotential(onSurface), 0.0f, 2e-4f);
        EXPECT_GT(surface.computePotential(c + dir * 0.52f), 0.0f) << "positive outside";
        EXPECT_LT(surface.computePotential(c + dir * 0.48f), 0.0f) << "negative inside";
        Vec3 g;
        const float f = surface.computePotentialAndGradient(c + dir * 0.51f, g);
        EXPECT_NEAR(f, surface.computePotential(c + dir * 0.51f), 1e-6f);
        EXPECT_NEAR(g.Length(), 1.0f, 1e-5f);
        EXPECT_TRUE(near(g, dir, 5e-3f)) << "unit outward gradient";
        Vec3 raw = surface.computeGradient(c + dir * 0.51f);
        EXPECT_TRUE(near(raw / raw.Length(), dir, 5e-3f));
        // Projection of a point near the surface: the closest sphere point.
        const Vec3 x = c + dir * 0.53f + dir.UnitCross(Vec3(0.3f, 0.4f, 0.5f)) * 0.01f;
        const Vec3 expected = c + (x - c) * (0.5f / (x - c).Length());
        EXPECT_TRUE(near(surface.projectOntoSurface(x, nullptr, 3), expected, 5e-4f)) << t;
        EXPECT_EQ(surface.projectOntoSurface(x, nullptr, 0), x);
    }
}

TEST(APSSSurface, FitsAPlaneAndFallsBackFarAway)
{
    std::vector<Vec3> p, n;
    for (int i = 0; i < 60; ++i)
        for (int j = 0; j < 60; ++j) {
            p.emplace_back(-0.9f + 0.03f * float(i), -0.9f + 0.03f * float(j), 0.2f);
            n.emplace_back(0.0f, 0.0f, 1.0f);
        }
    auto cloud = oxtest::makeCloud(p, n, 0.1f);
    oxAPSSSurface surface(cloud->query.get());
    for (float z : {0.15f, 0.2f, 0.27f}) {
        const Vec3 x(0.13f, -0.21f, z);
        const Sphere s = surface.fitSphere(x);
        EXPECT_NEAR(s.getU4(), 0.0f, 1e-4f);
        EXPECT_NEAR(surface.computePotential(x), z - 0.2f, 1e-4f) << "signed distance for unit normals";
        EXPECT_TRUE(near(surface.projectOntoSurface(x, nullptr, 2), Vec3(0.13f, -0.21f, 0.2f), 1e-4f));
    }
    // Beyond every support (radius 0.1): +/-infinity by the nearest normal, projection to 0.
    const float inf = std::numeric_limits<float>::infinity();
    EXPECT_EQ(surface.computePotential(Vec3(0.0f, 0.0f, 0.5f)), inf);
    EXPECT_EQ(surface.computePotential(Vec3(0.0f, 0.0f, -0.5f)), -inf);
    EXPECT_EQ(surface.computePotential(Vec3(5.0f, 5.0f, 5.0f)), inf);
    EXPECT_TRUE(surface.fitSphere(Vec3(0.0f, 0.0f, 0.5f)).isInvalid());
    EXPECT_EQ(surface.computeGradient(Vec3(0.0f, 0.0f, 0.5f)), Vec3(0.0f, 0.0f, 0.0f));
    EXPECT_EQ(surface.projectOntoSurface(Vec3(0.3f, 0.3f, 0.5f), nullptr, 1), Vec3(0.0f, 0.0f, 0.0f));
    // Just beyond the support radius of the corner lattice point nothing contributes.
    EXPECT_EQ(std::fabs(surface.computePotential(Vec3(-0.9f, -0.9f, 0.3f + 1e-6f))), inf);
}
