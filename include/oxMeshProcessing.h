// oxMeshProcessing: static operations on triangle meshes. Edge-collapse simplification, normals
// and sanity, connected components, smoothing and edge flips, welding, the repair steps that
// make a reconstructed or scanned mesh manifold, and topology statistics.
//
// Meshes are read through their vertex buffer (Position3 per vertex) and index buffer (three
// indices per triangle, triangle count = index count / 3). Operations that change the topology
// replace the mesh's buffers by new, compacted ones. A failed precondition leaves the mesh
// unchanged; where a block names a message, it goes to the library's message stream (standard
// output unless oxMeshLib::SetMessageStream chose another). No exceptions, no error codes.
// How each operation works, and the published method it follows, is told at the top of its
// source file.
#pragma once

#include <cstddef>
#include <functional>
#include <limits>
#include <vector>

#include "oxMeshLibTypes.h"
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
    NotManifold,  ///< set-up refused the input (message printed); mesh unchanged
    /// No collapse tried: the target was above the triangle count (or equal to it, for
    /// QuadricSimplify), or the mesh was empty.
    TargetAboveCount,
    TargetReached,  ///< the requested number of collapses was performed
    /// The bound ended the run: the cheapest queued cost reached maxError^2 (GenericEdgeCollapse),
    /// or only candidates over the bound were left (QuadricSimplify).
    ErrorBoundReached,
    NoLegalCollapse  ///< no queued edge is legal (queue empty or only infinite costs left)
};

/// Outcome of GenericEdgeCollapse, for callers that report it.
struct tEdgeCollapseReport {
    tCollapseStop stop = tCollapseStop::NotManifold;
    unsigned int trianglesBefore = 0;
    unsigned int trianglesAfter = 0;
    unsigned int collapses = 0;
};

/// Simplifies `mesh` in place by edge collapses under `metric`, cheapest first, until
/// `targetTriangleCount` is reached or the cheapest queued cost reaches maxError^2.
/// Returns:       nothing; `report` (may be null) receives the stop reason and the counts.
/// On failure:    a triangle with two equal corners or an edge claimed by a third triangle
///                prints "Error while initializing edge collapse: input mesh is not manifold",
///                an index not below the vertex count "Error while initializing edge collapse:
///                vertex index out of range"; the mesh is left unchanged (stop NotManifold). An
///                empty mesh is left alone. A target above the triangle count makes no collapse
///                and no rebuild (stop TargetAboveCount; the input colours below are painted).
/// Preconditions: a fresh `metric` (init fills it; its squared bound is set to maxError^2 here).
/// Side effects:  (T - target) / 2 collapses are attempted (each removes two triangles). Edges
///                with both endpoints in `lockedVertices` (may be null) never collapse; an edge
///                with one locked endpoint collapses onto that endpoint's position (costed
///                there). An edge is skipped when it lies on the boundary, when an apex has
///                valency <= 3 or when the link condition fails (the source lists the tests);
///                interior edges between two boundary vertices are collapsible. The queued cost
///                is +infinity for a collapse that would flip a triangle or crowd more than 10
///                triangles around the edge; the cost recomputed at removal does not stop a
///                collapse (the bound is tested on the queued cost only): when it differs from
///                the queued one, "error at edge E (iterationN): new != old" is printed during
///                the first 100 collapses and the collapse proceeds. The survivor is the
///                endpoint with the smaller index; queue ties go to the smaller edge index. With
///                colour unit 0 present, every vertex is painted (1, 0.2, 0.2), also when there
///                are no triangles, and every survivor of a collapse (0.2, 0.2, 1). Finally the
///                mesh gets new buffers (the caller's buffers are replaced, not rewritten): the
///                surviving vertices (whole records, in index order) and the triangles with
///                three distinct corners. Closed manifold input stays closed and manifold with
///                the same Euler characteristic.
/// Cost:          O(E log E); `progress` (may be null) gets done / needed.
void GenericEdgeCollapse(oxTriMesh& mesh, oxQuadricErrorMetric& metric, unsigned int targetTriangleCount,
                         float maxError, const std::vector<bool>* lockedVertices = nullptr,
                         oxProgressNotifierInterface* progress = nullptr,
                         tEdgeCollapseReport* report = nullptr);

