#include "CreaseEdges.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <map>
#include <utility>

namespace oxbench {
namespace {

double dot(const double* a, const double* b)
{
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

/// Unit normal of triangle f (zero for a degenerate triangle).
void unitNormal(const oxmesh::MeshData& mesh, std::size_t f, double* n)
{
    double e1[3], e2[3];
    for (int i = 0; i < 3; ++i) {
        const double a = mesh.positions[3 * std::size_t(mesh.triangles[3 * f]) + i];
        e1[i] = mesh.positions[3 * std::size_t(mesh.triangles[3 * f + 1]) + i] - a;
        e2[i] = mesh.positions[3 * std::size_t(mesh.triangles[3 * f + 2]) + i] - a;
    }
    n[0] = e1[1] * e2[2] - e1[2] * e2[1];
    n[1] = e1[2] * e2[0] - e1[0] * e2[2];
    n[2] = e1[0] * e2[1] - e1[1] * e2[0];
    const double l = std::sqrt(dot(n, n));
    for (int i = 0; i < 3; ++i)
        n[i] = l > 0 ? n[i] / l : 0.0;
}

}  // namespace

std::vector<float> creaseEdges(const oxmesh::MeshData& mesh, double degrees)
{
    // Undirected edge -> the triangles using it.
    std::map<std::pair<std::uint32_t, std::uint32_t>, std::vector<std::size_t>> edges;
    for (std::size_t f = 0; f < mesh.triangleCount(); ++f)
        for (int k = 0; k < 3; ++k) {
            const std::uint32_t u = mesh.triangles[3 * f + k], v = mesh.triangles[3 * f + (k + 1) % 3];
            edges[{std::min(u, v), std::max(u, v)}].push_back(f);
        }
    const double limit = std::cos(degrees * M_PI / 180.0);
    std::vector<float> segments;
    for (const auto& edge : edges) {
        if (edge.second.size() != 2)
            continue;
        double n0[3], n1[3];
        unitNormal(mesh, edge.second[0], n0);
        unitNormal(mesh, edge.second[1], n1);
        if (dot(n0, n1) >= limit)
            continue;
        for (std::uint32_t v : {edge.first.first, edge.first.second})
            for (int i = 0; i < 3; ++i)
                segments.push_back(mesh.positions[3 * std::size_t(v) + i]);
    }
    return segments;
}

double distanceToSegments(const float* p, const std::vector<float>& segments)
{
    double best = std::numeric_limits<double>::max();
    for (std::size_t s = 0; s + 5 < segments.size(); s += 6) {
        double ab[3], ap[3], d[3];
        for (int i = 0; i < 3; ++i) {
            ab[i] = double(segments[s + 3 + i]) - segments[s + i];
            ap[i] = double(p[i]) - segments[s + i];
        }
        const double length2 = dot(ab, ab);
        const double t = length2 > 0 ? std::clamp(dot(ap, ab) / length2, 0.0, 1.0) : 0.0;
        for (int i = 0; i < 3; ++i)
            d[i] = ap[i] - t * ab[i];
        best = std::min(best, dot(d, d));
    }
    return best == std::numeric_limits<double>::max() ? best : std::sqrt(best);
}

}  // namespace oxbench
