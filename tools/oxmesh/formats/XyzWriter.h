// Writer for XYZ text point clouds.
#pragma once

#include "formats/MeshData.h"

#include <string>

namespace oxmesh {

/// Writes the vertices of `mesh` to `path`, one per line: "x y z", or
/// "x y z nx ny nz" when the mesh has normals, in a form that reads back exactly.
/// Triangles and colours are not written. O(vertices). Written through AtomicFile:
/// on failure no partial file is left. Throws FileError(path, "cannot write: ...").
void writeXyz(const std::string& path, const MeshData& mesh);

}  // namespace oxmesh
