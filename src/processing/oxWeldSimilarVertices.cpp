// Welding of vertices that lie within a tolerance of each other, through the one colocation
// routine of the add-ons (greedy, in index order, through a hashed grid).
#include "addons/oxColocate.h"
#include "oxMeshProcessing.h"
#include "processing/oxMeshCompaction.h"
#include "scenegraph/oxIndexBuffer.h"
#include "scenegraph/oxVertexBuffer.h"

namespace ox {
namespace oxMeshProcessing {

std::size_t ColocateVertices(const float* positions, std::size_t count, std::size_t stride, float tolerance,
                             unsigned int* representative)
{
    return ColocatePoints(positions, count, stride, tolerance, representative);
}

unsigned int WeldSimilarVertices(oxTriMesh& mesh, float tolerance)
{
    if (!CheckMeshSanity(mesh) || !(tolerance >= 0.0f)) {
        return 0;
    }
    oxVertexBuffer& vb = *mesh.GetVertexBuffer();
    const unsigned int vertexCount = static_cast<unsigned int>(vb.GetVertexQuantity());
    std::vector<unsigned int> representative(vertexCount);
    const std::size_t groups = ColocateVertices(
        vb.GetData(), vertexCount, std::size_t(vb.GetChannelQuantity()), tolerance, representative.data());
    oxIndexBuffer& ib = *mesh.GetIndexBuffer();
    const unsigned int triangleCount = static_cast<unsigned int>(mesh.GetTriangleQuantity());
    std::vector<char> keep(triangleCount, 1);
    for (unsigned int t = 0; t < triangleCount; ++t) {
        unsigned int c[3];
        for (int k = 0; k < 3; ++k) {
            c[k] = representative[ib[static_cast<int>(3 * t) + k]];
            ib[static_cast<int>(3 * t) + k] = c[k];
        }
        keep[t] = c[0] != c[1] && c[1] != c[2] && c[2] != c[0];
    }
    const oxAttributes layout = vb.GetAttributes();
    detail::compactMesh(mesh, keep, std::vector<char>(), layout);
    return static_cast<unsigned int>(vertexCount - groups);
}

}  // namespace oxMeshProcessing
}  // namespace ox
