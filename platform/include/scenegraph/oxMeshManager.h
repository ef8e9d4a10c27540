#pragma once

#include <string>

namespace ox {

class oxObject;
class oxProgressNotifierInterface;

/// Writes meshes to disk (debug dumps).
struct oxMeshManager {
    /// Writes `object` as a binary little-endian PLY file: `float x y z`, then `float nx ny nz`
    /// when the mesh has normals and `uchar red green blue` when it has colour unit 0 (clamped
    /// to [0, 1], scaled to 0..255), then faces as `uchar` count 3 and `int` indices.
    /// Accepted objects: a triangle mesh (written in its own coordinates), an oxGenericGeometry
    /// (quads split), or a node whose meshes are merged in world space without welding.
    /// `progress` (may be null) receives 0 then 1; `options` is reserved (pass 0).
    /// Returns false for a null or unsupported object, or an I/O failure.
    static bool saveMesh(const oxObject* object, const std::string& path,
                         oxProgressNotifierInterface* progress, unsigned int options);
};

}  // namespace ox
