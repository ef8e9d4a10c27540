#include "processing/oxMeshAdjacency.h"

#include "processing/oxEdgeSides.h"
#include "processing/oxMeshCompaction.h"
#include "scenegraph/oxIndexBuffer.h"

namespace ox {
namespace detail {

namespace {

/// Fills a compressed-row table from (row, value) pairs given by `each(emit)`.
template <class Each>
void buildRows(unsigned int rows, std::vector<unsigned int>& start, std::vector<unsigned int>& values,
               Each each)
{
    start.assign(static_cast<std::size_t>(rows) + 1u, 0u);
    each([&](unsigned int row, unsigned int) { ++start[row + 1]; });
    for (unsigned int r = 0; r < rows; ++r) {
        start[r + 1] += start[r];
    }
    values.resize(start[rows]);
    std::vector<unsigned int> fill(start.begin(), start.end() - 1);
    each([&](unsigned int row, unsigned int value) { values[fill[row]++] = value; });
}

}  // namespace

tMeshAdjacency::tMeshAdjacency(const oxTriMesh& mesh)
{
    const unsigned int triangleCount = static_cast<unsigned int>(mesh.GetTriangleQuantity());
    const unsigned int vertexCount = detail::vertexCount(mesh);
    const unsigned int* idx = triangleCount > 0 ? mesh.GetIndexBuffer()->GetData() : nullptr;
    std::vector<unsigned int> v0, v1, triangleEdges;
    enumerateEdges(idx, triangleCount, vertexCount, v0, v1, triangleEdges);
    std::vector<unsigned int> edgeUse(v0.size(), 0u);
    for (unsigned int e : triangleEdges) {
        ++edgeUse[e];
    }
    onBorder.assign(vertexCount, 0);
    for (std::size_t e = 0; e < v0.size(); ++e) {
        if (edgeUse[e] != 2) {
            onBorder[v0[e]] = onBorder[v1[e]] = 1;
        }
    }
    buildRows(vertexCount, neighbourStart, neighbours, [&](auto emit) {
        for (std::size_t e = 0; e < v0.size(); ++e) {
            if (v0[e] != v1[e]) {
                emit(v0[e], v1[e]);
                emit(v1[e], v0[e]);
            }
        }
    });
    buildRows(vertexCount, triangleStart, triangles, [&](auto emit) {
        for (unsigned int t = 0; t < triangleCount; ++t) {
            const unsigned int* c = idx + 3 * t;
            emit(c[0], t);
            if (c[1] != c[0]) {
                emit(c[1], t);
            }
            if (c[2] != c[0] && c[2] != c[1]) {
                emit(c[2], t);
            }
        }
    });
}

}  // namespace detail
}  // namespace ox
