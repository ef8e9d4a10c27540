// oxRIMLSSurface: the robust implicit moving-least-squares surface.
//
// At every evaluation position x an algebraic plane f(y) = u0 + u123 . y is fitted by a
// few re-weighted passes: its gradient u123 is the weighted mean of the point normals and
// u0 the weighted mean of -n . p, so f(x) is the weighted mean of n_j . (x - p_j). The
// weight of a point is the compact spatial kernel (1 - (d/r)^2)^4 times a Gaussian of the
// difference between its normal and the previous pass's gradient, so that points whose
// normals disagree (across sharp edges or thin parts) lose influence and edges stay sharp.
// The first pass (without a hint) weighs normals uniformly. Defaults: 4 passes, sigma 0.5;
// they are fixed. Fewer than 4 supporting points give +/-infinity by the normal of the
// nearest point. Nothing is cached between calls and no call allocates.
#pragma once

#include "oxPointSetSurface.h"

namespace ox {

class oxRIMLSSurface : public oxPointSetSurface {
public:
    /// f(y) = u0 + u123 . y.
    class oxAlgebraicPlane {
    public:
        /// All four coefficients zero.
        oxAlgebraicPlane() = default;
        oxAlgebraicPlane(float u0, const Wm4::Vector3<float>& u123) : m_u0(u0), m_u123(u123) {}

        /// f(x). O(1).
        float eval(const Wm4::Vector3<float>& x) const { return m_u0 + m_u123.Dot(x); }
        /// u123, whatever x.
        Wm4::Vector3<float> geometricGradientAt(const Wm4::Vector3<float>&) const { return m_u123; }
        float getU0() const { return m_u0; }
        const Wm4::Vector3<float>& getU123() const { return m_u123; }

    private:
        float m_u0 = 0.0f;
        Wm4::Vector3<float> m_u123;
    };

    /// Borrows the query (ready, with normals); 4 passes, sigma 0.5.
    explicit oxRIMLSSurface(const oxPointSetQuery* pointSet);
    oxRIMLSSurface(const oxRIMLSSurface&) = default;
    oxRIMLSSurface(oxRIMLSSurface&&) = default;
    oxRIMLSSurface& operator=(const oxRIMLSSurface&) = default;
    oxRIMLSSurface& operator=(oxRIMLSSurface&&) = default;
    ~oxRIMLSSurface() = default;

    /// exp(-(x / s)); callers pass a squared distance and a squared scale. O(1).
    static float GaussianWeightFunction(float x, float s);

    /// f(x) of the plane fitted at x without hint; +/-infinity far from the cloud.
    float computePotential(const Wm4::Vector3<float>& position) const override;
    /// u123 of the plane fitted at x, not normalised.
    Wm4::Vector3<float> computeGradient(const Wm4::Vector3<float>& position) override;
    /// One fit: returns f(x), gradient u123 normalised (a zero vector stays zero).
    float computePotentialAndGradient(const Wm4::Vector3<float>& position,
                                      Wm4::Vector3<float>& gradient) const override;
    /// `count` steps y <- y - u123 f(y) / |u123|^2, each fitting at the current y with the
    /// hint. A plane with zero gradient throws y far away on purpose (every coordinate
    /// decreased by the largest finite float) so that callers can detect it. Returns the
    /// input when count = 0. Cost: count fits.
    Wm4::Vector3<float> projectOntoSurface(const Wm4::Vector3<float>& position,
                                           const Wm4::Vector3<float>* hint,
                                           unsigned int count) const override;

    /// The plane fitted at x. With a hint the first pass already weighs normals against
    /// it (scale sigma); without one the first pass is a plain weighted mean. Fewer than 4
    /// supporting points in a pass: u0 = +/-infinity by the nearest point's normal and
    /// u123 = the current gradient estimate. Cost: one gathering per pass.
    oxAlgebraicPlane fitPlane(const Wm4::Vector3<float>& x, const Wm4::Vector3<float>* hint) const;

    unsigned int getNoIterations() const { return m_iterations; }
    float getSigma() const { return m_sigma; }

private:
    unsigned int m_iterations = 4;
    float m_sigma = 0.5f;
};

}  // namespace ox
