// Trimming of extrapolated surface: triangles that touch an unsupported vertex, grown from the
// open and non-manifold edges through such triangles.
//
// A surface fitted to points grows flaps and bands past sharp edges or a scan's rim, and those
// end in open rims; a gap between the samples of a well covered region is enclosed by fitted
// surface instead. So the trim starts only at the triangles on an edge that is not shared by
// exactly two triangles, and spreads across two-sided edges while the next triangle also
// touches an unsupported vertex. The test is asked lazily, once per vertex, only around the
// rims and the region grown from them.
#include <cstdint>
#include <vector>

#include "oxMeshLibTypes.h"
#include "processing/oxEdgeSides.h"
#include "processing/oxRepairSteps.h"

namespace ox {
namespace detail {

unsigned int trimUnsupportedTriangles(tEditableMesh& mesh,
                                      const oxMeshProcessing::tUnsupportedVertexTest& test)
{
    const std::vector<unsigned int>& corners = mesh.corners;
    const std::size_t triangles = mesh.triangleCount();
    // Asked lazily, once per vertex: only around the rims and the region grown from them.
    std::vector<std::int8_t> away(mesh.vertexCount(), -1);
    auto candidate = [&](unsigned int t) {
        bool any = false;
        for (unsigned int k = 0; k < 3; ++k) {
            std::int8_t& a = away[corners[3 * t + k]];
            if (a < 0)
                a = test(corners[3 * t + k]) ? 1 : 0;
            any = any || a;
        }
        return any;
    };
    std::vector<std::uint8_t> drop(triangles, 0);
    // Neighbours across two-sided edges; seeds on the others.
    std::vector<unsigned int> across(corners.size(), kNoIndex), pending;
    tEdgeSides(mesh.vertexCount(), corners.data(), corners.size())
        .forEachEdge([&](unsigned int, unsigned int, const std::uint64_t* sides, std::size_t count) {
            if (count == 2) {
                across[tEdgeSides::side(sides[0])] = tEdgeSides::side(sides[1]) / 3;
                across[tEdgeSides::side(sides[1])] = tEdgeSides::side(sides[0]) / 3;
                return;
            }
            for (std::size_t i = 0; i < count; ++i) {
                const unsigned int t = tEdgeSides::side(sides[i]) / 3;
                if (!drop[t] && candidate(t))
                    drop[t] = 1, pending.push_back(t);
            }
        });
    while (!pending.empty()) {
        const unsigned int t = pending.back();
        pending.pop_back();
        for (unsigned int k = 0; k < 3; ++k) {
            const unsigned int n = across[3 * t + k];
            if (n != kNoIndex && !drop[n] && candidate(n))
                drop[n] = 1, pending.push_back(n);
        }
    }
    return mesh.keepTriangles(drop);
}

}  // namespace detail

unsigned int oxMeshProcessing::TrimUnsupportedTriangles(oxTriMesh& mesh,
                                                        const tUnsupportedVertexTest& unsupported)
{
    if (!unsupported)
        return 0;
    return detail::runOnMesh(
        mesh, 0u, [&](detail::tEditableMesh& m) { return detail::trimUnsupportedTriangles(m, unsupported); },
        [](unsigned int n) { return n > 0; });
}

}  // namespace ox
