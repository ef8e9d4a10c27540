// Removal of every triangle on an edge that more than two triangles share.
#include <cstdint>
#include <vector>

#include "processing/oxEdgeSides.h"
#include "processing/oxRepairSteps.h"

namespace ox {
namespace detail {

unsigned int removeNonManifoldTriangles(tEditableMesh& mesh)
{
    std::vector<std::uint8_t> drop(mesh.triangleCount(), 0);
    tEdgeSides(mesh.vertexCount(), mesh.corners.data(), mesh.corners.size())
        .forEachEdge([&](unsigned int, unsigned int, const std::uint64_t* sides, std::size_t count) {
            if (count <= 2)
                return;
            for (std::size_t i = 0; i < count; ++i)
                drop[tEdgeSides::side(sides[i]) / 3] = 1;
        });
    return mesh.keepTriangles(drop);
}

}  // namespace detail

unsigned int oxMeshProcessing::RemoveNonManifoldTriangles(oxTriMesh& mesh)
{
    return detail::runOnMesh(mesh, 0u, detail::removeNonManifoldTriangles,
                             [](unsigned int n) { return n > 0; });
}

}  // namespace ox
