// Reconstruction of a surface from an oriented point cloud in one call (additions of ours to
// the oxPointSetProcessing family): the point-set query in its normalised frame, a point-set
// surface (APSS or RIMLS), the regular-grid mesher, the mesh mapped back to the cloud's own
// coordinates with vertex normals, and the repair of a reconstructed mesh. The pipeline's
// steps are told at the top of src/meshing/oxReconstructSurface.cpp.
#pragma once

#include <memory>

#include "oxMeshLibTypes.h"
#include "oxMeshProcessing.h"
#include "oxRegularGridSurfaceMesher.h"
#include "scenegraph/oxPointer.h"
#include "scenegraph/oxTriMesh.h"
#include "scenegraph/oxVertexBuffer.h"
#include "system/oxProgressNotifierInterface.h"

namespace ox {

class oxPointSetQuery;

namespace oxPointSetProcessing {

/// The point-set surfaces a reconstruction can mesh.
enum class tSurfaceKind {
    Apss,  ///< algebraic spheres: smooth, closes small gaps
    Rimls  ///< robust planes: keeps sharp edges
};

/// Fewest points a reconstruction accepts: the surfaces fit to at least 4 supporting points and
/// the support radii come from each point's 16 neighbours.
constexpr unsigned int kMinReconstructionPoints = 16;

struct tReconstructionOptions {
    tSurfaceKind surface = tSurfaceKind::Apss;
    unsigned int depth = 7;  ///< grid of 2^depth cells along the longest side (clamped to 1..10)
    bool repair = true;      ///< RepairMesh(kRepairReconstruction) after meshing
    /// A mesh vertex farther than this fraction of its nearest point's support radius from that
    /// point lies where the surface is extrapolated: on evenly sampled clouds fitted vertices
    /// stay within 0.4, while flaps grown past thin sharp edges or a scan's rim sit at 0.5 to
    /// 1.1 (and gaps between random samples reach 1.5, which is why the trim only grows from
    /// open rims).
    float unsupportedFraction = 0.5f;
    oxMeshProcessing::tRepairOptions repairOptions;  ///< its unsupportedVertex test is set by the pipeline
};

struct tReconstructionReport {
    double querySeconds = 0.0;     ///< hierarchy, neighbour graph, support radii
    tGridMeshingReport meshing;    ///< the mesher's counts and stage times (normalised frame)
    float cellSize = 0.0f;         ///< grid cell side in the cloud's own coordinates
    double finishSeconds = 0.0;    ///< mapping back to the cloud's frame and vertex normals
    bool repairRequested = false;  ///< options.repair
    oxMeshProcessing::tRepairReport repair;
    double repairSeconds = 0.0;
};

/// Maps a point of the query's normalised frame to the cloud's own coordinates.
/// Returns:       normalised * scale + centre (the query's getScale and getCenter).
/// Cost:          O(1).
Vec3 ToInputFrame(const oxPointSetQuery& query, const Vec3& normalised);

/// Maps every position of `vertices` from the query's normalised frame to the cloud's own
/// coordinates (ToInputFrame).
/// Side effects:  rewrites the positions in place; other channels untouched.
/// Cost:          O(V).
void MapToInputFrame(const oxPointSetQuery& query, oxVertexBuffer& vertices);

/// Tells whether `cloud` can be reconstructed.
/// Returns:       true when it has at least kMinReconstructionPoints points, three position
///                channels and a normal channel, and every position is finite.
/// Cost:          O(n).
bool IsReconstructible(const oxVertexBuffer& cloud);

/// The ready point-set query a reconstruction meshes: a copy of the cloud's positions and unit
/// normals with a point-size channel, normalised into the unit cube, with its hierarchy,
/// neighbour graph and support radii.
/// Returns:       the query (it owns its copy of the points); null when !IsReconstructible.
/// Side effects:  none on `cloud`.
/// Cost:          O(n log n) time, about 60 bytes per point.
std::unique_ptr<oxPointSetQuery> BuildReconstructionQuery(const oxVertexBuffer& cloud);

/// Reconstructs the surface of a ready query as a triangle mesh in the cloud's own coordinates:
/// as the other overload, without building the query, so several reconstructions can share it.
/// Returns:       as the other overload; report->querySeconds stays 0.
/// Preconditions: `query` comes from BuildReconstructionQuery (ready, with unit normals and
///                support radii).
/// Side effects:  none on `query`; otherwise as the other overload (`progress` values start at
///                0.1).
/// Cost:          as the other overload, without the query.
oxPointer<oxTriMesh> ReconstructSurface(const oxPointSetQuery& query, const tReconstructionOptions& options,
                                        oxProgressNotifierInterface* progress = nullptr,
                                        tReconstructionReport* report = nullptr);

/// Reconstructs the surface of an oriented cloud as a triangle mesh.
/// Returns:       a new mesh in the cloud's coordinates with unit vertex normals (angle
///                weighted), triangles facing the side the normals point to; empty (no
///                triangles) when the surface is nowhere crossed.
/// On failure:    fewer than kMinReconstructionPoints points, no position or normal channel, or
///                a non-finite position: a null pointer (nothing printed).
/// Preconditions: normals non-zero and finite (they are rescaled to unit length).
/// Side effects:  none on `cloud` (its points are copied); the mesher prints its lines to the
///                library's message stream and fixes its face tables on its first call in a
///                process (use one depth per process).
/// Cost:          O(n log n) for the query; a few surface fits per surface cell and ten per
///                vertex, each O(points within a support radius); O(V + T) for the repair.
///                `progress` (may be null) receives one rising value in [0, 1]; `report` (may be
///                null) receives counts and stage times.
oxPointer<oxTriMesh> ReconstructSurface(const oxVertexBuffer& cloud, const tReconstructionOptions& options,
                                        oxProgressNotifierInterface* progress = nullptr,
                                        tReconstructionReport* report = nullptr);

}  // namespace oxPointSetProcessing
}  // namespace ox
