// Small geometric helpers shared by the mesh-processing operations.
#pragma once

#include <cfloat>
#include <cmath>

#include "Wm4/Wm4Vector3.h"
#include "oxMeshLibTypes.h"

namespace ox {
namespace detail {

/// `v` divided by its length; the zero vector when the length is 0 or its reciprocal
/// (compared in double precision) exceeds the largest finite double. NaN propagates.
inline Vec3 unitOrZero(const Vec3& v)
{
    const float length = v.Length();
    const double inverse = 1.0 / static_cast<double>(length);
    if (length == 0.0f || inverse > DBL_MAX) {
        return Vec3(0.0f, 0.0f, 0.0f);
    }
    const float f = 1.0f / length;
    return Vec3(v.X() * f, v.Y() * f, v.Z() * f);
}

/// Unit normal (p1 - p0) x (p2 - p0) of a triangle, zero when degenerate.
inline Vec3 triangleUnitNormal(const Vec3& p0, const Vec3& p1, const Vec3& p2)
{
    return unitOrZero((p1 - p0).Cross(p2 - p0));
}

/// Unit edge directions e01, e12, e20 of a triangle and its interior corner angles
/// (acos(-(e20.e01)), acos(-(e01.e12)), acos(-(e12.e20)), arguments not clamped, so rounding
/// just outside [-1, 1] yields NaN).
struct tCornerAngles {
    Vec3 e01, e12, e20;
    float angle[3];

    tCornerAngles(const Vec3& p0, const Vec3& p1, const Vec3& p2)
        : e01(unitOrZero(p1 - p0)), e12(unitOrZero(p2 - p1)), e20(unitOrZero(p0 - p2))
    {
        angle[0] = std::acos(-e20.Dot(e01));
        angle[1] = std::acos(-e01.Dot(e12));
        angle[2] = std::acos(-e12.Dot(e20));
    }
};

}  // namespace detail
}  // namespace ox
