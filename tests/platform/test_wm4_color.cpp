// Tests of Wm4::ColorRGB and Wm4::ColorRGBA.
#include <limits>
#include <type_traits>

#include <gtest/gtest.h>

#include "Wm4/Wm4ColorRGB.h"

using Wm4::ColorRGB;
using Wm4::ColorRGBA;

TEST(Wm4Color, LayoutConstructionAndArithmetic)
{
    static_assert(sizeof(ColorRGB) == 3 * sizeof(float), "");
    static_assert(sizeof(ColorRGBA) == 4 * sizeof(float), "");
    static_assert(std::is_trivially_copyable<ColorRGB>::value, "");

    const ColorRGB kBlack;
    EXPECT_EQ(kBlack.R(), 0.0f);
    EXPECT_EQ(kBlack.G(), 0.0f);
    EXPECT_EQ(kBlack.B(), 0.0f);

    ColorRGB kC(0.25f, 0.5f, 0.75f);
    const ColorRGB kCopy(kC);
    EXPECT_EQ(kCopy, kC);
    EXPECT_EQ(kC[1], 0.5f);
    kC.G() = 0.125f;
    kC[2] = 1.0f;
    EXPECT_EQ(kC, ColorRGB(0.25f, 0.125f, 1.0f));
    EXPECT_NE(kC, kCopy);

    // Interpolation as the library writes it: a * (1 - t) + b * t.
    const ColorRGB kA(1.0f, 0.0f, 0.5f), kB(0.0f, 1.0f, 0.5f);
    const ColorRGB kMix = kA * 0.75f + kB * 0.25f;
    EXPECT_EQ(kMix, ColorRGB(0.75f, 0.25f, 0.5f));
    ColorRGB kAcc;
    kAcc += kA;
    kAcc += kB;
    kAcc *= 0.5f;
    EXPECT_EQ(kAcc, ColorRGB(0.5f, 0.5f, 0.5f));
    EXPECT_EQ(2.0f * kA, ColorRGB(2.0f, 0.0f, 1.0f));
    EXPECT_EQ(kA * kB, ColorRGB(0.0f, 0.0f, 0.25f));

    const ColorRGBA kRGBA(0.1f, 0.2f, 0.3f, 0.4f);
    EXPECT_EQ(kRGBA.A(), 0.4f);
    EXPECT_EQ(kRGBA + kRGBA, ColorRGBA(0.2f, 0.4f, 0.6f, 0.8f));
    EXPECT_EQ(ColorRGBA(), ColorRGBA(0, 0, 0, 0));
}

TEST(Wm4Color, ClampKeepsChannelsInUnitRange)
{
    ColorRGB kC(-0.5f, 0.5f, 2.0f);
    kC.Clamp();
    EXPECT_EQ(kC, ColorRGB(0.0f, 0.5f, 1.0f));
    ColorRGBA kD(std::numeric_limits<float>::quiet_NaN(), 1.0f, 0.0f, std::numeric_limits<float>::infinity());
    kD.Clamp();
    EXPECT_EQ(kD, ColorRGBA(0.0f, 1.0f, 0.0f, 1.0f));
}
