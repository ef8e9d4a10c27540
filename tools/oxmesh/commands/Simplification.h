// The simplification `oxmesh simplify` runs, shared with the simplification benchmark. Two
// methods:
// - quadric (default): one greedy quadric edge-collapse run (QuadricSimplify) to the target,
//   its error measured against the input;
// - generic: the library's neighbourhood-limited edge collapse (GenericEdgeCollapse). It
//   refuses edges whose two endpoints have more than 10 triangles around them, so on real
//   meshes a single run stalls well above small targets; between runs, valence-equalising
//   edge flips make crowded vertices collapsible again, and passes repeat until the target or
//   the error bound is reached or a pass makes no progress.
#pragma once

#include <limits>
#include <string>

#include "oxMeshProcessing.h"
#include "scenegraph/oxTriMesh.h"
#include "system/oxProgressNotifierInterface.h"

namespace oxmesh {

enum class SimplifyMethod { Quadric, Generic };

struct SimplifyRequest {
    SimplifyMethod method = SimplifyMethod::Quadric;
    unsigned int targetTriangles = 0;
    /// Error bound as a fraction of the bounding box's diagonal; infinity: no bound. Quadric:
    /// the area-weighted RMS distance of a merged vertex to the input planes it stands for.
    /// Generic: the root of the collapse cost of each run (the plane distances it sums are
    /// measured from the mesh that run starts with).
    float maxError = std::numeric_limits<float>::infinity();
    bool lockBoundary = false;     ///< boundary vertices keep their positions
    float lambda = 0.01f;          ///< generic: pull of merged vertices towards the edge midpoint
    unsigned int maxPasses = 40;   ///< generic: collapse runs at most
    float maxBendDegrees = 20.0f;  ///< generic: flips only between triangles bending less than this
};

struct SimplifyOutcome {
    ox::oxMeshProcessing::tCollapseStop stop = ox::oxMeshProcessing::tCollapseStop::NotManifold;
    unsigned int trianglesBefore = 0;
    unsigned int trianglesAfter = 0;
    unsigned int passes = 0;   ///< collapse runs made (1 for the quadric method)
    unsigned int flips = 0;    ///< generic: valence flips made between runs
    std::string setUpMessage;  ///< the collapse's set-up complaint when it refused the input
};

/// Simplifies `mesh` in place towards request.targetTriangles by the requested method (see
/// above; generic: fresh metric per run, boundary vertices locked on request, runs until the
/// target or the bound is reached, no flip applies, a run collapses nothing, or maxPasses).
/// The library's diagnostic lines on standard output are swallowed; its set-up message
/// (non-manifold input, mesh unchanged) comes back in setUpMessage with stop NotManifold.
/// `progress` (may be null) gets the overall fraction. Cost O(T log T) per run.
SimplifyOutcome simplifyMesh(ox::oxTriMesh& mesh, const SimplifyRequest& request,
                             ox::oxProgressNotifierInterface* progress = nullptr);

/// Words for a stop reason, e.g. "target reached", "no legal collapse left".
const char* describeStop(ox::oxMeshProcessing::tCollapseStop stop);

}  // namespace oxmesh
