// The faces of a mesh as the file stored them: polygons rebuilt from the fan
// triangles and MeshData::polygonStarts. Edge statistics and the OBJ writer work on
// polygon sides, not on the diagonals the triangulation added.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "formats/MeshData.h"

namespace oxmesh {

struct PolygonList {
    /// Polygon p owns corners [offsets[p], offsets[p + 1]); offsets has polygonCount() + 1 entries.
    std::vector<std::uint32_t> offsets{0};
    std::vector<std::uint32_t> corners;  ///< vertex index of every corner, polygon after polygon

    std::size_t polygonCount() const { return offsets.size() - 1; }
    std::size_t cornerCount() const { return corners.size(); }
};

/// True when mesh.polygonStarts is absent or well formed: starts at 0, strictly increasing,
/// every entry below the triangle count. O(P).
bool hasValidPolygonStarts(const MeshData& mesh);

/// Rebuilds the polygons of `mesh`: polygon (v0, v1, v2, ..., vk-1) from its fan triangles
/// (v0, v1, v2), (v0, v2, v3), ... When polygonStarts is empty or malformed, every triangle is
/// one polygon. Cost O(T) time and 4 bytes per corner; no checks of the vertex indices.
PolygonList polygonsOf(const MeshData& mesh);

}  // namespace oxmesh
