// Surface reconstruction from an oriented point cloud, as `oxmesh reconstruct`, `oxmesh demo`
// and the reconstruction benchmark run it: checks on the cloud, the point-set query in its
// normalised frame, the point-set surface (APSS or RIMLS), the regular-grid mesher, and the
// mesh mapped back to the cloud's own coordinates with vertex normals.
#pragma once

#include <cstddef>
#include <cstdio>
#include <memory>
#include <string>

#include "Wm4/Wm4Vector3.h"
#include "commands/MesherStageMonitor.h"
#include "io/MeshData.h"
#include "io/ReconstructionCleanup.h"
#include "system/oxProgressNotifierInterface.h"

namespace ox {
class oxPointSetQuery;
}

namespace oxmesh {

/// The point-set surfaces the tool can mesh.
enum class SurfaceKind {
    Apss,  ///< algebraic spheres: smooth, closes small gaps
    Rimls  ///< robust planes: keeps sharp edges
};

/// "apss" or "rimls", as the command line spells them.
const char* surfaceName(SurfaceKind kind);

/// Fewest points a reconstruction accepts: the surfaces fit to at least 4 supporting points and
/// the support radii come from each point's neighbours, so a handful of points gives no surface.
constexpr std::size_t kMinReconstructionPoints = 16;

/// Throws InputError(path, ...) unless `cloud` can be reconstructed: at least
/// kMinReconstructionPoints points, normals present ("the cloud has no normals; run 'oxmesh
/// normals' first or pass --estimate-normals"), and every normal finite and non-zero (the message
/// says how many are not). Faces, when present, are ignored by the reconstruction. O(n).
void checkOrientedCloud(const std::string& path, const MeshData& cloud);

/// Replaces the normals of `cloud` by estimated ones (local plane fits over the k nearest
/// points), oriented consistently outwards per connected part, then drops the points whose
/// neighbourhood gave no normal (and any faces, which would no longer match). Returns the number
/// of points dropped. `progress` (may be null) receives 0..0.5 while estimating, 0.5..1 while
/// orienting. Cost O(n k log n).
std::size_t estimateOrientedNormals(MeshData& cloud, unsigned int k,
                                    ox::oxProgressNotifierInterface* progress);

/// A ready point-set query over an oriented cloud. The query normalises the points itself; its
/// buffer carries a point-size channel from the start, so that computing the point radii keeps
/// that buffer and that single normalisation: input = normalised * scale + centre exactly.
class CloudQuery {
public:
    /// Copies the positions and the normals (scaled to unit length) of `cloud`, normalises them,
    /// builds the point hierarchy and the neighbour graph and computes the support radii.
    /// Cost O(n log n) time, about 60 bytes per point. Precondition: checkOrientedCloud passed.
    explicit CloudQuery(const MeshData& cloud);
    ~CloudQuery();

    CloudQuery(const CloudQuery&) = delete;
    CloudQuery& operator=(const CloudQuery&) = delete;

    /// The ready query (normalised frame).
    const ox::oxPointSetQuery& query() const { return *query_; }

    /// A position of the normalised frame in the cloud's own coordinates. O(1).
    Wm4::Vector3<float> toInputFrame(const Wm4::Vector3<float>& normalised) const;

private:
    std::unique_ptr<ox::oxPointSetQuery> query_;
};

/// One reconstructed mesh and where its time went.
struct Reconstruction {
    MeshData mesh;                  ///< in the cloud's coordinates, with unit vertex normals
    MesherStageTimes stages;        ///< the mesher's stages
    double finishSeconds = 0.0;     ///< mapping back to the input frame and vertex normals
    bool cleanupRequested = false;  ///< the clean-up step was part of the run
    CleanupReport cleanup;          ///< what it did
    double cleanupSeconds = 0.0;
};

/// Meshes the `kind` surface of `cloud` on a grid of 2^depth cells per axis (depth clamped to
/// 1..10 by the mesher), maps the vertices back to the input frame and gives every vertex the
/// angle-weighted normal of its triangles. Triangles face the side the cloud's normals point to.
/// With `cleanUp` (the tool's default) a mesh that is not closed and manifold then goes through
/// cleanReconstruction: pinched vertices split, stray pieces dropped, small holes closed.
/// `progress` (may be null) receives one rising value in [0, 1]; the mesher's own lines go to
/// `mesherLog`, or nowhere when it is null. Cost: a few surface fits per surface cell and ten per
/// vertex, each fit O(points within a support radius); the clean-up is O(V + T). An empty result
/// is returned as it is. The mesher fixes its face tables on its first call in a process: use one
/// depth per process.
Reconstruction reconstructSurface(const CloudQuery& cloud, SurfaceKind kind, unsigned int depth,
                                  ox::oxProgressNotifierInterface* progress, std::FILE* mesherLog,
                                  bool cleanUp = true);

/// "N vertices, M triangles, closed manifold" (or "open", "non-manifold"), from the mesh's
/// topology statistics. O(V + T).
std::string describeMesh(const MeshData& mesh);

/// "corner signs 0.12 s, growth 0.40 s (31 iterations), bisection 0.55 s, normals 0.01 s", then
/// ", clean-up 0.02 s" when the clean-up was part of the run. O(1).
std::string describeStages(const Reconstruction& result);

/// Seconds as the summaries print them: "0.123 s". O(1).
std::string formatSeconds(double seconds);

}  // namespace oxmesh
