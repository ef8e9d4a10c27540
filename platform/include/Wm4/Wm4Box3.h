// Oriented box in 3D.
#pragma once

#include "Wm4/Wm4Vector3.h"

namespace Wm4 {

/// Oriented box: the points Center + sum_i t_i * Axis[i] with |t_i| <= Extent[i].
/// The axes are expected to be orthonormal and the extents non-negative.
template <typename Real>
class Box3 {
public:
    /// Degenerate box at the origin with the coordinate axes and zero extents.
    Box3() : Center(), Axis{Vector3<Real>::UNIT_X, Vector3<Real>::UNIT_Y, Vector3<Real>::UNIT_Z}, Extent{} {}
    Box3(const Vector3<Real>& rkCenter, const Vector3<Real> akAxis[3], const Real afExtent[3])
        : Center(rkCenter), Axis{akAxis[0], akAxis[1], akAxis[2]}, Extent{afExtent[0], afExtent[1],
                                                                          afExtent[2]}
    {}
    Box3(const Vector3<Real>& rkCenter, const Vector3<Real>& rkAxis0, const Vector3<Real>& rkAxis1,
         const Vector3<Real>& rkAxis2, Real fExtent0, Real fExtent1, Real fExtent2)
        : Center(rkCenter), Axis{rkAxis0, rkAxis1, rkAxis2}, Extent{fExtent0, fExtent1, fExtent2}
    {}

    /// The eight corners: corner k uses +Extent[i] on axis i when bit i of k
    /// is set and -Extent[i] otherwise.
    void ComputeVertices(Vector3<Real> akVertex[8]) const
    {
        for (int k = 0; k < 8; ++k) {
            akVertex[k] = Center;
            for (int i = 0; i < 3; ++i)
                akVertex[k] += Axis[i] * ((k >> i) & 1 ? Extent[i] : -Extent[i]);
        }
    }

    Vector3<Real> Center;
    Vector3<Real> Axis[3];
    Real Extent[3];
};

typedef Box3<float> Box3f;
typedef Box3<double> Box3d;

}  // namespace Wm4
