// Colocation of points: the one welder behind every merge of vertices (the scene merge of
// oxMeshUtils, the library's WeldSimilarVertices and ColocateVertices, the tool's weld of split
// vertices and its duplicate count).
#pragma once

#include <cstddef>

namespace ox {

/// Groups points that lie within `tolerance` of an earlier group's first point.
/// Points are visited in index order; point i joins the lowest-indexed earlier representative r
/// with |p_i - p_r| <= tolerance (distance in double precision), otherwise it becomes a
/// representative. Tolerance 0 joins bitwise-equal positions only (-0 and +0 alike); a negative
/// or NaN tolerance joins nothing; a point with a non-finite coordinate is never joined and
/// never joins.
/// Returns:       the number of representatives; representative[i] <= i is the representative of
///                point i (representative[r] == r for representatives).
/// Preconditions: count < 2^32 - 1; point i's x, y, z start at points + i * stride.
/// Cost:          O(n) expected (hash of grid cells of side `tolerance`, 27 cells per lookup);
///                about 40 bytes per point of scratch memory.
std::size_t ColocatePoints(const float* points, std::size_t count, std::size_t stride, float tolerance,
                           unsigned int* representative);

}  // namespace ox
