// Removal of the vertices no triangle uses.
#include "processing/oxRepairSteps.h"

namespace ox {

unsigned int oxMeshProcessing::RemoveUnusedVertices(oxTriMesh& mesh)
{
    return detail::runOnMesh(
        mesh, 0u, [](detail::tEditableMesh& m) { return static_cast<unsigned int>(m.dropUnusedVertices()); },
        [](unsigned int n) { return n > 0; });
}

}  // namespace ox
