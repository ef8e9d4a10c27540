// Two-component vector (texture coordinates, 2D geometry).
#pragma once

#include "Wm4/Wm4VectorBase.h"

namespace Wm4 {

/// Two-component vector. Storage is exactly `Real m_afTuple[2]` (x, y), so an
/// array of Vector2<float> aliases an interleaved float array.
/// Arithmetic, comparisons, Dot/Length/Normalize come from VectorBase.
template <typename Real>
class Vector2 : public VectorBase<Vector2<Real>, Real, 2> {
public:
    /// Zero vector.
    constexpr Vector2() : m_afTuple{Real(0), Real(0)} {}
    constexpr Vector2(Real fX, Real fY) : m_afTuple{fX, fY} {}
    /// From two contiguous components (precondition: afTuple != nullptr).
    explicit Vector2(const Real* afTuple) : m_afTuple{afTuple[0], afTuple[1]} {}
    /// Component-wise conversion from another precision.
    template <typename Other>
    explicit constexpr Vector2(const Vector2<Other>& rkV) : m_afTuple{Real(rkV.X()), Real(rkV.Y())}
    {}
    constexpr Vector2(const Vector2&) = default;
    Vector2& operator=(const Vector2&) = default;

    Real& X() { return m_afTuple[0]; }
    constexpr Real X() const { return m_afTuple[0]; }
    Real& Y() { return m_afTuple[1]; }
    constexpr Real Y() const { return m_afTuple[1]; }

    /// The vector rotated by +90 degrees: (y, -x).
    Vector2 Perp() const { return Vector2(m_afTuple[1], -m_afTuple[0]); }

    static const Vector2 ZERO;
    static const Vector2 UNIT_X;
    static const Vector2 UNIT_Y;
    static const Vector2 ONE;

private:
    friend class TupleBase<Vector2, Real, 2>;
    friend class VectorBase<Vector2, Real, 2>;
    Real m_afTuple[2];
};

template <typename Real>
const Vector2<Real> Vector2<Real>::ZERO(Real(0), Real(0));
template <typename Real>
const Vector2<Real> Vector2<Real>::UNIT_X(Real(1), Real(0));
template <typename Real>
const Vector2<Real> Vector2<Real>::UNIT_Y(Real(0), Real(1));
template <typename Real>
const Vector2<Real> Vector2<Real>::ONE(Real(1), Real(1));

typedef Vector2<float> Vector2f;
typedef Vector2<double> Vector2d;

static_assert(sizeof(Vector2f) == 2 * sizeof(float), "Vector2f must be two packed floats");
static_assert(sizeof(Vector2d) == 2 * sizeof(double), "Vector2d must be two packed doubles");

}  // namespace Wm4
