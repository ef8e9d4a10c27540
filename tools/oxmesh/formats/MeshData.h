// In-memory form of a mesh or point cloud as read from a file, before it becomes
// library objects. Flat arrays keep the readers fast and easy to fuzz, and the
// statistics of `oxmesh info` work on them directly.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace oxmesh {

struct MeshData {
    std::vector<float> positions;          ///< x y z per vertex
    std::vector<float> normals;            ///< empty, or nx ny nz per vertex
    std::vector<float> colors;             ///< empty, or r g b in [0, 1] per vertex
    std::vector<std::uint32_t> triangles;  ///< three vertex indices per triangle (polygons triangulated)

    // Facts about the source, reported by `oxmesh info`.
    std::string format;           ///< e.g. "ply binary_little_endian", "obj", "xyz", "gltf"
    std::size_t sourceFaces = 0;  ///< faces as stored in the file (polygons, or strip triangles)
    std::map<unsigned, std::size_t> faceSizes;   ///< polygon size -> count, over the source faces
    bool hasTexCoords = false;                   ///< the file carried texture coordinates (not kept)
    std::vector<std::string> skippedProperties;  ///< per-vertex properties read past (confidence, ...)

    /// How the triangles group into the file's polygons, so that edge and topology statistics
    /// see the polygon sides and not the fan diagonals. Empty when every source face is one
    /// triangle (or the reader does not know better); otherwise one entry per polygon, in file
    /// order: the index of its first triangle. A k-gon (v0 .. vk-1) owns the k-2 consecutive
    /// triangles (v0, vi, vi+1), i = 1 .. k-2.
    std::vector<std::uint32_t> polygonStarts;
    std::size_t weldedVertices = 0;  ///< vertices merged into an earlier one with the same position

    std::size_t vertexCount() const { return positions.size() / 3; }
    std::size_t triangleCount() const { return triangles.size() / 3; }
    bool hasNormals() const { return !normals.empty(); }
    bool hasColors() const { return !colors.empty(); }
};

/// A node of a scene hierarchy: a local transform (row-major 4x4, column vectors:
/// p' = M p, translation in the last column) and the meshes it instances.
struct SceneNode {
    std::string name;
    std::array<float, 16> transform{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    std::vector<std::size_t> meshes;  ///< indices into SceneData::meshes
    std::vector<SceneNode> children;
};

/// A file's scene: its meshes and the hierarchy that places them. Formats without
/// a hierarchy (PLY, OBJ, XYZ, STL, OFF) give one root node holding mesh 0.
struct SceneData {
    std::vector<MeshData> meshes;
    SceneNode root;
};

}  // namespace oxmesh
