// Welding by exact position. Readers that split vertices per corner or at attribute
// seams (everything read through Assimp) are welded before any topology work, so
// that closedness, components and genus describe the surface and not its storage.
#pragma once

#include <cstddef>

#include "formats/MeshData.h"

namespace oxmesh {

/// Merges every vertex into the first vertex (in index order) with exactly the same position
/// (-0 == +0; vertices with a non-finite coordinate are left alone). The surviving vertices keep
/// their relative order and their own normal and colour; the triangles are renumbered (their
/// order and polygonStarts are unchanged). Adds the number of merged vertices to
/// mesh.weldedVertices and returns it.
/// Cost: O(V + T) expected. Precondition: every triangle index is below the vertex count.
std::size_t weldByPosition(MeshData& mesh);

}  // namespace oxmesh
