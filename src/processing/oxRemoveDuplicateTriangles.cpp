// Removal of triangles that repeat the vertex set of an earlier triangle.
#include <algorithm>
#include <array>

#include "oxMeshProcessing.h"
#include "processing/oxMeshCompaction.h"
#include "scenegraph/oxIndexBuffer.h"
#include "scenegraph/oxVertexBuffer.h"

namespace ox {
namespace oxMeshProcessing {

unsigned int RemoveDuplicateTriangles(oxTriMesh& mesh)
{
    const unsigned int triangleCount = static_cast<unsigned int>(mesh.GetTriangleQuantity());
    if (triangleCount < 2 || !CheckMeshSanity(mesh)) {
        return 0;
    }
    const unsigned int* idx = mesh.GetIndexBuffer()->GetData();
    // (sorted corners, triangle) sorted lexicographically: duplicates are adjacent, the first
    // occurrence first.
    std::vector<std::array<unsigned int, 4>> keys(triangleCount);
    for (unsigned int t = 0; t < triangleCount; ++t) {
        std::array<unsigned int, 4>& key = keys[t];
        key = {idx[3 * t], idx[3 * t + 1], idx[3 * t + 2], t};
        std::sort(key.begin(), key.begin() + 3);
    }
    std::sort(keys.begin(), keys.end());
    std::vector<char> keep(triangleCount, 1);
    unsigned int removed = 0;
    for (unsigned int i = 1; i < triangleCount; ++i) {
        if (std::equal(keys[i].begin(), keys[i].begin() + 3, keys[i - 1].begin())) {
            keep[keys[i][3]] = 0;
            ++removed;
        }
    }
    if (removed > 0) {
        const oxAttributes layout = mesh.GetVertexBuffer()->GetAttributes();
        detail::compactMesh(mesh, keep, std::vector<char>(detail::vertexCount(mesh), 1), layout);
    }
    return removed;
}

}  // namespace oxMeshProcessing
}  // namespace ox
