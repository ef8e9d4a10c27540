// Three-component vector: positions, normals, directions.
#pragma once

#include "Wm4/Wm4VectorBase.h"

namespace Wm4 {

/// Three-component vector. Storage is exactly `Real m_afTuple[3]` (x, y, z),
/// so vertex buffers can view interleaved float records as Vector3<float>.
/// Arithmetic, comparisons, Dot/Length/Normalize come from VectorBase.
template <typename Real>
class Vector3 : public VectorBase<Vector3<Real>, Real, 3> {
public:
    /// Zero vector.
    constexpr Vector3() : m_afTuple{Real(0), Real(0), Real(0)} {}
    constexpr Vector3(Real fX, Real fY, Real fZ) : m_afTuple{fX, fY, fZ} {}
    /// From three contiguous components (precondition: afTuple != nullptr).
    explicit Vector3(const Real* afTuple) : m_afTuple{afTuple[0], afTuple[1], afTuple[2]} {}
    /// Component-wise conversion from another precision.
    template <typename Other>
    explicit constexpr Vector3(const Vector3<Other>& rkV)
        : m_afTuple{Real(rkV.X()), Real(rkV.Y()), Real(rkV.Z())}
    {}
    constexpr Vector3(const Vector3&) = default;
    Vector3& operator=(const Vector3&) = default;

    Real& X() { return m_afTuple[0]; }
    constexpr Real X() const { return m_afTuple[0]; }
    Real& Y() { return m_afTuple[1]; }
    constexpr Real Y() const { return m_afTuple[1]; }
    Real& Z() { return m_afTuple[2]; }
    constexpr Real Z() const { return m_afTuple[2]; }

    /// Cross product this x rkV (right-handed).
    Vector3 Cross(const Vector3& rkV) const
    {
        return Vector3(m_afTuple[1] * rkV.m_afTuple[2] - m_afTuple[2] * rkV.m_afTuple[1],
                       m_afTuple[2] * rkV.m_afTuple[0] - m_afTuple[0] * rkV.m_afTuple[2],
                       m_afTuple[0] * rkV.m_afTuple[1] - m_afTuple[1] * rkV.m_afTuple[0]);
    }

    /// Normalised cross product; ZERO for parallel (or zero) inputs, by the
    /// Normalize() rule.
    Vector3 UnitCross(const Vector3& rkV) const
    {
        Vector3 kCross = Cross(rkV);
        kCross.Normalize();
        return kCross;
    }

    static const Vector3 ZERO;
    static const Vector3 UNIT_X;
    static const Vector3 UNIT_Y;
    static const Vector3 UNIT_Z;
    static const Vector3 ONE;

private:
    friend class TupleBase<Vector3, Real, 3>;
    friend class VectorBase<Vector3, Real, 3>;
    Real m_afTuple[3];
};

template <typename Real>
const Vector3<Real> Vector3<Real>::ZERO(Real(0), Real(0), Real(0));
template <typename Real>
const Vector3<Real> Vector3<Real>::UNIT_X(Real(1), Real(0), Real(0));
template <typename Real>
const Vector3<Real> Vector3<Real>::UNIT_Y(Real(0), Real(1), Real(0));
template <typename Real>
const Vector3<Real> Vector3<Real>::UNIT_Z(Real(0), Real(0), Real(1));
template <typename Real>
const Vector3<Real> Vector3<Real>::ONE(Real(1), Real(1), Real(1));

typedef Vector3<float> Vector3f;
typedef Vector3<double> Vector3d;

static_assert(sizeof(Vector3f) == 3 * sizeof(float), "Vector3f must be three packed floats");
static_assert(sizeof(Vector3d) == 3 * sizeof(double), "Vector3d must be three packed doubles");

}  // namespace Wm4
