#include "io/MeshStats.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "io/DisjointSets.h"
#include "io/DuplicatePositions.h"
#include "io/PolygonList.h"

namespace oxmesh {
namespace {

void computeBounds(const MeshData& mesh, MeshStats& stats)
{
    const std::size_t n = mesh.vertexCount();
    std::array<double, 3> lo{{INFINITY, INFINITY, INFINITY}}, hi{{-INFINITY, -INFINITY, -INFINITY}};
    for (std::size_t v = 0; v < n; ++v) {
        const float* p = &mesh.positions[3 * v];
        if (!std::isfinite(p[0]) || !std::isfinite(p[1]) || !std::isfinite(p[2])) {
            ++stats.nonFiniteVertices;
            continue;
        }
        for (int k = 0; k < 3; ++k) {
            lo[k] = std::min(lo[k], double(p[k]));
            hi[k] = std::max(hi[k], double(p[k]));
        }
    }
    if (stats.nonFiniteVertices == n)
        return;  // no finite vertex: leave the zero box
    stats.bboxMin = lo;
    stats.bboxMax = hi;
    const double dx = hi[0] - lo[0], dy = hi[1] - lo[1], dz = hi[2] - lo[2];
    stats.bboxDiagonal = std::sqrt(dx * dx + dy * dy + dz * dz);
}

void computeNormalStats(const MeshData& mesh, MeshStats& stats)
{
    if (mesh.normals.size() != mesh.positions.size())
        return;
    for (std::size_t i = 0; i < mesh.normals.size(); i += 3) {
        const double x = mesh.normals[i], y = mesh.normals[i + 1], z = mesh.normals[i + 2];
        const double length = std::sqrt(x * x + y * y + z * z);
        stats.nonFiniteNormals += !std::isfinite(length);
        stats.zeroNormals += length == 0.0;
    }
}

/// Zero-area count, area and signed volume over the fan triangles, in double precision.
void computeTriangleMeasures(const MeshData& mesh, MeshStats& stats)
{
    const double diagonal = std::max(stats.bboxDiagonal, 1e-30);
    const double zeroArea = 1e-14 * diagonal * diagonal;
    double area = 0.0, volume = 0.0;
    for (std::size_t t = 0; t < mesh.triangleCount(); ++t) {
        double p[3][3];
        for (int c = 0; c < 3; ++c)
            for (int k = 0; k < 3; ++k)
                p[c][k] = mesh.positions[3 * std::size_t(mesh.triangles[3 * t + c]) + k];
        const double e1[3] = {p[1][0] - p[0][0], p[1][1] - p[0][1], p[1][2] - p[0][2]};
        const double e2[3] = {p[2][0] - p[0][0], p[2][1] - p[0][1], p[2][2] - p[0][2]};
        const double cross[3] = {e1[1] * e2[2] - e1[2] * e2[1], e1[2] * e2[0] - e1[0] * e2[2],
                                 e1[0] * e2[1] - e1[1] * e2[0]};
        const double twiceArea = std::sqrt(cross[0] * cross[0] + cross[1] * cross[1] + cross[2] * cross[2]);
        stats.zeroAreaTriangles += twiceArea <= zeroArea;
        area += twiceArea;
        // p0 . (p1 x p2)
        volume += p[0][0] * (p[1][1] * p[2][2] - p[1][2] * p[2][1]) +
                  p[0][1] * (p[1][2] * p[2][0] - p[1][0] * p[2][2]) +
                  p[0][2] * (p[1][0] * p[2][1] - p[1][1] * p[2][0]);
    }
    stats.surfaceArea = area / 2.0;
    stats.signedVolume = volume / 6.0;
}

bool hasRepeatedIndex(const std::uint32_t* begin, const std::uint32_t* end)
{
    if (end - begin <= 16) {
        for (const std::uint32_t* a = begin; a != end; ++a)
            for (const std::uint32_t* b = a + 1; b != end; ++b)
                if (*a == *b)
                    return true;
        return false;
    }
    std::vector<std::uint32_t> sorted(begin, end);
    std::sort(sorted.begin(), sorted.end());
    return std::adjacent_find(sorted.begin(), sorted.end()) != sorted.end();
}

/// Sorts the small range of packed (other vertex << 32 | side) keys of one vertex.
void sortBucket(std::uint64_t* begin, std::uint64_t* end)
{
    if (end - begin > 24) {
        std::sort(begin, end);
        return;
    }
    for (std::uint64_t* i = begin + 1; i < end; ++i) {
        const std::uint64_t key = *i;
        std::uint64_t* j = i;
        for (; j > begin && *(j - 1) > key; --j)
            *j = *(j - 1);
        *j = key;
    }
}

/// Everything that depends on how polygon sides meet: edges, boundary, non-manifold edges,
/// orientation, components, boundary loops, fans at vertices and the Euler characteristic.
class SideTopology {
public:
    SideTopology(std::size_t vertexCount, const PolygonList& polygons)
        : n_(vertexCount), polygons_(polygons), corners_(polygons.corners)
    {}

