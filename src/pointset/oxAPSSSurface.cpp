// Algebraic point set surface: sphere fits from the gathered neighbourhood and the
// algebraic-sphere operations.
#include "oxAPSSSurface.h"

#include <cmath>
#include <limits>

#include "oxSurfaceGathering.h"

namespace ox {

using Vec3 = Wm4::Vector3<float>;

// ---------------------------------------------------------------- algebraic sphere

float oxAPSSSurface::oxAlgebraicSphere::eval(const Vec3& x) const
{
    return m_u0 + m_u123.Dot(x) + m_u4 * x.SquaredLength();
}

Vec3 oxAPSSSurface::oxAlgebraicSphere::geometricGradientAt(const Vec3& x) const
{
    return x * (2.0f * m_u4) + m_u123;
}

Vec3 oxAPSSSurface::oxAlgebraicSphere::getCenter() const
{
    const float k = -0.5f / m_u4;
    return m_u123 * k;
}

float oxAPSSSurface::oxAlgebraicSphere::getRadius() const
{
    const Vec3 c = getCenter();
    return std::sqrt(c.SquaredLength() - m_u0 / m_u4);
}

bool oxAPSSSurface::oxAlgebraicSphere::isInvalid() const
{
    return m_u123.X() == 0.0f && m_u123.Y() == 0.0f && m_u123.Z() == 0.0f && m_u4 == 0.0f;
}

void oxAPSSSurface::oxAlgebraicSphere::normalize()
{
    const float f = 1.0f / (m_u0 * m_u0 + m_u123.SquaredLength() + m_u4 * m_u4);
    m_u0 *= f;
    m_u123 *= f;
    m_u4 *= f;
}

void oxAPSSSurface::oxAlgebraicSphere::setCenterRadius(const Vec3& center, float radius)
{
    m_u123 = center;
    m_u4 = -0.5f;
    m_u0 = -0.5f * (center.SquaredLength() - radius * radius);
}

Vec3 oxAPSSSurface::oxAlgebraicSphere::getProjectDirection(const Vec3& x) const
{
    const Vec3 g = geometricGradientAt(x);
    const float length = g.Length();
    return length > 0.0001f ? g / length : g;
}

namespace {

// Real roots of a t^2 + b t + c = 0 in ascending order; a missing root is NaN (both for
// no real root, the second for a linear equation).
void solveQuadratic(float a, float b, float c, float& first, float& second)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    first = second = nan;
    if (a == 0.0f) {
        if (b != 0.0f)
            first = -c / b;
        return;
    }
    const float discriminant = b * b - 4.0f * a * c;
    if (!(discriminant >= 0.0f))
        return;
    // The stable pair: q has the sign of b, so no cancellation in either root.
    const float q = -0.5f * (b + std::copysign(std::sqrt(discriminant), b));
    float r0 = q / a;
    float r1 = q != 0.0f ? c / q : r0;
    if (r1 < r0)
        std::swap(r0, r1);
    first = r0;
    second = r1;
}

}  // namespace

bool oxAPSSSurface::oxAlgebraicSphere::intersectRay(const Vec3& origin, const Vec3& direction, float& t) const
{
    const float a = m_u4 * direction.SquaredLength();
    const float b = 2.0f * m_u4 * direction.Dot(origin) + direction.Dot(m_u123);
    const float c = eval(origin);
    float first, second;
    solveQuadratic(a, b, c, first, second);
    if (std::isnan(first))
        return false;
    t = first;
    if (!std::isnan(second) && first < 0.0f)
        t = second;
    return true;
}

Vec3 oxAPSSSurface::oxAlgebraicSphere::projectOntoSphere(const Vec3& x) const
{
    const Vec3 g = geometricGradientAt(x);
    const float L = g.Length();
    const float U = m_u123.SquaredLength();
    const float B = x.Dot(m_u123);
    const float D = std::sqrt(U - 4.0f * m_u4 * m_u0);
    const float a = 2.0f * ((m_u4 * x.SquaredLength() + B) * U / (L * L) - m_u0) / (D + U / L);
    const float t = (a - (g.Dot(x) + B) / L) / L;
    return x + g * t;
}

