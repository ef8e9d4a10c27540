// Axis-aligned bounding box: construction, growth and the geometric predicates.
#include "addons/oxBBox.h"

#include <algorithm>
#include <cmath>

namespace ox {

namespace {

// Component-wise minimum / maximum of two vectors.
oxBBox::Vector3 MinOf(const oxBBox::Vector3& rkA, const oxBBox::Vector3& rkB)
{
    return oxBBox::Vector3(std::min(rkA.X(), rkB.X()), std::min(rkA.Y(), rkB.Y()),
                           std::min(rkA.Z(), rkB.Z()));
}

oxBBox::Vector3 MaxOf(const oxBBox::Vector3& rkA, const oxBBox::Vector3& rkB)
{
    return oxBBox::Vector3(std::max(rkA.X(), rkB.X()), std::max(rkA.Y(), rkB.Y()),
                           std::max(rkA.Z(), rkB.Z()));
}

// A point relative to the box centre, in double.
struct Point3d {
    double v[3];
};

// Projection interval of the three triangle vertices on an axis versus the
// projection radius of the box (centred at the origin, half sides afHalf):
// true when they are disjoint, i.e. the axis separates. Inclusive contact is
// not a separation.
bool Separates(const double afAxis[3], const Point3d akVert[3], const double afHalf[3])
{
    double afProj[3];
    for (int k = 0; k < 3; ++k)
        afProj[k] = afAxis[0] * akVert[k].v[0] + afAxis[1] * akVert[k].v[1] + afAxis[2] * akVert[k].v[2];
    const double fRadius = afHalf[0] * std::fabs(afAxis[0]) + afHalf[1] * std::fabs(afAxis[1]) +
                           afHalf[2] * std::fabs(afAxis[2]);
    const double fMin = std::min(afProj[0], std::min(afProj[1], afProj[2]));
    const double fMax = std::max(afProj[0], std::max(afProj[1], afProj[2]));
    return fMin > fRadius || fMax < -fRadius;
}

}  // namespace

oxBBox::oxBBox()
    : m_kMin(Wm4::Math<float>::MAX_REAL, Wm4::Math<float>::MAX_REAL, Wm4::Math<float>::MAX_REAL),
      m_kMax(-Wm4::Math<float>::MAX_REAL, -Wm4::Math<float>::MAX_REAL, -Wm4::Math<float>::MAX_REAL)
{}

oxBBox::oxBBox(const Vector3& rkPoint) : m_kMin(rkPoint), m_kMax(rkPoint) {}

oxBBox::oxBBox(const Vector3& rkMin, const Vector3& rkMax) : m_kMin(rkMin), m_kMax(rkMax) {}

void oxBBox::Make(float fMinX, float fMinY, float fMinZ, float fMaxX, float fMaxY, float fMaxZ)
{
    m_kMin = Vector3(fMinX, fMinY, fMinZ);
    m_kMax = Vector3(fMaxX, fMaxY, fMaxZ);
}

void oxBBox::Make(const Vector3& rkMin, const Vector3& rkMax)
{
    m_kMin = rkMin;
    m_kMax = rkMax;
}

void oxBBox::selfExpand(const Vector3& rkPoint)
{
    m_kMin = MinOf(m_kMin, rkPoint);
    m_kMax = MaxOf(m_kMax, rkPoint);
}

void oxBBox::selfGrow(float fAmount)
{
    m_kMin -= Vector3(fAmount, fAmount, fAmount);
    m_kMax += Vector3(fAmount, fAmount, fAmount);
}

void oxBBox::selfUnion(const oxBBox& rkBox)
{
    m_kMin = MinOf(m_kMin, rkBox.m_kMin);
    m_kMax = MaxOf(m_kMax, rkBox.m_kMax);
}

oxBBox oxBBox::bboxUnion(const oxBBox& rkBox) const
{
    oxBBox kUnion(*this);
    kUnion.selfUnion(rkBox);
    return kUnion;
}

bool oxBBox::isEmpty() const
{
    return m_kMin.X() > m_kMax.X() || m_kMin.Y() > m_kMax.Y() || m_kMin.Z() > m_kMax.Z();
}

bool oxBBox::overlaps(const oxBBox& rkBox) const
{
    for (int i = 0; i < 3; ++i)
        if (!(std::max(m_kMin[i], rkBox.m_kMin[i]) <= std::min(m_kMax[i], rkBox.m_kMax[i])))
            return false;
    return true;
}

bool oxBBox::strictlyOverlaps(const oxBBox& rkBox) const
{
    for (int i = 0; i < 3; ++i)
        if (!(std::max(m_kMin[i], rkBox.m_kMin[i]) < std::min(m_kMax[i], rkBox.m_kMax[i])))
            return false;
    return true;
}

bool oxBBox::contains(const Vector3& rkPoint) const
{
    for (int i = 0; i < 3; ++i)
        if (!(m_kMin[i] <= rkPoint[i] && rkPoint[i] <= m_kMax[i]))
            return false;
    return true;
}

bool oxBBox::strictlyContains(const Vector3& rkPoint) const
{
    for (int i = 0; i < 3; ++i)
        if (!(m_kMin[i] < rkPoint[i] && rkPoint[i] < m_kMax[i]))
            return false;
    return true;
}

bool oxBBox::overlapsSphere(const Vector3& rkCentre, float fSquaredRadius) const
{
    if (isEmpty())
        return false;
    float fDistance2 = 0.0f;
    for (int i = 0; i < 3; ++i) {
        float fGap = 0.0f;
        if (rkCentre[i] < m_kMin[i])
            fGap = m_kMin[i] - rkCentre[i];
        else if (rkCentre[i] > m_kMax[i])
            fGap = rkCentre[i] - m_kMax[i];
        fDistance2 += fGap * fGap;
    }
    return fDistance2 <= fSquaredRadius;
}

bool oxBBox::overlapsPlane(const Vector3& rkNormal, float fOffset) const
{
    if (isEmpty())
        return false;
    // The corners minimising and maximising n.x: per axis, the min or max
    // side chosen by the sign of the normal component.
    Vector3 kLow, kHigh;
    for (int i = 0; i < 3; ++i) {
        kLow[i] = rkNormal[i] >= 0.0f ? m_kMin[i] : m_kMax[i];
        kHigh[i] = rkNormal[i] >= 0.0f ? m_kMax[i] : m_kMin[i];
    }
    return rkNormal.Dot(kLow) + fOffset <= 0.0f && 0.0f <= rkNormal.Dot(kHigh) + fOffset;
}

bool oxBBox::overlapsTriangle(const Vector3& rkA, const Vector3& rkB, const Vector3& rkC) const
{
    if (isEmpty())
        return false;

    double afCentre[3], afHalf[3];
    for (int i = 0; i < 3; ++i) {
        afCentre[i] = 0.5 * (static_cast<double>(m_kMin[i]) + static_cast<double>(m_kMax[i]));
        afHalf[i] = 0.5 * (static_cast<double>(m_kMax[i]) - static_cast<double>(m_kMin[i]));
    }
    const Vector3* apkInput[3] = {&rkA, &rkB, &rkC};
    Point3d akVert[3];
    for (int k = 0; k < 3; ++k)
        for (int i = 0; i < 3; ++i)
            akVert[k].v[i] = static_cast<double>((*apkInput[k])[i]) - afCentre[i];

    // The three box axes.
    for (int i = 0; i < 3; ++i) {
        double afAxis[3] = {0.0, 0.0, 0.0};
        afAxis[i] = 1.0;
        if (Separates(afAxis, akVert, afHalf))
            return false;
    }

    // The nine products edge x box axis: unit_i x e.
    Point3d akEdge[3];
    for (int k = 0; k < 3; ++k)
        for (int i = 0; i < 3; ++i)
            akEdge[k].v[i] = akVert[(k + 1) % 3].v[i] - akVert[k].v[i];
    for (int k = 0; k < 3; ++k) {
        const double* e = akEdge[k].v;
        const double aafAxes[3][3] = {{0.0, -e[2], e[1]}, {e[2], 0.0, -e[0]}, {-e[1], e[0], 0.0}};
        for (int i = 0; i < 3; ++i)
            if (Separates(aafAxes[i], akVert, afHalf))
                return false;
    }

    // The triangle normal (zero for a degenerate triangle: never separates).
    const double* e0 = akEdge[0].v;
    const double* e1 = akEdge[1].v;
    const double afNormal[3] = {e0[1] * e1[2] - e0[2] * e1[1], e0[2] * e1[0] - e0[0] * e1[2],
                                e0[0] * e1[1] - e0[1] * e1[0]};
    return !Separates(afNormal, akVert, afHalf);
}

bool oxBBox::intersectRay(const Vector3& rkOrigin, const Vector3& rkDirection, float& rfTEnter,
                          float& rfTExit) const
{
    for (int i = 0; i < 3; ++i) {
        const float fD = rkDirection[i];
        if (fD == 0.0f) {
            // Parallel to the slab: no constraint inside, no hit outside.
            if (!(m_kMin[i] <= rkOrigin[i] && rkOrigin[i] <= m_kMax[i]))
                return false;
            continue;
        }
        // True division (not a reciprocal) keeps 0 / d == 0 for tiny d.
        // Near/far faces by the direction sign, never swapped: an inverted
        // slab gives tNear > tFar and rejects the ray.
        const float fNearFace = fD > 0.0f ? m_kMin[i] : m_kMax[i];
        const float fFarFace = fD > 0.0f ? m_kMax[i] : m_kMin[i];
        const float fTNear = (fNearFace - rkOrigin[i]) / fD;
        const float fTFar = (fFarFace - rkOrigin[i]) / fD;
        rfTEnter = std::max(rfTEnter, fTNear);
        rfTExit = std::min(rfTExit, fTFar);
        if (!(rfTEnter <= rfTExit))
            return false;
    }
    return rfTEnter <= rfTExit;
}

oxBBox::Vector3 oxBBox::projectOntoBBox(const Vector3& rkPoint) const
{
    return MinOf(MaxOf(rkPoint, m_kMin), m_kMax);
}

oxBBox::Vector4 oxBBox::projectOntoBBox(const Vector4& rkPoint) const
{
    const Vector3 kClamped = projectOntoBBox(Vector3(rkPoint.X(), rkPoint.Y(), rkPoint.Z()));
    return Vector4(kClamped.X(), kClamped.Y(), kClamped.Z(), rkPoint.W());
}

float oxBBox::getMaxExtent(unsigned int& ruAxis) const
{
    const Vector3 kExtent = getExtent();
    ruAxis = 0;
    for (unsigned int i = 1; i < 3; ++i)
        if (kExtent[i] > kExtent[ruAxis])
            ruAxis = i;
    return kExtent[ruAxis];
}

float oxBBox::halfArea() const
{
    const Vector3 kE = getExtent();
    return kE.X() * kE.Y() + kE.Y() * kE.Z() + kE.Z() * kE.X();
}

oxBBox::Vector3 oxBBox::getCenter() const
{
    return (m_kMin + m_kMax) * 0.5f;
}

oxBBox::Vector3 oxBBox::getExtent() const
{
    return m_kMax - m_kMin;
}

float oxBBox::getDiagonal() const
{
    return getExtent().Length();
}

}  // namespace ox
