// Index sanity test of a triangle mesh.
#include "oxMeshProcessing.h"
#include "processing/oxMeshCompaction.h"
#include "scenegraph/oxIndexBuffer.h"

namespace ox {
namespace oxMeshProcessing {

bool CheckMeshSanity(const oxTriMesh& mesh)
{
    const oxIndexBuffer* ib = mesh.GetIndexBuffer();
    if (ib == nullptr || ib->GetIndexQuantity() < 3) {
        return false;
    }
    const unsigned int vertices = detail::vertexCount(mesh);
    for (int i = 0; i < ib->GetIndexQuantity(); ++i) {
        if ((*ib)[i] >= vertices) {
            return false;
        }
    }
    return true;
}

}  // namespace oxMeshProcessing
}  // namespace ox
