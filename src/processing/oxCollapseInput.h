// The one input check of the edge-collapse drivers (GenericEdgeCollapse, QuadricSimplify):
// both need every index in range, no triangle naming a vertex twice and no edge on more than
// two triangles, and both print the same set-up message when the input fails.
#pragma once

#include "scenegraph/oxTriMesh.h"

namespace ox {
namespace detail {

constexpr const char* kNotManifoldMessage =
    "Error while initializing edge collapse: input mesh is not manifold";
constexpr const char* kIndexOutOfRangeMessage =
    "Error while initializing edge collapse: vertex index out of range";

enum class tCollapseInput {
    Valid,
    IndexOutOfRange,  ///< some index is not below the vertex count
    NotManifold       ///< a triangle names a vertex twice, or an edge has three or more triangles
};

/// Classifies a mesh with at least one triangle and a vertex buffer. O(V + T).
tCollapseInput checkCollapseInput(const oxTriMesh& mesh);

/// checkCollapseInput, printing the matching set-up message when the input is not valid.
/// Returns true for a valid input.
bool acceptCollapseInput(const oxTriMesh& mesh);

}  // namespace detail
}  // namespace ox
