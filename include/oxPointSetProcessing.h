// Static operations on point clouds: the Morton point hierarchy, the k-nearest-neighbour
// graph, point radii, centring and scaling.
//
// Points are interleaved float records (x, y, z first) with a stride in floats. After
// oxMiniBVH::build the records are in Morton order and every index below means an index
// in that order.
#pragma once

#include <cstdint>
#include <vector>

#include "oxMiniBVH.h"
#include "scenegraph/oxPointer.h"
#include "scenegraph/oxTriMesh.h"
#include "scenegraph/oxVertexBuffer.h"
#include "system/oxProgressNotifierInterface.h"

namespace ox {
namespace oxPointSetProcessing {

/// Neighbour graph in compressed-row form. neighbours holds all lists one after another;
/// pairs[2i] is the length of point i's list and pairs[2i + 1] its start in neighbours.
/// Lists are in increasing distance. The graph is not symmetric. The arrays are malloc'd
/// and released by the structure (or replaced by the next ComputeKNN).
struct KNN {
    unsigned int* neighbours = nullptr;
    unsigned int* pairs = nullptr;
    unsigned int total = 0;

    KNN() = default;
    ~KNN();
    KNN(const KNN&) = delete;
    KNN& operator=(const KNN&) = delete;

    unsigned int getNoNeighbours(unsigned int i) const { return pairs[2 * i]; }
    const unsigned int* getNeighbours(unsigned int i) const { return neighbours + pairs[2 * i + 1]; }
};

/// For every point, its nearest neighbours thinned to those not hidden behind a nearer
/// one. `points` must be the array `bvh` was built on (Morton order, mark bits clear).
/// The candidate heap keeps S - 1 points, S the largest power of two not above min(count,
/// k), clamped to [2, 256] and halved when above count (k = 16 gives 15 candidates); the
/// nearest candidate (normally the point itself) is dropped and a candidate q survives a
/// nearer kept a only when (q - a).(p - a) > 0. Two passes (count, then fill) size the
/// result exactly; the previous arrays of `result` are freed. Progress, when a notifier is
/// given: 0.5 i / count in the first pass, 0.5 + 0.5 i / count in the second. A hierarchy
/// built with 3 bits or fewer per axis runs the search and stores nothing (the result
/// keeps its previous arrays). Temporarily uses bit 0 of x as a mark; clears it again.
/// Cost: about O(count * (k + log count)) on surface-like clouds; no allocation per query.
void ComputeKNN(float* points, unsigned int count, unsigned int stride, const oxMiniBVH& bvh, unsigned int k,
                KNN& result, oxProgressNotifierInterface* notifier = nullptr);

/// Splat radius per point from its neighbour distances: s = sum over neighbours of
/// 1 / (0.5 |pj - pi|)^3, radius = sqrt(pi) * (n / s)^(1/3) * factor, written to
/// radii[i * radiusStride]. A point without neighbours gets NaN (0/0), a neighbour at
/// distance 0 gives radius 0.
void ComputePointsRadii(unsigned int count, const float* points, unsigned int stride, float* radii,
                        unsigned int radiusStride, const KNN& knn, float factor);

/// Moves the cloud into [-1, 1] along its largest axis: p = (p - centre) / half, with
/// centre the middle of the bounding box and half half its largest extent (computed in
/// double, stored as float). Writes centre (3 floats) and half (1 float).
void CenterAndScale(float* points, unsigned int count, unsigned int stride, float* centre, float* scale);

/// A mesh that shows the graph: vertices i and count + i copy input vertex i (the second
/// moved by +0.0001 on each axis) and each link j of point i becomes the triangle
/// (j, i, count + i). The caller shares the result.
oxPointer<oxTriMesh> KNNToMesh(const KNN& knn, const oxVertexBuffer* vertices);

/// Plain k nearest neighbours of every point, the point itself excluded, in increasing
/// distance and in the caller's point order (the points are not reordered: the search
/// works on a private Morton-sorted copy). `neighbours` receives count * k indices;
/// slots beyond the number of other points hold 0xFFFFFFFF. Cost: O(count k log count).
void ComputeKNearest(const float* points, unsigned int count, unsigned int stride, unsigned int k,
                     std::vector<unsigned int>& neighbours, oxProgressNotifierInterface* notifier = nullptr);

/// Unoriented normal of every point by local principal component analysis: the
/// eigenvector of the smallest eigenvalue of the covariance of the point and its k
/// nearest neighbours. Written to normals[i * normalStride .. + 2], unit length; a point
/// with fewer than 2 neighbours, or whose neighbourhood has no plane (all neighbours
/// equal), gets the zero vector. Progress 0..1 when a notifier is given.
void EstimateNormals(const float* points, unsigned int count, unsigned int stride, float* normals,
                     unsigned int normalStride, unsigned int k = 16,
                     oxProgressNotifierInterface* notifier = nullptr);

/// Consistent orientation of unoriented normals. Over the symmetric k-nearest-neighbour
/// graph, each connected component is seeded at its point of largest x, whose normal is
/// turned to face away from the component's centroid (outwards), and orientation is
/// propagated along a minimum spanning tree whose edge weight is the disagreement
/// 1 - |ni . nj| of the two normals, so that propagation crosses flat regions first and
/// creases last. A normal is flipped when it disagrees with its tree parent. Zero normals
/// are left as they are and do not propagate. Returns the number of components.
unsigned int OrientNormals(const float* points, unsigned int count, unsigned int stride, float* normals,
                           unsigned int normalStride, unsigned int k = 16,
                           oxProgressNotifierInterface* notifier = nullptr);

/// Orients every normal towards a viewpoint (a scanner position): n is flipped when
/// n . (viewpoint - p) < 0.
void OrientNormalsTowards(const float* points, unsigned int count, unsigned int stride, float* normals,
                          unsigned int normalStride, const float viewpoint[3]);

/// Estimates the normal of every point of `cloud` (EstimateNormals, k neighbours) and orients
/// them consistently outwards per connected part (OrientNormals); an addition of ours.
/// Returns:       the number of connected parts oriented.
/// On failure:    a cloud without a normal channel is left alone (0).
/// Side effects:  overwrites the normals; points whose neighbourhood spans no plane get (0, 0, 0).
/// Cost:          O(n k log n). `notifier` (may be null) gets 0..0.5 while estimating, 0.5..1 while
///                orienting.
unsigned int EstimateOrientedNormals(oxVertexBuffer& cloud, unsigned int k = 16,
                                     oxProgressNotifierInterface* notifier = nullptr);

/// Drops the points whose normal is zero or not finite; the others keep their whole records in
/// order (an addition of ours).
/// Returns:       the number of points dropped.
/// On failure:    a cloud without a normal channel is left alone (0).
/// Cost:          O(n), in place.
unsigned int RemovePointsWithoutNormal(oxVertexBuffer& cloud);

}  // namespace oxPointSetProcessing
}  // namespace ox
