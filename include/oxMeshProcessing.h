// Static operations on triangle meshes: quadric edge-collapse simplification and clean-up
// operations that repair or tidy a mesh in place.
//
// Meshes are read through their vertex buffer (Position3 per vertex) and index buffer (three
// indices per triangle, triangle count = index count / 3). Operations that change the topology
// replace the mesh's buffers by new, compacted ones. Failed preconditions print a diagnostic line
// to standard output and leave the mesh unchanged; no exceptions, no error codes.
#pragma once

#include <limits>
#include <vector>

#include "oxQuadricErrorMetric.h"
#include "scenegraph/oxGeometry.h"
#include "scenegraph/oxTriMesh.h"
#include "system/oxProgressNotifierInterface.h"

namespace ox {
namespace oxMeshProcessing {

// ---------------------------------------------------------------------------------------------
// Simplification

/// Why an edge-collapse run ended (reported through tEdgeCollapseReport).
enum class tCollapseStop {
    NotManifold,        ///< set-up refused the input (message printed); mesh unchanged
    TargetAboveCount,   ///< the target was above the triangle count; mesh unchanged
    TargetReached,      ///< the requested number of collapses was performed
    ErrorBoundReached,  ///< the cheapest queued edge cost reached the squared error bound
    NoLegalCollapse     ///< no queued edge is legal (queue empty or only infinite costs left)
};

/// Outcome of GenericEdgeCollapse, for callers that report it.
struct tEdgeCollapseReport {
    tCollapseStop stop = tCollapseStop::NotManifold;
    unsigned int trianglesBefore = 0;
    unsigned int trianglesAfter = 0;
    unsigned int collapses = 0;
};

/// Simplifies `mesh` in place by repeated edge collapses, cheapest first, until
/// `targetTriangleCount` is reached (each collapse removes two triangles, so (T - target) / 2
/// collapses are attempted) or the cheapest cost reaches maxError^2 (written into `metric`).
///
/// Set-up prints "Error while initializing edge collapse: input mesh is not manifold" and
/// returns unchanged for a triangle with two equal corners or an edge claimed by a third
/// triangle. With colour unit 0 present, every vertex is painted (1, 0.2, 0.2) and every
/// survivor of a collapse (0.2, 0.2, 1). Edges with both endpoints in `lockedVertices` are never
/// collapsed; an edge with one locked endpoint collapses onto that endpoint's position (costed
/// there). A collapse is skipped when the edge is on the boundary, when both endpoints are on
/// the boundary (it would pinch the surface), when an apex has valency <= 3, when the link
/// condition fails, or when the cost recomputed at removal time is infinite (fold-over or
/// crowded neighbourhood since it was queued: the edge is dropped until a neighbouring collapse
/// re-costs it, so no triangle is ever flipped); a finite recomputed cost collapses even above
/// the bound, which is tested on the queued cost only. A recomputed
/// cost that differs from the queued one prints "error at edge E (iterationN): new != old"
/// during the first 100 collapses (diagnostic only). The survivor is the endpoint with the
/// smaller index. Queue ties are broken by the smaller edge index. Finally the mesh gets new
/// buffers: the surviving vertices (whole records, in index order) and the triangles with three
/// distinct corners. Closed manifold input stays closed and manifold with the same Euler
/// characteristic. `report` (may be null) receives the outcome; progress (may be null) gets
/// done / needed. Cost O(E log E).
void GenericEdgeCollapse(oxTriMesh& mesh, oxQuadricErrorMetric& metric, unsigned int targetTriangleCount,
                         float maxError, const std::vector<bool>* lockedVertices = nullptr,
                         oxProgressNotifierInterface* progress = nullptr,
                         tEdgeCollapseReport* report = nullptr);

/// What QuadricSimplify aims for.
struct tQuadricSimplifyOptions {
    unsigned int targetTriangleCount = 0;
    /// Stop when the cheapest collapse would move the surface by more than this, measured as
    /// the area-weighted RMS distance of the merged vertex to the planes of the original
    /// triangles it stands for, in mesh units; infinity: no bound.
    float maxError = std::numeric_limits<float>::infinity();
    /// Vertices that must not move (may be null); an edge between two of them never collapses.
    const std::vector<bool>* lockedVertices = nullptr;
};

/// High-quality simplification of an edge-manifold mesh by greedy quadric edge collapses,
/// the cheapest first, until options.targetTriangleCount triangles (or one more) are left, the error bound
/// is reached, or no legal collapse remains. Unlike GenericEdgeCollapse it has no limit on the
/// neighbourhood size and carries its quadrics through the whole run, so it reaches small
/// targets in one call with the error measured against the input:
/// - every vertex holds the plane quadrics of its original triangles, weighted by area, plus
///   planes perpendicular to every open border edge (weighted by ten times its squared length),
///   which keep borders in place; merged vertices add their quadrics;
/// - the merged vertex minimises its quadric plus a tiny pull towards the edge midpoint (1e-9
///   of the quadric's weight, which only decides the directions the planes leave free, e.g.
///   along a crease or across a flat region), solved in double precision in a frame where half
///   the bounding box's largest side is 1; a locked endpoint keeps its position;
/// - candidates are ordered by their quadric error (area times squared distance) in an indexed
///   queue, and the edges around every collapse are re-costed; the error bound is tested
///   against the area-weighted RMS distance of each candidate; an edge refused for its
///   neighbourhood leaves the queue, and the live edges are queued again whenever the queue
///   runs dry above the target after some progress;
/// - a collapse is refused when it breaks the link condition, joins two border vertices through
///   an inner edge, leaves an apex with a degenerate fan, turns a neighbouring triangle by more
///   than about 78 degrees, or makes one degenerate. Closed manifold input therefore stays
///   closed and manifold with the same Euler characteristic, and no triangle is flipped.
/// The survivor is the endpoint with the smaller index; other vertex channels (normals,
/// colours, texture coordinates) are those of the survivor. Finally the mesh gets compacted
/// buffers (used vertices in old order, live triangles in old order). Non-manifold input (a
/// triangle repeating a vertex, an edge on three or more triangles, an index out of range)
/// prints "Error while initializing edge collapse: input mesh is not manifold" and is left
/// unchanged. `report` (may be null) tells why it stopped; progress (may be null) gets the
/// fraction of the triangles to remove that are gone. Cost O(T log T).
void QuadricSimplify(oxTriMesh& mesh, const tQuadricSimplifyOptions& options,
                     oxProgressNotifierInterface* progress = nullptr, tEdgeCollapseReport* report = nullptr);

/// Simplification that leaves the shape visually unchanged: QuadricSimplify down to no
/// target, with an error bound of 1e-3 of half the bounding box's largest side, i.e. it removes
/// the triangles that flat and gently curved regions do not need. Non-manifold input is left
/// unchanged (with the set-up message). An empty mesh is left alone.
void HQEdgeCollapse(oxTriMesh& mesh, oxProgressNotifierInterface* progress = nullptr);

// ---------------------------------------------------------------------------------------------
// Normals and sanity

/// Adds the angle-weighted unit face normals of every triangle to the vertex normals already in
/// the buffer, then normalises every vertex normal (zero when the sum is zero). The old normals
/// are deliberately kept in the sum; zero them first for normals from the geometry alone.
/// acos arguments are not clamped (rounding just outside [-1, 1] gives NaN). No normal channel:
/// no change. O(V + T).
void RecomputeNormals(oxTriMesh& mesh);

/// Removes the connected components (ClusterizeConnectedComponents) whose triangles face inwards:
/// per component, the normals of the triangles touching its vertex of smallest x are summed (the
/// sum restarts whenever a triangle reveals a vertex with a strictly smaller x); a positive x
/// component of that sum marks the component inverted. Replaces the buffers by compacted ones
/// (kept vertices in old order; positions, plus normals and colour unit 0 when present; other
/// channels dropped). O(V + T).
void EraseComponentsWithInvertedNormals(oxTriMesh& mesh);

/// False when the index buffer holds fewer than 3 indices (or is absent) or an index is not
/// below the vertex count; true otherwise (an index count that is not a multiple of 3 is not
/// detected). O(indices).
bool CheckMeshSanity(const oxTriMesh& mesh);

// ---------------------------------------------------------------------------------------------
// Components

/// Labels every triangle with its connected component (0 .. count - 1) in `labels` and returns
/// the count. Triangles are connected when they share a vertex (so pinched parts form one
/// component); components are numbered in order of their first triangle. O(V + T).
unsigned int ClusterizeConnectedComponents(const oxTriMesh& mesh, std::vector<unsigned int>& labels);

/// Keeps only the connected component with the most triangles (the first one on ties); vertices
/// no longer used are removed, the rest keep their whole records in old order. O(V + T).
void KeepSingleConnectedComponent(oxTriMesh& mesh);

// ---------------------------------------------------------------------------------------------
// Smoothing and shape improvement

/// `iterations` passes of uniform Laplacian smoothing: each interior vertex moves by `factor`
/// towards the average of its neighbours, vertex after vertex. A move is refused when it would
/// turn any incident triangle to face against its normal in the input (non-positive dot
/// product) or make it degenerate, so no triangle is ever flipped. Boundary vertices and
/// vertices flagged in `lockedVertices` (may be null) stay fixed. O(iterations * T).
void SafeLaplacianSmoothing(oxTriMesh& mesh, unsigned int iterations, float factor,
                            const std::vector<bool>* lockedVertices = nullptr);

/// Improves triangle shape by edge flips: an interior edge (a, b) shared by triangles (a, b, c)
/// and (b, a, d) becomes (c, d) when the smallest angle of the new pair is larger than that of
/// the old pair, the two triangles are nearly coplanar (normals within about 10 degrees, so
/// creases are kept), edge (c, d) does not exist yet (no non-manifold edge) and both new
/// triangles face the same side as the old ones (no flipped triangle). Passes repeat until no
/// flip applies (at most 50). Non-manifold edges are never flipped. O(passes * T).
void FlipEdges(oxTriMesh& mesh);

// ---------------------------------------------------------------------------------------------
// Repair of real files

/// Welds vertices within `tolerance` (distance <= tolerance; 0 welds identical positions only,
/// -0 and +0 alike): vertices are visited in index order and each joins the lowest-indexed
/// earlier representative within the tolerance, or becomes a representative. Triangles are redirected to representatives, triangles that
/// become degenerate are dropped, vertices left unused are removed (records kept in old order).
/// Returns the number of vertices merged into others. Cost O(V) expected (uniform grid).
unsigned int WeldSimilarVertices(oxTriMesh& mesh, float tolerance);

/// Removes every triangle whose three vertex indices (in any order or winding) equal those of
/// an earlier triangle; the first occurrence is kept, vertices are untouched. Returns the
/// number of triangles removed. Invalid indices (CheckMeshSanity false): no change. O(T log T).
unsigned int RemoveDuplicateTriangles(oxTriMesh& mesh);

// ---------------------------------------------------------------------------------------------
// Chain

/// KeepSingleConnectedComponent; then, unless `iterations` is 0, for each iteration i: when
/// `smooth`, SafeLaplacianSmoothing(geometry, 5, 0.2, null); FlipEdges(geometry); and on the
/// first pass only, HQEdgeCollapse(geometry, null).
void Filter(oxGeometry& geometry, bool smooth, unsigned int iterations);

}  // namespace oxMeshProcessing
}  // namespace ox

namespace ox {
namespace oxMeshProcessing {

/// Evens out vertex valences by edge flips, so that a following edge collapse finds more
/// edges whose neighbourhood is small enough to collapse. An interior edge (a, b) with apexes c
/// and d becomes (c, d) when that strictly lowers the sum of squared deviations of the four
/// valences from their ideal (6 inside, 4 on the boundary), i.e. when
/// (va - ia) + (vb - ib) - (vc - ic) - (vd - id) >= 3. A flip is refused when it would create
/// an existing edge (non-manifold), leave a or b with fewer than 3 edges, turn a new triangle
/// against either old one or make it degenerate, or when the two old triangles bend by more
/// than `maxBendDegrees` (creases and curved regions keep their shape). Non-manifold and
/// boundary edges are never flipped; vertices do not move. Passes repeat until none flips (at
/// most `maxPasses`). Returns the number of flips. O(passes * T).
unsigned int FlipEdgesForValence(oxTriMesh& mesh, float maxBendDegrees = 20.0f, unsigned int maxPasses = 10);

}  // namespace oxMeshProcessing
}  // namespace ox