/// What QuadricSimplify aims for.
struct tQuadricSimplifyOptions {
    unsigned int targetTriangleCount = 0;
    /// Collapses that would move the surface by more than this are passed over, measured as
    /// the area-weighted RMS distance of the merged vertex to the planes of the original
    /// triangles it stands for, in mesh units; infinity: no bound.
    float maxError = std::numeric_limits<float>::infinity();
    /// Vertices that must not move (may be null); an edge between two of them never collapses.
    const std::vector<bool>* lockedVertices = nullptr;
};

/// Simplifies an edge-manifold mesh in place by greedy quadric edge collapses, cheapest first,
/// until options.targetTriangleCount triangles (or one more) are left (an addition of ours).
/// Unlike GenericEdgeCollapse it has no limit on the neighbourhood size and carries its quadrics
/// through the whole run, so it reaches small targets in one call with the error measured
/// against the input.
/// Returns:       nothing; `report` (may be null) tells why it stopped: TargetReached,
///                ErrorBoundReached (only candidates over options.maxError were left) or
///                NoLegalCollapse.
/// On failure:    a triangle repeating a vertex or an edge on three or more triangles prints
///                "Error while initializing edge collapse: input mesh is not manifold", an index
///                out of range "Error while initializing edge collapse: vertex index out of
///                range"; the mesh is left unchanged (stop NotManifold). An empty mesh, or a
///                target not below the triangle count, is left unchanged (stop TargetAboveCount).
/// Preconditions: options.lockedVertices (may be null) flags vertices by index; missing entries
///                are unlocked.
/// Side effects:  a collapse is refused when it breaks the link condition, joins two border
///                vertices through an inner edge, touches a pinched vertex, leaves an apex with
///                a degenerate fan, turns a neighbouring triangle by more than about 78 degrees,
///                or makes one degenerate. Closed manifold input therefore stays closed and
///                manifold with the same Euler characteristic, and no triangle is flipped.
///                Open borders are held in place by border planes; a locked endpoint keeps its
///                position. The survivor is the endpoint with the smaller index; other vertex
///                channels (normals, colours, texture coordinates) are those of the survivor;
///                vertices that absorbed no collapse keep their exact positions. Finally the
///                mesh gets compacted buffers (used vertices in old order, live triangles in old
///                order).
/// Cost:          O(T log T); `progress` (may be null) gets the fraction of the triangles to
///                remove that are gone, every 1024 collapses.
void QuadricSimplify(oxTriMesh& mesh, const tQuadricSimplifyOptions& options,
                     oxProgressNotifierInterface* progress = nullptr, tEdgeCollapseReport* report = nullptr);

/// Parameters of GenericEdgeCollapseInPasses.
struct tCollapsePassesOptions {
    unsigned int targetTriangleCount = 0;
    /// Bound on the root of each run's collapse cost, in the metric's frame (half the bounding
    /// box's largest side is 1); infinity: no bound.
    float maxError = std::numeric_limits<float>::infinity();
    bool lockBoundary = false;     ///< vertices on open borders keep their positions
    float lambda = 0.01f;          ///< pull of merged vertices towards the edge midpoint
    unsigned int maxPasses = 40;   ///< collapse runs at most
    float maxBendDegrees = 20.0f;  ///< flips only between triangles bending less than this
};

/// What GenericEdgeCollapseInPasses did.
struct tCollapsePassesReport {
    tCollapseStop stop = tCollapseStop::NotManifold;  ///< why the last run ended
    unsigned int trianglesBefore = 0;
    unsigned int trianglesAfter = 0;
    unsigned int passes = 0;  ///< collapse runs made
    unsigned int flips = 0;   ///< valence flips made between runs
};

/// Runs GenericEdgeCollapse repeatedly, with FlipEdgesForValence between the runs, towards
/// targets a single run stalls above (an addition of ours).
/// Returns:       nothing; `report` (may be null) tells why the last run stopped, the runs made
///                and the flips.
/// On failure:    non-manifold input prints the collapse's set-up line and is left unchanged
///                (stop NotManifold).
/// Side effects:  every run uses a fresh metric (options.lambda) and options.maxError; between
///                runs FlipEdgesForValence(options.maxBendDegrees) evens out the valences. The
///                runs stop at the target or the bound, when no flip applies, when a run after
///                the first collapses nothing, or after options.maxPasses runs. With
///                options.lockBoundary the vertices on open borders are locked afresh for every
///                run. Every run replaces the mesh's buffers as GenericEdgeCollapse does.
/// Cost:          O(T log T) per run. `progress` (may be null) gets the overall fraction of the
///                triangles to remove that are gone (1 when the target is reached).
void GenericEdgeCollapseInPasses(oxTriMesh& mesh, const tCollapsePassesOptions& options,
                                 oxProgressNotifierInterface* progress = nullptr,
                                 tCollapsePassesReport* report = nullptr);

