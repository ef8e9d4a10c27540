// Welding of vertices that lie within a tolerance of each other.
#include <cmath>
#include <cstdint>
#include <cstring>
#include <unordered_map>

#include "oxMeshProcessing.h"
#include "processing/oxMeshCompaction.h"
#include "scenegraph/oxIndexBuffer.h"
#include "scenegraph/oxVertexBuffer.h"

namespace ox {
namespace oxMeshProcessing {

namespace {

typedef Wm4::Vector3<float> tVec3;

struct tCell {
    std::int64_t x, y, z;
    bool operator==(const tCell& o) const { return x == o.x && y == o.y && z == o.z; }
};

struct tCellHash {
    std::size_t operator()(const tCell& c) const
    {
        return static_cast<std::size_t>(c.x * 73856093LL ^ c.y * 19349663LL ^ c.z * 83492791LL);
    }
};

/// Grid cell of p: cells of side `tolerance`, or the exact float bits when tolerance is 0.
tCell cellOf(const tVec3& p, float tolerance)
{
    if (tolerance > 0.0f) {
        return tCell{static_cast<std::int64_t>(std::floor(p.X() / tolerance)),
                     static_cast<std::int64_t>(std::floor(p.Y() / tolerance)),
                     static_cast<std::int64_t>(std::floor(p.Z() / tolerance))};
    }
    std::uint32_t bits[3];
    for (int k = 0; k < 3; ++k) {
        const float value = p[k] == 0.0f ? 0.0f : p[k];  // -0 and +0 weld
        std::memcpy(&bits[k], &value, sizeof(float));
    }
    return tCell{bits[0], bits[1], bits[2]};
}

}  // namespace

unsigned int WeldSimilarVertices(oxTriMesh& mesh, float tolerance)
{
    if (!CheckMeshSanity(mesh) || !(tolerance >= 0.0f)) {
        return 0;
    }
    const oxVertexBuffer& vb = *mesh.GetVertexBuffer();
    const unsigned int vertexCount = detail::vertexCount(mesh);
    std::vector<unsigned int> representative(vertexCount);
    std::unordered_map<tCell, std::vector<unsigned int>, tCellHash> grid;
    grid.reserve(vertexCount);
    const float squaredTolerance = tolerance * tolerance;
    const int reach = tolerance > 0.0f ? 1 : 0;
    unsigned int merged = 0;
    for (unsigned int v = 0; v < vertexCount; ++v) {
        const tVec3& p = vb.Position3(static_cast<int>(v));
        const tCell cell = cellOf(p, tolerance);
        unsigned int best = 0xFFFFFFFFu;
        for (int dx = -reach; dx <= reach; ++dx) {
            for (int dy = -reach; dy <= reach; ++dy) {
                for (int dz = -reach; dz <= reach; ++dz) {
                    const auto it = grid.find(tCell{cell.x + dx, cell.y + dy, cell.z + dz});
                    if (it == grid.end()) {
                        continue;
                    }
                    for (unsigned int r : it->second) {
                        if (r < best &&
                            (vb.Position3(static_cast<int>(r)) - p).SquaredLength() <= squaredTolerance) {
                            best = r;
                        }
                    }
                }
            }
        }
        if (best == 0xFFFFFFFFu) {
            representative[v] = v;
            grid[cell].push_back(v);
        } else {
            representative[v] = best;
            ++merged;
        }
    }
    oxIndexBuffer& ib = *mesh.GetIndexBuffer();
    const unsigned int triangleCount = detail::triangleCount(mesh);
    std::vector<char> keep(triangleCount, 1);
    for (unsigned int t = 0; t < triangleCount; ++t) {
        unsigned int c[3];
        for (int k = 0; k < 3; ++k) {
            c[k] = representative[ib[static_cast<int>(3 * t) + k]];
            ib[static_cast<int>(3 * t) + k] = c[k];
        }
        keep[t] = c[0] != c[1] && c[1] != c[2] && c[2] != c[0];
    }
    const oxAttributes layout = vb.GetAttributes();
    detail::compactMesh(mesh, keep, std::vector<char>(), layout);
    return merged;
}

}  // namespace oxMeshProcessing
}  // namespace ox
