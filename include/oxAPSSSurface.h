// oxAPSSSurface: the algebraic point set surface.
//
// At every evaluation position x an algebraic sphere s(y) = u0 + u123 . y + u4 |y|^2 is
// fitted by weighted least squares to the positions and normals of the points whose
// support contains x (weights (1 - (d/r)^2)^4, r the point's size). The surface's
// potential, gradient and projection are those of the fitted sphere. With fewer than 4
// supporting points the fit falls back to the constant +/-infinity chosen by the normal
// of the nearest point (positive on the side the normals point to), and projection then
// returns the origin. Nothing is cached: every call gathers and solves again, without
// allocating.
#pragma once

#include "oxPointSetSurface.h"

namespace ox {

class oxAPSSSurface : public oxPointSetSurface {
public:
    /// s(y) = u0 + u123 . y + u4 |y|^2: a sphere of centre -u123 / (2 u4) when u4 != 0,
    /// a plane when u4 = 0.
    class oxAlgebraicSphere {
    public:
        /// All five coefficients zero.
        oxAlgebraicSphere() = default;
        oxAlgebraicSphere(float u0, const Wm4::Vector3<float>& u123, float u4)
            : m_u0(u0), m_u123(u123), m_u4(u4)
        {}

        float getU0() const { return m_u0; }
        const Wm4::Vector3<float>& getU123() const { return m_u123; }
        float getU4() const { return m_u4; }

        /// s(x). O(1).
        float eval(const Wm4::Vector3<float>& x) const;
        /// 2 u4 x + u123 (not normalised). O(1).
        Wm4::Vector3<float> geometricGradientAt(const Wm4::Vector3<float>& x) const;
        /// -u123 / (2 u4); infinite or NaN for a plane.
        Wm4::Vector3<float> getCenter() const;
        /// sqrt(|centre|^2 - u0 / u4); NaN for an imaginary sphere, infinite for a plane.
        float getRadius() const;
        /// True when u1, u2, u3 and u4 are all exactly zero (the fallback of the fit).
        bool isInvalid() const;
        /// Multiplies the coefficients by 1 / (u0^2 + |u123|^2 + u4^2): the division is by
        /// the sum of squares itself (not its root), which keeps the zero set and the sign.
        void normalize();
        /// The sphere -0.5 (|y - c|^2 - r^2): positive inside, negative outside.
        void setCenterRadius(const Wm4::Vector3<float>& center, float radius);
        /// Unit gradient at x when its length exceeds 1e-4, else the gradient unchanged.
        Wm4::Vector3<float> getProjectDirection(const Wm4::Vector3<float>& x) const;
        /// First hit of the ray o + t d with the zero set: the smaller root of the
        /// quadratic, or the larger one when the smaller is negative. False (t untouched)
        /// when there is no real root.
        bool intersectRay(const Wm4::Vector3<float>& origin, const Wm4::Vector3<float>& direction,
                          float& t) const;
        /// The closest point of the zero set to x, by a closed form that is stable for
        /// spheres and planes alike. NaN when x is the centre or the sphere is imaginary.
        Wm4::Vector3<float> projectOntoSphere(const Wm4::Vector3<float>& x) const;
        /// Euclidean distance from x to the zero set; +infinity for the fallback (u0 not
        /// finite), for an invalid sphere and for an imaginary sphere (no zero set).
        float distanceToSurface(const Wm4::Vector3<float>& x) const;

    private:
        float m_u0 = 0.0f;
        Wm4::Vector3<float> m_u123;
        float m_u4 = 0.0f;
    };

    /// Borrows the query (ready: hierarchy, point sizes and node boxes computed, normals
    /// present); it must outlive the surface.
    explicit oxAPSSSurface(const oxPointSetQuery* pointSet);
    oxAPSSSurface(const oxAPSSSurface&) = default;
    oxAPSSSurface(oxAPSSSurface&&) = default;
    oxAPSSSurface& operator=(const oxAPSSSurface&) = default;
    oxAPSSSurface& operator=(oxAPSSSurface&&) = default;
    ~oxAPSSSurface() = default;

    /// s(x) of the sphere fitted at x; +/-infinity far from the cloud.
    float computePotential(const Wm4::Vector3<float>& position) const override;
    /// 2 u4 x + u123 of the sphere fitted at x, not normalised (zero for the fallback).
    Wm4::Vector3<float> computeGradient(const Wm4::Vector3<float>& position) override;
    /// One fit: returns s(x), the gradient normalised to unit length (a zero gradient is
    /// left zero).
    float computePotentialAndGradient(const Wm4::Vector3<float>& position,
                                      Wm4::Vector3<float>& gradient) const override;
    /// `count` steps; each fits at the current estimate y and moves to the projection of
    /// the INPUT position onto that sphere. Returns the input when count = 0, (0, 0, 0)
    /// when a fit falls back. The hint is ignored. Cost: count fits.
    Wm4::Vector3<float> projectOntoSurface(const Wm4::Vector3<float>& position,
                                           const Wm4::Vector3<float>* hint,
                                           unsigned int count) const override;

    /// The sphere fitted at x: weighted sums over the points whose support strictly
    /// contains x, then the closed-form solve. Fewer than 4 points: (+/-inf, 0, 0).
    oxAlgebraicSphere fitSphere(const Wm4::Vector3<float>& x) const;
};

}  // namespace ox
