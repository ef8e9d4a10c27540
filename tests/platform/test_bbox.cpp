// Tests of ox::oxBBox: each predicate against an independent brute-force
// answer on random data, plus the touching, degenerate and inverted cases.
#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "addons/oxBBox.h"

using ox::oxBBox;
using Wm4::Vector3f;
using Wm4::Vector4f;

namespace {

const float kfMax = Wm4::Math<float>::MAX_REAL;
const float kfInf = std::numeric_limits<float>::infinity();

// Box with integer corners in [0, 4]; sorted per axis unless bAllowInverted
// and the coin says otherwise.
oxBBox RandomIntegerBox(std::mt19937& rkRng, bool bAllowInverted)
{
    std::uniform_int_distribution<int> kCoord(0, 4), kCoin(0, 9);
    Vector3f kMin, kMax;
    for (int i = 0; i < 3; ++i) {
        int a = kCoord(rkRng), b = kCoord(rkRng);
        if (a > b && !(bAllowInverted && kCoin(rkRng) == 0))
            std::swap(a, b);
        kMin[i] = static_cast<float>(a);
        kMax[i] = static_cast<float>(b);
    }
    return oxBBox(kMin, kMax);
}

oxBBox RandomFloatBox(std::mt19937& rkRng)
{
    std::uniform_real_distribution<float> kCentre(-3.0f, 3.0f), kSide(0.1f, 3.0f);
    Vector3f kMin, kMax;
    for (int i = 0; i < 3; ++i) {
        kMin[i] = kCentre(rkRng);
        kMax[i] = kMin[i] + kSide(rkRng);
    }
    return oxBBox(kMin, kMax);
}

Vector3f RandomPoint(std::mt19937& rkRng, float fRange)
{
    std::uniform_real_distribution<float> kDist(-fRange, fRange);
    return Vector3f(kDist(rkRng), kDist(rkRng), kDist(rkRng));
}

// Point-in-box written out per coordinate, with an optional margin (> 0
// shrinks the box, < 0 grows it).
bool InsideBy(const oxBBox& rkBox, const Vector3f& rkP, float fMargin, bool bStrict)
{
    for (int i = 0; i < 3; ++i) {
        const float fLo = rkBox.getMin()[i] + fMargin, fHi = rkBox.getMax()[i] - fMargin;
        if (bStrict ? !(fLo < rkP[i] && rkP[i] < fHi) : !(fLo <= rkP[i] && rkP[i] <= fHi))
            return false;
    }
    return true;
}

// Squared distance from a point to a sorted box by nearest feature: inside,
// the 6 faces, 12 edges and 8 corners, each measured directly.
double FeatureDistance2(const oxBBox& rkBox, const Vector3f& rkP)
{
    const double afLo[3] = {rkBox.getMin()[0], rkBox.getMin()[1], rkBox.getMin()[2]};
    const double afHi[3] = {rkBox.getMax()[0], rkBox.getMax()[1], rkBox.getMax()[2]};
    const double afP[3] = {rkP[0], rkP[1], rkP[2]};
    auto InRange = [&](int i) { return afLo[i] <= afP[i] && afP[i] <= afHi[i]; };
    if (InRange(0) && InRange(1) && InRange(2))
        return 0.0;
    double fBest = std::numeric_limits<double>::infinity();
    // Faces: the projection onto the face plane lies inside the face.
    for (int i = 0; i < 3; ++i)
        for (double fPlane : {afLo[i], afHi[i]}) {
            const int j = (i + 1) % 3, k = (i + 2) % 3;
            if (InRange(j) && InRange(k))
                fBest = std::min(fBest, (afP[i] - fPlane) * (afP[i] - fPlane));
        }
    // Edges: segments parallel to axis i, the projection parameter clamped.
    for (int i = 0; i < 3; ++i) {
        const int j = (i + 1) % 3, k = (i + 2) % 3;
        for (double fJ : {afLo[j], afHi[j]})
            for (double fK : {afLo[k], afHi[k]}) {
                const double fT = std::min(std::max(afP[i], afLo[i]), afHi[i]);
                const double d2 = (afP[i] - fT) * (afP[i] - fT) + (afP[j] - fJ) * (afP[j] - fJ) +
                                  (afP[k] - fK) * (afP[k] - fK);
                fBest = std::min(fBest, d2);
            }
    }
    return fBest;
}

// Triangle/box intersection by clipping the triangle polygon against the
// six face planes of the box grown by fGrow (inclusive), in double.
bool ClippedTriangleNonEmpty(const oxBBox& rkBox, const Vector3f akTri[3], double fGrow)
{
    struct P {
        double v[3];
    };
    std::vector<P> kPoly;
    for (int k = 0; k < 3; ++k)
        kPoly.push_back({{akTri[k][0], akTri[k][1], akTri[k][2]}});
    for (int i = 0; i < 3 && !kPoly.empty(); ++i)
        for (int iSide = 0; iSide < 2 && !kPoly.empty(); ++iSide) {
            // Signed "inside" distance: >= 0 is kept.
            auto Inside = [&](const P& rkP) {
                return iSide == 0 ? rkP.v[i] - (rkBox.getMin()[i] - fGrow)
                                  : (rkBox.getMax()[i] + fGrow) - rkP.v[i];
            };
            std::vector<P> kOut;
            for (size_t n = 0; n < kPoly.size(); ++n) {
                const P& rkA = kPoly[n];
                const P& rkB = kPoly[(n + 1) % kPoly.size()];
                const double fA = Inside(rkA), fB = Inside(rkB);
                if (fA >= 0.0)
                    kOut.push_back(rkA);
                if ((fA >= 0.0) != (fB >= 0.0)) {
                    const double fT = fA / (fA - fB);
                    P kX;
                    for (int c = 0; c < 3; ++c)
                        kX.v[c] = rkA.v[c] + fT * (rkB.v[c] - rkA.v[c]);
                    kOut.push_back(kX);
                }
            }
            kPoly.swap(kOut);
        }
    return !kPoly.empty();
}

}  // namespace

