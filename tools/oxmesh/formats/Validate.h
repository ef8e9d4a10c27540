// The checks every loaded mesh passes before any command works on it, whatever
// the format: the readers stay permissive, the rules live here once.
#pragma once

#include <string>

#include "formats/MeshData.h"

namespace oxmesh {

/// Checks that `mesh` (read from `path`) is usable: at least one vertex; every coordinate
/// finite; every triangle index below the vertex count; normal and colour arrays either empty
/// or one record per vertex. Non-finite or zero normals are allowed (statistics count them).
/// Cost O(V + T). Throws FileError(path, ...) with one line naming the first problem, e.g.
/// "vertex 12 has a non-finite coordinate (nan, 0.1, 0.2); 40 vertices in all are not finite"
/// or "triangle 7 refers to vertex 99, but there are 3 vertices" (indices from 0).
void validateMesh(const MeshData& mesh, const std::string& path);

}  // namespace oxmesh
