// Topology repair of a reconstructed mesh, run by `oxmesh reconstruct` (unless --raw), by
// `oxmesh demo` and by the reconstruction benchmark after the regular-grid mesher.
//
// The mesher stops growing at cells whose centre lies outside every point's support (the
// surface is ±infinity there). Where the surface runs into such cells it ends in an open rim,
// two rims can touch at a single grid-edge vertex (a pinched vertex), and sign noise of the
// fitted surface can leave tiny separate pieces of a cell or two. The clean-up makes such a
// mesh manifold and closes what is clearly an artefact, without moving any vertex:
//   0. when the caller flags vertices that lie away from the points (the surface there is an
//      extrapolation, e.g. a flap past a sharp edge), the triangles touching them are dropped
//      where they reach an open or non-manifold edge through such triangles (gaps between the
//      samples inside well covered surface are kept);
//   1. triangles naming a vertex twice are dropped, and every triangle on an edge that more
//      than two triangles share;
//   2. each pinched vertex is split into one vertex per fan of triangles around it;
//   3. connected pieces far smaller than the largest one are dropped;
//   4. boundary loops of a few edges are closed: a triangle for three edges, otherwise a fan
//      around one new vertex at the loop's centroid (new edges only to that vertex, so the
//      closure cannot create a non-manifold edge);
//   5. vertices no triangle uses any more are dropped.
// A mesh that is already closed and manifold is left exactly as it is.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "io/MeshData.h"

namespace oxmesh {

/// How far the clean-up goes.
struct CleanupLimits {
    /// A connected piece with fewer triangles than this fraction of the largest piece is stray.
    double strayFraction = 0.005;
    /// Boundary loops of at most this many edges are closed; longer ones stay open (a hole the
    /// cloud really has, such as a scan's missing base).
    std::size_t maxHoleEdges = 32;
};

/// Whether vertex v of the mesh handed to the clean-up lies away from the points.
using AwayFromPoints = std::function<bool(std::uint32_t v)>;

/// What the clean-up did to one mesh.
struct CleanupReport {
    bool ran = false;                      ///< false: the mesh was closed and manifold (or empty)
    std::size_t unsupportedTriangles = 0;  ///< dropped: extrapolated, away from the points
    std::size_t degenerateTriangles = 0;   ///< dropped: a vertex named twice
    std::size_t nonManifoldTriangles = 0;  ///< dropped: on an edge of more than two triangles
    std::size_t pinchedVertices = 0;       ///< vertices split, one copy per extra fan
    std::size_t addedVertexCopies = 0;     ///< vertices those splits added
    std::size_t strayPieces = 0;           ///< pieces dropped as far smaller than the largest
    std::size_t strayTriangles = 0;        ///< triangles of those pieces
    std::size_t closedHoles = 0;           ///< boundary loops closed
    std::size_t holeTriangles = 0;         ///< triangles added to close them
    std::size_t openHoles = 0;             ///< boundary loops left open (longer than the limit)
    std::size_t droppedVertices = 0;       ///< vertices no triangle used any more
};

/// Repairs `mesh` in place as described at the top of this file. Positions, normals and
/// colours follow their vertices; a vertex copy repeats its original's attributes, a vertex
/// added in a hole gets the mean of the loop's. Faces are treated as triangles (polygon
/// grouping, if any, is dropped). Cost O(V + T) expected, a few dozen bytes per triangle of
/// scratch memory. `awayFromPoints` (may be empty: no step 0) tells whether a vertex of the
/// mesh as given lies away from the points; it is asked at most once per vertex, and only for
/// vertices near the open rims and the region trimmed from them. Precondition: every index
/// below the vertex count. Never fails.
CleanupReport cleanReconstruction(MeshData& mesh, const CleanupLimits& limits = CleanupLimits(),
                                  const AwayFromPoints& awayFromPoints = AwayFromPoints());

/// One line for the command summaries, e.g. "clean-up: split 2 pinched vertices, dropped 3
/// stray pieces (17 triangles), closed 12 small holes (131 triangles)"; "clean-up: nothing to
/// repair (4 holes left open)" when it ran without changing anything, and "" when it did not
/// run. O(1).
std::string describeCleanup(const CleanupReport& report);

}  // namespace oxmesh
