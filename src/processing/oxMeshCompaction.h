// Rebuilding a mesh's buffers from a subset of its triangles and vertices.
#pragma once

#include <vector>

#include "scenegraph/oxAttributes.h"
#include "scenegraph/oxTriMesh.h"

namespace ox {
namespace detail {

/// Replaces the buffers of `mesh` by new ones: the triangles t with keepTriangle[t] != 0 in
/// their order, over the vertices v with keepVertex[v] != 0 in increasing old index (when
/// `keepVertex` is empty: exactly the vertices the kept triangles use), indices renumbered.
/// Vertex records are copied into layout `layout` kind by kind (oxMeshUtils::CopyVertexData).
/// Precondition: every index of a kept triangle is below the vertex count and is a kept
/// vertex. O(V + T).
void compactMesh(oxTriMesh& mesh, const std::vector<char>& keepTriangle, std::vector<char> keepVertex,
                 const oxAttributes& layout);

/// Number of vertices of `mesh` (0 without a vertex buffer).
unsigned int vertexCount(const oxTriMesh& mesh);

}  // namespace detail
}  // namespace ox
