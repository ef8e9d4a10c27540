// Reader for XYZ text point clouds: one point per line, "x y z" or
// "x y z nx ny nz", separated by blanks or commas; '#' starts a comment line.
#pragma once

#include "formats/MeshData.h"
#include "formats/Progress.h"

#include <cstddef>
#include <string>

namespace oxmesh {

/// Reads the XYZ file at `path` (mapped into memory, then parseXyz). O(file size).
/// Throws FileError(path, problem) when it cannot be opened or is not valid XYZ.
MeshData readXyz(const std::string& path, const ProgressFn& progress = {});

/// Parses XYZ text held in memory. Blank lines and lines starting with '#' are
/// skipped; every other line must hold the same number of columns, 3 (positions)
/// or 6 (positions and normals). O(size). Throws FileError(nameForErrors, problem)
/// naming the line for a wrong column count, an empty column or a non-numeric value,
/// and for input with no points at all. `progress` as for parsePly.
MeshData parseXyz(const char* data, std::size_t size, const std::string& nameForErrors,
                  const ProgressFn& progress = {});

}  // namespace oxmesh
