// Simplification to a triangle target in passes. The library's edge collapse refuses edges
// whose two endpoints have more than 10 triangles around them, so on real meshes a single run
// stalls well above small targets. Between runs, valence-equalising edge flips make crowded
// vertices collapsible again; passes repeat until the target or the error bound is reached or
// a pass makes no progress. Shared by `oxmesh simplify` and the simplification benchmark.
#pragma once

#include <limits>
#include <string>

#include "oxMeshProcessing.h"
#include "scenegraph/oxTriMesh.h"
#include "system/oxProgressNotifierInterface.h"

namespace oxmesh {

struct SimplifyRequest {
    unsigned int targetTriangles = 0;
    /// Error bound of each collapse run, in the collapse's normalised coordinates (half of the
    /// bounding box's largest extent = 1); infinity: no bound.
    float maxError = std::numeric_limits<float>::infinity();
    bool lockBoundary = false;     ///< boundary vertices keep their positions
    float lambda = 0.01f;          ///< pull of merged vertices towards the edge midpoint
    unsigned int maxPasses = 40;   ///< collapse runs at most
    float maxBendDegrees = 20.0f;  ///< flips only between triangles bending less than this
};

struct SimplifyOutcome {
    ox::oxMeshProcessing::tCollapseStop stop = ox::oxMeshProcessing::tCollapseStop::NotManifold;
    unsigned int trianglesBefore = 0;
    unsigned int trianglesAfter = 0;
    unsigned int passes = 0;   ///< collapse runs made
    unsigned int flips = 0;    ///< valence flips made between them
    std::string setUpMessage;  ///< the collapse's set-up complaint when it refused the input
};

/// Simplifies `mesh` in place towards request.targetTriangles: GenericEdgeCollapse (fresh
/// metric per run, boundary vertices locked on request), then, while the run ended with no
/// legal collapse above the target, FlipEdgesForValence followed by another run; it stops
/// when the target or the error bound is reached, when no flip applies, when a run collapses
/// nothing, or after maxPasses runs. Each run re-measures its error from the current mesh, so
/// the bound holds per run, not against the input. The library's diagnostic lines on standard
/// output are swallowed; its set-up message (non-manifold input, mesh unchanged) comes back
/// in setUpMessage with stop NotManifold. `progress` (may be null) gets the overall fraction.
/// Cost O(passes * T log T).
SimplifyOutcome simplifyInPasses(ox::oxTriMesh& mesh, const SimplifyRequest& request,
                                 ox::oxProgressNotifierInterface* progress = nullptr);

/// Words for a stop reason, e.g. "target reached", "no legal collapse left".
const char* describeStop(ox::oxMeshProcessing::tCollapseStop stop);

}  // namespace oxmesh