    void compute(MeshStats& stats)
    {
        buildNextCorner();
        bucketSidesByLowerVertex();
        DisjointSets vertexSets(n_), boundarySets(n_), fans(corners_.size());
        std::vector<std::uint8_t> onBoundary(n_, 0);

        for (std::size_t lo = 0; lo < n_; ++lo) {
            std::uint64_t* bucket = keys_.data() + bucketStart_[lo];
            std::uint64_t* bucketEnd = keys_.data() + bucketStart_[lo + 1];
            sortBucket(bucket, bucketEnd);
            for (std::uint64_t* group = bucket; group != bucketEnd;) {
                const std::uint32_t hi = std::uint32_t(*group >> 32);
                std::uint64_t* groupEnd = group;
                while (groupEnd != bucketEnd && std::uint32_t(*groupEnd >> 32) == hi)
                    ++groupEnd;
                visitEdge(std::uint32_t(lo), hi, group, groupEnd, stats, fans);
                vertexSets.unite(std::uint32_t(lo), hi);
                if (groupEnd - group == 1) {
                    boundarySets.unite(std::uint32_t(lo), hi);
                    onBoundary[lo] = onBoundary[hi] = 1;
                }
                group = groupEnd;
            }
        }

        std::vector<std::uint8_t> used(n_, 0);
        for (std::uint32_t v : corners_)
            used[v] = 1;
        std::size_t usedCount = 0;
        for (std::size_t v = 0; v < n_; ++v) {
            usedCount += used[v];
            stats.components += used[v] && vertexSets.isRoot(std::uint32_t(v));
            stats.boundaryLoops += onBoundary[v] && boundarySets.isRoot(std::uint32_t(v));
        }
        stats.unreferencedVertices = n_ - usedCount;

        std::vector<std::uint32_t> fansAtVertex(n_, 0);
        for (std::size_t c = 0; c < corners_.size(); ++c)
            fansAtVertex[corners_[c]] += fans.isRoot(std::uint32_t(c));
        for (std::size_t v = 0; v < n_; ++v)
            stats.nonManifoldVertices += fansAtVertex[v] > 1;

        stats.eulerCharacteristic =
            (long long)usedCount - (long long)stats.edges + (long long)polygons_.polygonCount();
    }

private:
    void buildNextCorner()
    {
        next_.resize(corners_.size());
        for (std::size_t p = 0; p < polygons_.polygonCount(); ++p) {
            const std::uint32_t begin = polygons_.offsets[p], end = polygons_.offsets[p + 1];
            for (std::uint32_t c = begin; c < end; ++c)
                next_[c] = c + 1 < end ? c + 1 : begin;
        }
    }

    /// Counting sort of the sides (side c runs from corner c to next_[c]) by their lower vertex;
    /// each entry packs the higher vertex above the side index.
    void bucketSidesByLowerVertex()
    {
        bucketStart_.assign(n_ + 1, 0);
        for (std::size_t c = 0; c < corners_.size(); ++c)
            ++bucketStart_[std::min(corners_[c], corners_[next_[c]]) + 1];
        for (std::size_t v = 0; v < n_; ++v)
            bucketStart_[v + 1] += bucketStart_[v];
        std::vector<std::size_t> fill(bucketStart_.begin(), bucketStart_.end() - 1);
        keys_.resize(corners_.size());
        for (std::size_t c = 0; c < corners_.size(); ++c) {
            const std::uint32_t a = corners_[c], b = corners_[next_[c]];
            keys_[fill[std::min(a, b)]++] = std::uint64_t(std::max(a, b)) << 32 | c;
        }
    }

