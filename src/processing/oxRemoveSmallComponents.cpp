// Removal of connected pieces far smaller than the largest one.
#include <algorithm>
#include <cstdint>
#include <vector>

#include "processing/oxDisjointSets.h"
#include "processing/oxRepairSteps.h"

namespace ox {
namespace detail {

oxMeshProcessing::tSmallComponents removeSmallComponents(tEditableMesh& mesh, float fractionOfLargest)
{
    const std::vector<unsigned int>& corners = mesh.corners;
    tDisjointSets pieces(mesh.vertexCount());
    for (std::size_t c = 0; c < corners.size(); c += 3) {
        pieces.unite(corners[c], corners[c + 1]);
        pieces.unite(corners[c], corners[c + 2]);
    }
    std::vector<std::size_t> size(mesh.vertexCount(), 0);
    for (std::size_t c = 0; c < corners.size(); c += 3)
        ++size[pieces.find(corners[c])];
    const std::size_t largest = size.empty() ? 0 : *std::max_element(size.begin(), size.end());
    const double threshold = double(fractionOfLargest) * double(largest);
    oxMeshProcessing::tSmallComponents removed;
    for (std::size_t s : size)
        if (s > 0 && double(s) < threshold) {
            ++removed.components;
            removed.triangles += static_cast<unsigned int>(s);
        }
    std::vector<std::uint8_t> drop(mesh.triangleCount(), 0);
    for (std::size_t t = 0; t < drop.size(); ++t)
        drop[t] = double(size[pieces.find(corners[3 * t])]) < threshold;
    mesh.keepTriangles(drop);
    return removed;
}

}  // namespace detail

oxMeshProcessing::tSmallComponents oxMeshProcessing::RemoveSmallComponents(oxTriMesh& mesh,
                                                                           float fractionOfLargest)
{
    return detail::runOnMesh(
        mesh, tSmallComponents(),
        [&](detail::tEditableMesh& m) { return detail::removeSmallComponents(m, fractionOfLargest); },
        [](const tSmallComponents& r) { return r.triangles > 0; });
}

}  // namespace ox
