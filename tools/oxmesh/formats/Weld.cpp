#include "formats/Weld.h"

#include <cstdint>
#include <vector>

#include "oxMeshProcessing.h"

namespace oxmesh {
namespace {

/// Keeps the records (of `width` floats) of the surviving vertices, in order.
void compactRecords(std::vector<float>& values, const std::vector<unsigned int>& first, std::size_t width)
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
    const std::size_t n = mesh.vertexCount();
    std::vector<unsigned int> first(n);
    const std::size_t kept =
        ox::oxMeshProcessing::ColocateVertices(mesh.positions.data(), n, 3, 0.0f, first.data());
    const std::size_t merged = n - kept;
    if (merged == 0)
        return 0;

    // New index of every vertex: survivors are numbered in order, the others take the number
    // of their first occurrence (always at a lower index, so already numbered).
    std::vector<std::uint32_t> newIndex(n);
    std::uint32_t next = 0;
    for (std::size_t v = 0; v < n; ++v)
        newIndex[v] = first[v] == v ? next++ : newIndex[first[v]];
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
