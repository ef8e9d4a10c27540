// Robust implicit MLS surface: re-weighted plane fits from the gathered neighbourhood.
#include "oxRIMLSSurface.h"

#include <cmath>
#include <limits>

#include "Wm4/Wm4Math.h"
#include "oxSurfaceGathering.h"

namespace ox {

using Vec3 = Wm4::Vector3<float>;

oxRIMLSSurface::oxRIMLSSurface(const oxPointSetQuery* pointSet) : oxPointSetSurface(pointSet) {}

float oxRIMLSSurface::GaussianWeightFunction(float x, float s) { return std::exp(-(x / s)); }

oxRIMLSSurface::oxAlgebraicPlane oxRIMLSSurface::fitPlane(const Vec3& x, const Vec3* hint) const {
    const oxPointSetQuery& query = *getPointSet();
    Vec3 g = hint ? *hint : Vec3(0.0f, 0.0f, 0.0f);
    float s = hint ? m_sigma : std::numeric_limits<float>::infinity();
    oxAlgebraicPlane plane;
    for (unsigned int pass = 0; pass < m_iterations; ++pass) {
        const float s2 = s * s;
        const bool uniformNormals = std::isinf(s2);
        unsigned int count = 0;
        float sumW = 0.0f, sumNegWnp = 0.0f;
        Vec3 sumWn;
        oxSurfaceGathering::forEachSupportingPoint(query, x, [&](const oxSurfaceGathering::tSupport& support) {
            const Vec3& n = *support.normal;
            float w = WeightFunction(std::sqrt(support.distance2) / support.radius);
            if (!uniformNormals) w *= GaussianWeightFunction((n - g).SquaredLength(), s2);
            ++count;
            sumW += w;
            sumWn += n * w;
            sumNegWnp -= w * n.Dot(*support.position);
        });
        if (count < 4) return oxAlgebraicPlane(oxSurfaceGathering::nearestNormalSide(query, x), g);
        const float inv = 1.0f / sumW;
        plane = oxAlgebraicPlane(sumNegWnp * inv, sumWn * inv);
        g = plane.getU123();
        s = m_sigma;
    }
    return plane;
}

float oxRIMLSSurface::computePotential(const Vec3& position) const {
    return fitPlane(position, nullptr).eval(position);
}

Vec3 oxRIMLSSurface::computeGradient(const Vec3& position) { return fitPlane(position, nullptr).getU123(); }

float oxRIMLSSurface::computePotentialAndGradient(const Vec3& position, Vec3& gradient) const {
    const oxAlgebraicPlane plane = fitPlane(position, nullptr);
    gradient = plane.getU123();
    gradient.Normalize();  // a zero gradient stays zero
    return plane.eval(position);
}

Vec3 oxRIMLSSurface::projectOntoSurface(const Vec3& position, const Vec3* hint, unsigned int count) const {
    Vec3 y = position;
    for (unsigned int i = 0; i < count; ++i) {
        const oxAlgebraicPlane plane = fitPlane(y, hint);
        const float f = plane.eval(y);
        const Vec3& u = plane.getU123();
        const float L2 = u.SquaredLength();
        if (L2 != 0.0f) {
            y -= u * (f / L2);
        } else {
            const float far = Wm4::Math<float>::MAX_REAL;
            y -= Vec3(far, far, far);
        }
    }
    return y;
}

}  // namespace ox
