// Vertex adjacency of a triangle mesh in compressed-row form, shared by the local operations
// (smoothing, edge flips).
#pragma once

#include <vector>

#include "scenegraph/oxTriMesh.h"

namespace ox {
namespace detail {

/// Neighbours and incident triangles of every vertex, plus a per-vertex flag for vertices on a
/// boundary or non-manifold edge (an edge not shared by exactly two triangles).
struct tMeshAdjacency {
    std::vector<unsigned int> neighbourStart, neighbours;  // rows of neighbour vertices
    std::vector<unsigned int> triangleStart, triangles;    // rows of incident triangles (ascending)
    std::vector<char> onBorder;

    /// Builds the adjacency of `mesh` (indices must be in range). O(V + T * valency).
    explicit tMeshAdjacency(const oxTriMesh& mesh);
};

}  // namespace detail
}  // namespace ox
