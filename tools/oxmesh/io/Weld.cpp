#include "io/Weld.h"

#include <cstdint>
#include <vector>

#include "io/DuplicatePositions.h"

namespace oxmesh {
namespace {

/// Keeps the records (of `width` floats) of the surviving vertices, in order.
void compactRecords(std::vector<float>& values, const std::vector<std::uint32_t>& first, std::size_t width)
{
    if (values.empty())
        return;
    std::size_t out = 0;
    for (std::size_t v = 0; v < first.size(); ++v) {
        if (first[v] != v)
            continue;
        for (std::size_t k = 0; k < width; ++k)
            values[out * width + k] = values[v * width + k];
        ++out;
    }
    values.resize(out * width);
    values.shrink_to_fit();
}

}  // namespace

std::size_t weldByPosition(MeshData& mesh)
{
    const std::vector<std::uint32_t> first = firstVertexWithSamePosition(mesh.positions);
    const std::size_t n = first.size();

    // New index of every vertex: survivors are numbered in order, the others take the number
    // of their first occurrence (always at a lower index, so already numbered).
    std::vector<std::uint32_t> newIndex(n);
    std::uint32_t next = 0;
    for (std::size_t v = 0; v < n; ++v)
        newIndex[v] = first[v] == v ? next++ : newIndex[first[v]];
    const std::size_t merged = n - next;
    if (merged == 0)
        return 0;

    compactRecords(mesh.positions, first, 3);
    if (mesh.normals.size() == 3 * n)
        compactRecords(mesh.normals, first, 3);
    if (mesh.colors.size() == 3 * n)
        compactRecords(mesh.colors, first, 3);
    for (std::uint32_t& index : mesh.triangles)
        index = newIndex[index];
    mesh.weldedVertices += merged;
    return merged;
}

}  // namespace oxmesh
