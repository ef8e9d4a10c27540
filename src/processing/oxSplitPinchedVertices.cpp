// Splitting of pinched vertices: one vertex per fan of triangles around it.
#include <cstdint>
#include <vector>

#include "oxMeshLibTypes.h"
#include "processing/oxDisjointSets.h"
#include "processing/oxEdgeSides.h"
#include "processing/oxRepairSteps.h"

namespace ox {
namespace detail {

unsigned int splitPinchedVertices(tEditableMesh& mesh, unsigned int& addedCopies)
{
    std::vector<unsigned int>& corners = mesh.corners;
    // Two corners at a vertex are in one fan when their triangles share an edge at that vertex
    // (every edge has at most two sides here).
    tDisjointSets fans(corners.size());
    tEdgeSides(mesh.vertexCount(), corners.data(), corners.size())
        .forEachEdge([&](unsigned int, unsigned int, const std::uint64_t* sides, std::size_t count) {
            if (count != 2)
                return;
            const unsigned int s = tEdgeSides::side(sides[0]), t = tEdgeSides::side(sides[1]);
            for (const unsigned int corner : {s, nextCorner(s)})
                fans.unite(corner, corners[t] == corners[corner] ? t : nextCorner(t));
        });

    // The first fan met at a vertex keeps it; every further fan gets a copy.
    std::vector<unsigned int> vertexOfFan(corners.size(), kNoIndex);
    std::vector<std::uint8_t> state(mesh.vertexCount(), 0);  // 1: taken, 2: split
    unsigned int pinched = 0;
    addedCopies = 0;
    for (unsigned int c = 0; c < corners.size(); ++c) {
        const unsigned int fan = fans.find(c);
        if (vertexOfFan[fan] == kNoIndex) {
            const unsigned int v = corners[c];
            if (state[v] == 0) {
                state[v] = 1;
                vertexOfFan[fan] = v;
            } else {
                pinched += state[v] == 1;
                state[v] = 2;
                vertexOfFan[fan] = mesh.appendAverage(&v, 1);
                ++addedCopies;
            }
        }
        corners[c] = vertexOfFan[fan];
    }
    return pinched;
}

}  // namespace detail

unsigned int oxMeshProcessing::SplitPinchedVertices(oxTriMesh& mesh)
{
    unsigned int added = 0;
    return detail::runOnMesh(
        mesh, 0u, [&](detail::tEditableMesh& m) { return detail::splitPinchedVertices(m, added); },
        [](unsigned int n) { return n > 0; });
}

}  // namespace ox
