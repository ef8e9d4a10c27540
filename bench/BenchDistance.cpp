#include "BenchDistance.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "BenchSampling.h"

namespace oxbench {
namespace {

struct V3 {
    double x, y, z;
};
V3 at(const std::vector<float>& positions, std::size_t v)
{
    return {positions[3 * v], positions[3 * v + 1], positions[3 * v + 2]};
}
V3 sub(V3 a, V3 b)
{
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
double dot(V3 a, V3 b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
V3 cross(V3 a, V3 b)
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
V3 axpy(V3 p, double s, V3 d)
{
    return {p.x + s * d.x, p.y + s * d.y, p.z + s * d.z};
}
double squaredLength(V3 a)
{
    return dot(a, a);
}

/// Closest point to p on triangle (a, b, c), by the Voronoi regions of its corners and sides.
V3 closestOnTriangle(V3 p, V3 a, V3 b, V3 c)
{
    const V3 ab = sub(b, a), ac = sub(c, a), ap = sub(p, a);
    const double d1 = dot(ab, ap), d2 = dot(ac, ap);
    if (d1 <= 0 && d2 <= 0)
        return a;
    const V3 bp = sub(p, b);
    const double d3 = dot(ab, bp), d4 = dot(ac, bp);
    if (d3 >= 0 && d4 <= d3)
        return b;
    const double vc = d1 * d4 - d3 * d2;
    if (vc <= 0 && d1 >= 0 && d3 <= 0)
        return axpy(a, d1 / (d1 - d3), ab);
    const V3 cp = sub(p, c);
    const double d5 = dot(ab, cp), d6 = dot(ac, cp);
    if (d6 >= 0 && d5 <= d6)
        return c;
    const double vb = d5 * d2 - d1 * d6;
    if (vb <= 0 && d2 >= 0 && d6 <= 0)
        return axpy(a, d2 / (d2 - d6), ac);
    const double va = d3 * d6 - d5 * d4;
    if (va <= 0 && d4 - d3 >= 0 && d5 - d6 >= 0)
        return axpy(b, (d4 - d3) / ((d4 - d3) + (d5 - d6)), sub(c, b));
    const double denominator = va + vb + vc;
    if (!(denominator > 0))
        return a;  // degenerate triangle: its corners were tested above
    const double v = vb / denominator, w = vc / denominator;
    return axpy(axpy(a, v, ab), w, ac);
}

double boxSquaredDistance(const float* p, const float* lo, const float* hi)
{
    double sum = 0;
    for (int k = 0; k < 3; ++k) {
        const double d = p[k] < lo[k] ? lo[k] - p[k] : (p[k] > hi[k] ? p[k] - hi[k] : 0.0);
        sum += d * d;
    }
    return sum;
}

V3 triangleNormal(const oxmesh::MeshData& mesh, std::size_t t)
{
    const std::uint32_t* c = &mesh.triangles[3 * t];
    const V3 a = at(mesh.positions, c[0]);
    return cross(sub(at(mesh.positions, c[1]), a), sub(at(mesh.positions, c[2]), a));
}

void centroidOf(const oxmesh::MeshData& mesh, std::size_t t, float* out)
{
    for (int k = 0; k < 3; ++k)
        out[k] = (mesh.positions[3 * mesh.triangles[3 * t] + k] +
                  mesh.positions[3 * mesh.triangles[3 * t + 1] + k] +
                  mesh.positions[3 * mesh.triangles[3 * t + 2] + k]) /
                 3.0f;
}

/// Largest and summed squared distance from the kept samples of `from` to the surface `to`.
void oneWay(const oxmesh::MeshData& from, const TriangleSetDistance& to, std::size_t samples,
            const std::function<bool(const float*)>& keep, double& maxSquared, double& sumSquared,
            std::size_t& count)
{
    std::vector<float> points;
    sampleSurface(from, samples, points);
    for (std::size_t i = 0; i + 2 < points.size(); i += 3) {
        if (keep && !keep(&points[i]))
            continue;
        const double d = to.squaredDistance(&points[i]);
        maxSquared = std::max(maxSquared, d);
        sumSquared += d;
        ++count;
    }
}

}  // namespace

TriangleSetDistance::TriangleSetDistance(const oxmesh::MeshData& mesh) : mesh_(mesh)
{
    const std::size_t triangles = mesh.triangleCount();
    order_.resize(triangles);
    centroids_.resize(3 * triangles);
    for (std::size_t t = 0; t < triangles; ++t) {
        order_[t] = unsigned(t);
        centroidOf(mesh, t, &centroids_[3 * t]);
    }
    nodes_.reserve(triangles / 2 + 1);
    if (triangles)
        build(0, unsigned(triangles));
}

unsigned int TriangleSetDistance::build(unsigned int begin, unsigned int end)
{
    const unsigned int index = unsigned(nodes_.size());
    nodes_.push_back(Node{{1e30f, 1e30f, 1e30f}, {-1e30f, -1e30f, -1e30f}, begin, end - begin, 0});
    for (unsigned int i = begin; i < end; ++i)
        for (int corner = 0; corner < 3; ++corner)
            for (int k = 0; k < 3; ++k) {
                const float x = mesh_.positions[3 * mesh_.triangles[3 * std::size_t(order_[i]) + corner] + k];
                nodes_[index].lo[k] = std::min(nodes_[index].lo[k], x);
                nodes_[index].hi[k] = std::max(nodes_[index].hi[k], x);
            }
    if (end - begin <= 4)
        return index;
    int axis = 0;
    for (int k = 1; k < 3; ++k)
        if (nodes_[index].hi[k] - nodes_[index].lo[k] > nodes_[index].hi[axis] - nodes_[index].lo[axis])
            axis = k;
    const unsigned int middle = begin + (end - begin) / 2;
    std::nth_element(
        order_.begin() + begin, order_.begin() + middle, order_.begin() + end,
        [&](unsigned int a, unsigned int b) { return centroids_[3 * a + axis] < centroids_[3 * b + axis]; });
    const unsigned int left = build(begin, middle);
    const unsigned int right = build(middle, end);
    nodes_[index].first = left;
    nodes_[index].right = right;
    nodes_[index].count = 0;
    return index;
}

double TriangleSetDistance::pointTriangle(const float* p, std::size_t t) const
{
    const std::uint32_t* c = &mesh_.triangles[3 * t];
    const V3 q{p[0], p[1], p[2]};
    return squaredLength(sub(q, closestOnTriangle(q, at(mesh_.positions, c[0]), at(mesh_.positions, c[1]),
                                                  at(mesh_.positions, c[2]))));
}

double TriangleSetDistance::squaredDistance(const float* p, std::size_t* triangle) const
{
    double best = std::numeric_limits<double>::infinity();
    if (nodes_.empty())
        return best;
    std::vector<unsigned int> stack{0};
    stack.reserve(64);
    while (!stack.empty()) {
        const Node& node = nodes_[stack.back()];
        stack.pop_back();
        if (boxSquaredDistance(p, node.lo, node.hi) >= best)
            continue;
        if (node.count) {
            for (unsigned int i = node.first; i < node.first + node.count; ++i) {
                const double d = pointTriangle(p, order_[i]);
                if (d < best) {
                    best = d;
                    if (triangle)
                        *triangle = order_[i];
                }
            }
            continue;
        }
        const unsigned int left = node.first, right = node.right;
        const double dl = boxSquaredDistance(p, nodes_[left].lo, nodes_[left].hi);
        const double dr = boxSquaredDistance(p, nodes_[right].lo, nodes_[right].hi);
        if (dl < dr) {
            stack.push_back(right);
            stack.push_back(left);
        } else {
            stack.push_back(left);
            stack.push_back(right);
        }
    }
    return best;
}

double boundingDiagonal(const oxmesh::MeshData& mesh)
{
    if (mesh.positions.size() < 3)
        return 0.0;
    double lo[3] = {1e300, 1e300, 1e300}, hi[3] = {-1e300, -1e300, -1e300};
    for (std::size_t i = 0; i < mesh.positions.size(); ++i) {
        lo[i % 3] = std::min(lo[i % 3], double(mesh.positions[i]));
        hi[i % 3] = std::max(hi[i % 3], double(mesh.positions[i]));
    }
    return std::sqrt(squaredLength({hi[0] - lo[0], hi[1] - lo[1], hi[2] - lo[2]}));
}

SurfaceDeviation compareSurfaces(const oxmesh::MeshData& a, const oxmesh::MeshData& b, std::size_t samples,
                                 double reference, const std::function<bool(const float*)>& keep)
{
    const TriangleSetDistance toA(a), toB(b);
    double maxSquared = 0, sumSquared = 0;
    SurfaceDeviation deviation;
    oneWay(a, toB, samples, keep, maxSquared, sumSquared, deviation.samples);
    oneWay(b, toA, samples, keep, maxSquared, sumSquared, deviation.samples);
    deviation.hausdorff = std::sqrt(maxSquared) / reference;
    deviation.rms = deviation.samples ? std::sqrt(sumSquared / double(deviation.samples)) / reference : 0.0;
    return deviation;
}

SurfaceDeviation surfaceDeviation(const oxmesh::MeshData& reference, const oxmesh::MeshData& other,
                                  std::size_t samples)
{
    return compareSurfaces(reference, other, samples, boundingDiagonal(reference));
}

std::size_t flippedTriangles(const oxmesh::MeshData& reference, const oxmesh::MeshData& simplified)
{
    const TriangleSetDistance toReference(reference);
    std::size_t flipped = 0;
    for (std::size_t t = 0; t < simplified.triangleCount(); ++t) {
        const V3 n = triangleNormal(simplified, t);
        if (!(squaredLength(n) > 0))
            continue;
        float centroid[3];
        centroidOf(simplified, t, centroid);
        std::size_t nearest = 0;
        toReference.squaredDistance(centroid, &nearest);
        flipped += dot(n, triangleNormal(reference, nearest)) < 0;
    }
    return flipped;
}

}  // namespace oxbench
