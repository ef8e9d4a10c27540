// Scalar constants and elementary functions shared by the Wm4 small-vector types.
#pragma once

#include <cmath>
#include <limits>
#include <type_traits>

namespace Wm4 {

/// Scalar helpers for Real = float or double. All members are static; the
/// constants are constexpr (implicitly inline in C++17), so they can be bound
/// to references and have their address taken without a separate definition.
template <typename Real>
class Math {
    static_assert(std::is_floating_point<Real>::value, "Math<Real> needs a floating-point Real");

public:
    /// Largest finite value: the library's "infinite" distance and cost.
    static constexpr Real MAX_REAL = std::numeric_limits<Real>::max();
    /// Absolute tolerance of degenerate tests: 1e-06 for float, 1e-08 for double.
    static constexpr Real ZERO_TOLERANCE = std::is_same<Real, float>::value ? Real(1e-06) : Real(1e-08);
    static constexpr Real PI = Real(3.14159265358979323846264338327950288);
    static constexpr Real TWO_PI = Real(2) * PI;
    static constexpr Real HALF_PI = Real(0.5) * PI;
    static constexpr Real INV_PI = Real(1) / PI;
    static constexpr Real DEG_TO_RAD = PI / Real(180);
    static constexpr Real RAD_TO_DEG = Real(180) / PI;

    /// Square root; NaN for negative input (as std::sqrt).
    static Real Sqrt(Real fValue) { return std::sqrt(fValue); }
    /// 1/sqrt(x), computed exactly (no approximation); +inf for 0.
    static Real InvSqrt(Real fValue) { return Real(1) / std::sqrt(fValue); }
    /// Absolute value.
    static Real FAbs(Real fValue) { return std::fabs(fValue); }
    /// -1, 0 or +1 according to the sign of the argument (0 for zero and NaN).
    static Real Sign(Real fValue)
    {
        return fValue > Real(0) ? Real(1) : (fValue < Real(0) ? Real(-1) : Real(0));
    }
    /// Arc cosine with the argument clamped to [-1, 1], so rounding noise
    /// just outside the domain gives 0 or PI instead of NaN.
    static Real ACos(Real fValue) { return std::acos(ClampUnit(fValue)); }
    /// Arc sine with the argument clamped to [-1, 1].
    static Real ASin(Real fValue) { return std::asin(ClampUnit(fValue)); }
    static Real Cos(Real fValue) { return std::cos(fValue); }
    static Real Sin(Real fValue) { return std::sin(fValue); }
    static Real Tan(Real fValue) { return std::tan(fValue); }
    /// Angle of (x, y) in (-PI, PI]; arguments in the order of std::atan2 (y, x).
    static Real ATan2(Real fY, Real fX) { return std::atan2(fY, fX); }
    static Real Exp(Real fValue) { return std::exp(fValue); }
    /// Natural logarithm.
    static Real Log(Real fValue) { return std::log(fValue); }
    static Real Pow(Real fBase, Real fExponent) { return std::pow(fBase, fExponent); }
    static Real Floor(Real fValue) { return std::floor(fValue); }
    static Real Ceil(Real fValue) { return std::ceil(fValue); }

private:
    // Clamp into [-1, 1]; NaN passes through unchanged.
    static Real ClampUnit(Real fValue)
    {
        return fValue < Real(-1) ? Real(-1) : (fValue > Real(1) ? Real(1) : fValue);
    }
};

typedef Math<float> Mathf;
typedef Math<double> Mathd;

}  // namespace Wm4