float oxAPSSSurface::oxAlgebraicSphere::distanceToSurface(const Vec3& x) const
{
    const float inf = std::numeric_limits<float>::infinity();
    if (!std::isfinite(m_u0) || isInvalid())
        return inf;
    if (m_u123.SquaredLength() - 4.0f * m_u4 * m_u0 < 0.0f)
        return inf;  // no real zero set
    if (m_u4 == 0.0f)
        return std::fabs(eval(x)) / m_u123.Length();
    // |  |x - c| - r  |, the exact distance to a sphere.
    return std::fabs((x - getCenter()).Length() - getRadius());
}

// ---------------------------------------------------------------- surface

namespace {

using tFloat4 = oxSurfaceGathering::tFloat4;

// Weighted sums of one sphere fit: the count, sum w, and sum w * record, i.e. sum w p,
// sum w |p|^2 (first four lanes), sum w n and sum w (p . n) (last four), in the record
// layout of the gathering.
struct tSphereSums {
    unsigned int count = 0;
    float w = 0.0f;
    tFloat4 wPosition = {0.0f, 0.0f, 0.0f, 0.0f};
    tFloat4 wNormal = {0.0f, 0.0f, 0.0f, 0.0f};

    void add(const oxSurfaceGathering::tSupport& s)
    {
        ++count;
        w += s.weight;
        wPosition += s.weight * oxSurfaceGathering::load4(s.record + oxSurfaceGathering::kPX);
        wNormal += s.weight * oxSurfaceGathering::load4(s.record + oxSurfaceGathering::kNX);
    }
};

}  // namespace

oxAPSSSurface::oxAPSSSurface(const oxPointSetQuery* pointSet) : oxPointSetSurface(pointSet) {}

oxAPSSSurface::oxAlgebraicSphere oxAPSSSurface::fitSphere(const Vec3& x) const
{
    using G = oxSurfaceGathering;
    const oxPointSetQuery& query = *getPointSet();
    tSphereSums s;
    G::forEachSupportingPoint(query, x, [&s](const G::tSupport& support) { s.add(support); });
    if (s.count < 4)
        return oxAlgebraicSphere(G::nearestNormalSide(query, x), Vec3(), 0.0f);
    static_assert(G::kPP == 3 && G::kNX == 4 && G::kPN == 7, "record layout of the two sums");
    const Vec3 wp(s.wPosition[0], s.wPosition[1], s.wPosition[2]),
        wn(s.wNormal[0], s.wNormal[1], s.wNormal[2]);
    const float wpp = s.wPosition[3], wpn = s.wNormal[3];
    const float invW = 1.0f / s.w;
    const float u4 = 0.5f * (wpn - wp.Dot(wn) * invW) / (wpp - wp.Dot(wp) * invW);
    const Vec3 u123 = (wn - wp * (2.0f * u4)) * invW;
    const float u0 = -(u123.Dot(wp) + u4 * wpp) * invW;
    return oxAlgebraicSphere(u0, u123, u4);
}

float oxAPSSSurface::computePotential(const Vec3& position) const
{
    return fitSphere(position).eval(position);
}

Vec3 oxAPSSSurface::computeGradient(const Vec3& position)
{
    return fitSphere(position).geometricGradientAt(position);
}

float oxAPSSSurface::computePotentialAndGradient(const Vec3& position, Vec3& gradient) const
{
    const oxAlgebraicSphere sphere = fitSphere(position);
    gradient = sphere.geometricGradientAt(position);
    gradient.Normalize();  // a zero gradient stays zero
    return sphere.eval(position);
}

Vec3 oxAPSSSurface::projectOntoSurface(const Vec3& position, const Vec3* /*hint*/, unsigned int count) const
{
    Vec3 y = position;
    for (unsigned int i = 0; i < count; ++i) {
        const oxAlgebraicSphere sphere = fitSphere(y);
        if (sphere.isInvalid())
            return Vec3(0.0f, 0.0f, 0.0f);
        y = sphere.projectOntoSphere(position);
    }
    return y;
}

}  // namespace ox
