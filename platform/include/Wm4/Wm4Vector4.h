// Four-component vector: homogeneous points, RGBA-like data.
#pragma once

#include "Wm4/Wm4VectorBase.h"

namespace Wm4 {

/// Four-component vector. Storage is exactly `Real m_afTuple[4]` (x, y, z, w).
/// Arithmetic, comparisons, Dot/Length/Normalize come from VectorBase.
template <typename Real>
class Vector4 : public VectorBase<Vector4<Real>, Real, 4> {
public:
    /// Zero vector.
    constexpr Vector4() : m_afTuple{Real(0), Real(0), Real(0), Real(0)} {}
    constexpr Vector4(Real fX, Real fY, Real fZ, Real fW) : m_afTuple{fX, fY, fZ, fW} {}
    /// From four contiguous components (precondition: afTuple != nullptr).
    explicit Vector4(const Real* afTuple) : m_afTuple{afTuple[0], afTuple[1], afTuple[2], afTuple[3]} {}
    /// Component-wise conversion from another precision.
    template <typename Other>
    explicit constexpr Vector4(const Vector4<Other>& rkV)
        : m_afTuple{Real(rkV.X()), Real(rkV.Y()), Real(rkV.Z()), Real(rkV.W())}
    {}
    constexpr Vector4(const Vector4&) = default;
    Vector4& operator=(const Vector4&) = default;

    Real& X() { return m_afTuple[0]; }
    constexpr Real X() const { return m_afTuple[0]; }
    Real& Y() { return m_afTuple[1]; }
    constexpr Real Y() const { return m_afTuple[1]; }
    Real& Z() { return m_afTuple[2]; }
    constexpr Real Z() const { return m_afTuple[2]; }
    Real& W() { return m_afTuple[3]; }
    constexpr Real W() const { return m_afTuple[3]; }

    static const Vector4 ZERO;
    static const Vector4 UNIT_X;
    static const Vector4 UNIT_Y;
    static const Vector4 UNIT_Z;
    static const Vector4 UNIT_W;
    static const Vector4 ONE;

private:
    friend class TupleBase<Vector4, Real, 4>;
    friend class VectorBase<Vector4, Real, 4>;
    Real m_afTuple[4];
};

template <typename Real>
const Vector4<Real> Vector4<Real>::ZERO(Real(0), Real(0), Real(0), Real(0));
template <typename Real>
const Vector4<Real> Vector4<Real>::UNIT_X(Real(1), Real(0), Real(0), Real(0));
template <typename Real>
const Vector4<Real> Vector4<Real>::UNIT_Y(Real(0), Real(1), Real(0), Real(0));
template <typename Real>
const Vector4<Real> Vector4<Real>::UNIT_Z(Real(0), Real(0), Real(1), Real(0));
template <typename Real>
const Vector4<Real> Vector4<Real>::UNIT_W(Real(0), Real(0), Real(0), Real(1));
template <typename Real>
const Vector4<Real> Vector4<Real>::ONE(Real(1), Real(1), Real(1), Real(1));

typedef Vector4<float> Vector4f;
typedef Vector4<double> Vector4d;

static_assert(sizeof(Vector4f) == 4 * sizeof(float), "Vector4f must be four packed floats");
static_assert(sizeof(Vector4d) == 4 * sizeof(double), "Vector4d must be four packed doubles");

}  // namespace Wm4
