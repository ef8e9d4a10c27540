// Distances between triangle surfaces for the reconstruction benchmark: the distance from a
// point to the nearest triangle of a mesh through a uniform grid of the triangles, and the
// two-sided Hausdorff and RMS distances of two meshes measured on dense surface samples.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "io/MeshData.h"

namespace oxbench {

/// Nearest-triangle distances to one mesh.
class TriangleDistance {
public:
    /// Buckets the triangles of `mesh` (kept by reference: it must outlive this object) into a
    /// uniform grid of about two mean edge lengths per cell, at most 200 cells per axis. O(T).
    /// Precondition: at least one triangle.
    explicit TriangleDistance(const oxmesh::MeshData& mesh);

    /// Euclidean distance from `p` to the nearest triangle: cells are searched in growing
    /// shells around p's cell until no unsearched cell can hold a nearer triangle. O(triangles
    /// in the searched cells). Exact up to double rounding.
    double distance(const double p[3]) const;

private:
    std::array<std::int64_t, 3> cellOf(const double p[3]) const;
    double searchCell(std::int64_t x, std::int64_t y, std::int64_t z, const double p[3], double best) const;

    const oxmesh::MeshData& mesh_;
    double origin_[3] = {0, 0, 0};
    double cell_ = 1.0;
    std::int64_t dims_[3] = {1, 1, 1};
    std::vector<std::uint32_t> cellStart_;  ///< CSR: triangles of cell c are at cellStart_[c] .. [c + 1]
    std::vector<std::uint32_t> cellTriangles_;
};

/// Distance from p to the triangle (a, b, c), closest-feature classification in double. O(1).
double pointTriangleDistance(const double p[3], const double a[3], const double b[3], const double c[3]);

/// Two-sided distance of two surfaces, as fractions of a reference length.
struct SurfaceError {
    double hausdorff = 0.0;  ///< largest sample-to-other-surface distance, both directions
    double rms = 0.0;        ///< root mean square over the samples of both directions
    std::size_t samples = 0; ///< samples that entered the figures (both directions)
};

/// Samples about `samples` points on each of `a` and `b` (area-weighted), measures each sample's
/// distance to the other mesh, and returns the figures divided by `reference`. When `keep` is
/// given, only samples for which keep(x, y, z) is true count (for errors near features).
/// Cost O(samples x triangles per searched cell). Preconditions: both meshes have triangles.
SurfaceError compareSurfaces(const oxmesh::MeshData& a, const oxmesh::MeshData& b, std::size_t samples,
                             double reference, const std::function<bool(const float*)>& keep = {});

/// Bounding-box diagonal of the mesh's vertices. O(V).
double boundingDiagonal(const oxmesh::MeshData& mesh);

/// The sharp edges of a mesh: pairs of vertex positions (6 floats per edge) of the edges shared
/// by exactly two triangles whose normals differ by more than `degrees`. O(T log T).
std::vector<float> creaseEdges(const oxmesh::MeshData& mesh, double degrees);

/// Distance from p to the nearest of the segments (6 floats each). O(segments).
double distanceToSegments(const float* p, const std::vector<float>& segments);

}  // namespace oxbench
