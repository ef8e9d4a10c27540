#include "formats/PolygonList.h"

namespace oxmesh {

bool hasValidPolygonStarts(const MeshData& mesh)
{
    const std::vector<std::uint32_t>& starts = mesh.polygonStarts;
    if (starts.empty())
        return true;
    if (starts.front() != 0)
        return false;
    for (std::size_t p = 1; p < starts.size(); ++p)
        if (starts[p] <= starts[p - 1])
            return false;
    return starts.back() < mesh.triangleCount();
}

PolygonList polygonsOf(const MeshData& mesh)
{
    PolygonList list;
    const std::size_t triangles = mesh.triangleCount();
    const bool grouped = !mesh.polygonStarts.empty() && hasValidPolygonStarts(mesh);
    const std::size_t polygons = grouped ? mesh.polygonStarts.size() : triangles;
    list.offsets.reserve(polygons + 1);
    list.corners.reserve(polygons * 2 + triangles);

    const std::uint32_t* t = mesh.triangles.data();
    for (std::size_t p = 0; p < polygons; ++p) {
        const std::size_t begin = grouped ? mesh.polygonStarts[p] : p;
        const std::size_t end = grouped ? (p + 1 < polygons ? mesh.polygonStarts[p + 1] : triangles) : p + 1;
        list.corners.push_back(t[3 * begin]);
        list.corners.push_back(t[3 * begin + 1]);
        for (std::size_t k = begin; k < end; ++k)
            list.corners.push_back(t[3 * k + 2]);
        list.offsets.push_back(static_cast<std::uint32_t>(list.corners.size()));
    }
    return list;
}

}  // namespace oxmesh