TEST(oxBBox, ConstructionGrowthAndUnion)
{
    const oxBBox kEmpty;
    EXPECT_TRUE(kEmpty.isEmpty());
    EXPECT_EQ(kEmpty.getMin(), Vector3f(kfMax, kfMax, kfMax));
    EXPECT_EQ(kEmpty.getMax(), Vector3f(-kfMax, -kfMax, -kfMax));

    const oxBBox kPoint(Vector3f(1, 2, 3));
    EXPECT_FALSE(kPoint.isEmpty());
    EXPECT_EQ(kPoint.getMin(), Vector3f(1, 2, 3));
    EXPECT_EQ(kPoint.getMax(), Vector3f(1, 2, 3));

    // Make stores the corners as given, without reordering.
    oxBBox kBox;
    kBox.Make(3, 2, 1, 0, 5, 0);
    EXPECT_EQ(kBox.getMin(), Vector3f(3, 2, 1));
    EXPECT_EQ(kBox.getMax(), Vector3f(0, 5, 0));
    EXPECT_TRUE(kBox.isEmpty());
    kBox.Make(Vector3f(0, 0, 0), Vector3f(1, 1, 1));
    EXPECT_FALSE(kBox.isEmpty());
    kBox.getMax().Y() = 4.0f;
    EXPECT_EQ(kBox.getMax(), Vector3f(1, 4, 1));

    // Expanding the empty box by points gives their exact bounds.
    std::mt19937 kRng(5);
    oxBBox kBounds;
    Vector3f kLo(kfInf, kfInf, kfInf), kHi(-kfInf, -kfInf, -kfInf);
    for (int n = 0; n < 100; ++n) {
        const Vector3f kP = RandomPoint(kRng, 10.0f);
        kBounds.selfExpand(kP);
        for (int i = 0; i < 3; ++i) {
            kLo[i] = std::min(kLo[i], kP[i]);
            kHi[i] = std::max(kHi[i], kP[i]);
        }
    }
    EXPECT_EQ(kBounds.getMin(), kLo);
    EXPECT_EQ(kBounds.getMax(), kHi);

    oxBBox kGrown(Vector3f(0, 1, 2), Vector3f(1, 2, 3));
    kGrown.selfGrow(0.5f);
    EXPECT_EQ(kGrown.getMin(), Vector3f(-0.5f, 0.5f, 1.5f));
    EXPECT_EQ(kGrown.getMax(), Vector3f(1.5f, 2.5f, 3.5f));

    const oxBBox kA(Vector3f(0, 5, -1), Vector3f(2, 6, 0)), kB(Vector3f(1, -1, -3), Vector3f(4, 0, -2));
    const oxBBox kU = kA.bboxUnion(kB);
    EXPECT_EQ(kU.getMin(), Vector3f(0, -1, -3));
    EXPECT_EQ(kU.getMax(), Vector3f(4, 6, 0));
    EXPECT_EQ(kA.getMin(), Vector3f(0, 5, -1));  // bboxUnion leaves the operands unchanged
    oxBBox kSelf = kEmpty;
    kSelf.selfUnion(kA);
    EXPECT_EQ(kSelf.getMin(), kA.getMin());
    EXPECT_EQ(kSelf.getMax(), kA.getMax());
}

