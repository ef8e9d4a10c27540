// Removal of connected components whose triangles face inwards.
//
// The vertex of smallest x of a component lies on its convex hull, where an outward surface
// faces -x. Per component (triangles sharing a vertex), the triangles are walked in order while
// the unit normals of those touching the component's current vertex of smallest x are summed;
// the sum restarts with a triangle's normal whenever that triangle reveals a vertex with a
// strictly smaller x. A positive x component of the final sum marks the component inverted, and
// its triangles go. The buffers are rebuilt over the vertices the kept triangles use, with
// positions, normals and colour unit 0 only.
#include <limits>

#include "oxMeshProcessing.h"
#include "processing/oxMeshCompaction.h"
#include "processing/oxMeshMath.h"
#include "scenegraph/oxIndexBuffer.h"
#include "scenegraph/oxVertexBuffer.h"

namespace ox {
namespace oxMeshProcessing {

namespace {

/// Per component: the vertex of smallest x found so far and the normals summed around it.
struct tExtreme {
    unsigned int vertex = 0xFFFFFFFFu;
    float smallestX = std::numeric_limits<float>::infinity();
    Wm4::Vector3<float> normal;
};

}  // namespace

void EraseComponentsWithInvertedNormals(oxTriMesh& mesh)
{
    std::vector<unsigned int> labels;
    const unsigned int count = ClusterizeConnectedComponents(mesh, labels);
    const unsigned int triangles = static_cast<unsigned int>(mesh.GetTriangleQuantity());
    const oxVertexBuffer* vb = mesh.GetVertexBuffer();
    std::vector<tExtreme> extreme(count);
    const unsigned int* idx = triangles > 0 ? mesh.GetIndexBuffer()->GetData() : nullptr;
    for (unsigned int t = 0; t < triangles; ++t) {
        const unsigned int* c = idx + 3 * t;
        const Wm4::Vector3<float> n = detail::triangleUnitNormal(vb->Position3(static_cast<int>(c[0])),
                                                                 vb->Position3(static_cast<int>(c[1])),
                                                                 vb->Position3(static_cast<int>(c[2])));
        tExtreme& k = extreme[labels[t]];
        if (c[0] == k.vertex || c[1] == k.vertex || c[2] == k.vertex) {
            k.normal += n;
        }
        for (int i = 0; i < 3; ++i) {
            const float x = vb->Position3(static_cast<int>(c[i])).X();
            if (x < k.smallestX) {
                k.vertex = c[i];
                k.smallestX = x;
                k.normal = n;
            }
        }
    }
    std::vector<char> keep(triangles);
    for (unsigned int t = 0; t < triangles; ++t) {
        keep[t] = !(extreme[labels[t]].normal.X() > 0.0f);
    }
    oxAttributes layout;
    layout.SetPositionChannels(3);
    if (vb != nullptr && vb->GetAttributes().HasNormal()) {
        layout.SetNormalChannels(3);
    }
    if (vb != nullptr && vb->GetAttributes().HasColor(0)) {
        layout.SetColorChannels(0, 3);
    }
    detail::compactMesh(mesh, keep, std::vector<char>(), layout);
}

}  // namespace oxMeshProcessing
}  // namespace ox
