#include "SurfaceDistance.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <utility>

#include "BenchSampling.h"

namespace oxbench {
namespace {

constexpr std::int64_t kMaxCellsPerAxis = 200;

double dot(const double* a, const double* b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

void sub(const double* a, const double* b, double* out) {
    for (int i = 0; i < 3; ++i) out[i] = a[i] - b[i];
}

void vertex(const oxmesh::MeshData& mesh, std::uint32_t v, double* out) {
    for (int i = 0; i < 3; ++i) out[i] = mesh.positions[3 * std::size_t(v) + i];
}

double squaredLength(const double* a) { return dot(a, a); }

}  // namespace

double pointTriangleDistance(const double p[3], const double a[3], const double b[3], const double c[3]) {
    // Closest point by the Voronoi region of p: vertex, edge or face (Ericson, Real-Time
    // Collision Detection, 5.1.5).
    double ab[3], ac[3], ap[3], bp[3], cp[3], q[3], d[3];
    sub(b, a, ab);
    sub(c, a, ac);
    sub(p, a, ap);
    const double d1 = dot(ab, ap), d2 = dot(ac, ap);
    if (d1 <= 0 && d2 <= 0) return std::sqrt(squaredLength(ap));
    sub(p, b, bp);
    const double d3 = dot(ab, bp), d4 = dot(ac, bp);
    if (d3 >= 0 && d4 <= d3) return std::sqrt(squaredLength(bp));
    const double vc = d1 * d4 - d3 * d2;
    if (vc <= 0 && d1 >= 0 && d3 <= 0) {
        const double v = d1 / (d1 - d3);
        for (int i = 0; i < 3; ++i) q[i] = a[i] + v * ab[i];
        sub(p, q, d);
        return std::sqrt(squaredLength(d));
    }
    sub(p, c, cp);
    const double d5 = dot(ab, cp), d6 = dot(ac, cp);
    if (d6 >= 0 && d5 <= d6) return std::sqrt(squaredLength(cp));
    const double vb = d5 * d2 - d1 * d6;
    if (vb <= 0 && d2 >= 0 && d6 <= 0) {
        const double w = d2 / (d2 - d6);
        for (int i = 0; i < 3; ++i) q[i] = a[i] + w * ac[i];
        sub(p, q, d);
        return std::sqrt(squaredLength(d));
    }
    const double va = d3 * d6 - d5 * d4;
    if (va <= 0 && (d4 - d3) >= 0 && (d5 - d6) >= 0) {
        const double w = (d4 - d3) / ((d4 - d3) + (d5 - d6));
        for (int i = 0; i < 3; ++i) q[i] = b[i] + w * (c[i] - b[i]);
        sub(p, q, d);
        return std::sqrt(squaredLength(d));
    }
    const double denom = va + vb + vc;
    if (!(std::abs(denom) > 0)) return std::sqrt(squaredLength(ap));  // degenerate triangle
    const double v = vb / denom, w = vc / denom;
    for (int i = 0; i < 3; ++i) q[i] = a[i] + ab[i] * v + ac[i] * w;
    sub(p, q, d);
    return std::sqrt(squaredLength(d));
}

TriangleDistance::TriangleDistance(const oxmesh::MeshData& mesh) : mesh_(mesh) {
    double lo[3], hi[3];
    for (int i = 0; i < 3; ++i) {
        lo[i] = std::numeric_limits<double>::max();
        hi[i] = std::numeric_limits<double>::lowest();
    }
    double edgeSum = 0.0;
    const std::size_t t = mesh.triangleCount();
    for (std::size_t f = 0; f < t; ++f) {
        double v[3][3];
        for (int k = 0; k < 3; ++k) vertex(mesh, mesh.triangles[3 * f + k], v[k]);
        for (int k = 0; k < 3; ++k) {
            double e[3];
            sub(v[(k + 1) % 3], v[k], e);
            edgeSum += std::sqrt(squaredLength(e));
            for (int i = 0; i < 3; ++i) {
                lo[i] = std::min(lo[i], v[k][i]);
                hi[i] = std::max(hi[i], v[k][i]);
            }
        }
    }
    const double extent = std::max({hi[0] - lo[0], hi[1] - lo[1], hi[2] - lo[2], 1e-30});
    cell_ = std::max(2.0 * edgeSum / double(3 * std::max<std::size_t>(t, 1)), extent / double(kMaxCellsPerAxis));
    for (int i = 0; i < 3; ++i) {
        origin_[i] = lo[i];
        dims_[i] = std::clamp<std::int64_t>(std::int64_t((hi[i] - lo[i]) / cell_) + 1, 1, kMaxCellsPerAxis);
    }

    // Two passes over the triangles' boxes: count per cell, then fill.
    cellStart_.assign(std::size_t(dims_[0] * dims_[1] * dims_[2]) + 1, 0);
    for (int pass = 0; pass < 2; ++pass) {
        std::vector<std::uint32_t> fill;
        if (pass == 1) {
            for (std::size_t c = 1; c < cellStart_.size(); ++c) cellStart_[c] += cellStart_[c - 1];
            cellTriangles_.resize(cellStart_.back());
            fill.assign(cellStart_.begin(), cellStart_.end() - 1);
        }
        for (std::size_t f = 0; f < t; ++f) {
            double tlo[3], thi[3], v[3];
            vertex(mesh, mesh.triangles[3 * f], tlo);
            std::copy(tlo, tlo + 3, thi);
            for (int k = 1; k < 3; ++k) {
                vertex(mesh, mesh.triangles[3 * f + k], v);
                for (int i = 0; i < 3; ++i) {
                    tlo[i] = std::min(tlo[i], v[i]);
                    thi[i] = std::max(thi[i], v[i]);
                }
            }
            const auto a = cellOf(tlo), b = cellOf(thi);
            for (std::int64_t z = a[2]; z <= b[2]; ++z)
                for (std::int64_t y = a[1]; y <= b[1]; ++y)
                    for (std::int64_t x = a[0]; x <= b[0]; ++x) {
                        const std::size_t c = std::size_t((z * dims_[1] + y) * dims_[0] + x);
                        if (pass == 0)
                            ++cellStart_[c + 1];
                        else
                            cellTriangles_[fill[c]++] = std::uint32_t(f);
                    }
        }
    }
}

std::array<std::int64_t, 3> TriangleDistance::cellOf(const double p[3]) const {
    std::array<std::int64_t, 3> c{};
    for (int i = 0; i < 3; ++i)
        c[i] = std::clamp<std::int64_t>(std::int64_t(std::floor((p[i] - origin_[i]) / cell_)), 0, dims_[i] - 1);
    return c;
}

double TriangleDistance::searchCell(std::int64_t x, std::int64_t y, std::int64_t z, const double p[3],
                                    double best) const {
    const std::size_t c = std::size_t((z * dims_[1] + y) * dims_[0] + x);
    for (std::uint32_t k = cellStart_[c]; k < cellStart_[c + 1]; ++k) {
        const std::size_t f = cellTriangles_[k];
        double a[3], b[3], d[3];
        vertex(mesh_, mesh_.triangles[3 * f], a);
        vertex(mesh_, mesh_.triangles[3 * f + 1], b);
        vertex(mesh_, mesh_.triangles[3 * f + 2], d);
        best = std::min(best, pointTriangleDistance(p, a, b, d));
    }
    return best;
}

double TriangleDistance::distance(const double p[3]) const {
    const auto home = cellOf(p);
    // Distance from p to the outside of its own (clamped) cell block, so that shell r bounds
    // every unsearched triangle by r * cell + that margin.
    double margin = std::numeric_limits<double>::max();
    for (int i = 0; i < 3; ++i) {
        const double inCell = p[i] - (origin_[i] + double(home[i]) * cell_);
        margin = std::min({margin, std::max(inCell, 0.0), std::max(cell_ - inCell, 0.0)});
    }
    double best = std::numeric_limits<double>::max();
    const std::int64_t maxRing = std::max({dims_[0], dims_[1], dims_[2]});
    for (std::int64_t r = 0; r <= maxRing; ++r) {
        if (best <= double(r - 1) * cell_ + margin && r > 0) break;
        for (std::int64_t z = home[2] - r; z <= home[2] + r; ++z) {
            if (z < 0 || z >= dims_[2]) continue;
            for (std::int64_t y = home[1] - r; y <= home[1] + r; ++y) {
                if (y < 0 || y >= dims_[1]) continue;
                const bool face = z == home[2] - r || z == home[2] + r || y == home[1] - r || y == home[1] + r;
                for (std::int64_t x = home[0] - r; x <= home[0] + r; x += (face ? 1 : 2 * r)) {
                    if (x >= 0 && x < dims_[0]) best = searchCell(x, y, z, p, best);
                    if (r == 0) break;
                }
            }
        }
    }
    return best;
}

double boundingDiagonal(const oxmesh::MeshData& mesh) {
    double lo[3], hi[3];
    for (int i = 0; i < 3; ++i) {
        lo[i] = std::numeric_limits<double>::max();
        hi[i] = std::numeric_limits<double>::lowest();
    }
    for (std::size_t v = 0; v < mesh.vertexCount(); ++v)
        for (int i = 0; i < 3; ++i) {
            lo[i] = std::min(lo[i], double(mesh.positions[3 * v + i]));
            hi[i] = std::max(hi[i], double(mesh.positions[3 * v + i]));
        }
    double d[3];
    sub(hi, lo, d);
    return std::sqrt(squaredLength(d));
}

SurfaceError compareSurfaces(const oxmesh::MeshData& a, const oxmesh::MeshData& b, std::size_t samples,
                             double reference, const std::function<bool(const float*)>& keep) {
    SurfaceError error;
    double sumSquares = 0.0;
    const oxmesh::MeshData* sides[2][2] = {{&a, &b}, {&b, &a}};
    for (const auto& side : sides) {
        std::vector<float> points;
        sampleSurface(*side[0], samples, points);
        const TriangleDistance other(*side[1]);
        for (std::size_t s = 0; s < points.size() / 3; ++s) {
            if (keep && !keep(&points[3 * s])) continue;
            const double p[3] = {points[3 * s], points[3 * s + 1], points[3 * s + 2]};
            const double d = other.distance(p);
            error.hausdorff = std::max(error.hausdorff, d);
            sumSquares += d * d;
            ++error.samples;
        }
    }
    error.rms = error.samples ? std::sqrt(sumSquares / double(error.samples)) : 0.0;
    error.hausdorff /= reference;
    error.rms /= reference;
    return error;
}

std::vector<float> creaseEdges(const oxmesh::MeshData& mesh, double degrees) {
    // Undirected edge -> the triangles using it.
    std::map<std::pair<std::uint32_t, std::uint32_t>, std::vector<std::size_t>> edges;
    for (std::size_t f = 0; f < mesh.triangleCount(); ++f)
        for (int k = 0; k < 3; ++k) {
            std::uint32_t u = mesh.triangles[3 * f + k], v = mesh.triangles[3 * f + (k + 1) % 3];
            edges[{std::min(u, v), std::max(u, v)}].push_back(f);
        }
    auto normal = [&](std::size_t f, double* n) {
        double p[3][3], e1[3], e2[3];
        for (int k = 0; k < 3; ++k) vertex(mesh, mesh.triangles[3 * f + k], p[k]);
        sub(p[1], p[0], e1);
        sub(p[2], p[0], e2);
        n[0] = e1[1] * e2[2] - e1[2] * e2[1];
        n[1] = e1[2] * e2[0] - e1[0] * e2[2];
        n[2] = e1[0] * e2[1] - e1[1] * e2[0];
        const double l = std::sqrt(squaredLength(n));
        for (int i = 0; i < 3; ++i) n[i] = l > 0 ? n[i] / l : 0.0;
    };
    const double limit = std::cos(degrees * M_PI / 180.0);
    std::vector<float> segments;
    for (const auto& edge : edges) {
        if (edge.second.size() != 2) continue;
        double n0[3], n1[3];
        normal(edge.second[0], n0);
        normal(edge.second[1], n1);
        if (dot(n0, n1) >= limit) continue;
        for (std::uint32_t v : {edge.first.first, edge.first.second})
            for (int i = 0; i < 3; ++i) segments.push_back(mesh.positions[3 * std::size_t(v) + i]);
    }
    return segments;
}

double distanceToSegments(const float* p, const std::vector<float>& segments) {
    double best = std::numeric_limits<double>::max();
    for (std::size_t s = 0; s + 5 < segments.size(); s += 6) {
        double a[3], b[3], ab[3], ap[3], d[3];
        for (int i = 0; i < 3; ++i) {
            a[i] = segments[s + i];
            b[i] = segments[s + 3 + i];
            ap[i] = p[i] - a[i];
        }
        sub(b, a, ab);
        const double length2 = squaredLength(ab);
        const double t = length2 > 0 ? std::clamp(dot(ap, ab) / length2, 0.0, 1.0) : 0.0;
        for (int i = 0; i < 3; ++i) d[i] = ap[i] - t * ab[i];
        best = std::min(best, squaredLength(d));
    }
    return std::sqrt(best);
}

}  // namespace oxbench