TEST(oxBBox, BoxOverlapMatchesCommonGridPoints)
{
    // With integer corners, closed intervals meet iff they share an integer,
    // open ones iff they share a half-integer strictly inside: a grid at 0.5
    // steps decides both questions exactly.
    std::mt19937 kRng(11);
    int iInclusive = 0, iStrict = 0;
    for (int iTrial = 0; iTrial < 3000; ++iTrial) {
        const oxBBox kA = RandomIntegerBox(kRng, true), kB = RandomIntegerBox(kRng, true);
        bool bCommon = false, bStrictCommon = false;
        for (int x = 0; x <= 8; ++x)
            for (int y = 0; y <= 8; ++y)
                for (int z = 0; z <= 8; ++z) {
                    const Vector3f kP(0.5f * x, 0.5f * y, 0.5f * z);
                    bCommon = bCommon || (InsideBy(kA, kP, 0.0f, false) && InsideBy(kB, kP, 0.0f, false));
                    bStrictCommon =
                        bStrictCommon || (InsideBy(kA, kP, 0.0f, true) && InsideBy(kB, kP, 0.0f, true));
                }
        EXPECT_EQ(kA.overlaps(kB), bCommon);
        EXPECT_EQ(kB.overlaps(kA), bCommon);
        EXPECT_EQ(kA.strictlyOverlaps(kB), bStrictCommon);
        EXPECT_EQ(kB.strictlyOverlaps(kA), bStrictCommon);
        iInclusive += bCommon;
        iStrict += bStrictCommon;
    }
    // The sample must exercise touching (inclusive but not strict) pairs.
    EXPECT_GT(iInclusive - iStrict, 100);
    EXPECT_GT(iStrict, 100);
}

TEST(oxBBox, TouchingAndInvertedBoxes)
{
    const oxBBox kUnit(Vector3f(0, 0, 0), Vector3f(1, 1, 1));
    const oxBBox kFace(Vector3f(1, 0, 0), Vector3f(2, 1, 1));
    const oxBBox kCorner(Vector3f(1, 1, 1), Vector3f(2, 2, 2));
    const oxBBox kApart(Vector3f(1.0001f, 0, 0), Vector3f(2, 1, 1));
    EXPECT_TRUE(kUnit.overlaps(kFace));
    EXPECT_FALSE(kUnit.strictlyOverlaps(kFace));
    EXPECT_TRUE(kUnit.overlaps(kCorner));
    EXPECT_FALSE(kUnit.strictlyOverlaps(kCorner));
    EXPECT_FALSE(kUnit.overlaps(kApart));
    EXPECT_TRUE(kUnit.strictlyOverlaps(kUnit));

    // An inverted box overlaps nothing, not even a box enclosing it.
    const oxBBox kInverted(Vector3f(1, 1, 1), Vector3f(-1, -1, -1));
    const oxBBox kHuge(Vector3f(-5, -5, -5), Vector3f(5, 5, 5));
    EXPECT_TRUE(kInverted.isEmpty());
    EXPECT_FALSE(kInverted.overlaps(kHuge));
    EXPECT_FALSE(kHuge.overlaps(kInverted));
    EXPECT_FALSE(kInverted.strictlyOverlaps(kHuge));
    EXPECT_FALSE(kHuge.strictlyOverlaps(kInverted));
    EXPECT_FALSE(kInverted.overlaps(kInverted));
    const oxBBox kEmpty;
    EXPECT_FALSE(kEmpty.overlaps(kHuge));
    EXPECT_FALSE(kHuge.overlaps(kEmpty));
    const oxBBox kEverything(Vector3f(-kfMax, -kfMax, -kfMax), Vector3f(kfMax, kfMax, kfMax));
    EXPECT_FALSE(kEmpty.overlaps(kEverything));
    EXPECT_TRUE(kEverything.overlaps(kHuge));

    // Point containment: faces and corners are contained but not strictly.
    EXPECT_TRUE(kUnit.contains(Vector3f(1, 0.5f, 0.5f)));
    EXPECT_FALSE(kUnit.strictlyContains(Vector3f(1, 0.5f, 0.5f)));
    EXPECT_TRUE(kUnit.contains(Vector3f(0, 0, 0)));
    EXPECT_FALSE(kUnit.strictlyContains(Vector3f(0, 0, 0)));
    EXPECT_TRUE(kUnit.strictlyContains(Vector3f(0.5f, 0.5f, 0.999f)));
    EXPECT_FALSE(kUnit.contains(Vector3f(0.5f, -0.001f, 0.5f)));
    EXPECT_FALSE(kInverted.contains(Vector3f(0, 0, 0)));
    EXPECT_FALSE(kEmpty.contains(Vector3f(0, 0, 0)));
}

