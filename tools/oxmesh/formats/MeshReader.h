// The one entry point the tool uses to read a file: checks the path, picks the
// reader by extension, and validates what comes back.
#pragma once

#include <string>
#include <vector>

#include "formats/MeshData.h"
#include "formats/Progress.h"

namespace oxmesh {

/// Reads any supported file as ONE mesh: scene formats are flattened (world transforms applied,
/// meshes concatenated) and welded by exact position across meshes; then validateMesh.
/// Dispatch by lower-case extension: .ply (own reader), .xyz .txt (point lists), .obj
/// (tinyobjloader), .off .stl .gltf .glb .fbx .3mf .dae .3ds (Assimp).
/// Throws FileError(path, ...) with one line: "no such file", "is a directory", "unknown file
/// extension '.abc' (supported: ...)", "file is empty", or the reader's or validation's problem.
MeshData readMesh(const std::string& path, const ProgressFn& progress = {});

/// Reads a file keeping its hierarchy: scene formats give their node tree (each mesh welded by
/// position), the others one root node holding mesh 0. Every mesh with vertices is validated;
/// a scene without any vertex fails with "no vertices". Same errors as readMesh.
SceneData readScene(const std::string& path, const ProgressFn& progress = {});

/// Lower-case extension of the file name in `path`, with its dot (".obj"), or "" if none.
std::string lowerCaseExtension(const std::string& path);

/// The extensions readMesh/readScene accept, with dots, in the order shown to users.
const std::vector<std::string>& supportedInputExtensions();

}  // namespace oxmesh
