// Distances between triangle meshes for the quality columns of the benchmarks: closest points
// on a triangle set through a bounding-volume hierarchy, and the two-sided Hausdorff and RMS
// distance between two surfaces from dense surface samples (optionally only some samples).
#pragma once

#include <cstddef>
#include <functional>
#include <vector>

#include "formats/MeshData.h"

namespace oxbench {

/// Closest-point queries on the triangles of one mesh (the mesh must outlive the object).
/// Built once in O(T log T); each query visits the boxes closer than the best hit so far.
class TriangleSetDistance {
public:
    explicit TriangleSetDistance(const oxmesh::MeshData& mesh);

    /// Squared distance from point `p` (x y z) to the nearest triangle, and that triangle in
    /// `triangle` (may be null). +infinity for a mesh without triangles.
    double squaredDistance(const float* p, std::size_t* triangle = nullptr) const;

private:
    struct Node {
        float lo[3], hi[3];
        unsigned int first, count;  ///< leaf: range [first, first + count) of order_; inner: count 0
        unsigned int right;         ///< inner: children nodes first (left) and right
    };
    unsigned int build(unsigned int begin, unsigned int end);
    double pointTriangle(const float* p, std::size_t t) const;

    const oxmesh::MeshData& mesh_;
    std::vector<unsigned int> order_;  ///< triangle indices, grouped by leaf
    std::vector<float> centroids_;
    std::vector<Node> nodes_;
};

/// Two-sided deviation between surfaces, as fractions of a reference length.
struct SurfaceDeviation {
    double hausdorff = 0.0;   ///< largest sample distance, either way
    double rms = 0.0;         ///< root mean square over the samples of both ways together
    std::size_t samples = 0;  ///< samples that entered the figures (both ways)
};

/// Bounding-box diagonal of the mesh's vertices. O(V). 0 for a mesh without vertices.
double boundingDiagonal(const oxmesh::MeshData& mesh);

/// Samples about `samples` points on each of `a` and `b` (area-weighted, fixed seed), measures
/// each to the other surface and divides the figures by `reference`. When `keep` is given, only
/// samples for which keep(p) is true count (e.g. errors near features); with none kept the
/// figures are 0. O((S + T) log T). A side without triangles gives +infinity.
SurfaceDeviation compareSurfaces(const oxmesh::MeshData& a, const oxmesh::MeshData& b, std::size_t samples,
                                 double reference, const std::function<bool(const float*)>& keep = {});

/// compareSurfaces() of the two meshes relative to the bounding-box diagonal of `reference`.
/// O((S + T) log T).
SurfaceDeviation surfaceDeviation(const oxmesh::MeshData& reference, const oxmesh::MeshData& other,
                                  std::size_t samples = 200000);

/// Triangles of `simplified` whose normal points against the normal of the reference triangle
/// nearest to their centroid (negative dot product): turned-over triangles. Degenerate
/// triangles are not counted. O(T log T).
std::size_t flippedTriangles(const oxmesh::MeshData& reference, const oxmesh::MeshData& simplified);

}  // namespace oxbench
