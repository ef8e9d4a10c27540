// Wavefront OBJ output: the small writer behind `oxmesh convert x.obj`.
#pragma once

#include <string>

#include "formats/MeshData.h"

namespace oxmesh {

/// Writes `mesh` as OBJ: `v x y z` (plus `r g b` when the mesh has colours), `vn` per vertex
/// when it has normals, and the file's polygons (rebuilt from polygonStarts) as `f` lines with
/// 1-based indices (`f a//a ...` with normals); a point cloud gets no `f` lines. Numbers are
/// written in the shortest form that reads back to the same float. O(mesh size).
/// Written through AtomicFile: on failure no partial file is left and an existing file is
/// unchanged. Throws FileError(path, "cannot write: <reason>").
void writeObj(const std::string& path, const MeshData& mesh);

}  // namespace oxmesh