/// Simplifies without visible change: QuadricSimplify with no target and an error bound of 1e-3
/// of half the bounding box's largest side, i.e. it removes the triangles that flat and gently
/// curved regions do not need.
/// On failure:    non-manifold input is left unchanged (with the set-up message). A mesh without
///                vertices is left alone.
/// Side effects:  as QuadricSimplify: compacted buffers.
/// Cost:          O(T log T); `progress` (may be null) as QuadricSimplify's.
void HQEdgeCollapse(oxTriMesh& mesh, oxProgressNotifierInterface* progress = nullptr);

// ---------------------------------------------------------------------------------------------
// Normals and sanity

/// Adds the angle-weighted unit face normals of every triangle to the vertex normals already in
/// the buffer, then normalises every vertex normal.
/// Returns:       nothing; a vertex whose sum is zero gets the zero normal.
/// On failure:    no normal channel: no change. acos arguments are not clamped, so rounding just
///                outside [-1, 1] gives a NaN normal.
/// Preconditions: indices in range (not checked).
/// Side effects:  the old normals are deliberately kept in the sum; zero them first for normals
///                from the geometry alone. Positions and buffers are kept.
/// Cost:          O(V + T).
void RecomputeNormals(oxTriMesh& mesh);

/// Removes the connected components (ClusterizeConnectedComponents) whose triangles face
/// inwards: those whose triangles at the vertex of smallest x have normals summing to a
/// positive x component.
/// Returns:       nothing.
/// Preconditions: indices in range (not checked).
/// Side effects:  always replaces the buffers by compacted ones: the vertices the kept triangles
///                use, in old order, with positions, plus normals and colour unit 0 when
///                present; other channels are dropped.
/// Cost:          O(V + T).
void EraseComponentsWithInvertedNormals(oxTriMesh& mesh);

/// Tests the index buffer against the vertex count.
/// Returns:       false when the index buffer is absent or holds fewer than 3 indices, or an
///                index is not below the vertex count; true otherwise (an index count that is not
///                a multiple of 3 is not detected).
/// Cost:          O(indices).
bool CheckMeshSanity(const oxTriMesh& mesh);

// ---------------------------------------------------------------------------------------------
// Components

/// Labels every triangle with its connected component; triangles are connected when they share
/// a vertex, so pinched parts form one component.
/// Returns:       the number of components; `labels` (resized to the triangle count) holds
///                0 .. count - 1, components numbered in order of their first triangle.
/// Preconditions: indices in range (not checked).
/// Cost:          O(V + T).
unsigned int ClusterizeConnectedComponents(const oxTriMesh& mesh, std::vector<unsigned int>& labels);

/// Keeps only the connected component with the most triangles (the first one on ties).
/// Preconditions: indices in range (not checked).
/// Side effects:  with two or more components, replaces the buffers: vertices no kept triangle
///                uses are removed, the rest keep their whole records in old order. A mesh of
///                one component (or none) is left as it is.
/// Cost:          O(V + T).
void KeepSingleConnectedComponent(oxTriMesh& mesh);

// ---------------------------------------------------------------------------------------------
// Smoothing and shape improvement

/// Moves interior vertices towards the average of their neighbours (uniform Laplacian smoothing)
/// without ever flipping a triangle.
/// On failure:    invalid indices (CheckMeshSanity false) or `iterations` 0: no change.
/// Side effects:  `iterations` passes; in each, vertex after vertex in index order, a vertex
///                moves by `factor` towards the average of its neighbours' current positions. A
///                move is refused when it would turn any incident triangle to face against its
///                normal in the input (non-positive dot product) or make it degenerate. Vertices
///                on an open or non-manifold edge, vertices without neighbours and vertices
///                flagged in `lockedVertices` (may be null) stay fixed. Only positions change.
/// Cost:          O(iterations * T).
void SafeLaplacianSmoothing(oxTriMesh& mesh, unsigned int iterations, float factor,
                            const std::vector<bool>* lockedVertices = nullptr);

