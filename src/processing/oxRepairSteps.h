// The repair steps on an unpacked mesh: each public repair operation runs one of them, and
// RepairMesh runs a chosen sequence on one unpacked copy.
#pragma once

#include "oxMeshProcessing.h"
#include "processing/oxEditableMesh.h"

namespace ox {
namespace detail {

unsigned int trimUnsupportedTriangles(tEditableMesh& mesh,
                                      const oxMeshProcessing::tUnsupportedVertexTest& test);
unsigned int removeDegenerateTriangles(tEditableMesh& mesh);
unsigned int removeNonManifoldTriangles(tEditableMesh& mesh);
/// Returns the pinched vertices; `addedCopies` receives the vertex copies appended.
unsigned int splitPinchedVertices(tEditableMesh& mesh, unsigned int& addedCopies);
oxMeshProcessing::tSmallComponents removeSmallComponents(tEditableMesh& mesh, float fractionOfLargest);
oxMeshProcessing::tHoleFilling fillSmallHoles(tEditableMesh& mesh, unsigned int maxEdges);

/// Runs `step` on an unpacked copy of `mesh` and stores the copy back when `changed` says the
/// step's result changed it. A mesh without buffers is left alone and gets `empty`.
template <class Result, class Step, class Changed>
Result runOnMesh(oxTriMesh& mesh, Result empty, Step&& step, Changed&& changed)
{
    if (!mesh.GetVertexBuffer() || !mesh.GetIndexBuffer())
        return empty;
    tEditableMesh editable(mesh);
    const Result result = step(editable);
    if (changed(result))
        editable.store(mesh);
    return result;
}

}  // namespace detail
}  // namespace ox
