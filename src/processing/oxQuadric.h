// A symmetric quadric error form in double precision: the weighted sum of squared distances
// to a set of planes, with the total weight of those planes kept alongside.
#pragma once

#include <cmath>

namespace ox {
namespace detail {

struct tPoint3d {
    double x = 0.0, y = 0.0, z = 0.0;
};

/// Q(x) = x^T A x + 2 b^T x + c, A symmetric (six entries), plus `weight`, the total weight
/// (area) of the planes summed into it, so that Q(x) / weight is a mean squared distance.
struct tQuadric {
    double a00 = 0, a01 = 0, a02 = 0, a11 = 0, a12 = 0, a22 = 0;
    double b0 = 0, b1 = 0, b2 = 0;
    double c = 0;
    double weight = 0;

    /// Adds weight * (n . x + d)^2 for the plane with unit normal n and offset d; `area`
    /// is added to the total weight (0 for constraint planes that must not dilute the mean).
    void addPlane(double nx, double ny, double nz, double d, double planeWeight, double area)
    {
        a00 += planeWeight * nx * nx;
        a01 += planeWeight * nx * ny;
        a02 += planeWeight * nx * nz;
        a11 += planeWeight * ny * ny;
        a12 += planeWeight * ny * nz;
        a22 += planeWeight * nz * nz;
        b0 += planeWeight * nx * d;
        b1 += planeWeight * ny * d;
        b2 += planeWeight * nz * d;
        c += planeWeight * d * d;
        weight += area;
    }

    tQuadric& operator+=(const tQuadric& q)
    {
        a00 += q.a00;
        a01 += q.a01;
        a02 += q.a02;
        a11 += q.a11;
        a12 += q.a12;
        a22 += q.a22;
        b0 += q.b0;
        b1 += q.b1;
        b2 += q.b2;
        c += q.c;
        weight += q.weight;
        return *this;
    }

    /// Q(p), clamped at 0 against rounding.
    double evaluate(const tPoint3d& p) const
    {
        const double ax = a00 * p.x + a01 * p.y + a02 * p.z;
        const double ay = a01 * p.x + a11 * p.y + a12 * p.z;
        const double az = a02 * p.x + a12 * p.y + a22 * p.z;
        const double q = p.x * ax + p.y * ay + p.z * az + 2.0 * (b0 * p.x + b1 * p.y + b2 * p.z) + c;
        return q > 0.0 ? q : 0.0;
    }

    /// The minimiser of Q(x) + mu |x - m|^2 with mu = regularisation * weight: the plane
    /// quadric fixes the directions it constrains, and the directions it leaves free (flat or
    /// crease regions) fall back to m. Returns false when the system is singular (weight 0).
    bool minimise(const tPoint3d& m, double regularisation, tPoint3d& x) const
    {
        const double mu = regularisation * weight;
        const double m00 = a00 + mu, m11 = a11 + mu, m22 = a22 + mu;
        const double r0 = mu * m.x - b0, r1 = mu * m.y - b1, r2 = mu * m.z - b2;
        const double c00 = m11 * m22 - a12 * a12;
        const double c01 = a02 * a12 - a01 * m22;
        const double c02 = a01 * a12 - a02 * m11;
        const double det = m00 * c00 + a01 * c01 + a02 * c02;
        if (!(std::fabs(det) > 0.0) || !std::isfinite(det))
            return false;
        const double c11 = m00 * m22 - a02 * a02;
        const double c12 = a01 * a02 - m00 * a12;
        const double c22 = m00 * m11 - a01 * a01;
        const double inv = 1.0 / det;
        x.x = (c00 * r0 + c01 * r1 + c02 * r2) * inv;
        x.y = (c01 * r0 + c11 * r1 + c12 * r2) * inv;
        x.z = (c02 * r0 + c12 * r1 + c22 * r2) * inv;
        return std::isfinite(x.x) && std::isfinite(x.y) && std::isfinite(x.z);
    }
};

}  // namespace detail
}  // namespace ox