TEST(oxBBox, SphereOverlapMatchesNearestFeatureDistance)
{
    std::mt19937 kRng(17);
    std::uniform_real_distribution<double> kFactor(0.5, 1.5);
    int iHits = 0;
    for (int iTrial = 0; iTrial < 5000; ++iTrial) {
        const oxBBox kBox = RandomFloatBox(kRng);
        const Vector3f kC = RandomPoint(kRng, 6.0f);
        const double fD2 = FeatureDistance2(kBox, kC);
        const double fFactor = kFactor(kRng);
        const float fR2 = static_cast<float>(fD2 * fFactor);
        // Skip radii within rounding of the exact distance.
        if (std::fabs(fFactor - 1.0) < 1e-4)
            continue;
        EXPECT_EQ(kBox.overlapsSphere(kC, fR2), fD2 <= fR2) << "d2 " << fD2 << " r2 " << fR2;
        iHits += fD2 <= fR2;
        EXPECT_TRUE(kBox.overlapsSphere(kC, kfInf));
    }
    EXPECT_GT(iHits, 1000);

    // Exact contact: a sphere touching a face, an edge and a corner overlaps.
    const oxBBox kUnit(Vector3f(0, 0, 0), Vector3f(1, 1, 1));
    EXPECT_TRUE(kUnit.overlapsSphere(Vector3f(3, 0.5f, 0.5f), 4.0f));
    EXPECT_FALSE(kUnit.overlapsSphere(Vector3f(3, 0.5f, 0.5f), 3.999f));
    EXPECT_TRUE(kUnit.overlapsSphere(Vector3f(2, 2, 0.5f), 2.0f));
    EXPECT_FALSE(kUnit.overlapsSphere(Vector3f(2, 2, 0.5f), 1.999f));
    EXPECT_TRUE(kUnit.overlapsSphere(Vector3f(2, 2, 2), 3.0f));
    EXPECT_FALSE(kUnit.overlapsSphere(Vector3f(2, 2, 2), 2.999f));
    // Centre inside: overlaps even with a zero radius.
    EXPECT_TRUE(kUnit.overlapsSphere(Vector3f(0.5f, 0.5f, 0.5f), 0.0f));
    // The argument is the squared radius: distance 2 needs r2 = 4, not 2.
    EXPECT_FALSE(kUnit.overlapsSphere(Vector3f(3, 0.5f, 0.5f), 2.0f));
    // An empty box never overlaps, not even an infinite sphere.
    EXPECT_FALSE(oxBBox().overlapsSphere(Vector3f(0, 0, 0), kfInf));
    EXPECT_FALSE(oxBBox(Vector3f(1, 1, 1), Vector3f(-1, -1, -1)).overlapsSphere(Vector3f(0, 0, 0), 100.0f));
}

