// The composite repair: a choice of repair steps, in a fixed order, on one unpacked copy of the
// mesh. With every step it is the clean-up of a reconstructed mesh: the regular-grid mesher
// stops growing at cells outside every point's support, so the surface there ends in open
// rims, two rims can touch at one vertex, sign noise leaves tiny pieces, and surfaces that run
// past sharp edges leave flaps; the steps trim the flaps, make the mesh manifold and close the
// small holes without moving a vertex.
#include "frame/oxOptionalReport.h"
#include "processing/oxRepairSteps.h"

namespace ox {

void oxMeshProcessing::RepairMesh(oxTriMesh& mesh, unsigned int steps, const tRepairOptions& options,
                                  tRepairReport* report)
{
    tRepairReport local;
    tRepairReport& out = detail::resetReport(report, local);
    if (!mesh.GetVertexBuffer() || !mesh.GetIndexBuffer() || mesh.GetTriangleQuantity() == 0)
        return;
    if (steps & kRepairOnlyWhenDefective) {
        const tMeshStatistics before = ComputeMeshStatistics(mesh);
        if (before.closed && before.manifold)
            return;
    }
    out.ran = true;
    detail::tEditableMesh editable(mesh);
    if ((steps & kRepairTrimUnsupported) && options.unsupportedVertex)
        out.unsupportedTriangles = detail::trimUnsupportedTriangles(editable, options.unsupportedVertex);
    if (steps & kRepairRemoveDegenerate)
        out.degenerateTriangles = detail::removeDegenerateTriangles(editable);
    if (steps & kRepairRemoveNonManifold)
        out.nonManifoldTriangles = detail::removeNonManifoldTriangles(editable);
    if (steps & kRepairSplitPinched)
        out.pinchedVertices = detail::splitPinchedVertices(editable, out.addedVertexCopies);
    if (steps & kRepairRemoveSmallComponents) {
        const tSmallComponents removed =
            detail::removeSmallComponents(editable, options.smallComponentFraction);
        out.smallComponents = removed.components;
        out.smallComponentTriangles = removed.triangles;
    }
    if (steps & kRepairFillSmallHoles)
        out.holes = detail::fillSmallHoles(editable, options.maxHoleEdges);
    if (steps & kRepairRemoveUnusedVertices)
        out.droppedVertices = static_cast<unsigned int>(editable.dropUnusedVertices());
    editable.store(mesh);
}

}  // namespace ox