/// Improves triangle shape by edge flips that raise the smallest angle of nearly coplanar pairs.
/// On failure:    invalid indices (CheckMeshSanity false): no change.
/// Side effects:  an interior edge (a, b) shared by triangles (a, b, c) and (b, a, d) becomes
///                (c, d) when the smallest angle of the new pair exceeds that of the old pair
///                (by more than 1e-4 radians), the two triangles are nearly coplanar (normals
///                within about 10 degrees, so creases are kept), edge (c, d) does not exist yet
///                (no non-manifold edge) and both new triangles face the same side as the old
///                ones (no flipped triangle). Non-manifold and boundary edges, and edges whose
///                triangles disagree in winding, are never flipped; a triangle takes part in at
///                most one flip per pass. Passes repeat until no flip applies (at most 50).
///                Indices are rewritten in place; vertices do not move.
/// Cost:          O(passes * T).
void FlipEdges(oxTriMesh& mesh);

// ---------------------------------------------------------------------------------------------
// Repair of real files

/// Groups vertices that lie within `tolerance` of an earlier group's first vertex (an addition
/// of ours: the one welder of the library, on raw arrays).
/// Returns:       the number of groups; representative[i] <= i names the first vertex of i's
///                group. Vertices are visited in index order and each joins the lowest-indexed
///                earlier representative within the tolerance (|p - r| <= tolerance in double
///                precision), else starts a group.
/// On failure:    a negative or NaN tolerance joins nothing; a vertex with a non-finite
///                coordinate is never joined and never joins. Tolerance 0 joins bitwise-equal
///                positions only (-0 and +0 alike).
/// Preconditions: count < 2^32 - 1; vertex i's x, y, z start at positions + i * stride;
///                `representative` holds count entries.
/// Cost:          O(n) expected (hashed grid of cells of side `tolerance`), ~40 bytes per vertex.
std::size_t ColocateVertices(const float* positions, std::size_t count, std::size_t stride, float tolerance,
                             unsigned int* representative);

/// Welds the vertices of `mesh` that ColocateVertices groups.
/// Returns:       the number of vertices merged into others.
/// On failure:    invalid indices (CheckMeshSanity false) or a negative or NaN tolerance: no
///                change, 0.
/// Side effects:  triangles are redirected to representatives; triangles that become degenerate
///                are dropped; unused vertices are removed (whole records, old order).
/// Cost:          O(V + T) expected.
unsigned int WeldSimilarVertices(oxTriMesh& mesh, float tolerance);

/// Removes every triangle whose three vertex indices (in any order or winding) equal those of
/// an earlier triangle; the first occurrence is kept.
/// Returns:       the number of triangles removed.
/// On failure:    invalid indices (CheckMeshSanity false): no change, 0.
/// Side effects:  when a triangle goes, the buffers are replaced: every vertex is kept (whole
///                records, same order), the remaining triangles keep their order.
/// Cost:          O(T log T).
unsigned int RemoveDuplicateTriangles(oxTriMesh& mesh);

// ---------------------------------------------------------------------------------------------
// Repair (additions of ours: the steps that make a reconstructed or scanned mesh manifold
// without moving a vertex, one operation each, and RepairMesh to run a choice of them). Each
// step leaves a mesh without a vertex or an index buffer alone (returning zeros), and replaces
// the buffers (same vertex layout; kept triangles and vertices in order) only when it changed
// something.

/// Whether vertex v lies where the surface is extrapolated rather than fitted (away from the
/// points that support it); asked at most once per vertex.
using tUnsupportedVertexTest = std::function<bool(unsigned int vertex)>;

/// Drops the triangles that touch an unsupported vertex and are reached from an open or
/// non-manifold edge through such triangles: flaps and bands grown past sharp edges or a scan's
/// rim go, gaps enclosed by fitted surface stay.
/// Returns:       the number of triangles dropped (vertices are kept; see RemoveUnusedVertices).
/// On failure:    an empty `unsupported` test: no change, 0.
/// Preconditions: indices in range.
/// Cost:          O(V + T); `unsupported` is asked only around the rims and the trimmed region.
unsigned int TrimUnsupportedTriangles(oxTriMesh& mesh, const tUnsupportedVertexTest& unsupported);

