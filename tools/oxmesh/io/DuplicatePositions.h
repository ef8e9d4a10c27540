// Finding vertices that sit at exactly the same position: the basis of welding
// (Assimp splits vertices per corner) and of the duplicate count of `oxmesh info`.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace oxmesh {

/// For every vertex of a flat x y z array, the index of the first vertex (in index order) that
/// has exactly the same coordinates; a vertex seen for the first time maps to itself. -0 and +0
/// compare equal; a vertex with a non-finite coordinate is never merged (maps to itself).
/// Cost: O(n) expected (open-addressing hash table of 2n slots), 4 bytes per vertex plus the
/// table. Precondition: positions.size() is a multiple of 3 and below 2^32 vertices.
std::vector<std::uint32_t> firstVertexWithSamePosition(const std::vector<float>& positions);

/// Number of vertices whose position already occurred at a lower index (n minus the number of
/// distinct finite positions minus the non-finite vertices). Same cost as above.
std::size_t countDuplicatePositions(const std::vector<float>& positions);

}  // namespace oxmesh