TEST(oxBBox, PlaneOverlapMatchesCornerSigns)
{
    std::mt19937 kRng(23);
    std::uniform_real_distribution<float> kOffset(-6.0f, 6.0f);
    int iHits = 0;
    for (int iTrial = 0; iTrial < 5000; ++iTrial) {
        const oxBBox kBox = RandomFloatBox(kRng);
        Vector3f kN = RandomPoint(kRng, 1.0f);
        if (iTrial % 5 == 0)
            kN[iTrial % 3] = 0.0f;  // planes parallel to an axis
        const float fOffset = kOffset(kRng);
        float fLow = kfInf, fHigh = -kfInf;
        for (int k = 0; k < 8; ++k) {
            const Vector3f kCorner((k & 1) ? kBox.getMax()[0] : kBox.getMin()[0],
                                   (k & 2) ? kBox.getMax()[1] : kBox.getMin()[1],
                                   (k & 4) ? kBox.getMax()[2] : kBox.getMin()[2]);
            const float fValue = kN.Dot(kCorner) + fOffset;
            fLow = std::min(fLow, fValue);
            fHigh = std::max(fHigh, fValue);
        }
        const bool bExpected = fLow <= 0.0f && 0.0f <= fHigh;
        EXPECT_EQ(kBox.overlapsPlane(kN, fOffset), bExpected);
        iHits += bExpected;
    }
    EXPECT_GT(iHits, 500);
    EXPECT_LT(iHits, 4500);

    // Planes through a face or a single corner touch the box.
    const oxBBox kUnit(Vector3f(0, 0, 0), Vector3f(1, 1, 1));
    EXPECT_TRUE(kUnit.overlapsPlane(Vector3f(1, 0, 0), -1.0f));
    EXPECT_FALSE(kUnit.overlapsPlane(Vector3f(1, 0, 0), -1.001f));
    EXPECT_TRUE(kUnit.overlapsPlane(Vector3f(1, 1, 1), -3.0f));
    EXPECT_TRUE(kUnit.overlapsPlane(Vector3f(-1, -1, -1), 0.0f));
    EXPECT_FALSE(kUnit.overlapsPlane(Vector3f(1, 1, 1), 0.5f));
    EXPECT_FALSE(oxBBox().overlapsPlane(Vector3f(1, 0, 0), 0.0f));
}

TEST(oxBBox, TriangleOverlapMatchesPolygonClipping)
{
    std::mt19937 kRng(29);
    int iHits = 0, iDecided = 0;
    for (int iTrial = 0; iTrial < 20000; ++iTrial) {
        const oxBBox kBox = RandomFloatBox(kRng);
        Vector3f akTri[3];
        const Vector3f kAnchor = kBox.getCenter() + RandomPoint(kRng, 2.5f);
        for (Vector3f& rkV : akTri)
            rkV = kAnchor + RandomPoint(kRng, 2.0f);
        const bool bResult = kBox.overlapsTriangle(akTri[0], akTri[1], akTri[2]);
        // Decided cases only: clipping against the slightly shrunk and grown
        // box agree, so rounding in the clipping cannot matter.
        const bool bShrunk = ClippedTriangleNonEmpty(kBox, akTri, -1e-4);
        const bool bGrown = ClippedTriangleNonEmpty(kBox, akTri, 1e-4);
        if (bShrunk == bGrown) {
            EXPECT_EQ(bResult, bShrunk) << "trial " << iTrial;
            ++iDecided;
            iHits += bShrunk;
        }
        // Dense barycentric samples: any sample inside forces an overlap.
        bool bSampleInside = false;
        for (int u = 0; u <= 12 && !bSampleInside; ++u)
            for (int v = 0; u + v <= 12 && !bSampleInside; ++v) {
                const float fU = u / 12.0f, fV = v / 12.0f;
                const Vector3f kP = akTri[0] * (1.0f - fU - fV) + akTri[1] * fU + akTri[2] * fV;
                bSampleInside = InsideBy(kBox, kP, 1e-5f, false);
            }
        if (bSampleInside) {
            EXPECT_TRUE(bResult) << "trial " << iTrial;
        }
    }
    EXPECT_GT(iDecided, 19900);
    EXPECT_GT(iHits, 2000);
    EXPECT_LT(iHits, iDecided - 2000);
}