    /// One undirected edge {lo, hi} and the polygon sides [group, groupEnd) lying on it.
    void visitEdge(std::uint32_t lo, std::uint32_t hi, const std::uint64_t* group,
                   const std::uint64_t* groupEnd, MeshStats& stats, DisjointSets& fans)
    {
        const std::size_t sides = std::size_t(groupEnd - group);
        ++stats.edges;
        stats.boundaryEdges += sides == 1;
        stats.nonManifoldEdges += sides > 2;

        std::size_t forward = 0;
        std::int64_t cornerAtLo = -1, cornerAtHi = -1;
        for (const std::uint64_t* s = group; s != groupEnd; ++s) {
            const std::uint32_t c = std::uint32_t(*s), d = next_[c];
            forward += corners_[c] == lo;
            // Corners around the same vertex that share this edge belong to one fan.
            for (std::uint32_t corner : {c, d}) {
                if (corners_[corner] == lo)
                    joinFan(cornerAtLo, corner, fans);
                if (corners_[corner] == hi)
                    joinFan(cornerAtHi, corner, fans);
            }
        }
        if (lo == hi)
            stats.duplicatedHalfEdges += sides > 1;
        else
            stats.duplicatedHalfEdges += (forward > 1) + (sides - forward > 1);
    }

    static void joinFan(std::int64_t& first, std::uint32_t corner, DisjointSets& fans)
    {
        if (first < 0)
            first = corner;
        else
            fans.unite(std::uint32_t(first), corner);
    }

    std::size_t n_;
    const PolygonList& polygons_;
    const std::vector<std::uint32_t>& corners_;
    std::vector<std::uint32_t> next_;
    std::vector<std::size_t> bucketStart_;
    std::vector<std::uint64_t> keys_;
};

long long floorDivide(long long a, long long b)
{
    long long q = a / b;
    if ((a % b != 0) && ((a < 0) != (b < 0)))
        --q;
    return q;
}

}  // namespace

MeshStats computeMeshStats(const MeshData& mesh)
{
    MeshStats stats;
    stats.vertices = mesh.vertexCount();
    stats.triangles = mesh.triangleCount();
    stats.weldedVertices = mesh.weldedVertices;
    computeBounds(mesh, stats);
    computeNormalStats(mesh, stats);
    stats.duplicatePositions = countDuplicatePositions(mesh.positions);

    const PolygonList polygons = polygonsOf(mesh);
    stats.faces = mesh.sourceFaces ? mesh.sourceFaces : polygons.polygonCount();
    stats.faceSizes = mesh.faceSizes;
    if (stats.faceSizes.empty())
        for (std::size_t p = 0; p < polygons.polygonCount(); ++p)
            ++stats.faceSizes[polygons.offsets[p + 1] - polygons.offsets[p]];
    if (polygons.polygonCount() == 0) {
        stats.unreferencedVertices = stats.vertices;
        return stats;
    }

    for (std::size_t p = 0; p < polygons.polygonCount(); ++p)
        stats.facesWithRepeatedIndex += hasRepeatedIndex(polygons.corners.data() + polygons.offsets[p],
                                                         polygons.corners.data() + polygons.offsets[p + 1]);
    computeTriangleMeasures(mesh, stats);
    SideTopology(mesh.vertexCount(), polygons).compute(stats);

    stats.closed = stats.boundaryEdges == 0 && stats.nonManifoldEdges == 0;
    stats.manifold = stats.nonManifoldEdges == 0 && stats.nonManifoldVertices == 0;
    stats.oriented = stats.duplicatedHalfEdges == 0;
    stats.hasGenus = stats.closed && stats.manifold && stats.oriented;
    if (stats.hasGenus)
        stats.genus = floorDivide(2 * (long long)stats.components - stats.eulerCharacteristic, 2);
    return stats;
}

}  // namespace oxmesh