/// Drops the triangles that name a vertex twice.
/// Returns:       the number dropped (vertices are kept).
/// Cost:          O(T).
unsigned int RemoveDegenerateTriangles(oxTriMesh& mesh);

/// Drops every triangle on an edge that more than two triangles share.
/// Returns:       the number dropped (vertices are kept).
/// Preconditions: indices in range.
/// Cost:          O(V + T).
unsigned int RemoveNonManifoldTriangles(oxTriMesh& mesh);

/// Gives every fan of triangles around a vertex a vertex of its own (two corners at a vertex
/// are in one fan when their triangles share an edge at it); the first fan met in triangle order
/// keeps the vertex, the others get copies of its whole record, appended in order.
/// Returns:       the number of pinched vertices (vertices that were split).
/// Preconditions: indices in range; no edge on more than two triangles (RemoveNonManifoldTriangles).
/// Cost:          O(V + T).
unsigned int SplitPinchedVertices(oxTriMesh& mesh);

/// What RemoveSmallComponents dropped.
struct tSmallComponents {
    unsigned int components = 0;
    unsigned int triangles = 0;
};

/// Drops the connected pieces (triangles joined through shared vertices) with fewer than
/// `fractionOfLargest` times the triangles of the largest piece.
/// Returns:       the pieces and triangles dropped (vertices are kept).
/// Preconditions: indices in range.
/// Cost:          O(V + T).
tSmallComponents RemoveSmallComponents(oxTriMesh& mesh, float fractionOfLargest);

/// What FillSmallHoles did.
struct tHoleFilling {
    unsigned int closed = 0;     ///< boundary loops closed
    unsigned int triangles = 0;  ///< triangles added to close them
    unsigned int open = 0;       ///< boundary loops left open (longer than the limit, or not simple)
};

/// Closes the boundary loops of at most `maxEdges` edges, so that the closure creates no
/// non-manifold edge: one triangle for three edges, otherwise a fan around one new vertex at
/// the loop's mean (its record the mean of the loop's, normal rescaled to unit length).
/// Returns:       the counts; only loops through vertices with one outgoing and one incoming
///                boundary side are followed (the others count as open).
/// Preconditions: indices in range; consistently oriented, no pinched vertex
///                (SplitPinchedVertices).
/// Side effects:  new triangles are appended, new vertices appended after the old ones.
/// Cost:          O(V + T).
tHoleFilling FillSmallHoles(oxTriMesh& mesh, unsigned int maxEdges);

/// Drops the vertices no triangle uses; the others keep their whole records in old order.
/// Returns:       the number dropped.
/// Preconditions: indices in range.
/// Cost:          O(V + T).
unsigned int RemoveUnusedVertices(oxTriMesh& mesh);

/// Steps of RepairMesh, combinable; they run in the order listed.
enum : unsigned int {
    kRepairTrimUnsupported = 1u << 0,        ///< TrimUnsupportedTriangles (needs the test)
    kRepairRemoveDegenerate = 1u << 1,       ///< RemoveDegenerateTriangles
    kRepairRemoveNonManifold = 1u << 2,      ///< RemoveNonManifoldTriangles
    kRepairSplitPinched = 1u << 3,           ///< SplitPinchedVertices
    kRepairRemoveSmallComponents = 1u << 4,  ///< RemoveSmallComponents
    kRepairFillSmallHoles = 1u << 5,         ///< FillSmallHoles
    kRepairRemoveUnusedVertices = 1u << 6,   ///< RemoveUnusedVertices
    /// Leave a mesh that is already closed and manifold exactly as it is.
    kRepairOnlyWhenDefective = 1u << 7,
    /// The clean-up of a reconstructed mesh: every step above.
    kRepairReconstruction = 0xFFu
};

/// Parameters of RepairMesh's steps.
struct tRepairOptions {
    float smallComponentFraction = 0.005f;     ///< RemoveSmallComponents' fraction of the largest piece
    unsigned int maxHoleEdges = 32;            ///< FillSmallHoles' limit
    tUnsupportedVertexTest unsupportedVertex;  ///< TrimUnsupportedTriangles' test (empty: step skipped)
};

