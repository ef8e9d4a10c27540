// Angle-weighted vertex normals accumulated into the normals already in the buffer: every
// triangle adds its unit normal times its interior angle at each corner to that corner's normal,
// then every normal is rescaled to unit length (zero stays zero). The old normals stay in the
// sum on purpose; the reconstruction pipeline zeroes them first.
//
// Based on: Thürmer and Wüthrich, Computing vertex normals from polygonal facets, 1998.
#include "oxMeshProcessing.h"
#include "processing/oxMeshCompaction.h"
#include "processing/oxMeshMath.h"
#include "scenegraph/oxIndexBuffer.h"
#include "scenegraph/oxVertexBuffer.h"

namespace ox {
namespace oxMeshProcessing {

void RecomputeNormals(oxTriMesh& mesh)
{
    oxVertexBuffer* vb = mesh.GetVertexBuffer();
    if (vb == nullptr || !vb->GetAttributes().HasNormal()) {
        return;
    }
    const unsigned int triangles = static_cast<unsigned int>(mesh.GetTriangleQuantity());
    const oxIndexBuffer* ib = mesh.GetIndexBuffer();
    for (unsigned int t = 0; t < triangles; ++t) {
        const int i[3] = {static_cast<int>((*ib)[static_cast<int>(3 * t)]),
                          static_cast<int>((*ib)[static_cast<int>(3 * t + 1)]),
                          static_cast<int>((*ib)[static_cast<int>(3 * t + 2)])};
        const Wm4::Vector3<float>& p0 = vb->Position3(i[0]);
        const Wm4::Vector3<float>& p1 = vb->Position3(i[1]);
        const Wm4::Vector3<float>& p2 = vb->Position3(i[2]);
        const Wm4::Vector3<float> n = detail::triangleUnitNormal(p0, p1, p2);
        const detail::tCornerAngles wedge(p0, p1, p2);
        for (int k = 0; k < 3; ++k) {
            vb->Normal3(i[k]) += n * wedge.angle[k];
        }
    }
    for (int v = 0; v < vb->GetVertexQuantity(); ++v) {
        vb->Normal3(v) = detail::unitOrZero(vb->Normal3(v));
    }
}

}  // namespace oxMeshProcessing
}  // namespace ox