TEST(oxBBox, TriangleContactAndEdgeAxisCases)
{
    const oxBBox kUnit(Vector3f(-1, -1, -1), Vector3f(1, 1, 1));
    // A vertex on a face, an edge along a box edge, a triangle in a face plane.
    EXPECT_TRUE(kUnit.overlapsTriangle(Vector3f(1, 0, 0), Vector3f(3, 1, 0), Vector3f(3, -1, 0)));
    EXPECT_FALSE(kUnit.overlapsTriangle(Vector3f(1.001f, 0, 0), Vector3f(3, 1, 0), Vector3f(3, -1, 0)));
    EXPECT_TRUE(kUnit.overlapsTriangle(Vector3f(1, 1, -3), Vector3f(1, 1, 3), Vector3f(4, 4, 0)));
    EXPECT_TRUE(kUnit.overlapsTriangle(Vector3f(-3, -3, 1), Vector3f(3, -3, 1), Vector3f(0, 3, 1)));
    EXPECT_FALSE(
        kUnit.overlapsTriangle(Vector3f(-3, -3, 1.01f), Vector3f(3, -3, 1.01f), Vector3f(0, 3, 1.01f)));
    // A triangle enclosing the box's cross-section and one inside the box.
    EXPECT_TRUE(kUnit.overlapsTriangle(Vector3f(-9, -9, 0), Vector3f(9, -9, 0), Vector3f(0, 9, 0)));
    EXPECT_TRUE(kUnit.overlapsTriangle(Vector3f(0, 0, 0), Vector3f(0.1f, 0, 0), Vector3f(0, 0.1f, 0)));

    // Only an edge x box-axis product separates here: the triangle lies in
    // the plane z = 0 (the normal does not separate), its x and y ranges
    // cover the box's, but its long edge runs along x + y = 2.2 past the box
    // edge x = y = 1. Moving that edge to x + y = 2 makes it touch.
    EXPECT_FALSE(kUnit.overlapsTriangle(Vector3f(2.2f, 0, 0), Vector3f(0, 2.2f, 0), Vector3f(3, 3, 0)));
    EXPECT_TRUE(kUnit.overlapsTriangle(Vector3f(2, 0, 0), Vector3f(0, 2, 0), Vector3f(3, 3, 0)));
    // The same in 3D: tilted out of the z = 0 plane.
    EXPECT_FALSE(kUnit.overlapsTriangle(Vector3f(2.2f, 0, -1), Vector3f(0, 2.2f, 1), Vector3f(3, 3, 0)));

    // Degenerate triangles: a segment through the box, a segment missing it
    // diagonally, a single point inside and outside.
    EXPECT_TRUE(kUnit.overlapsTriangle(Vector3f(-5, 0, 0), Vector3f(5, 0, 0), Vector3f(5, 0, 0)));
    EXPECT_FALSE(kUnit.overlapsTriangle(Vector3f(2.2f, 0, 0), Vector3f(0, 2.2f, 0), Vector3f(0, 2.2f, 0)));
    EXPECT_TRUE(kUnit.overlapsTriangle(Vector3f(0.5f, 0.5f, 0.5f), Vector3f(0.5f, 0.5f, 0.5f),
                                       Vector3f(0.5f, 0.5f, 0.5f)));
    EXPECT_FALSE(kUnit.overlapsTriangle(Vector3f(1.5f, 0.5f, 0.5f), Vector3f(1.5f, 0.5f, 0.5f),
                                        Vector3f(1.5f, 0.5f, 0.5f)));
    EXPECT_FALSE(oxBBox().overlapsTriangle(Vector3f(-1, 0, 0), Vector3f(1, 0, 0), Vector3f(0, 1, 0)));
}

