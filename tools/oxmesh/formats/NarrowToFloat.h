// Double to float conversion that is defined for every input.
#pragma once

#include <cmath>
#include <limits>

namespace oxmesh {

/// Rounds `v` to the nearest float; magnitudes beyond the float range become
/// +-infinity (a plain cast would be undefined behaviour there), NaN stays NaN. O(1).
inline float narrowToFloat(double v)
{
    constexpr double kMax = std::numeric_limits<float>::max();
    if (v > kMax || v < -kMax) {
        // Values that round to FLT_MAX are still finite; only clearly larger ones overflow.
        const double limit = kMax + std::ldexp(1.0, 103);  // half an ulp above FLT_MAX
        if (v >= limit)
            return std::numeric_limits<float>::infinity();
        if (v <= -limit)
            return -std::numeric_limits<float>::infinity();
        return v > 0 ? std::numeric_limits<float>::max() : -std::numeric_limits<float>::max();
    }
    return static_cast<float>(v);
}

}  // namespace oxmesh
