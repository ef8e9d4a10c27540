// Sharp edges of a mesh as line segments, and the distance from a point to them: lets a quality
// measurement keep only the samples near a model's creases.
#pragma once

#include <vector>

#include "formats/MeshData.h"

namespace oxbench {

/// The sharp edges of a mesh: pairs of vertex positions (6 floats per edge) of the edges shared
/// by exactly two triangles whose normals differ by more than `degrees`. O(T log T). Empty when
/// there are none.
std::vector<float> creaseEdges(const oxmesh::MeshData& mesh, double degrees);

/// Distance from p (x y z) to the nearest of the segments (6 floats each). O(segments).
/// The largest double when there are no segments.
double distanceToSegments(const float* p, const std::vector<float>& segments);

}  // namespace oxbench
