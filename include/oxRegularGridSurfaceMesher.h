// oxRegularGridSurfaceMesher: sparse, surface-following marching cubes on a regular grid.
//
// The grid has 2^depth cells per axis (depth clamped to 1..10) over the cube that bounds
// the surface's points grown by their radii. Meshing starts from the cells that contain
// points, grows across every cube face the surface crosses (corner signs differ on it),
// and emits one shared vertex per cut grid edge, placed by ten bisection steps of the
// potential. Triangles face the positive side of the potential (outward for a surface
// whose normals point outward). Normals are not written.
//
// Progress values go through oxProgressMonitorable and restart at 0 in every stage; the
// library's message stream receives one "iteration :<n>" line per growth iteration, then
// "searching precise surface position" and "done". The stages, their times and the counts are
// also available as values (setStageCallback, getReport).
//
// Corners of the last cell layer of an axis are clamped onto that layer (a corner key never
// leaves the grid), so a cell there has coinciding corners; seed cells take a corner's bit
// from its actual offset. The cube is padded by the point radii, which keeps the points
// out of that layer whenever a radius spans a cell or more (the usual case).
//
// Process-wide state, kept on purpose: the per-face boundary tests of the growth step are
// function-local tables initialised once, from the grid size of the FIRST call in the
// process. A later call with another effective depth tests its faces against those first
// boundaries (a coarser first call blocks growth at its cell boundaries; a finer one lets
// growth leave a smaller grid). Use one depth per process when this matters.
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
    /// Borrows the surface (it and its query must outlive the mesher); depth 7.
    explicit oxRegularGridSurfaceMesher(const oxPointSetSurface* surface);
    oxRegularGridSurfaceMesher(const oxRegularGridSurfaceMesher&) = default;
    oxRegularGridSurfaceMesher& operator=(const oxRegularGridSurfaceMesher&) = default;

    /// Stores the depth as given; computeMesh clamps it to 1..10.
    void setDepth(unsigned int depth) { m_depth = depth; }
    unsigned int getDepth() const { return m_depth; }

    /// Meshes the surface (positions in the query's normalised frame) into a new geometry
    /// with one vertex buffer (3 position and 3 normal channels, normals zero) and one
    /// triangle index buffer; owned by the caller. Precondition: the point set holds at
    /// least one point with a point size. Cost: a few potential evaluations per surface
    /// cell (each distinct grid corner is evaluated once) plus ten per output vertex.
    oxGeometry* computeMesh() override;

    /// Counts and stage times of the last computeMesh (an addition of ours). O(1).
    const tGridMeshingReport& getReport() const { return m_report; }

    /// Called at the start of every stage of computeMesh and once with Done at its end (an
    /// addition of ours: progress values restart at 0 in every stage). May be empty. O(1).
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
