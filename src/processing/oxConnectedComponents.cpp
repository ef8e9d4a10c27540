// Connected components of a triangle mesh (triangles sharing a vertex) and keeping the largest.
//
// Each triangle unites its three corners in a union-find over the vertices; the components are
// then numbered in order of their first triangle. The largest has the most triangles, the
// smallest label on ties.
//
// Based on: Tarjan, Efficiency of a good but not linear set union algorithm, 1975 (union-find,
// processing/oxDisjointSets.h).
#include <algorithm>

#include "oxMeshProcessing.h"
#include "processing/oxDisjointSets.h"
#include "processing/oxMeshCompaction.h"
#include "scenegraph/oxIndexBuffer.h"
#include "scenegraph/oxVertexBuffer.h"

namespace ox {
namespace oxMeshProcessing {

unsigned int ClusterizeConnectedComponents(const oxTriMesh& mesh, std::vector<unsigned int>& labels)
{
    const unsigned int triangles = static_cast<unsigned int>(mesh.GetTriangleQuantity());
    const unsigned int vertices = detail::vertexCount(mesh);
    labels.assign(triangles, 0u);
    if (triangles == 0) {
        return 0;
    }
    const unsigned int* idx = mesh.GetIndexBuffer()->GetData();
    detail::tDisjointSets pieces(vertices);
    for (unsigned int t = 0; t < triangles; ++t) {
        pieces.unite(idx[3 * t], idx[3 * t + 1]);
        pieces.unite(idx[3 * t], idx[3 * t + 2]);
    }
    std::vector<unsigned int> labelOfRoot(vertices, kNoIndex);
    unsigned int count = 0;
    for (unsigned int t = 0; t < triangles; ++t) {
        const unsigned int root = pieces.find(idx[3 * t]);
        if (labelOfRoot[root] == kNoIndex) {
            labelOfRoot[root] = count++;
        }
        labels[t] = labelOfRoot[root];
    }
    return count;
}

void KeepSingleConnectedComponent(oxTriMesh& mesh)
{
    std::vector<unsigned int> labels;
    const unsigned int count = ClusterizeConnectedComponents(mesh, labels);
    if (count <= 1) {
        return;
    }
    std::vector<unsigned int> size(count, 0u);
    for (unsigned int label : labels) {
        ++size[label];
    }
    const unsigned int largest =
        static_cast<unsigned int>(std::max_element(size.begin(), size.end()) - size.begin());
    std::vector<char> keep(labels.size());
    for (std::size_t t = 0; t < labels.size(); ++t) {
        keep[t] = labels[t] == largest;
    }
    const oxAttributes layout = mesh.GetVertexBuffer()->GetAttributes();
    detail::compactMesh(mesh, keep, std::vector<char>(), layout);
}

}  // namespace oxMeshProcessing
}  // namespace ox
