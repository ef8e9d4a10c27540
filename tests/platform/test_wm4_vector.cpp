// Tests of Wm4::Math and the fixed-size vectors Vector2/3/4.
#include <cfloat>
#include <cmath>
#include <limits>
#include <map>
#include <random>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include "Wm4/Wm4Math.h"
#include "Wm4/Wm4Vector2.h"
#include "Wm4/Wm4Vector3.h"
#include "Wm4/Wm4Vector4.h"

using Wm4::Math;
using Wm4::Vector2f;
using Wm4::Vector3d;
using Wm4::Vector3f;
using Wm4::Vector4f;

namespace {

// Binds a constant to a reference (odr-use): must link without extra definitions.
template <typename T>
const T& Bind(const T& rkValue)
{
    return rkValue;
}

}  // namespace

TEST(Wm4Math, ConstantsMatchTheirDefinitions)
{
    EXPECT_EQ(Bind(Math<float>::MAX_REAL), FLT_MAX);
    EXPECT_EQ(Bind(Math<double>::MAX_REAL), DBL_MAX);
    EXPECT_EQ(Bind(Math<float>::ZERO_TOLERANCE), 1e-06f);
    EXPECT_EQ(Bind(Math<double>::ZERO_TOLERANCE), 1e-08);
    EXPECT_DOUBLE_EQ(Math<double>::PI, std::acos(-1.0));
    EXPECT_FLOAT_EQ(Math<float>::PI, static_cast<float>(std::acos(-1.0)));
    EXPECT_DOUBLE_EQ(Math<double>::TWO_PI, 2.0 * std::acos(-1.0));
    EXPECT_DOUBLE_EQ(Math<double>::HALF_PI, 0.5 * std::acos(-1.0));
    EXPECT_DOUBLE_EQ(Math<double>::INV_PI * std::acos(-1.0), 1.0);
    EXPECT_DOUBLE_EQ(180.0 * Math<double>::DEG_TO_RAD, std::acos(-1.0));
    EXPECT_DOUBLE_EQ(Math<double>::PI * Math<double>::RAD_TO_DEG, 180.0);
    const float* pfAddress = &Math<float>::PI;
    EXPECT_EQ(*pfAddress, Math<float>::PI);
}

TEST(Wm4Math, FunctionsAndDomainClamping)
{
    // Arguments slightly outside [-1, 1] from rounding noise must not give NaN.
    EXPECT_DOUBLE_EQ(Math<double>::ACos(1.0000001), 0.0);
    EXPECT_DOUBLE_EQ(Math<double>::ACos(-1.5), std::acos(-1.0));
    EXPECT_DOUBLE_EQ(Math<double>::ASin(2.0), 0.5 * std::acos(-1.0));
    EXPECT_FLOAT_EQ(Math<float>::ASin(-1.0001f), -0.5f * static_cast<float>(std::acos(-1.0)));
    EXPECT_DOUBLE_EQ(Math<double>::ACos(0.5), std::acos(-1.0) / 3.0);

    EXPECT_EQ(Math<float>::Sign(-3.0f), -1.0f);
    EXPECT_EQ(Math<float>::Sign(0.0f), 0.0f);
    EXPECT_EQ(Math<float>::Sign(2.5f), 1.0f);
    EXPECT_EQ(Math<double>::FAbs(-2.5), 2.5);
    EXPECT_DOUBLE_EQ(Math<double>::Sqrt(2.0) * Math<double>::Sqrt(2.0), 2.0);
    EXPECT_DOUBLE_EQ(Math<double>::InvSqrt(4.0), 0.5);
    EXPECT_DOUBLE_EQ(Math<double>::ATan2(1.0, -1.0), 0.75 * std::acos(-1.0));
    EXPECT_DOUBLE_EQ(Math<double>::Log(Math<double>::Exp(1.5)), 1.5);
    EXPECT_DOUBLE_EQ(Math<double>::Pow(2.0, 10.0), 1024.0);
    EXPECT_EQ(Math<float>::Floor(-1.5f), -2.0f);
    EXPECT_EQ(Math<float>::Ceil(-1.5f), -1.0f);
    EXPECT_DOUBLE_EQ(Math<double>::Tan(0.25 * std::acos(-1.0)), 1.0);
    EXPECT_DOUBLE_EQ(Math<double>::Sin(0.5) * Math<double>::Sin(0.5) +
                         Math<double>::Cos(0.5) * Math<double>::Cos(0.5),
                     1.0);
}

