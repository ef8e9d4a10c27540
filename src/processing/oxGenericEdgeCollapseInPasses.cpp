// The neighbourhood-limited edge collapse in passes, with valence-balancing edge flips between
// them so that crowded vertices become collapsible again.
//
// GenericEdgeCollapse refuses every edge with more than 10 triangles around it, so on real
// meshes a single run stalls well above small targets: the vertices that absorbed collapses
// grow crowded. Between runs FlipEdgesForValence evens out the valences, and the next run, with
// a fresh metric built on the current mesh, goes on. The passes end when a run stops for any
// other reason than running out of legal collapses (target, bound, refused input), when no flip
// applies, when a run after the first collapses nothing, or after the pass limit. Progress of a
// run (done / needed of its own collapses) is mapped onto the overall fraction of the triangles
// to remove that are gone.
#include "frame/oxOptionalReport.h"
#include "oxMeshProcessing.h"

namespace ox {
namespace oxMeshProcessing {

namespace {

/// Maps the progress of one collapse run (done / needed of its own collapses) onto the overall
/// fraction of the triangles to remove that are gone.
class tPassProgress : public oxProgressNotifierInterface {
public:
    tPassProgress(oxProgressNotifierInterface* outer, unsigned int before, unsigned int passStart,
                  unsigned int target)
        : m_outer(outer), m_before(before), m_passStart(passStart), m_target(target)
    {}

    void notifyProgress(float value) override
    {
        if (!m_outer || m_before <= m_target)
            return;
        const double removed =
            double(m_before - m_passStart) + double(value) * double(m_passStart - m_target);
        m_outer->notifyProgress(float(removed / double(m_before - m_target)));
    }

private:
    oxProgressNotifierInterface* m_outer;
    unsigned int m_before, m_passStart, m_target;
};

}  // namespace

void GenericEdgeCollapseInPasses(oxTriMesh& mesh, const tCollapsePassesOptions& options,
                                 oxProgressNotifierInterface* progress, tCollapsePassesReport* report)
{
    tCollapsePassesReport local;
    tCollapsePassesReport& out = detail::resetReport(report, local);
    out.trianglesBefore = out.trianglesAfter = static_cast<unsigned int>(mesh.GetTriangleQuantity());
    while (out.passes < options.maxPasses) {
        if (out.passes > 0) {
            const unsigned int flips = FlipEdgesForValence(mesh, options.maxBendDegrees);
            out.flips += flips;
            if (flips == 0)
                break;
        }
        const std::vector<bool> locked =
            options.lockBoundary ? FindBoundaryVertices(mesh) : std::vector<bool>();
        oxQuadricErrorMetric metric(options.lambda);
        tEdgeCollapseReport run;
        tPassProgress passProgress(progress, out.trianglesBefore, out.trianglesAfter,
                                   options.targetTriangleCount);
        GenericEdgeCollapse(mesh, metric, options.targetTriangleCount, options.maxError,
                            options.lockBoundary ? &locked : nullptr, &passProgress, &run);
        ++out.passes;
        out.stop = run.stop;
        out.trianglesAfter = run.trianglesAfter;
        if (run.stop != tCollapseStop::NoLegalCollapse)
            break;
        if (run.collapses == 0 && out.passes > 1)
            break;
    }
    if (progress && out.stop == tCollapseStop::TargetReached)
        progress->notifyProgress(1.0f);
}

}  // namespace oxMeshProcessing
}  // namespace ox