TEST(oxBBox, RayClippingMatchesDenseSampling)
{
    std::mt19937 kRng(31);
    std::uniform_int_distribution<int> kZeroAxis(0, 5);
    const float fT0 = -2.0f, fT1 = 6.0f;
    const int iSamples = 4000;
    int iHits = 0;
    for (int iTrial = 0; iTrial < 2000; ++iTrial) {
        const oxBBox kBox = RandomFloatBox(kRng);
        const Vector3f kO = RandomPoint(kRng, 5.0f);
        // Aimed near the box so that hits, misses and grazes all occur.
        Vector3f kD = (kBox.getCenter() + RandomPoint(kRng, 2.0f) - kO) * 0.5f;
        const int iZero = kZeroAxis(kRng);
        if (iZero < 3)
            kD[iZero] = 0.0f;  // parallel to a slab
        float fEnter = fT0, fExit = fT1;
        const bool bHit = kBox.intersectRay(kO, kD, fEnter, fExit);

        const float fTol = 1e-4f;
        bool bAnyInside = false;
        for (int s = 0; s <= iSamples; ++s) {
            const float fT = fT0 + (fT1 - fT0) * s / iSamples;
            const Vector3f kP = kO + kD * fT;
            if (InsideBy(kBox, kP, fTol, false)) {
                bAnyInside = true;
                if (bHit) {
                    EXPECT_GE(fT, fEnter - fTol);
                    EXPECT_LE(fT, fExit + fTol);
                }
            }
            if (bHit && fT >= fEnter && fT <= fExit) {
                EXPECT_TRUE(InsideBy(kBox, kP, -fTol, false)) << "t " << fT;
            }
        }
        if (bAnyInside) {
            EXPECT_TRUE(bHit) << "trial " << iTrial;
        }
        if (bHit) {
            EXPECT_GE(fEnter, fT0);
            EXPECT_LE(fExit, fT1);
            EXPECT_LE(fEnter, fExit);
            ++iHits;
        }
    }
    EXPECT_GT(iHits, 200);
}

TEST(oxBBox, RayEdgeCases)
{
    const oxBBox kUnit(Vector3f(0, 0, 0), Vector3f(1, 1, 1));
    float fEnter = 0.0f, fExit = kfMax;
    ASSERT_TRUE(kUnit.intersectRay(Vector3f(-1, 0.5f, 0.5f), Vector3f(1, 0, 0), fEnter, fExit));
    EXPECT_EQ(fEnter, 1.0f);
    EXPECT_EQ(fExit, 2.0f);

    // The caller's interval is clipped, not replaced.
    fEnter = 1.5f;
    fExit = 1.75f;
    ASSERT_TRUE(kUnit.intersectRay(Vector3f(-1, 0.5f, 0.5f), Vector3f(1, 0, 0), fEnter, fExit));
    EXPECT_EQ(fEnter, 1.5f);
    EXPECT_EQ(fExit, 1.75f);
    fEnter = 0.0f;
    fExit = 0.5f;
    EXPECT_FALSE(kUnit.intersectRay(Vector3f(-1, 0.5f, 0.5f), Vector3f(1, 0, 0), fEnter, fExit));
    // Negative direction, negative zero components.
    fEnter = 0.0f;
    fExit = kfMax;
    ASSERT_TRUE(kUnit.intersectRay(Vector3f(3, 0.5f, 0.5f), Vector3f(-2, -0.0f, 0), fEnter, fExit));
    EXPECT_EQ(fEnter, 1.0f);
    EXPECT_EQ(fExit, 1.5f);

    // Parallel to a slab: inside (also exactly on the face) no constraint, outside no hit.
    fEnter = -kfMax;
    fExit = kfMax;
    EXPECT_TRUE(kUnit.intersectRay(Vector3f(0.5f, 1.0f, -4), Vector3f(0, 0, 1), fEnter, fExit));
    EXPECT_EQ(fEnter, 4.0f);
    EXPECT_EQ(fExit, 5.0f);
    fEnter = -kfMax;
    fExit = kfMax;
    EXPECT_FALSE(kUnit.intersectRay(Vector3f(0.5f, 1.001f, -4), Vector3f(0, 0, 1), fEnter, fExit));
    // Zero direction: a hit iff the origin is in the box; the interval is kept.
    fEnter = 0.0f;
    fExit = 1.0f;
    EXPECT_TRUE(kUnit.intersectRay(Vector3f(0.5f, 0.5f, 0.5f), Vector3f(0, 0, 0), fEnter, fExit));
    EXPECT_EQ(fEnter, 0.0f);
    EXPECT_EQ(fExit, 1.0f);
    EXPECT_FALSE(kUnit.intersectRay(Vector3f(2, 0.5f, 0.5f), Vector3f(0, 0, 0), fEnter, fExit));
    // A sub-normal direction component on the face plane gives no NaN.
    fEnter = 0.0f;
    fExit = kfMax;
    const float fDenorm = std::numeric_limits<float>::denorm_min();
    EXPECT_TRUE(kUnit.intersectRay(Vector3f(0, 0.5f, 0.5f), Vector3f(fDenorm, 0, 1), fEnter, fExit));
    EXPECT_FALSE(std::isnan(fEnter));
    EXPECT_FALSE(std::isnan(fExit));
    EXPECT_EQ(fEnter, 0.0f);
    EXPECT_EQ(fExit, 0.5f);
    // Touching an edge only counts (tEnter == tExit).
    fEnter = 0.0f;
    fExit = kfMax;
    EXPECT_TRUE(kUnit.intersectRay(Vector3f(-1, 0, 0.5f), Vector3f(1, 1, 0), fEnter, fExit));
    EXPECT_EQ(fEnter, 1.0f);
    EXPECT_EQ(fExit, 1.0f);

    // Inverted and empty boxes are never hit.
    const oxBBox kInverted(Vector3f(1, 1, 1), Vector3f(-1, -1, -1));
    for (const Vector3f& rkD : {Vector3f(1, 0, 0), Vector3f(-1, 0.5f, 0.25f), Vector3f(0, 0, 0)}) {
        fEnter = -kfMax;
        fExit = kfMax;
        EXPECT_FALSE(kInverted.intersectRay(Vector3f(0, 0, 0), rkD, fEnter, fExit));
        fEnter = -kfMax;
        fExit = kfMax;
        EXPECT_FALSE(oxBBox().intersectRay(Vector3f(0, 0, 0), rkD, fEnter, fExit));
    }
}