TEST(Wm4Vector, LayoutAliasesInterleavedArrays)
{
    static_assert(sizeof(Vector2f) == 2 * sizeof(float), "");
    static_assert(sizeof(Vector3f) == 3 * sizeof(float), "");
    static_assert(sizeof(Vector4f) == 4 * sizeof(float), "");
    static_assert(sizeof(Vector3d) == 3 * sizeof(double), "");
    static_assert(std::is_standard_layout<Vector3f>::value, "");
    static_assert(std::is_trivially_copyable<Vector3f>::value, "");
    static_assert(std::is_trivially_copyable<Vector4f>::value, "");

    // An array of vectors is the interleaved float array x0 y0 z0 x1 y1 z1.
    std::vector<Vector3f> kPoints = {Vector3f(1, 2, 3), Vector3f(4, 5, 6)};
    const float* pfRaw = kPoints[0];
    for (int i = 0; i < 6; ++i)
        EXPECT_EQ(pfRaw[i], static_cast<float>(i + 1));
    float afInterleaved[8] = {1, 2, 3, 9, 4, 5, 6, 9};
    const Vector3f kSecond(afInterleaved + 4);
    EXPECT_EQ(kSecond, Vector3f(4, 5, 6));
}

TEST(Wm4Vector, DefaultConstructionZeroesStorageThatHeldGarbage)
{
    alignas(Vector4f) unsigned char aucStorage[sizeof(Vector4f)];
    for (unsigned char& rucByte : aucStorage)
        rucByte = 0xAB;
    const Vector4f* pkV = new (aucStorage) Vector4f();
    EXPECT_EQ(*pkV, Vector4f(0, 0, 0, 0));
    EXPECT_EQ(Vector3f::UNIT_X.UnitCross(Vector3f(2, 0, 0)), Vector3f::ZERO);  // parallel: no direction
}

TEST(Wm4Vector, ComparisonsAreValueBasedAndOrderIsLexicographic)
{
    EXPECT_TRUE(Vector3f(0.0f, 1, 2) == Vector3f(-0.0f, 1, 2));
    const float fNaN = std::numeric_limits<float>::quiet_NaN();
    EXPECT_FALSE(Vector3f(fNaN, 0, 0) == Vector3f(fNaN, 0, 0));
    EXPECT_TRUE(Vector3f(1, 2, 3) != Vector3f(1, 2, 4));

    EXPECT_TRUE(Vector3f(1, 9, 9) < Vector3f(2, 0, 0));
    EXPECT_TRUE(Vector3f(1, 2, 9) < Vector3f(1, 3, 0));
    EXPECT_TRUE(Vector3f(1, 2, 3) < Vector3f(1, 2, 4));
    EXPECT_FALSE(Vector3f(1, 2, 3) < Vector3f(1, 2, 3));
    EXPECT_FALSE(Vector3f(2, 0, 0) < Vector3f(1, 9, 9));
    EXPECT_TRUE(Vector2f(-1, 5) < Vector2f(0, -5));
    EXPECT_TRUE(Vector4f(0, 0, 0, -1) < Vector4f(0, 0, 0, 0));

    // As a map key: duplicates collapse, iteration follows the lexicographic order.
    std::map<Vector3f, int> kMap;
    const Vector3f akKeys[] = {Vector3f(1, 0, 0), Vector3f(0, 5, 5), Vector3f(0, 5, 1), Vector3f(1, 0, 0),
                               Vector3f(-1, 9, 9)};
    for (const Vector3f& rkKey : akKeys)
        ++kMap[rkKey];
    ASSERT_EQ(kMap.size(), 4u);
    std::vector<Vector3f> kOrder;
    for (const auto& rkEntry : kMap)
        kOrder.push_back(rkEntry.first);
    EXPECT_EQ(kOrder[0], Vector3f(-1, 9, 9));
    EXPECT_EQ(kOrder[1], Vector3f(0, 5, 1));
    EXPECT_EQ(kOrder[2], Vector3f(0, 5, 5));
    EXPECT_EQ(kOrder[3], Vector3f(1, 0, 0));
    EXPECT_EQ(kMap[Vector3f(1, 0, 0)], 2);
}

