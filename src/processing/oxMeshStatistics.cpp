// Topology and measures of a mesh or point cloud. Edges, components and fans are counted over
// the faces' sides as a file stores them (so a quad's diagonal is not an edge), areas and
// volumes over the triangles. Sides come from the one edge table (bucketed by lower vertex);
// vertex components, boundary loops and corner fans from three union-finds.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "oxMeshProcessing.h"
#include "processing/oxDisjointSets.h"
#include "processing/oxEdgeSides.h"
#include "scenegraph/oxIndexBuffer.h"
#include "scenegraph/oxVertexBuffer.h"

namespace ox {
namespace oxMeshProcessing {

namespace {

const float* positionOf(const tMeshView& mesh, std::size_t v)
{
    return mesh.positions + v * mesh.positionStride;
}

void computeBounds(const tMeshView& mesh, tMeshStatistics& stats)
{
    double lo[3] = {INFINITY, INFINITY, INFINITY}, hi[3] = {-INFINITY, -INFINITY, -INFINITY};
    for (std::size_t v = 0; v < mesh.vertexCount; ++v) {
        const float* p = positionOf(mesh, v);
        if (!std::isfinite(p[0]) || !std::isfinite(p[1]) || !std::isfinite(p[2])) {
            ++stats.nonFiniteVertices;
            continue;
        }
        for (int k = 0; k < 3; ++k) {
            lo[k] = std::min(lo[k], double(p[k]));
            hi[k] = std::max(hi[k], double(p[k]));
        }
    }
    if (stats.nonFiniteVertices == mesh.vertexCount)
        return;  // no finite vertex: the zero box
    for (int k = 0; k < 3; ++k) {
        stats.bboxMin[k] = lo[k];
        stats.bboxMax[k] = hi[k];
    }
    const double dx = hi[0] - lo[0], dy = hi[1] - lo[1], dz = hi[2] - lo[2];
    stats.bboxDiagonal = std::sqrt(dx * dx + dy * dy + dz * dz);
}

void computeNormalStats(const tMeshView& mesh, tMeshStatistics& stats)
{
    if (!mesh.normals)
        return;
    for (std::size_t v = 0; v < mesh.vertexCount; ++v) {
        const float* n = mesh.normals + v * mesh.normalStride;
        const double length = std::sqrt(double(n[0]) * n[0] + double(n[1]) * n[1] + double(n[2]) * n[2]);
        stats.nonFiniteNormals += !std::isfinite(length);
        stats.zeroNormals += length == 0.0;
    }
}

void countDuplicatePositions(const tMeshView& mesh, tMeshStatistics& stats)
{
    std::vector<unsigned int> representative(mesh.vertexCount);
    const std::size_t groups =
        ColocateVertices(mesh.positions, mesh.vertexCount, mesh.positionStride, 0.0f, representative.data());
    stats.duplicatePositions = mesh.vertexCount - groups;
}

/// Zero-area count, area and signed volume over the triangles, in double precision.
void computeTriangleMeasures(const tMeshView& mesh, tMeshStatistics& stats)
{
    const double diagonal = std::max(stats.bboxDiagonal, 1e-30);
    const double zeroArea = 1e-14 * diagonal * diagonal;
    double area = 0.0, volume = 0.0;
    for (std::size_t t = 0; t < mesh.triangleCount; ++t) {
        double p[3][3];
        for (int c = 0; c < 3; ++c)
            for (int k = 0; k < 3; ++k)
                p[c][k] = positionOf(mesh, mesh.triangles[3 * t + c])[k];
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

bool hasRepeatedIndex(const unsigned int* begin, const unsigned int* end)
{
    if (end - begin <= 16) {
        for (const unsigned int* a = begin; a != end; ++a)
            for (const unsigned int* b = a + 1; b != end; ++b)
                if (*a == *b)
                    return true;
        return false;
    }
    std::vector<unsigned int> sorted(begin, end);
    std::sort(sorted.begin(), sorted.end());
    return std::adjacent_find(sorted.begin(), sorted.end()) != sorted.end();
}

/// The faces as corners and offsets: the given ones, or one face per triangle.
struct tFaces {
    const unsigned int* corners = nullptr;
    std::vector<unsigned int> offsets;
    std::size_t cornerCount() const { return offsets.back(); }
    std::size_t count() const { return offsets.size() - 1; }
};

tFaces facesOf(const tMeshView& mesh)
{
    tFaces faces;
    if (mesh.faceCorners && mesh.faceOffsets) {
        faces.corners = mesh.faceCorners;
        faces.offsets.assign(mesh.faceOffsets, mesh.faceOffsets + mesh.faceCount + 1);
        return faces;
    }
    faces.corners = mesh.triangles;
    faces.offsets.resize(mesh.triangleCount + 1);
    for (std::size_t t = 0; t <= mesh.triangleCount; ++t)
        faces.offsets[t] = static_cast<unsigned int>(3 * t);
    return faces;
}

/// Everything that depends on how face sides meet: edges, boundary, non-manifold edges,
/// orientation, components, boundary loops, fans at vertices and the Euler characteristic.
void computeSideTopology(std::size_t vertexCount, const tFaces& faces, tMeshStatistics& stats)
{
    const unsigned int* corners = faces.corners;
    const std::size_t cornerCount = faces.cornerCount();
    std::vector<unsigned int> next(cornerCount);
    for (std::size_t f = 0; f < faces.count(); ++f)
        for (unsigned int c = faces.offsets[f]; c < faces.offsets[f + 1]; ++c)
            next[c] = c + 1 < faces.offsets[f + 1] ? c + 1 : faces.offsets[f];

    detail::tDisjointSets vertexSets(vertexCount), boundarySets(vertexCount), fans(cornerCount);
    std::vector<std::uint8_t> onBoundary(vertexCount, 0);
    auto joinFan = [&fans](std::int64_t& first, unsigned int corner) {
        if (first < 0)
            first = corner;
        else
            fans.unite(static_cast<unsigned int>(first), corner);
    };
    detail::tEdgeSides(vertexCount, corners, cornerCount, next.data())
        .forEachEdge([&](unsigned int lo, unsigned int hi, const std::uint64_t* sides, std::size_t count) {
            ++stats.edges;
            stats.boundaryEdges += count == 1;
            stats.nonManifoldEdges += count > 2;
            std::size_t forward = 0;
            std::int64_t cornerAtLo = -1, cornerAtHi = -1;
            for (std::size_t i = 0; i < count; ++i) {
                const unsigned int c = detail::tEdgeSides::side(sides[i]), d = next[c];
                forward += corners[c] == lo;
                // Corners around the same vertex that share this edge belong to one fan.
                for (unsigned int corner : {c, d}) {
                    if (corners[corner] == lo)
                        joinFan(cornerAtLo, corner);
                    if (corners[corner] == hi)
                        joinFan(cornerAtHi, corner);
                }
            }
            if (lo == hi)
                stats.duplicatedHalfEdges += count > 1;
            else
                stats.duplicatedHalfEdges += (forward > 1) + (count - forward > 1);
            vertexSets.unite(lo, hi);
            if (count == 1) {
                boundarySets.unite(lo, hi);
                onBoundary[lo] = onBoundary[hi] = 1;
            }
        });

    std::vector<std::uint8_t> used(vertexCount, 0);
    for (std::size_t c = 0; c < cornerCount; ++c)
        used[corners[c]] = 1;
    std::size_t usedCount = 0;
    for (std::size_t v = 0; v < vertexCount; ++v) {
        usedCount += used[v];
        stats.components += used[v] && vertexSets.isRoot(static_cast<unsigned int>(v));
        stats.boundaryLoops += onBoundary[v] && boundarySets.isRoot(static_cast<unsigned int>(v));
    }
    stats.unreferencedVertices = vertexCount - usedCount;

    std::vector<unsigned int> fansAtVertex(vertexCount, 0);
    for (std::size_t c = 0; c < cornerCount; ++c)
        fansAtVertex[corners[c]] += fans.isRoot(static_cast<unsigned int>(c));
    for (std::size_t v = 0; v < vertexCount; ++v)
        stats.nonManifoldVertices += fansAtVertex[v] > 1;

    stats.eulerCharacteristic = (long long)usedCount - (long long)stats.edges + (long long)faces.count();
}

long long floorDivide(long long a, long long b)
{
    long long q = a / b;
    if ((a % b != 0) && ((a < 0) != (b < 0)))
        --q;
    return q;
}

}  // namespace

tMeshStatistics ComputeMeshStatistics(const tMeshView& mesh)
{
    tMeshStatistics stats;
    stats.vertices = mesh.vertexCount;
    stats.triangles = mesh.triangles ? mesh.triangleCount : 0;
    computeBounds(mesh, stats);
    computeNormalStats(mesh, stats);
    countDuplicatePositions(mesh, stats);

    const tFaces faces = facesOf(mesh);
    stats.faces = faces.count();
    if (faces.count() == 0) {
        stats.unreferencedVertices = stats.vertices;
        return stats;
    }
    for (std::size_t f = 0; f < faces.count(); ++f)
        stats.facesWithRepeatedIndex +=
            hasRepeatedIndex(faces.corners + faces.offsets[f], faces.corners + faces.offsets[f + 1]);
    computeTriangleMeasures(mesh, stats);
    computeSideTopology(mesh.vertexCount, faces, stats);

    stats.closed = stats.boundaryEdges == 0 && stats.nonManifoldEdges == 0;
    stats.manifold = stats.nonManifoldEdges == 0 && stats.nonManifoldVertices == 0;
    stats.oriented = stats.duplicatedHalfEdges == 0;
    stats.hasGenus = stats.closed && stats.manifold && stats.oriented;
    if (stats.hasGenus)
        stats.genus = floorDivide(2 * (long long)stats.components - stats.eulerCharacteristic, 2);
    return stats;
}

tMeshStatistics ComputeMeshStatistics(const oxTriMesh& mesh)
{
    tMeshView view;
    const oxVertexBuffer* vb = mesh.GetVertexBuffer();
    if (vb && vb->GetVertexQuantity() > 0) {
        const std::size_t stride = static_cast<std::size_t>(vb->GetChannelQuantity());
        view.positions = vb->GetData() + vb->GetAttributes().GetPositionOffset();
        view.vertexCount = static_cast<std::size_t>(vb->GetVertexQuantity());
        view.positionStride = stride;
        if (vb->GetAttributes().HasNormal()) {
            view.normals = vb->GetData() + vb->GetAttributes().GetNormalOffset();
            view.normalStride = stride;
        }
    }
    const oxIndexBuffer* ib = mesh.GetIndexBuffer();
    if (ib && mesh.GetTriangleQuantity() > 0) {
        view.triangles = ib->GetData();
        view.triangleCount = static_cast<std::size_t>(mesh.GetTriangleQuantity());
    }
    return ComputeMeshStatistics(view);
}

}  // namespace oxMeshProcessing
}  // namespace ox
