// oxRegularGridSurfaceMesher: meshes a point-set surface by marching cubes on a sparse regular
// grid, visiting only the cells that the surface crosses near the points.
//
// The grid has 2^depth cells per axis (depth clamped to 1..10) over the cube that bounds the
// surface's points grown by their radii. Triangles face the positive side of the potential
// (outward for a surface whose normals point outward). Normals are not written.
//
// Progress values go through oxProgressMonitorable and restart at 0 in every stage (and in
// every growth iteration); the library's message stream receives one "iteration :<n>" line per
// growth iteration, then "searching precise surface position" and "done". The stages, their
// times and the counts are also available as values (setStageCallback, getReport).
//
// Process-wide state, kept on purpose: the per-face boundary tests of the growth step are
// function-local tables initialised once, from the grid size of the FIRST call in the
// process. A later call with another effective depth tests its faces against those first
// boundaries (a coarser first call blocks growth at its cell boundaries; a finer one lets
// growth leave a smaller grid). Use one depth per process when this matters.
//
// How the mesher seeds, grows and places its vertices (and what happens in the last cell layer
// of the grid) is told at the top of src/meshing/oxRegularGridSurfaceMesher.cpp.
#pragma once

#include <functional>

#include "oxSurfacePolygonizer.h"
#include "system/oxProgressMonitorable.h"

namespace ox {

/// The stages of one computeMesh run, in order (an addition of ours, for progress displays).
enum class tGridMeshingStage {
    CornerSigns,  ///< bounding cube, seed cells, signs of their corners
    Growth,       ///< growth across crossed faces, triangle and vertex tables
    Bisection,    ///< ten bisection steps per vertex
    Done
};

/// What the last computeMesh run did (an addition of ours).
struct tGridMeshingReport {
    unsigned int depth = 0;       ///< effective depth (clamped to 1..10)
    float cellSize = 0.0f;        ///< side of a grid cell, in the surface's coordinates
    unsigned int seedCells = 0;   ///< distinct cells holding a point
    unsigned int cells = 0;       ///< cells in the map after growth
    unsigned int iterations = 0;  ///< growth iterations ("iteration :N" lines printed)
    unsigned int vertices = 0;
    unsigned int triangles = 0;
    double cornerSignSeconds = 0.0;
    double growthSeconds = 0.0;
    double bisectionSeconds = 0.0;

    double totalSeconds() const { return cornerSignSeconds + growthSeconds + bisectionSeconds; }
};

class oxRegularGridSurfaceMesher : public oxSurfacePolygonizer, public oxProgressMonitorable {
public:
    /// Makes a mesher of `surface` with depth 7 and no progress notifier.
    /// Preconditions: the surface and its query outlive the mesher (both are borrowed).
    /// Cost:          O(1).
    explicit oxRegularGridSurfaceMesher(const oxPointSetSurface* surface);
    /// Copies share the surface and copy the depth, progress state, report and stage callback.
    oxRegularGridSurfaceMesher(const oxRegularGridSurfaceMesher&) = default;
    oxRegularGridSurfaceMesher& operator=(const oxRegularGridSurfaceMesher&) = default;

    /// Stores the depth as given (getDepth returns it); computeMesh clamps it to 1..10. O(1).
    void setDepth(unsigned int depth) { m_depth = depth; }
    unsigned int getDepth() const { return m_depth; }

    /// Meshes the surface into a new geometry.
    /// Returns:       a geometry owned by the caller, with one vertex buffer (3 position and 3
    ///                normal channels; positions in the query's normalised frame, normals zero)
    ///                and one triangle index buffer; no triangles when the surface crosses no
    ///                cell reached from the points.
    /// Preconditions: the point set holds at least one point with a point size (an empty point
    ///                set is a caller error).
    /// Side effects:  prints its lines, sets progress values and calls the stage callback (see
    ///                the file comment); fixes the face tables on the first call in the process;
    ///                replaces the report.
    /// Cost:          a few potential evaluations per surface cell (each distinct grid corner is
    ///                evaluated once) plus ten per output vertex.
    oxGeometry* computeMesh() override;

    /// Counts and stage times of the last computeMesh (an addition of ours). O(1).
    const tGridMeshingReport& getReport() const { return m_report; }

    /// Sets the function called at the start of every stage of computeMesh and once with Done
    /// at its end (an addition of ours: progress values restart at 0 in every stage, so a
    /// display needs to know which stage runs). May be empty. O(1).
    void setStageCallback(std::function<void(tGridMeshingStage)> callback)
    {
        m_onStage = std::move(callback);
    }

private:
    unsigned int m_depth = 7;
    tGridMeshingReport m_report;
    std::function<void(tGridMeshingStage)> m_onStage;
};

}  // namespace ox
