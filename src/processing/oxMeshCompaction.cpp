#include "processing/oxMeshCompaction.h"

#include "scenegraph/oxIndexBuffer.h"
#include "scenegraph/oxMeshUtils.h"
#include "scenegraph/oxVertexBuffer.h"

namespace ox {
namespace detail {

unsigned int vertexCount(const oxTriMesh& mesh)
{
    const oxVertexBuffer* vb = mesh.GetVertexBuffer();
    return vb ? static_cast<unsigned int>(vb->GetVertexQuantity()) : 0u;
}

void compactMesh(oxTriMesh& mesh, const std::vector<char>& keepTriangle, std::vector<char> keepVertex,
                 const oxAttributes& layout)
{
    const unsigned int triangles = static_cast<unsigned int>(mesh.GetTriangleQuantity());
    const unsigned int vertices = vertexCount(mesh);
    const oxIndexBuffer* oldIndices = mesh.GetIndexBuffer();
    const oxVertexBuffer* oldVertices = mesh.GetVertexBuffer();
    unsigned int keptTriangles = 0;
    const bool markUsed = keepVertex.empty();
    if (markUsed) {
        keepVertex.assign(vertices, 0);
    }
    for (unsigned int t = 0; t < triangles; ++t) {
        if (keepTriangle[t]) {
            ++keptTriangles;
            if (markUsed) {
                for (int k = 0; k < 3; ++k) {
                    keepVertex[(*oldIndices)[static_cast<int>(3 * t) + k]] = 1;
                }
            }
        }
    }
    std::vector<unsigned int> newIndex(vertices, 0xFFFFFFFFu);
    int keptVertices = 0;
    for (unsigned int v = 0; v < vertices; ++v) {
        if (keepVertex[v]) {
            newIndex[v] = static_cast<unsigned int>(keptVertices++);
        }
    }
    oxPointer<oxVertexBuffer> vb = new oxVertexBuffer(layout, keptVertices);
    for (unsigned int v = 0; v < vertices; ++v) {
        if (keepVertex[v]) {
            oxMeshUtils::CopyVertexData(oldVertices, vb.get(), static_cast<int>(v),
                                        static_cast<int>(newIndex[v]));
        }
    }
    oxPointer<oxIndexBuffer> ib = new oxIndexBuffer(static_cast<int>(3 * keptTriangles));
    if (oldIndices != nullptr) {
        ib->SetIndexBufferType(oldIndices->GetIndexBufferType());
    }
    int next = 0;
    for (unsigned int t = 0; t < triangles; ++t) {
        if (keepTriangle[t]) {
            for (int k = 0; k < 3; ++k) {
                (*ib)[next++] = newIndex[(*oldIndices)[static_cast<int>(3 * t) + k]];
            }
        }
    }
    mesh.SetVertexBuffer(vb.get());
    mesh.SetIndexBuffer(ib.get());
}

}  // namespace detail
}  // namespace ox
