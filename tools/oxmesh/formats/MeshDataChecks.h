// Consistency checks a writer runs on a MeshData before writing it.
#pragma once

#include "formats/MeshData.h"

#include <cstdint>
#include <string>

namespace oxmesh {

/// Checks that normals and colours, when present, have one triple per vertex and
/// that the triangle array holds whole triangles with indices below the vertex count
/// and below `maxIndex`. O(triangles). Throws FileError(path, "cannot write: ...").
void checkWritable(const MeshData& mesh, const std::string& path, std::uint64_t maxIndex);

}  // namespace oxmesh
