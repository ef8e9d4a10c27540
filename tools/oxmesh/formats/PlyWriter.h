// Writer for PLY files from MeshData.
#pragma once

#include "formats/MeshData.h"

#include <string>

namespace oxmesh {

/// Writes `mesh` to `path` as PLY: binary little-endian (or ASCII when `binary` is
/// false) with `float x y z`, `float nx ny nz` when the mesh has normals,
/// `uchar red green blue` when it has colours (from [0, 1], rounded and clamped),
/// and a `face` element (`list uchar int vertex_indices`) when it has triangles.
/// ASCII numbers are written so that they read back exactly. O(mesh size).
/// The file is written through AtomicFile: on any failure no partial file is left
/// and an existing file at `path` is unchanged. Throws FileError(path,
/// "cannot write: <reason>") on I/O errors or when the mesh's arrays do not agree
/// (attribute sizes, indices out of range or beyond the int range).
void writePly(const std::string& path, const MeshData& mesh, bool binary = true);

}  // namespace oxmesh