/// What RepairMesh did.
struct tRepairReport {
    bool ran = false;  ///< false: the mesh was empty, or closed and manifold under kRepairOnlyWhenDefective
    unsigned int unsupportedTriangles = 0;
    unsigned int degenerateTriangles = 0;
    unsigned int nonManifoldTriangles = 0;
    unsigned int pinchedVertices = 0;
    unsigned int addedVertexCopies = 0;
    unsigned int smallComponents = 0;
    unsigned int smallComponentTriangles = 0;
    tHoleFilling holes;
    unsigned int droppedVertices = 0;
};

/// Runs the chosen repair steps (`steps`, a combination of the kRepair flags) in their order on
/// one unpacked copy of the mesh, then stores the result. Vertices are never moved.
/// Returns:       nothing; `report` (may be null) tells what each step did.
/// On failure:    a mesh without buffers or triangles is left alone (report->ran false); the
///                trimming step is skipped when options.unsupportedVertex is empty.
/// Preconditions: indices in range.
/// Side effects:  replaces the mesh's buffers (same vertex layout) unless nothing ran; with
///                kRepairOnlyWhenDefective a closed and manifold mesh (ComputeMeshStatistics)
///                is left as it is.
/// Cost:          O(V + T) expected.
void RepairMesh(oxTriMesh& mesh, unsigned int steps, const tRepairOptions& options = tRepairOptions(),
                tRepairReport* report = nullptr);

/// Marks the vertices on an edge that exactly one triangle uses (an addition of ours).
/// Returns:       one flag per vertex (vertexCount entries).
/// Preconditions: indices below vertexCount.
/// Cost:          O(V + T).
std::vector<bool> FindBoundaryVertices(const unsigned int* triangles, std::size_t triangleCount,
                                       std::size_t vertexCount);

/// FindBoundaryVertices of a triangle mesh (an addition of ours).
/// Returns:       one flag per vertex; all false without an index buffer.
/// Preconditions: indices in range. Cost: O(V + T).
std::vector<bool> FindBoundaryVertices(const oxTriMesh& mesh);

// ---------------------------------------------------------------------------------------------
// Statistics

/// A mesh or point cloud as flat arrays, for operations that read files' data in place.
struct tMeshView {
    const float* positions = nullptr;  ///< x y z of vertex i at positions + i * positionStride
    std::size_t vertexCount = 0;
    std::size_t positionStride = 3;
    const unsigned int* triangles = nullptr;  ///< three indices per triangle (may be null)
    std::size_t triangleCount = 0;
    /// The faces as a file stores them (may be null: then every triangle is one face). Face f
    /// owns corners [faceOffsets[f], faceOffsets[f + 1]) of faceCorners; the triangles above
    /// must be the fan triangles (v0, vi, vi+1) of these faces, in order.
    const unsigned int* faceCorners = nullptr;
    const unsigned int* faceOffsets = nullptr;
    std::size_t faceCount = 0;
    const float* normals = nullptr;  ///< nx ny nz of vertex i at normals + i * normalStride (may be null)
    std::size_t normalStride = 3;
};

/// Topology and measures of a mesh (an addition of ours; what `oxmesh info` reports).
struct tMeshStatistics {
    std::size_t vertices = 0;              ///< all vertices, used or not
    std::size_t triangles = 0;             ///< triangles (fan triangles of the faces)
    std::size_t faces = 0;                 ///< faces (polygons), or the triangles
    std::size_t unreferencedVertices = 0;  ///< vertices no face uses
    std::size_t duplicatePositions = 0;    ///< vertices whose exact position occurred before
    std::size_t nonFiniteVertices = 0;     ///< vertices with a non-finite coordinate

