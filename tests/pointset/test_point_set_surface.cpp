// The point-set surface base: the weight kernel and the two-call default of
// computePotentialAndGradient.
#include <gtest/gtest.h>

#include <cmath>

#include "oxPointSetSurface.h"
#include "oxRIMLSSurface.h"

using Vec3 = Wm4::Vector3<float>;

TEST(PointSetSurfaceWeights, KernelValues)
{
    EXPECT_FLOAT_EQ(ox::oxPointSetSurface::WeightFunction(0.5f), 0.31640625f);  // 0.75^4
    EXPECT_EQ(ox::oxPointSetSurface::WeightFunction(0.0f), 1.0f);
    EXPECT_EQ(ox::oxPointSetSurface::WeightFunction(1.0f), 0.0f);
    EXPECT_EQ(ox::oxPointSetSurface::WeightFunction(-1.0f), 0.0f);
    EXPECT_EQ(ox::oxPointSetSurface::WeightFunction(2.0f), 0.0f);
    EXPECT_FLOAT_EQ(ox::oxPointSetSurface::WeightFunction(-0.5f), 0.31640625f);
    // Decreasing on [0, 1].
    for (int i = 1; i <= 100; ++i)
        EXPECT_LT(ox::oxPointSetSurface::WeightFunction(0.01f * float(i)),
                  ox::oxPointSetSurface::WeightFunction(0.01f * float(i - 1)));
    EXPECT_NEAR(ox::oxRIMLSSurface::GaussianWeightFunction(0.25f, 0.25f), std::exp(-1.0f), 1e-7f);
    EXPECT_NEAR(ox::oxRIMLSSurface::GaussianWeightFunction(0.0f, 0.25f), 1.0f, 0.0f);
    EXPECT_NEAR(ox::oxRIMLSSurface::GaussianWeightFunction(1.0f, 0.25f), std::exp(-4.0f), 1e-7f);
}

namespace {

// A surface that overrides only the pure slots: f(x) = x.x + 2, gradient (1, 2, 3) + x,
// and counts which slot ran in what order.
class tTwoSlotSurface : public ox::oxPointSetSurface {
public:
    tTwoSlotSurface() : ox::oxPointSetSurface(nullptr) {}
    float computePotential(const Vec3& x) const override
    {
        order = order * 10 + 1;
        return x.X() + 2.0f;
    }
    Vec3 computeGradient(const Vec3& x) override
    {
        order = order * 10 + 2;
        return Vec3(1.0f, 2.0f, 3.0f) + x;
    }
    Vec3 projectOntoSurface(const Vec3& x, const Vec3*, unsigned int) const override { return x; }
    mutable int order = 0;
};

}  // namespace

TEST(PointSetSurfaceBase, PotentialAndGradientDefaultUsesBothSlots)
{
    tTwoSlotSurface surface;
    EXPECT_EQ(surface.getPointSet(), nullptr);
    Vec3 g;
    const ox::oxPointSetSurface& asBase = surface;
    const float f = asBase.computePotentialAndGradient(Vec3(3.0f, 1.0f, 0.0f), g);
    EXPECT_EQ(f, 5.0f);
    EXPECT_EQ(g, Vec3(4.0f, 3.0f, 3.0f)) << "the gradient of slot 1, not normalised";
    EXPECT_EQ(surface.order, 21) << "gradient first, then potential";
    tTwoSlotSurface copy = surface;
    EXPECT_EQ(copy.getPointSet(), surface.getPointSet());
}
