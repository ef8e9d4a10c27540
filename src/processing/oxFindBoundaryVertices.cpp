// Boundary vertices: the ends of edges that exactly one triangle uses.
#include <cstdint>

#include "oxMeshProcessing.h"
#include "processing/oxEdgeSides.h"
#include "scenegraph/oxIndexBuffer.h"
#include "scenegraph/oxVertexBuffer.h"

namespace ox {

std::vector<bool> oxMeshProcessing::FindBoundaryVertices(const unsigned int* triangles,
                                                         std::size_t triangleCount, std::size_t vertexCount)
{
    std::vector<bool> boundary(vertexCount, false);
    detail::tEdgeSides(vertexCount, triangles, 3 * triangleCount)
        .forEachEdge([&](unsigned int lo, unsigned int hi, const std::uint64_t*, std::size_t count) {
            if (count == 1)
                boundary[lo] = boundary[hi] = true;
        });
    return boundary;
}

std::vector<bool> oxMeshProcessing::FindBoundaryVertices(const oxTriMesh& mesh)
{
    const std::size_t vertices =
        mesh.GetVertexBuffer() ? std::size_t(mesh.GetVertexBuffer()->GetVertexQuantity()) : 0;
    if (!mesh.GetIndexBuffer())
        return std::vector<bool>(vertices, false);
    return FindBoundaryVertices(mesh.GetIndexBuffer()->GetData(), std::size_t(mesh.GetTriangleQuantity()),
                                vertices);
}

}  // namespace ox
