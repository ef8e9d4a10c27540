#pragma once

#include "scenegraph/oxPointer.h"
#include "scenegraph/oxSpatial.h"
#include "scenegraph/oxVertexBuffer.h"

namespace ox {

/// Mesh helpers working across vertex layouts and scene trees.
struct oxMeshUtils {
    /// Copies vertex `srcIndex` of `src` into vertex `dstIndex` of `dst`, channel kind by kind
    /// (position, normal, each colour unit, each texture unit, tangent, point size) for the
    /// kinds present in both layouts; when the channel counts differ the common leading
    /// channels are copied. Channels of `dst` absent from `src` are left unchanged.
    /// Preconditions: non-null buffers, indices in range (asserted in debug builds). O(stride).
    static void CopyVertexData(const oxVertexBuffer* src, oxVertexBuffer* dst, int srcIndex, int dstIndex);

    /// Merges every triangle mesh (oxTriMesh and derived classes) of the tree under `root` into
    /// one new oxGeometry with identity transforms. World transforms are updated first; meshes
    /// are visited depth first, children in slot order, and their positions mapped to world
    /// space (normals with the inverse transpose). The layout is positions, plus normals when
    /// every merged mesh has them. Vertices closer than `tolerance` are welded, the first vertex
    /// in visiting order representing its cluster (0 welds identical positions only, a negative
    /// tolerance welds nothing); triangles that become degenerate, or refer to vertices out of
    /// range, are dropped. Meshes without positions or index buffer are skipped. A root that is
    /// a mesh is merged alone. Returns null for a null root; an empty geometry when the tree has
    /// no mesh. Cost O(total vertices + triangles), times the neighbourhood size for welding.
    static oxPointer<oxSpatial> MergeNodeGeometries(oxPointer<oxSpatial> root, float tolerance);

    /// MergeNodeGeometries for a root that the caller keeps alive: no reference is taken on
    /// `root`, so an object not (yet) held by any oxPointer is not deleted. Same result.
    static oxPointer<oxSpatial> MergeTreeGeometries(oxSpatial* root, float tolerance);
};

}  // namespace ox
