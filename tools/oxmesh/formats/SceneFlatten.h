// One mesh from a scene, for the commands that work on a single mesh.
#pragma once

#include "formats/MeshData.h"

namespace oxmesh {

/// Concatenates every mesh instance of the scene in depth-first node order (a node's meshes,
/// then its children), each transformed by its node's world transform (the product of the
/// local transforms from the root): positions by the full matrix, normals by the inverse
/// transpose of its 3x3 part and renormalised (zero normals stay zero). A mesh used by two
/// nodes appears twice; meshes no node uses are left out. Normals and colours are kept only
/// when every instance has them; face counts, polygon sizes and weld counts add up.
/// Cost O(V + T) of the result. No welding across meshes (the caller decides).
MeshData flattenScene(const SceneData& scene);

}  // namespace oxmesh
