// Scene formats read through Assimp: glTF/GLB, FBX, STL, OFF, 3MF, DAE, 3DS.
// Assimp's own validation is left out (it rejects point clouds): validateMesh runs
// on the result like on every other format.
#pragma once

#include <cstddef>
#include <string>

#include "formats/MeshData.h"
#include "formats/Progress.h"

namespace oxmesh {

/// Reads a scene file with Assimp and maps it to SceneData: one MeshData per aiMesh (positions,
/// normals, colour set 0 as RGB, hasTexCoords; polygons fan-triangulated here so faceSizes and
/// polygonStarts keep the real polygon sizes; point and line primitives are not faces) and the
/// node tree with each node's local transformation and mesh indices. Every mesh is welded by
/// exact position (Assimp splits vertices per corner or at attribute seams). The format is
/// chosen by Assimp from the extension and content. Cost: Assimp's import plus O(V + T).
/// Throws FileError(path, "cannot read: <Assimp's reason>") when Assimp fails or logs an error
/// while importing (some importers log a broken file and go on with made-up data), and
/// FileError(path, "mesh M face F refers to vertex V, but the mesh has N vertices") for broken
/// indices. An OFF header announcing more vertices and faces than the file can hold is refused
/// before Assimp allocates for them (checkOffHeader). Does not check coordinates (validateMesh
/// does).
SceneData readAssimpScene(const std::string& path, const ProgressFn& progress = {});

/// The same from memory; `formatHint` is the file extension without the dot ("off", "stl", ...),
/// `nameForErrors` starts every error message. Only formats that live in a single file work.
SceneData parseAssimpScene(const void* data, std::size_t size, const std::string& formatHint,
                           const std::string& nameForErrors, const ProgressFn& progress = {});

}  // namespace oxmesh
