// Enumeration of the undirected edges of a triangle list in order of first appearance.
#pragma once

#include <vector>

namespace ox {
namespace detail {

/// The distinct undirected edges of `triangleCount` triangles (`indices`, three per triangle),
/// numbered by first appearance when walking triangles in order and, within triangle (a, b, c),
/// the corner pairs (a, b), (b, c), (c, a). On return `v0[e] <= v1[e]` are the endpoints of
/// edge e and `triangleEdges[3t + k]` the edge of corner pair k of triangle t. Indices must be
/// below `vertexCount`. Cost O(T * valency); no ordered map.
void enumerateEdges(const unsigned int* indices, unsigned int triangleCount, unsigned int vertexCount,
                    std::vector<unsigned int>& v0, std::vector<unsigned int>& v1,
                    std::vector<unsigned int>& triangleEdges);

}  // namespace detail
}  // namespace ox
