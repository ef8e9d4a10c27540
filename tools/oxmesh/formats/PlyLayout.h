// What the elements and properties of a PLY header mean for a MeshData: which
// element holds the vertices, which property is x, which list holds face indices.
#pragma once

#include "formats/MeshData.h"
#include "formats/PlyHeader.h"

#include <cstdint>
#include <string>
#include <vector>

namespace oxmesh::ply {

enum class ElementKind : std::uint8_t { Vertex, Face, Strips, Other };

/// The use the decoder makes of one property. X to Blue are consecutive (the
/// decoder indexes a row buffer with them), colours last.
enum class Role : std::uint8_t { Skip, X, Y, Z, NX, NY, NZ, Red, Green, Blue, Indices };

struct ElementLayout {
    ElementKind kind = ElementKind::Other;
    std::vector<Role> roles;  ///< one per property of the element
};

struct Layout {
    std::vector<ElementLayout> elements;  ///< one per header element
    std::uint64_t vertexCount = 0;
    bool hasNormals = false;
    bool hasColors = false;
};

/// Assigns roles to the properties of `header`. O(properties).
/// Requires one `vertex` element with scalar x, y and z; takes nx ny nz and
/// red green blue when all three of a group are scalars; a `face` element needs
/// an integer list `vertex_indices` (or `vertex_index`), a `tristrips` element an
/// integer list `vertex_indices`. Names of vertex properties it does not use go to
/// mesh.skippedProperties; texture coordinates set mesh.hasTexCoords.
/// Throws FileError(nameForErrors, problem) when the header cannot describe a mesh.
Layout planLayout(const Header& header, MeshData& mesh, const std::string& nameForErrors);

}  // namespace oxmesh::ply
