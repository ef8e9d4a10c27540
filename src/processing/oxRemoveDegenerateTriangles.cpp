// Removal of triangles that name a vertex twice.
#include <cstdint>
#include <vector>

#include "processing/oxRepairSteps.h"

namespace ox {
namespace detail {

unsigned int removeDegenerateTriangles(tEditableMesh& mesh)
{
    std::vector<std::uint8_t> drop(mesh.triangleCount(), 0);
    for (std::size_t t = 0; t < drop.size(); ++t) {
        const unsigned int* v = &mesh.corners[3 * t];
        drop[t] = v[0] == v[1] || v[1] == v[2] || v[0] == v[2];
    }
    return mesh.keepTriangles(drop);
}

}  // namespace detail

unsigned int oxMeshProcessing::RemoveDegenerateTriangles(oxTriMesh& mesh)
{
    return detail::runOnMesh(mesh, 0u, detail::removeDegenerateTriangles,
                             [](unsigned int n) { return n > 0; });
}

}  // namespace ox
