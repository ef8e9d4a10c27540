// Robust implicit MLS surface: signed distance to a sampled plane, re-weighting at a sharp
// edge against the plain first pass computed exhaustively, the fallback and projection.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "oxRIMLSSurface.h"
#include "support/Clouds.h"

using ox::oxRIMLSSurface;
using oxtest::Vec3;

namespace {

// A square patch of the plane z = h with normal (0, 0, s).
void addPlane(std::vector<Vec3>& p, std::vector<Vec3>& n, float h, float s)
{
    for (int i = 0; i < 50; ++i)
        for (int j = 0; j < 50; ++j) {
            p.emplace_back(-0.8f + 0.032f * float(i), -0.8f + 0.032f * float(j) + 0.003f * float(i % 3), h);
            n.emplace_back(0.0f, 0.0f, s);
        }
}

}  // namespace

TEST(RIMLSSurface, PlaneGivesSignedDistance)
{
    std::vector<Vec3> p, n;
    addPlane(p, n, -0.1f, 1.0f);
    auto cloud = oxtest::makeCloud(p, n, 0.12f);
    const oxRIMLSSurface surface(cloud->query.get());
    EXPECT_EQ(surface.getNoIterations(), 4u);
    EXPECT_EQ(surface.getSigma(), 0.5f);
    for (float z : {-0.2f, -0.1f, -0.05f, 0.0f}) {
        const Vec3 x(0.05f, 0.1f, z);
        EXPECT_NEAR(surface.computePotential(x), z + 0.1f, 1e-5f);
        const Vec3 hint(0.0f, 0.0f, 1.0f);
        const oxRIMLSSurface::oxAlgebraicPlane withHint = surface.fitPlane(x, &hint);
        EXPECT_NEAR(withHint.eval(x), z + 0.1f, 1e-5f) << "equal normals: the hint changes nothing";
        EXPECT_NEAR(withHint.getU123().Z(), 1.0f, 1e-5f);
        Vec3 g;
        EXPECT_NEAR(surface.computePotentialAndGradient(x, g), z + 0.1f, 1e-5f);
        EXPECT_NEAR(g.Z(), 1.0f, 1e-6f);
        oxRIMLSSurface copy = surface;
        EXPECT_NEAR(copy.computeGradient(x).Z(), 1.0f, 1e-5f);
        const Vec3 projected = surface.projectOntoSurface(x, nullptr, 1);
        EXPECT_NEAR(projected.Z(), -0.1f, 1e-5f);
        EXPECT_NEAR(projected.X(), 0.05f, 1e-6f) << "orthogonal projection";
        EXPECT_EQ(surface.projectOntoSurface(x, nullptr, 0), x);
    }
    // Outside every support: +/-infinity by the nearest normal; projection along the
    // zero gradient throws the point away by -MAX_REAL on every axis.
    const float inf = std::numeric_limits<float>::infinity();
    EXPECT_EQ(surface.computePotential(Vec3(0.0f, 0.0f, 0.5f)), inf);
    EXPECT_EQ(surface.computePotential(Vec3(0.0f, 0.0f, -0.5f)), -inf);
    const Vec3 thrown = surface.projectOntoSurface(Vec3(0.0f, 0.0f, 0.5f), nullptr, 1);
    EXPECT_LT(thrown.X(), -1e38f);
    EXPECT_LT(thrown.Y(), -1e38f);
    const Vec3 hint(0.0f, 1.0f, 0.0f);
    EXPECT_EQ(surface.fitPlane(Vec3(0.0f, 0.0f, 0.5f), &hint).getU123(), hint)
        << "fallback keeps the estimate";
}

TEST(RIMLSSurface, ReweightingKeepsARightAngleEdgeSharp)
{
    // The edge of a box: top face z = 0 (normal +z) for x < 0, side face x = 0 (normal +x)
    // for z < 0. Near the edge the true signed distance to the solid's boundary is the
    // distance to the nearer face; the plain weighted mean (first pass, exhaustive here)
    // rounds the edge off, the re-weighted fit must stay closer to the sharp answer.
    std::vector<Vec3> p, n;
    for (int i = 0; i < 40; ++i)
        for (int j = 0; j < 60; ++j) {
            const float a = -0.02f * float(i) - 0.01f, b = -0.6f + 0.02f * float(j);
            p.emplace_back(a, b, 0.0f);
            n.emplace_back(0.0f, 0.0f, 1.0f);
            p.emplace_back(0.0f, b, a);
            n.emplace_back(1.0f, 0.0f, 0.0f);
        }
    auto cloud = oxtest::makeCloud(p, n, 0.15f);
    const ox::oxVertexBuffer& vb = *cloud->query->getVertices();
    const oxRIMLSSurface surface(cloud->query.get());
    double robustError = 0, plainError = 0;
    for (int t = 0; t < 20; ++t) {
        const Vec3 x(-0.04f - 0.002f * float(t), 0.05f, 0.012f);  // above the top face, near the edge
        const float truth = x.Z();
        float w = 0, wf = 0;
        for (int j = 0; j < vb.GetVertexQuantity(); ++j) {
            const float d2 = (vb.Position3(j) - x).SquaredLength(), r2 = vb.PSize1(j) * vb.PSize1(j);
            if (!(r2 > d2))
                continue;
            const float s = 1.0f - d2 / r2, wj = s * s * s * s;
            w += wj;
            wf += wj * vb.Normal3(j).Dot(x - vb.Position3(j));
        }
        plainError += std::fabs(wf / w - truth);
        robustError += std::fabs(surface.computePotential(x) - truth);
    }
    EXPECT_LT(robustError, 0.5 * plainError) << "robust " << robustError << " plain " << plainError;
}
