// Axis-aligned bounding box with the overlap, containment and ray tests of the library.
#pragma once

#include "Wm4/Wm4Math.h"
#include "Wm4/Wm4Vector3.h"
#include "Wm4/Wm4Vector4.h"

namespace ox {

/// Axis-aligned box of floats given by its minimum and maximum corners.
///
/// The default box is EMPTY: min = (+MAX_REAL)^3, max = (-MAX_REAL)^3, so
/// expanding it by a point gives the box of that point. Corners are stored as
/// given (Make does not reorder); a box with some min > max is "inverted" and
/// isEmpty() reports it.
///
/// Box/box overlap tests are written per axis as "the intersection of the two
/// intervals is non-empty": max(minA, minB) <= min(maxA, maxB). Hence an
/// inverted box overlaps nothing, not even a box around it; callers rely on
/// this to stop traversals by swapping such a box in.
class oxBBox {
public:
    typedef Wm4::Vector3<float> Vector3;
    typedef Wm4::Vector4<float> Vector4;

    /// The empty box (see the class comment).
    oxBBox();
    /// The degenerate box min = max = rkPoint.
    explicit oxBBox(const Vector3& rkPoint);
    /// The box with the given corners, stored as given.
    oxBBox(const Vector3& rkMin, const Vector3& rkMax);

    /// Sets the corners as given (no reordering).
    void Make(float fMinX, float fMinY, float fMinZ, float fMaxX, float fMaxY, float fMaxZ);
    void Make(const Vector3& rkMin, const Vector3& rkMax);

    const Vector3& getMin() const { return m_kMin; }
    const Vector3& getMax() const { return m_kMax; }
    Vector3& getMin() { return m_kMin; }
    Vector3& getMax() { return m_kMax; }

    /// Grows the box to include the point (component-wise min / max).
    void selfExpand(const Vector3& rkPoint);
    /// Moves every face outwards by fAmount: min -= fAmount, max += fAmount.
    void selfGrow(float fAmount);
    /// Component-wise min of the mins and max of the maxes.
    void selfUnion(const oxBBox& rkBox);
    /// The union of the two boxes as a new box.
    oxBBox bboxUnion(const oxBBox& rkBox) const;

    /// True when some min > max (including the default empty box).
    bool isEmpty() const;

    /// Closed intervals meet on every axis (touching boxes overlap).
    bool overlaps(const oxBBox& rkBox) const;
    /// Open intervals meet on every axis (touching boxes do not overlap).
    bool strictlyOverlaps(const oxBBox& rkBox) const;
    /// min <= p <= max on every axis.
    bool contains(const Vector3& rkPoint) const;
    /// min < p < max on every axis (a point on a face is not contained).
    bool strictlyContains(const Vector3& rkPoint) const;

    /// True when the squared distance from rkCentre to the box (0 inside) is
    /// <= fSquaredRadius: the argument is the SQUARED radius. Inclusive; an
    /// empty box never overlaps. Computed in float as sum of per-axis
    /// (gap * gap), the same rounding as a point's squared distance, so a
    /// point of the box accepted by a float distance test never lies in a
    /// box rejected here. O(1).
    bool overlapsSphere(const Vector3& rkCentre, float fSquaredRadius) const;

    /// True when the plane n.x + offset = 0 meets the box: the corners are
    /// not all strictly on one side (min over corners of n.x + offset <= 0 <=
    /// max over corners). False for an empty box. O(1).
    bool overlapsPlane(const Vector3& rkNormal, float fOffset) const;

    /// Exact separating-axis test of the triangle against the box (13 axes:
    /// 3 box axes, the triangle normal, 9 edge x box-axis products), done in
    /// double. Inclusive: a touching triangle overlaps. Degenerate triangles
    /// (segments, points) are handled. False for an empty box. O(1).
    bool overlapsTriangle(const Vector3& rkA, const Vector3& rkB, const Vector3& rkC) const;

    /// Slab test of the ray origin + t * direction: clips the caller's
    /// interval [rfTEnter, rfTExit] to the box (tEnter = max(tEnter, slab
    /// entries), tExit = min(tExit, slab exits)) and returns tEnter <= tExit.
    /// A zero direction component leaves that axis unconstrained when the
    /// origin lies inside the slab, and returns false otherwise (no NaN).
    /// An inverted box is never hit. The interval is updated only on the
    /// axes processed before a rejection, so read it only on success. O(1).
    bool intersectRay(const Vector3& rkOrigin, const Vector3& rkDirection, float& rfTEnter,
                      float& rfTExit) const;

    /// The point clamped into the box (the nearest box point).
    Vector3 projectOntoBBox(const Vector3& rkPoint) const;
    /// x, y, z clamped into the box; w unchanged.
    Vector4 projectOntoBBox(const Vector4& rkPoint) const;

    /// Largest side length, its axis (0, 1, 2; the first one on ties) in ruAxis.
    float getMaxExtent(unsigned int& ruAxis) const;
    /// Half the surface area: dx*dy + dy*dz + dz*dx.
    float halfArea() const;
    /// (min + max) / 2.
    Vector3 getCenter() const;
    /// Side lengths max - min as a vector.
    Vector3 getExtent() const;
    /// Length of the diagonal, |max - min|.
    float getDiagonal() const;

private:
    Vector3 m_kMin;
    Vector3 m_kMax;
};

}  // namespace ox
