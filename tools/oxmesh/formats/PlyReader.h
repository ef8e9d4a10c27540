// Reader for PLY files (ASCII, binary little- and big-endian) into MeshData.
#pragma once

#include "formats/MeshData.h"
#include "formats/Progress.h"

#include <cstddef>
#include <string>

namespace oxmesh {

/// Reads the PLY file at `path`: maps it into memory and runs parsePly on it.
/// O(file size). Throws FileError(path, problem) when the file cannot be opened
/// or its content is not a valid PLY mesh or point cloud.
MeshData readPly(const std::string& path, const ProgressFn& progress = {});

/// Parses a whole PLY file held in memory (`size` bytes at `data`).
/// Supports any elements in any order: `vertex` gives positions (x y z, any scalar
/// type), normals (nx ny nz) and colours (red green blue; uchar scaled to [0, 1]);
/// `face` lists are fan-triangulated; `tristrips` are decoded (-1 restarts a strip,
/// triangles with a repeated corner dropped); every other element and property is
/// read past. A file without faces is a point cloud. Non-finite coordinates are
/// kept. O(size); never allocates more than the size of the data justifies.
/// Throws FileError(nameForErrors, one-line problem) on malformed input: bad magic,
/// header or type, truncated data, non-numeric ASCII token, index out of range,
/// negative index or list count, counts the data cannot hold.
/// `progress`, if set, receives fractions 0..1 at most about 100 times.
MeshData parsePly(const char* data, std::size_t size, const std::string& nameForErrors,
                  const ProgressFn& progress = {});

}  // namespace oxmesh
