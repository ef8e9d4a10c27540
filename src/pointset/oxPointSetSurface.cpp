// The point-set surface base: query link and the two-fit default of
// computePotentialAndGradient.
#include "oxPointSetSurface.h"

namespace ox {

oxPointSetSurface::oxPointSetSurface(const oxPointSetQuery* pointSet) : m_pointSet(pointSet) {}

float oxPointSetSurface::computePotentialAndGradient(const Wm4::Vector3<float>& position,
                                                     Wm4::Vector3<float>& gradient) const
{
    // computeGradient is a non-const slot for historical reasons; no surface changes its
    // state in it, so calling it on this object is safe.
    gradient = const_cast<oxPointSetSurface*>(this)->computeGradient(position);
    return computePotential(position);
}

}  // namespace ox
