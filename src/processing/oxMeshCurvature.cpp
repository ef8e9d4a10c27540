// Per-vertex principal curvature of the mesh-property cache, by Monte-Carlo integration of the
// slopes of the incident triangles over a disc around the vertex.
//
// Around vertex p with unit normal N the surface is seen as a height field over the tangent
// plane (T1, T2). Each incident triangle is planar, so over its wedge the height field has the
// constant slope (gx, gy) of the triangle's normal. 64 samples are drawn in every wedge within
// the shortest edge at the vertex (radius sqrt(r1) times that length, direction interpolated
// between the wedge's two projected edges by r2, both from the process-wide rand() sequence); a
// linear gradient field (a x + b y, b x + c y) is fitted to the slopes by weighted least squares
// (each sample weighted by 1 / sqrt(1 + gx^2 + gy^2)), and (a, b; b, c) is the Hessian of the
// height field. The reported curvatures are its eigenvalues ((a + c) -/+ sqrt((a - c)^2 + 4 b^2))
// / 2, so a surface bending away from its normal (a sphere with outward normals) has negative
// curvature; a NaN becomes 0, and the pair is ordered by absolute value. A vertex with a zero
// normal draws its samples like any other (so the shared random sequence does not depend on
// the normals) and gets zero curvature.
//
// Based on: Rusinkiewicz, Estimating curvatures and their derivatives on triangle meshes, 2004,
// for the principle (the second fundamental form fitted by least squares to the variation of the
// normal); the fit here is per vertex, to the slopes of the incident triangles sampled over a
// disc.
#include <algorithm>
#include <cmath>
#include <limits>

#include "frame/oxRandom.h"
#include "oxMeshLibTypes.h"
#include "oxMeshProperties.h"
#include "processing/oxMeshMath.h"
#include "scenegraph/oxIndexBuffer.h"
#include "scenegraph/oxVertexBuffer.h"

