// Wavefront OBJ input through tinyobjloader, keeping the file's own vertex
// numbering (no per-corner splitting) and its polygons (fan-triangulated here so
// that faceSizes and polygonStarts record the real polygon sizes).
#pragma once

#include <cstddef>
#include <string>

#include "formats/MeshData.h"
#include "formats/Progress.h"

namespace oxmesh {

/// Reads an OBJ file: `v` positions (with the `v x y z r g b` colour extension when every vertex
/// has one), `f` polygons fan-triangulated, per-vertex normals when every used vertex gets one
/// from the `vn` of its first corner, hasTexCoords when `vt` lines exist. Materials, groups,
/// lines and points are ignored; a missing .mtl is not an error. Reads the file once into
/// memory. Throws FileError for unreadable files, `v` lines that are not 3 to 7 numbers
/// ("line 7: 'abc' is not a number"; tinyobjloader alone would read them as 0), tinyobjloader
/// parse errors, faces with fewer than 3 or more than 255 vertices, and vertex or normal
/// references outside the file's lists ("face 3 refers to vertex 99, but there are 3
/// vertices", numbers as in the file, from 1). Non-finite coordinates ("nan", "inf") are kept
/// for validateMesh to report.
MeshData readObj(const std::string& path, const ProgressFn& progress = {});

/// The same from a memory buffer; `nameForErrors` starts every error message. Reports
/// progress while tinyobjloader consumes the buffer.
MeshData parseObj(const char* data, std::size_t size, const std::string& nameForErrors,
                  const ProgressFn& progress = {});

}  // namespace oxmesh
