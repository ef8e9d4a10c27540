// Connected components of a triangle mesh (triangles sharing a vertex) and keeping the largest.
#include <algorithm>

#include "oxMeshProcessing.h"
#include "processing/oxMeshCompaction.h"
#include "scenegraph/oxIndexBuffer.h"
#include "scenegraph/oxVertexBuffer.h"

namespace ox {
namespace oxMeshProcessing {

namespace {

unsigned int findRoot(std::vector<unsigned int>& parent, unsigned int v)
{
    while (parent[v] != v) {
        parent[v] = parent[parent[v]];
        v = parent[v];
    }
    return v;
}

}  // namespace

unsigned int ClusterizeConnectedComponents(const oxTriMesh& mesh, std::vector<unsigned int>& labels)
{
    const unsigned int triangles = detail::triangleCount(mesh);
    const unsigned int vertices = detail::vertexCount(mesh);
    labels.assign(triangles, 0u);
    if (triangles == 0) {
        return 0;
    }
    const unsigned int* idx = mesh.GetIndexBuffer()->GetData();
    std::vector<unsigned int> parent(vertices);
    for (unsigned int v = 0; v < vertices; ++v) {
        parent[v] = v;
    }
    for (unsigned int t = 0; t < triangles; ++t) {
        const unsigned int r0 = findRoot(parent, idx[3 * t]);
        for (int k = 1; k < 3; ++k) {
            const unsigned int rk = findRoot(parent, idx[3 * t + k]);
            if (rk != r0) {
                parent[std::max(rk, r0)] = std::min(rk, r0);
            }
        }
    }
    std::vector<unsigned int> labelOfRoot(vertices, 0xFFFFFFFFu);
    unsigned int count = 0;
    for (unsigned int t = 0; t < triangles; ++t) {
        const unsigned int root = findRoot(parent, idx[3 * t]);
        if (labelOfRoot[root] == 0xFFFFFFFFu) {
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
