// Output by extension, for `oxmesh convert`.
#pragma once

#include <string>
#include <vector>

#include "formats/MeshData.h"

namespace oxmesh {

/// Writes `mesh` in the format named by the lower-case extension of `path`: .ply (binary
/// little-endian, or ASCII when `ascii`), .xyz (x y z [nx ny nz] lines), .obj. Every writer goes
/// through AtomicFile, so a failure never leaves a partial file. Throws FileError(path,
/// "unknown output extension ...") or the writer's FileError(path, "cannot write: ...").
void writeMesh(const std::string& path, const MeshData& mesh, bool ascii = false);

/// Throws the "unknown output extension" FileError unless writeMesh can write `path`. O(1);
/// lets a command refuse a bad output name before reading its input.
void checkOutputExtension(const std::string& path);

/// The extensions writeMesh accepts, with dots.
const std::vector<std::string>& supportedOutputExtensions();

}  // namespace oxmesh
