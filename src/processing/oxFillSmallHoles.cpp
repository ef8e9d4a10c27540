// Closing of short boundary loops: a triangle for three edges, otherwise a fan around one new
// vertex at the loop's mean (new edges only to that vertex, so no non-manifold edge appears).
//
// Boundary sides (edges of one triangle) link each vertex to the next one along the hole; a loop
// is followed from its lowest-index vertex only through vertices with exactly one outgoing and
// one incoming boundary side, so a walk that meets another vertex counts as an open loop. The
// new triangles use the loop's sides the other way round, which keeps the orientation of the
// triangles around the hole. The new vertex's record is the mean of the loop's records, its
// normal rescaled to unit length.
#include <algorithm>
#include <cstdint>
#include <vector>

#include "oxMeshLibTypes.h"
#include "processing/oxEdgeSides.h"
#include "processing/oxRepairSteps.h"

namespace ox {
namespace detail {

oxMeshProcessing::tHoleFilling fillSmallHoles(tEditableMesh& mesh, unsigned int maxEdges)
{
    std::vector<unsigned int>& corners = mesh.corners;
    const std::size_t n = mesh.vertexCount();
    std::vector<unsigned int> next(n, kNoIndex);
    std::vector<std::uint8_t> outgoing(n, 0), incoming(n, 0);
    tEdgeSides(n, corners.data(), corners.size())
        .forEachEdge([&](unsigned int, unsigned int, const std::uint64_t* sides, std::size_t count) {
            if (count != 1)
                return;
            const unsigned int side = tEdgeSides::side(sides[0]);
            const unsigned int from = corners[side], to = corners[nextCorner(side)];
            next[from] = to;
            outgoing[from] = std::uint8_t(std::min(outgoing[from] + 1, 2));
            incoming[to] = std::uint8_t(std::min(incoming[to] + 1, 2));
        });
    auto regular = [&](unsigned int v) { return outgoing[v] == 1 && incoming[v] == 1; };

    oxMeshProcessing::tHoleFilling filled;
    std::vector<std::uint8_t> visited(n, 0);
    std::vector<unsigned int> loop;
    for (unsigned int start = 0; start < n; ++start) {
        if (visited[start] || !regular(start))
            continue;
        loop.clear();
        unsigned int v = start;
        bool closedLoop = true;
        do {
            visited[v] = 1;
            loop.push_back(v);
            v = next[v];
            if (!regular(v) || (visited[v] && v != start)) {
                closedLoop = false;
                break;
            }
        } while (v != start);
        if (!closedLoop || loop.size() > maxEdges) {
            ++filled.open;
            continue;
        }
        // The loop's sides v[i] -> v[i+1] belong to existing triangles; the new triangles use
        // them the other way round.
        const std::size_t k = loop.size();
        if (k == 3) {
            corners.insert(corners.end(), {loop[1], loop[0], loop[2]});
        } else {
            const unsigned int centre = mesh.appendAverage(loop.data(), k);
            for (std::size_t i = 0; i < k; ++i)
                corners.insert(corners.end(), {loop[(i + 1) % k], loop[i], centre});
        }
        ++filled.closed;
        filled.triangles += k == 3 ? 1 : static_cast<unsigned int>(k);
    }
    return filled;
}

}  // namespace detail

oxMeshProcessing::tHoleFilling oxMeshProcessing::FillSmallHoles(oxTriMesh& mesh, unsigned int maxEdges)
{
    return detail::runOnMesh(
        mesh, tHoleFilling(), [&](detail::tEditableMesh& m) { return detail::fillSmallHoles(m, maxEdges); },
        [](const tHoleFilling& r) { return r.closed > 0; });
}

}  // namespace ox