    std::size_t facesWithRepeatedIndex = 0;  ///< faces naming a vertex twice
    std::size_t zeroAreaTriangles = 0;       ///< triangles with |cross| <= 1e-14 * diagonal^2
    double surfaceArea = 0.0;                ///< sum of the triangle areas
    std::size_t edges = 0;                   ///< distinct undirected face sides
    std::size_t boundaryEdges = 0;           ///< edges on one face side
    std::size_t nonManifoldEdges = 0;        ///< edges on more than two face sides
    std::size_t duplicatedHalfEdges = 0;     ///< directed sides used more than once (orientation flips)
    std::size_t components = 0;              ///< connected components of the used vertices
    std::size_t boundaryLoops = 0;           ///< connected components of the boundary edges
    std::size_t nonManifoldVertices = 0;     ///< vertices whose corners form more than one fan
    long long eulerCharacteristic = 0;       ///< used vertices - edges + faces
    bool closed = false;                     ///< no boundary edge and no non-manifold edge
    bool manifold = false;                   ///< no non-manifold edge and no non-manifold vertex
    bool oriented = false;                   ///< no duplicated directed side
    bool hasGenus = false;                   ///< closed, manifold and oriented: genus and volume valid
    long long genus = 0;                     ///< total genus: (2 * components - euler) / 2, floored
    double signedVolume = 0.0;               ///< sum of the triangle tetrahedra (positive when outward)

    double bboxMin[3] = {0, 0, 0};  ///< over the finite vertices (zero box when none)
    double bboxMax[3] = {0, 0, 0};
    double bboxDiagonal = 0.0;

    std::size_t nonFiniteNormals = 0;  ///< normals with a non-finite length (0 without normals)
    std::size_t zeroNormals = 0;       ///< normals of length zero
};

/// Counts, topology and measures of a mesh or point cloud given as flat arrays (an addition of
/// ours).
/// Returns:       the statistics; edges, components and fans are taken over the faces' sides
///                (not the fan diagonals), areas and volumes over the triangles, in double
///                precision.
/// Preconditions: every index below the vertex count.
/// Cost:          O(V + C) expected (C corners): one counting sort of the sides, three
///                union-finds; about 30 bytes per corner of scratch memory.
tMeshStatistics ComputeMeshStatistics(const tMeshView& mesh);

/// ComputeMeshStatistics of a triangle mesh: every triangle one face, normals when present (an
/// addition of ours).
/// Returns:       the statistics; zero counts for a mesh without buffers.
/// Preconditions: indices in range. Cost: as above.
tMeshStatistics ComputeMeshStatistics(const oxTriMesh& mesh);

// ---------------------------------------------------------------------------------------------
// Chain

/// The clean-up chain for remeshed geometry: the largest component, then rounds of smoothing,
/// shape flips and one visually lossless simplification.
/// Side effects:  KeepSingleConnectedComponent; then, unless `iterations` is 0, for each
///                iteration i: when `smooth`, SafeLaplacianSmoothing(geometry, 5, 0.2, null);
///                FlipEdges(geometry); and on the first pass only, HQEdgeCollapse(geometry, null).
/// Cost:          O(iterations * T) plus one O(T log T) simplification.
void Filter(oxGeometry& geometry, bool smooth, unsigned int iterations);

}  // namespace oxMeshProcessing
}  // namespace ox

namespace ox {
namespace oxMeshProcessing {

/// Evens out vertex valences by edge flips, so that a following edge collapse finds more edges
/// whose neighbourhood is small enough to collapse (an addition of ours).
/// Returns:       the number of flips.
/// On failure:    invalid indices (CheckMeshSanity false): no change, 0.
/// Side effects:  an interior edge (a, b) with apexes c and d becomes (c, d) when that strictly
///                lowers the sum of squared deviations of the four valences from their ideal
///                (6 inside, 4 on the boundary), i.e. when
///                (va - ia) + (vb - ib) - (vc - ic) - (vd - id) >= 3. A flip is refused when it
///                would create an existing edge (non-manifold), leave a or b with fewer than 3
///                edges, turn a new triangle against either old one or make it degenerate, or
///                when the old or the new pair of triangles bends by more than `maxBendDegrees`
///                (creases and curved regions keep their shape). Non-manifold and boundary edges,
///                and edges whose triangles disagree in winding, are never flipped; a triangle
///                takes part in at most one flip per pass. Passes repeat until none flips (at
///                most `maxPasses`). Indices are rewritten in place; vertices do not move.
/// Cost:          O(passes * T).
unsigned int FlipEdgesForValence(oxTriMesh& mesh, float maxBendDegrees = 20.0f, unsigned int maxPasses = 10);

}  // namespace oxMeshProcessing
}  // namespace ox
