// Between the tool's plain file structs and the library's scene objects: loaded
// files become geometries and node trees the library works on, and library
// results become MeshData the writers take.
#pragma once

#include "formats/MeshData.h"
#include "scenegraph/oxGeometry.h"
#include "scenegraph/oxPointer.h"
#include "scenegraph/oxSpatial.h"
#include "scenegraph/oxTriMesh.h"
#include "scenegraph/oxVertexBuffer.h"

namespace oxmesh {

/// A new geometry holding `mesh`: vertex layout of 3 position channels, 3 normal channels when
/// the mesh has normals, colour unit 0 with 3 channels when it has colours; an index buffer of
/// its triangles (empty for a point cloud). Identity transforms. The object starts without
/// references: hand it to an ox::oxPointer. O(V + T).
/// Throws std::length_error when the mesh has more vertices or indices than an int can count.
ox::oxGeometry* toGeometry(const MeshData& mesh);

/// The vertices of `mesh` as a new vertex buffer (layout as toGeometry; normal channels also
/// when `withNormals`, zero where the mesh has none). Unreferenced: hand it to an oxPointer.
/// Throws std::length_error when the mesh has more vertices than an int can count. O(V).
ox::oxVertexBuffer* toVertexBuffer(const MeshData& mesh, bool withNormals = false);

/// The vertices of a buffer (may be null) as MeshData without triangles (see fromTriMesh). O(V).
MeshData fromVertexBuffer(const ox::oxVertexBuffer* vertices);

/// The scene as a node tree: one ox::oxNode per SceneNode (name and local transform taken
/// over, children in order), and under it one ox::oxGeometry leaf per mesh instance, in the
/// node's mesh order and before the child nodes. Instances of one mesh share its vertex and
/// index buffers. World transforms are updated before returning. Mesh indices out of range are
/// skipped. O(V + T) of the distinct meshes plus the node count.
ox::oxPointer<ox::oxSpatial> toSceneGraph(const SceneData& scene);

/// The vertices and triangles of a library mesh as MeshData: positions, normals when the layout
/// has normal channels, colour unit 0 (3 or 4 channels, alpha dropped) when present, and every
/// triangle of GetTriangle; format "oxTriMesh", one source face per triangle. Transforms are not
/// applied (local data). O(V + T). Indices are copied as they are (validateMesh checks them).
MeshData fromTriMesh(const ox::oxTriMesh& mesh);

}  // namespace oxmesh
