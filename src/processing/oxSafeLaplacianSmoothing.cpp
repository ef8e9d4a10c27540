// Uniform Laplacian smoothing that never turns a triangle over.
//
// Each pass visits the vertices in index order and moves each interior vertex by `factor`
// towards the mean of its neighbours' current positions (neighbours moved earlier in the pass
// count with their new positions). The move is kept only when every incident triangle's
// unnormalised normal keeps a positive dot product with its normal in the input; a triangle
// that would become degenerate has a zero normal and refuses the move too (so a triangle that is
// degenerate in the input pins its vertices). Vertices on an open or non-manifold edge, vertices
// without neighbours and locked vertices do not move.
//
// Based on: Field, Laplacian smoothing and Delaunay triangulations, 1988 (the uniform Laplacian
// update applied vertex by vertex), with a guard against inverted triangles.
#include "oxMeshLibTypes.h"
#include "oxMeshProcessing.h"
#include "processing/oxMeshAdjacency.h"
#include "processing/oxMeshCompaction.h"
#include "scenegraph/oxIndexBuffer.h"
#include "scenegraph/oxVertexBuffer.h"

namespace ox {
namespace oxMeshProcessing {

namespace {

/// Unnormalised normal of triangle t with vertex `moved` placed at `at`.
Vec3 normalWith(const oxVertexBuffer& vb, const unsigned int* c, unsigned int moved, const Vec3& at)
{
    Vec3 p[3];
    for (int k = 0; k < 3; ++k) {
        p[k] = c[k] == moved ? at : vb.Position3(static_cast<int>(c[k]));
    }
    return (p[1] - p[0]).Cross(p[2] - p[0]);
}

}  // namespace

void SafeLaplacianSmoothing(oxTriMesh& mesh, unsigned int iterations, float factor,
                            const std::vector<bool>* lockedVertices)
{
    if (!CheckMeshSanity(mesh) || iterations == 0) {
        return;
    }
    oxVertexBuffer& vb = *mesh.GetVertexBuffer();
    const unsigned int vertexCount = detail::vertexCount(mesh);
    const unsigned int triangleCount = static_cast<unsigned int>(mesh.GetTriangleQuantity());
    const unsigned int* idx = mesh.GetIndexBuffer()->GetData();
    const detail::tMeshAdjacency adjacency(mesh);
    std::vector<Vec3> reference(triangleCount);
    for (unsigned int t = 0; t < triangleCount; ++t) {
        reference[t] = normalWith(vb, idx + 3 * t, 0xFFFFFFFFu, Vec3());
    }
    for (unsigned int pass = 0; pass < iterations; ++pass) {
        for (unsigned int v = 0; v < vertexCount; ++v) {
            const unsigned int first = adjacency.neighbourStart[v], last = adjacency.neighbourStart[v + 1];
            const bool locked =
                lockedVertices != nullptr && v < lockedVertices->size() && (*lockedVertices)[v];
            if (first == last || adjacency.onBorder[v] || locked) {
                continue;
            }
            Vec3 average;
            for (unsigned int i = first; i < last; ++i) {
                average += vb.Position3(static_cast<int>(adjacency.neighbours[i]));
            }
            average /= static_cast<float>(last - first);
            const Vec3 p = vb.Position3(static_cast<int>(v));
            const Vec3 target = p + (average - p) * factor;
            bool safe = true;
            for (unsigned int i = adjacency.triangleStart[v]; i < adjacency.triangleStart[v + 1] && safe;
                 ++i) {
                const unsigned int t = adjacency.triangles[i];
                safe = reference[t].Dot(normalWith(vb, idx + 3 * t, v, target)) > 0.0f;
            }
            if (safe) {
                vb.Position3(static_cast<int>(v)) = target;
            }
        }
    }
}

}  // namespace oxMeshProcessing
}  // namespace ox