TEST(oxBBox, ProjectionAndMeasures)
{
    const oxBBox kBox(Vector3f(-1, 0, 2), Vector3f(3, 1, 4));
    std::mt19937 kRng(37);
    for (int iTrial = 0; iTrial < 500; ++iTrial) {
        const Vector3f kP = RandomPoint(kRng, 6.0f);
        const Vector3f kQ = kBox.projectOntoBBox(kP);
        EXPECT_TRUE(kBox.contains(kQ));
        // The projection is the nearest box point: its squared distance is the
        // nearest-feature distance.
        EXPECT_NEAR((kP - kQ).SquaredLength(), FeatureDistance2(kBox, kP), 1e-4);
        if (kBox.contains(kP)) {
            EXPECT_EQ(kQ, kP);
        }
        const Vector4f kQ4 = kBox.projectOntoBBox(Vector4f(kP.X(), kP.Y(), kP.Z(), 7.5f));
        EXPECT_EQ(Vector3f(kQ4.X(), kQ4.Y(), kQ4.Z()), kQ);
        EXPECT_EQ(kQ4.W(), 7.5f);
    }

    unsigned int uiAxis = 99;
    EXPECT_EQ(kBox.getMaxExtent(uiAxis), 4.0f);
    EXPECT_EQ(uiAxis, 0u);
    EXPECT_EQ(oxBBox(Vector3f(0, 0, 0), Vector3f(1, 3, 2)).getMaxExtent(uiAxis), 3.0f);
    EXPECT_EQ(uiAxis, 1u);
    EXPECT_EQ(oxBBox(Vector3f(0, 0, 0), Vector3f(1, 1, 2)).getMaxExtent(uiAxis), 2.0f);
    EXPECT_EQ(uiAxis, 2u);
    // Ties pick the first axis.
    EXPECT_EQ(oxBBox(Vector3f(0, 0, 0), Vector3f(1, 2, 2)).getMaxExtent(uiAxis), 2.0f);
    EXPECT_EQ(uiAxis, 1u);
    EXPECT_EQ(oxBBox(Vector3f(0, 0, 0), Vector3f(1, 1, 1)).getMaxExtent(uiAxis), 1.0f);
    EXPECT_EQ(uiAxis, 0u);

    // Sides 4, 1, 2: half area 4 + 2 + 8, centre, diagonal sqrt(21).
    EXPECT_EQ(kBox.halfArea(), 14.0f);
    EXPECT_EQ(kBox.getExtent(), Vector3f(4, 1, 2));
    EXPECT_EQ(kBox.getCenter(), Vector3f(1, 0.5f, 3));
    EXPECT_FLOAT_EQ(kBox.getDiagonal(), std::sqrt(21.0f));
    EXPECT_EQ(oxBBox(Vector3f(1, 2, 3)).halfArea(), 0.0f);
}
