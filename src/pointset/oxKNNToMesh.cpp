// A displayable mesh of the neighbour graph: one thin triangle per link.
#include "oxPointSetProcessing.h"
#include "scenegraph/oxIndexBuffer.h"
#include "scenegraph/oxMeshUtils.h"

namespace ox {
namespace oxPointSetProcessing {

oxPointer<oxTriMesh> KNNToMesh(const KNN& knn, const oxVertexBuffer* vertices)
{
    const int count = vertices->GetVertexQuantity();
    // Every point twice, the copy nudged off the original so each link (j, i, copy of i)
    // has some area to draw.
    oxVertexBuffer* vb = new oxVertexBuffer(vertices->GetAttributes(), 2 * count);
    for (int i = 0; i < count; ++i) {
        oxMeshUtils::CopyVertexData(vertices, vb, i, i);
        oxMeshUtils::CopyVertexData(vertices, vb, i, count + i);
        Wm4::Vector3<float>& moved = vb->Position3(count + i);
        moved += Wm4::Vector3<float>(0.0001f, 0.0001f, 0.0001f);
    }
    oxIndexBuffer* ib = new oxIndexBuffer(3 * static_cast<int>(knn.total), 1);
    int t = 0;
    for (int i = 0; i < count; ++i) {
        const unsigned int n = knn.getNoNeighbours(static_cast<unsigned int>(i));
        const unsigned int* list = knn.getNeighbours(static_cast<unsigned int>(i));
        for (unsigned int k = 0; k < n; ++k) {
            (*ib)[t++] = list[k];
            (*ib)[t++] = static_cast<unsigned int>(i);
            (*ib)[t++] = static_cast<unsigned int>(count + i);
        }
    }
    return oxPointer<oxTriMesh>(new oxTriMesh(vb, ib));
}

}  // namespace oxPointSetProcessing
}  // namespace ox