TEST(Wm4Vector, NormalizeReturnsOldLengthAndZeroesDegenerateVectors)
{
    Vector3f kV(3.0f, 0.0f, 4.0f);
    EXPECT_EQ(kV.Normalize(), 5.0f);
    EXPECT_FLOAT_EQ(kV.X(), 0.6f);
    EXPECT_FLOAT_EQ(kV.Z(), 0.8f);

    // Tiny but normal lengths still normalise: no tolerance cut-off.
    Vector3f kTiny(1e-15f, 0.0f, 0.0f);
    EXPECT_FLOAT_EQ(kTiny.Normalize(), 1e-15f);
    EXPECT_FLOAT_EQ(kTiny.X(), 1.0f);
    Vector3d kTinyD(0.0, 3e-100, 4e-100);
    kTinyD.Normalize();
    EXPECT_NEAR(kTinyD.Y(), 0.6, 1e-15);

    // Zero length -> zero vector.
    Vector3f kZero;
    EXPECT_EQ(kZero.Normalize(), 0.0f);
    EXPECT_EQ(kZero, Vector3f::ZERO);

    // Squared length underflows to 0 -> zero vector, no inf/NaN.
    Vector3f kUnderflow(1e-30f, -1e-30f, 0.0f);
    EXPECT_EQ(kUnderflow.Normalize(), 0.0f);
    EXPECT_EQ(kUnderflow, Vector3f::ZERO);

    // A sub-normal component alone: its square underflows, zero vector.
    Vector2f kSubnormal(0.0f, std::numeric_limits<float>::denorm_min());
    kSubnormal.Normalize();
    EXPECT_EQ(kSubnormal, Vector2f::ZERO);

    // NaN and infinite components -> zero vector.
    Vector3f kNaN(std::numeric_limits<float>::quiet_NaN(), 1.0f, 0.0f);
    kNaN.Normalize();
    EXPECT_EQ(kNaN, Vector3f::ZERO);
    Vector3f kInf(std::numeric_limits<float>::infinity(), 1.0f, 0.0f);
    kInf.Normalize();
    EXPECT_EQ(kInf, Vector3f::ZERO);

    // Large finite components: the squared length overflows, the direction is kept.
    Vector3f kLarge(3e30f, 0.0f, -4e30f);
    EXPECT_TRUE(std::isinf(kLarge.Normalize()));
    EXPECT_FLOAT_EQ(kLarge.X(), 0.6f);
    EXPECT_FLOAT_EQ(kLarge.Z(), -0.8f);

    // Random vectors come out unit length and parallel to the input.
    std::mt19937 kRng(7);
    std::uniform_real_distribution<float> kDist(-100.0f, 100.0f);
    for (int iTrial = 0; iTrial < 100; ++iTrial) {
        const Vector4f kIn(kDist(kRng), kDist(kRng), kDist(kRng), kDist(kRng));
        Vector4f kOut = kIn;
        const float fLength = kOut.Normalize();
        EXPECT_NEAR(fLength, kIn.Length(), 1e-4f);
        EXPECT_NEAR(kOut.Length(), 1.0f, 1e-6f);
        EXPECT_NEAR(kOut.Dot(kIn), fLength, 1e-3f);
    }
}
