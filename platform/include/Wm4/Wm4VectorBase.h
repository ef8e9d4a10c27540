// Euclidean operations shared by Vector2, Vector3 and Vector4.
#pragma once

#include <cmath>

#include "Wm4/Wm4Math.h"
#include "Wm4/Wm4TupleBase.h"

namespace Wm4 {

/// Adds the Euclidean operations (dot product, length, normalisation) and the
/// raw-pointer conversions to the component-wise tuple base. Empty, like
/// TupleBase: the derived vector holds `Real m_afTuple[N]` only.
template <typename Derived, typename Real, int N>
class VectorBase : public TupleBase<Derived, Real, N> {
    using Base = TupleBase<Derived, Real, N>;

public:
    /// Pointer to the N contiguous components (x first).
    operator const Real*() const { return Base::Data(); }
    operator Real*() { return Base::Data(); }

    /// Dot product. O(N).
    Real Dot(const Derived& rkV) const
    {
        Real fDot = Real(0);
        for (int i = 0; i < N; ++i)
            fDot += Base::Data()[i] * rkV.m_afTuple[i];
        return fDot;
    }

    /// Sum of the squared components.
    Real SquaredLength() const { return Dot(Base::Self()); }

    /// Euclidean length, sqrt(SquaredLength()). May overflow to +inf for
    /// components beyond sqrt(MAX_REAL).
    Real Length() const { return std::sqrt(SquaredLength()); }

    /// Scales the vector to unit length and returns its length before the
    /// call. Degenerate rule of this library: when the length is 0 (or NaN),
    /// or 1/length is not finite (sub-normal length), the vector is set to
    /// ZERO (no tolerance cut-off); so are vectors with infinite components.
    /// Finite vectors whose squared length overflows (the returned length is
    /// then +inf) are divided by their largest magnitude first, so they still
    /// come out unit length.
    Real Normalize()
    {
        Real* afT = Base::Data();
        const Real fLength = Length();
        const Real fInvLength = Real(1) / fLength;
        if (fLength > Real(0) && std::isfinite(fLength) && std::isfinite(fInvLength)) {
            for (int i = 0; i < N; ++i)
                afT[i] *= fInvLength;
            return fLength;
        }
        const Real fMax = MaxMagnitude();
        if (std::isinf(fLength) && std::isfinite(fMax)) {
            for (int i = 0; i < N; ++i)
                afT[i] /= fMax;
            const Real fScaledLength = Length();
            for (int i = 0; i < N; ++i)
                afT[i] /= fScaledLength;
            return fLength;
        }
        for (int i = 0; i < N; ++i)
            afT[i] = Real(0);
        return fLength;
    }

private:
    // Largest absolute component (+inf when one is infinite).
    Real MaxMagnitude() const
    {
        Real fMax = Real(0);
        for (int i = 0; i < N; ++i)
            fMax = std::fmax(fMax, std::fabs(Base::Data()[i]));
        return fMax;
    }
};

}  // namespace Wm4