namespace ox {

namespace {

const unsigned int kSamplesPerTriangle = 64;

/// Weighted sample moments gathered around one vertex.
struct tMoments {
    double xx = 0, xy = 0, yy = 0, rr = 0;  // second moments x^2, xy, y^2, x^2 + y^2
    double gx = 0, gxy = 0, gy = 0;         // slope moments x gx, x gy + y gx, y gy
};

/// Unit 2D direction of `v` projected into the tangent plane (t1, t2); zero when degenerate.
void projectDirection(const Vec3& v, const Vec3& t1, const Vec3& t2, float& x, float& y)
{
    x = v.Dot(t1);
    y = v.Dot(t2);
    const float length = std::sqrt(x * x + y * y);
    if (length > 0.0f) {
        x /= length;
        y /= length;
    } else {
        x = y = 0.0f;
    }
}

/// Tangent vectors completing the unit normal n to an orthonormal right-handed frame.
void tangentFrame(const Vec3& n, Vec3& t1, Vec3& t2)
{
    const Vec3 axis =
        std::fabs(n.X()) < 0.6f ? Vec3(1, 0, 0) : (std::fabs(n.Y()) < 0.6f ? Vec3(0, 1, 0) : Vec3(0, 0, 1));
    t1 = detail::unitOrZero(axis - n * axis.Dot(n));
    t2 = n.Cross(t1);
}

/// Draws the samples of one wedge (directions d0 -> d1 in the tangent plane) with slope
/// (gx, gy) within `radius`, accumulating into `m`.
void sampleWedge(float d0x, float d0y, float d1x, float d1y, float gx, float gy, float radius, tMoments& m)
{
    const double w = 1.0 / std::sqrt(double(gx) * gx + double(gy) * gy + 1.0);
    for (unsigned int s = 0; s < kSamplesPerTriangle; ++s) {
        const float r1 = detail::unitRandom();
        const float r2 = detail::unitRandom();
        const float distance = std::sqrt(r1) * radius;
        float dx = r2 * d1x + (1.0f - r2) * d0x;
        float dy = r2 * d1y + (1.0f - r2) * d0y;
        const float length = std::sqrt(dx * dx + dy * dy);
        if (length > 0.0f) {
            dx /= length;
            dy /= length;
        }
        const double x = dx * distance, y = dy * distance;
        m.xx += w * x * x;
        m.xy += w * x * y;
        m.yy += w * y * y;
        m.rr += w * (x * x + y * y);
        m.gx += w * x * gx;
        m.gxy += w * (x * gy + y * gx);
        m.gy += w * y * gy;
    }
}

/// Solves the least-squares fit of the gradient field (a x + b y, b x + c y) to the sampled
/// slopes; the normal equations are
///   [xx  xy     0 ] [a]   [gx ]
///   [xy  rr     xy] [b] = [gxy]
///   [0   xy     yy] [c]   [gy ]
/// scaled by 1 / cbrt(xx + rr + yy) for range. Writes NaN when the system is singular.
void solveHessian(const tMoments& m, double& a, double& b, double& c)
{
    const double scale = 1.0 / std::pow(m.xx + m.rr + m.yy, 0.33333334);
    const double A[3][3] = {{m.xx * scale, m.xy * scale, 0.0},
                            {m.xy * scale, m.rr * scale, m.xy * scale},
                            {0.0, m.xy * scale, m.yy * scale}};
    const double r[3] = {m.gx * scale, m.gxy * scale, m.gy * scale};
    auto det3 = [](const double M[3][3]) {
        return M[0][0] * (M[1][1] * M[2][2] - M[1][2] * M[2][1]) -
               M[0][1] * (M[1][0] * M[2][2] - M[1][2] * M[2][0]) +
               M[0][2] * (M[1][0] * M[2][1] - M[1][1] * M[2][0]);
    };
    const double det = det3(A);
    double out[3];
    for (int k = 0; k < 3; ++k) {
        double Ak[3][3];
        for (int i = 0; i < 3; ++i) {
            for (int j = 0; j < 3; ++j) {
                Ak[i][j] = (j == k) ? r[i] : A[i][j];
            }
        }
        out[k] = det != 0.0 ? det3(Ak) / det : std::numeric_limits<double>::quiet_NaN();
    }
    a = out[0];
    b = out[1];
    c = out[2];
}

}  // namespace

void oxMeshProperties::computeCurvatureImplemented()
{
    const std::vector<Vec3>& vertexNormals = vertexNormalsImplemented().values;
    const oxVertexBuffer& vb = *m_mesh->GetVertexBuffer();
    const oxIndexBuffer* ib = m_mesh->GetIndexBuffer();
    const unsigned int vertexCount = static_cast<unsigned int>(vb.GetVertexQuantity());
    const unsigned int triangleCount = ib ? static_cast<unsigned int>(ib->GetIndexQuantity() / 3) : 0u;
    const unsigned int* indices = triangleCount > 0 ? ib->GetData() : nullptr;

    // Triangles around every vertex in ascending order (compressed rows), and the sampling
    // radius: the shortest edge at the vertex.
    std::vector<unsigned int> start(static_cast<std::size_t>(vertexCount) + 1u, 0u);
    std::vector<float> radius(vertexCount, std::numeric_limits<float>::infinity());
    auto forEachDistinctCorner = [&](unsigned int t, auto&& f) {
        const unsigned int* c = indices + 3 * t;
        for (int k = 0; k < 3; ++k) {
            if ((k < 1 || c[k] != c[0]) && (k < 2 || c[k] != c[1])) {
                f(k, c[k]);
            }
        }
    };
    for (unsigned int t = 0; t < triangleCount; ++t) {
        forEachDistinctCorner(t, [&](int, unsigned int v) { ++start[v + 1]; });
        const unsigned int* c = indices + 3 * t;
        const float len[3] = {(vb.Position3(c[1]) - vb.Position3(c[0])).Length(),
                              (vb.Position3(c[2]) - vb.Position3(c[1])).Length(),
                              (vb.Position3(c[0]) - vb.Position3(c[2])).Length()};
        for (int k = 0; k < 3; ++k) {
            const float shorter = std::fmin(len[k], len[(k + 2) % 3]);  // the two edges at corner k
            radius[c[k]] = std::fmin(radius[c[k]], shorter);
        }
    }
    for (unsigned int v = 0; v < vertexCount; ++v) {
        start[v + 1] += start[v];
    }
    std::vector<unsigned int> fill(start.begin(), start.end() - 1), around(start[vertexCount]);
    std::vector<unsigned int> cornerOf(start[vertexCount]);
    for (unsigned int t = 0; t < triangleCount; ++t) {
        forEachDistinctCorner(t, [&](int k, unsigned int v) {
            cornerOf[fill[v]] = static_cast<unsigned int>(k);
            around[fill[v]++] = t;
        });
    }

    m_curvature.values.assign(vertexCount, tCurvature());
    for (unsigned int v = 0; v < vertexCount; ++v) {
        const Vec3& N = vertexNormals[v];
        if (start[v] == start[v + 1]) {
            continue;  // no triangle around the vertex: no samples, zero curvature
        }
        Vec3 T1, T2;
        tangentFrame(N, T1, T2);
        const Vec3& p = vb.Position3(static_cast<int>(v));
        tMoments moments;
        for (unsigned int i = start[v]; i < start[v + 1]; ++i) {
            const unsigned int* c = indices + 3 * around[i];
            const unsigned int k = cornerOf[i];
            const Vec3 q0 = vb.Position3(c[(k + 1) % 3]), q1 = vb.Position3(c[(k + 2) % 3]);
            const Vec3 n =
                detail::triangleUnitNormal(vb.Position3(c[0]), vb.Position3(c[1]), vb.Position3(c[2]));
            float d0x, d0y, d1x, d1y;
            projectDirection(q0 - p, T1, T2, d0x, d0y);
            projectDirection(q1 - p, T1, T2, d1x, d1y);
            const float nN = n.Dot(N);
            const float gx = -n.Dot(T1) / nN, gy = -n.Dot(T2) / nN;
            sampleWedge(d0x, d0y, d1x, d1y, gx, gy, radius[v], moments);
        }
        if (N == Vec3()) {
            continue;  // the samples were drawn; no tangent plane, zero curvature
        }
        double a, b, c;
        solveHessian(moments, a, b, c);
        // Eigenvalues of the Hessian: the principal curvatures (negative where the surface bends
        // away from its normal).
        const double root = std::sqrt((a - c) * (a - c) + 4.0 * b * b);
        const double e1 = 0.5 * ((a + c) - root), e2 = 0.5 * ((a + c) + root);
        // Eigenvector of e1, from the better-conditioned of the two row equations.
        double ex = b, ey = e1 - a;
        if (std::fabs(e1 - c) + std::fabs(b) > std::fabs(ey) + std::fabs(ex)) {
            ex = e1 - c;
            ey = b;
        }
        const double elen = std::sqrt(ex * ex + ey * ey);
        if (elen > 0.0) {
            ex /= elen;
            ey /= elen;
        } else {
            ex = 1.0;
            ey = 0.0;
        }
        tCurvature& out = m_curvature.values[v];
        float k1 = static_cast<float>(e1), k2 = static_cast<float>(e2);
        out.direction1 = T1 * static_cast<float>(ex) + T2 * static_cast<float>(ey);
        out.direction2 = T1 * static_cast<float>(-ey) + T2 * static_cast<float>(ex);
        out.k1 = std::isnan(k1) ? 0.0f : k1;
        out.k2 = std::isnan(k2) ? 0.0f : k2;
        if (std::fabs(out.k1) > std::fabs(out.k2)) {
            std::swap(out.k1, out.k2);
            std::swap(out.direction1, out.direction2);
        }
    }
    m_curvature.computed = true;
}

}  // namespace ox
