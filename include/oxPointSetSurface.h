// oxPointSetSurface: the abstract implicit surface defined by an oriented point cloud.
//
// A point-set surface answers potential, gradient and projection queries at any position
// of the normalised frame of its oxPointSetQuery (the positions after centring and
// scaling). Every query re-fits a local primitive from the points around the position,
// so each call costs one neighbourhood gathering and a small closed-form solve, and two
// calls at the same position give the same answer. The potential is positive on the side
// the point normals point to and negative on the other side; the surface is its zero set.
//
// The four virtual operations are declared in this order on purpose (meshers and
// voxelizers are written against it): computePotential, computeGradient,
// computePotentialAndGradient, projectOntoSurface. The class is not meant to be deleted
// through a base pointer: its destructor is protected and not virtual.
#pragma once

#include "Wm4/Wm4Vector3.h"

namespace ox {

class oxPointSetQuery;

class oxPointSetSurface {
public:
    /// Makes a surface over `pointSet`.
    /// Preconditions: the query stays alive and ready (computePointRadii called) while the
    ///                surface is used (borrowed; the surface never modifies it).
    /// Cost:          O(1).
    explicit oxPointSetSurface(const oxPointSetQuery* pointSet);
    /// Copies and moves share the query and copy the reserved slot.
    oxPointSetSurface(const oxPointSetSurface&) = default;
    oxPointSetSurface(oxPointSetSurface&&) = default;
    oxPointSetSurface& operator=(const oxPointSetSurface&) = default;
    oxPointSetSurface& operator=(oxPointSetSurface&&) = default;

    /// Evaluates the locally fitted implicit function at `position` (normalised frame).
    /// Returns:       the potential: positive on the side the normals point to; +/-infinity far
    ///                from every point.
    /// Cost:          one neighbourhood gathering and fit.
    virtual float computePotential(const Wm4::Vector3<float>& position) const = 0;

    /// Evaluates the gradient of the locally fitted function at `position`.
    /// Returns:       the gradient, not normalised. Cost: one gathering and fit.
    virtual Wm4::Vector3<float> computeGradient(const Wm4::Vector3<float>& position) = 0;

    /// Evaluates potential and gradient at `position`.
    /// Returns:       the potential; `gradient` receives the gradient. This base version calls
    ///                computeGradient first (its result goes to `gradient`) and then returns
    ///                computePotential; the derived surfaces override it with a single fit and
    ///                a unit gradient.
    /// Cost:          two fits in this base version.
    virtual float computePotentialAndGradient(const Wm4::Vector3<float>& position,
                                              Wm4::Vector3<float>& gradient) const;

    /// Moves `position` onto the surface by `count` projection steps; `hint` (may be null) is an
    /// optional gradient estimate that some surfaces use.
    /// Returns:       the projected position; what a failed projection returns is stated by each
    ///                derived surface.
    /// Cost:          about `count` fits.
    virtual Wm4::Vector3<float> projectOntoSurface(const Wm4::Vector3<float>& position,
                                                   const Wm4::Vector3<float>* hint,
                                                   unsigned int count) const = 0;

    /// The point cloud the surface is fitted to. O(1).
    const oxPointSetQuery* getPointSet() const { return m_pointSet; }

    /// Compactly supported weight of a distance divided by its support radius:
    /// w(x) = (1 - min(x^2, 1))^4, so w(0) = 1 and w = 0 for |x| >= 1. O(1).
    static float WeightFunction(float x)
    {
        const float s = x * x < 1.0f ? x * x : 1.0f;
        const float t = 1.0f - s;
        return (t * t) * (t * t);
    }

protected:
    ~oxPointSetSurface() = default;

    /// Slot reserved for the normal-cluster cache of derived tools; null after
    /// construction, copied with the surface, read by no operation of this class.
    const void* m_reserved = nullptr;

private:
    const oxPointSetQuery* m_pointSet;
};

}  // namespace ox
