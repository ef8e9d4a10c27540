// Robust implicit MLS surface: re-weighted plane fits from the gathered neighbourhood.
#include "oxRIMLSSurface.h"

#include <cmath>
#include <limits>

#include "Wm4/Wm4Math.h"
#include "oxSurfaceGathering.h"

namespace ox {

using Vec3 = Wm4::Vector3<float>;

oxRIMLSSurface::oxRIMLSSurface(const oxPointSetQuery* pointSet) : oxPointSetSurface(pointSet) {}

namespace {

using G = oxSurfaceGathering;
using tFloat4 = G::tFloat4;

// exp(-(x / s)), inlined in the passes (the exported function is not).
inline float gaussian(float x, float s)
{
    return std::exp(-(x / s));
}

// Sums of one re-weighting pass: the count, sum w, and in four lanes sum w n and
// -sum w (n . p). The last lane adds w * -(n . p), which equals subtracting w (n . p).
struct tPlaneSums {
    unsigned int count = 0;
    float w = 0.0f;
    tFloat4 wnNegWnp = {0.0f, 0.0f, 0.0f, 0.0f};

    /// normalNegNP = (n, -(n . p)).
    void add(float weight, const tFloat4& normalNegNP)
    {
        ++count;
        w += weight;
        wnNegWnp += weight * normalNegNP;
    }
};

// (n, -(p . n)) of a gathered record.
tFloat4 normalNegNP(const float* record)
{
    const tFloat4 flipLast = {1.0f, 1.0f, 1.0f, -1.0f};
    return G::load4(record + G::kNX) * flipLast;
}

// One pass walking the hierarchy: spatial weight times, unless the scale is infinite, the
// Gaussian of the normal's distance to the gradient estimate g.
tPlaneSums walkingPass(const oxPointSetQuery& query, const Vec3& x, const Vec3& g, float s2)
{
    const bool uniformNormals = std::isinf(s2);
    tPlaneSums sums;
    G::forEachSupportingPoint(query, x, [&](const G::tSupport& support) {
        float w = support.weight;
        if (!uniformNormals)
            w *= gaussian((Vec3(support.record + G::kNX) - g).SquaredLength(), s2);
        sums.add(w, normalNegNP(support.record));
    });
    return sums;
}

// The supporting points of one position, gathered once for all passes (the set and its
// order depend on the position only), without allocating: spatial weights, normals one
// array per coordinate (four normal weights per step) and (n, -(n . p)) for the sums. It
// is complete only when every supporting point fitted and the query has its compact copy
// (records read from the vertex buffer live only during the walk); otherwise the passes
// walk the hierarchy again.
class tSupportScratch {
public:
    static constexpr unsigned int kCapacity = 256;

    tSupportScratch(const oxPointSetQuery& query, const Vec3& x)
    {
        if (!G::hasCompactCopy(query))
            return;
        unsigned int size = 0;
        G::forEachSupportingPoint(query, x, [&](const G::tSupport& s) {
            if (size < kCapacity) {
                m_spatial[size] = s.weight;
                m_nx[size] = s.record[G::kNX];
                m_ny[size] = s.record[G::kNY];
                m_nz[size] = s.record[G::kNZ];
                m_sumTerms[size] = normalNegNP(s.record);
            }
            ++size;
        });
        m_complete = size <= kCapacity;
        m_size = m_complete ? size : 0;
        for (unsigned int i = m_size; i < m_size + 3; ++i)
            m_nx[i] = m_ny[i] = m_nz[i] = 0.0f;  // lanes read past the end
    }
    bool complete() const { return m_complete; }

    /// The pass of walkingPass over the gathered points: the same weights, products and
    /// sums in the same order, the normal distances four at a time.
    tPlaneSums pass(const Vec3& g, float s2) const
    {
        tPlaneSums sums;
        if (std::isinf(s2)) {
            for (unsigned int i = 0; i < m_size; ++i)
                sums.add(m_spatial[i], m_sumTerms[i]);
            return sums;
        }
        // The weights first, then the sums: no call inside the summing loop, so its
        // accumulators stay in registers.
        const tFloat4 gx = {g.X(), g.X(), g.X(), g.X()}, gy = {g.Y(), g.Y(), g.Y(), g.Y()},
                      gz = {g.Z(), g.Z(), g.Z(), g.Z()}, scale = {s2, s2, s2, s2};
        float weights[kCapacity + 3];
        for (unsigned int i = 0; i < m_size; i += 4) {
            const tFloat4 dx = G::load4(m_nx + i) - gx, dy = G::load4(m_ny + i) - gy,
                          dz = G::load4(m_nz + i) - gz;
            // |n - g|^2 / s2 as (n - g).SquaredLength() / s2 computes it.
            const tFloat4 q = (dx * dx + dy * dy + dz * dz) / scale;
            for (unsigned int k = 0; k < 4; ++k)
                weights[i + k] = -q[k];
        }
        for (unsigned int i = 0; i < m_size; ++i)
            weights[i] = m_spatial[i] * std::exp(weights[i]);
        for (unsigned int i = 0; i < m_size; ++i)
            sums.add(weights[i], m_sumTerms[i]);
        return sums;
    }

private:
    bool m_complete = false;
    unsigned int m_size = 0;
    float m_spatial[kCapacity];
    float m_nx[kCapacity + 3], m_ny[kCapacity + 3], m_nz[kCapacity + 3];
    tFloat4 m_sumTerms[kCapacity];
};

}  // namespace

float oxRIMLSSurface::GaussianWeightFunction(float x, float s)
{
    return gaussian(x, s);
}

oxRIMLSSurface::oxAlgebraicPlane oxRIMLSSurface::fitPlane(const Vec3& x, const Vec3* hint) const
{
    const oxPointSetQuery& query = *getPointSet();
    Vec3 g = hint ? *hint : Vec3(0.0f, 0.0f, 0.0f);
    float s = hint ? m_sigma : std::numeric_limits<float>::infinity();
    oxAlgebraicPlane plane;
    if (m_iterations == 0)
        return plane;
    const tSupportScratch scratch(query, x);
    for (unsigned int pass = 0; pass < m_iterations; ++pass) {
        const tPlaneSums sums = scratch.complete() ? scratch.pass(g, s * s) : walkingPass(query, x, g, s * s);
        if (sums.count < 4)
            return oxAlgebraicPlane(G::nearestNormalSide(query, x), g);
        const float inv = 1.0f / sums.w;
        plane = oxAlgebraicPlane(sums.wnNegWnp[3] * inv,
                                 Vec3(sums.wnNegWnp[0], sums.wnNegWnp[1], sums.wnNegWnp[2]) * inv);
        g = plane.getU123();
        s = m_sigma;
    }
    return plane;
}

float oxRIMLSSurface::computePotential(const Vec3& position) const
{
    return fitPlane(position, nullptr).eval(position);
}

Vec3 oxRIMLSSurface::computeGradient(const Vec3& position)
{
    return fitPlane(position, nullptr).getU123();
}

float oxRIMLSSurface::computePotentialAndGradient(const Vec3& position, Vec3& gradient) const
{
    const oxAlgebraicPlane plane = fitPlane(position, nullptr);
    gradient = plane.getU123();
    gradient.Normalize();  // a zero gradient stays zero
    return plane.eval(position);
}

Vec3 oxRIMLSSurface::projectOntoSurface(const Vec3& position, const Vec3* hint, unsigned int count) const
{
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
