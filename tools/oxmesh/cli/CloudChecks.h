// Checks of a cloud the user hands to the reconstruction, before the library sees it.
#pragma once

#include <string>

#include "scenegraph/oxVertexBuffer.h"

namespace oxmesh {

/// Throws FileError(path, ...) unless `cloud` can be reconstructed: at least
/// kMinReconstructionPoints points, normals present ("the cloud has no normals; run 'oxmesh
/// normals' first or pass --estimate-normals"), and every normal finite and non-zero (the
/// message says how many are not). O(n).
void checkOrientedCloud(const std::string& path, const ox::oxVertexBuffer& cloud, bool hasNormals);

}  // namespace oxmesh
