// A triangle mesh unpacked into flat arrays for repair steps that drop triangles and add or
// remove vertices: the vertex records (every channel, the buffer's own layout) and the corners.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "scenegraph/oxAttributes.h"
#include "scenegraph/oxTriMesh.h"

namespace ox {
namespace detail {

struct tEditableMesh {
    oxAttributes layout;
    std::size_t stride = 0;             ///< floats per vertex record
    std::vector<float> records;         ///< vertex records, `stride` floats each
    std::vector<unsigned int> corners;  ///< three vertex indices per triangle
    int indexBufferType = 0;

    /// Copies the buffers of `mesh` (which must have a vertex and an index buffer).
    explicit tEditableMesh(const oxTriMesh& mesh);

    /// Replaces the buffers of `mesh` by new ones holding this mesh.
    void store(oxTriMesh& mesh) const;

    std::size_t vertexCount() const { return stride ? records.size() / stride : 0; }
    std::size_t triangleCount() const { return corners.size() / 3; }
    const float* position(unsigned int v) const { return &records[v * stride]; }

    /// Appends a vertex whose record averages those of `sources` (a plain copy for one source;
    /// for several, the mean normal is rescaled to unit length). Returns its index.
    unsigned int appendAverage(const unsigned int* sources, std::size_t count);

    /// Keeps the triangles whose flag is 0, in order; returns how many were dropped. O(T).
    unsigned int keepTriangles(const std::vector<std::uint8_t>& drop);

    /// Drops the vertices no triangle uses and renumbers the rest in order; returns how many
    /// were dropped. O(V + T).
    std::size_t dropUnusedVertices();
};

/// Corner after `corner` in its triangle.
inline unsigned int nextCorner(unsigned int corner)
{
    return corner % 3 == 2 ? corner - 2 : corner + 1;
}

}  // namespace detail
}  // namespace ox
