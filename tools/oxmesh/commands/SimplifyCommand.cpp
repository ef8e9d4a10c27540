#include "commands/SimplifyCommand.h"

#include <cmath>
#include <cstdio>

#include <algorithm>
#include <vector>

#include "addons/oxBBox.h"
#include "cli/ProgressBar.h"
#include "cli/Reports.h"
#include "formats/FileError.h"
#include "formats/MeshView.h"
#include "formats/MeshWriter.h"
#include "formats/SceneConversion.h"
#include "formats/Weld.h"
#include "oxMeshProcessing.h"
#include "scenegraph/oxPointer.h"
#include "scenegraph/oxVertexBuffer.h"
#include "system/oxTimer.h"

namespace oxmesh {
namespace {

namespace mp = ox::oxMeshProcessing;

/// One line telling what makes the collapse refuse the mesh, from its statistics.
std::string notManifoldHint(const mp::tMeshStatistics& stats, const std::string& input)
{
    std::string hint = "hint: the simplification needs every edge shared by at most two triangles";
    if (stats.nonManifoldEdges || stats.facesWithRepeatedIndex)
        hint += " and no triangle naming a vertex twice; this mesh has " +
                std::to_string(stats.nonManifoldEdges) + " edges in more than two triangles and " +
                std::to_string(stats.facesWithRepeatedIndex) + " faces repeating a vertex";
    return hint + " (see 'oxmesh info " + input + "')";
}

/// Sides of the bounding box of the mesh's vertices (zero for no vertices).
ox::Vec3 boundingBoxSides(const ox::oxTriMesh& mesh)
{
    const ox::oxVertexBuffer& vertices = *mesh.GetVertexBuffer();
    if (vertices.GetVertexQuantity() == 0)
        return ox::Vec3(0.0f, 0.0f, 0.0f);
    ox::oxBBox box(vertices.Position3(0));
    for (int v = 1; v < vertices.GetVertexQuantity(); ++v)
        box.selfExpand(vertices.Position3(v));
    return box.getMax() - box.getMin();
}

/// What one run of either method reports.
struct Outcome {
    mp::tCollapseStop stop = mp::tCollapseStop::NotManifold;
    unsigned int passes = 1;
};

/// QuadricSimplify with the error bound as a fraction of the bounding box's diagonal.
Outcome simplifyByQuadrics(ox::oxTriMesh& mesh, unsigned int target, float maxError, bool lockBoundary,
                           ox::oxProgressNotifierInterface* progress)
{
    const std::vector<bool> locked = lockBoundary ? mp::FindBoundaryVertices(mesh) : std::vector<bool>();
    mp::tQuadricSimplifyOptions options;
    options.targetTriangleCount = target;
    options.maxError = float(double(maxError) * double(boundingBoxSides(mesh).Length()));
    options.lockedVertices = lockBoundary ? &locked : nullptr;
    mp::tEdgeCollapseReport report;
    mp::QuadricSimplify(mesh, options, progress, &report);
    if (progress && report.stop == mp::tCollapseStop::TargetReached)
        progress->notifyProgress(1.0f);
    return Outcome{report.stop, 1};
}

/// GenericEdgeCollapseInPasses; its bound lives in a frame where half the box's largest side
/// is 1.
Outcome simplifyInPasses(ox::oxTriMesh& mesh, unsigned int target, float maxError, bool lockBoundary,
                         ox::oxProgressNotifierInterface* progress)
{
    const ox::Vec3 sides = boundingBoxSides(mesh);
    const double halfSide = 0.5 * double(std::max({sides[0], sides[1], sides[2]}));
    mp::tCollapsePassesOptions options;
    options.targetTriangleCount = target;
    options.maxError =
        halfSide > 0.0 ? float(double(maxError) * double(sides.Length()) / halfSide) : maxError;
    options.lockBoundary = lockBoundary;
    mp::tCollapsePassesReport report;
    mp::GenericEdgeCollapseInPasses(mesh, options, progress, &report);
    return Outcome{report.stop, report.passes};
}

}  // namespace

SimplifyCommand::SimplifyCommand(CLI::App& app, const GlobalOptions& global)
    : Command(app, global, "simplify", "Reduce the triangle count by quadric edge collapses")
{
    m_subcommand->add_option("IN", m_input, "Triangle mesh to read (any supported format)")->required();
    m_subcommand->add_option("-o,--output", m_output, "File to write (.ply, .obj or .xyz)")->required();
    CLI::App* target = m_subcommand->add_option_group("target", "How many triangles to keep (one of)");
    target->add_option("--ratio", m_ratio, "Fraction of the input's triangles to keep, in (0, 1]")
        ->check(CLI::Range(0.0, 1.0));
    target->add_option("--triangles", m_triangles, "Number of triangles to keep");
    target->require_option(1);
    m_subcommand
        ->add_option("--max-error", m_maxError,
                     "Stop before a collapse would move the surface by more than this fraction of the "
                     "bounding box's diagonal (e.g. 0.001)")
        ->check(CLI::PositiveNumber);
    m_subcommand
        ->add_option("--method", m_method,
                     "quadric: one greedy quadric collapse run, error measured against the input "
                     "(default); generic: the neighbourhood-limited collapse in passes with valence "
                     "flips between them")
        ->transform(CLI::CheckedTransformer(
            std::map<std::string, SimplifyMethod>{{"quadric", SimplifyMethod::Quadric},
                                                  {"generic", SimplifyMethod::Generic}},
            CLI::ignore_case));
    m_subcommand->add_flag("--lock-boundary", m_lockBoundary, "Keep the vertices of open borders in place");
}

int SimplifyCommand::run()
{
    checkOutputExtension(m_output);
    MeshData mesh = readInput();
    if (mesh.triangleCount() == 0)
        throw FileError(m_input, "has no triangles to simplify");
    const std::size_t welded = weldByPosition(mesh);
    const bool hadNormals = mesh.hasNormals();
    mesh.colors.clear();  // the generic collapse would repaint them with its own diagnostic colours
    const unsigned int before = unsigned(mesh.triangleCount());
    const unsigned int target =
        m_subcommand->count("--triangles") ? m_triangles : unsigned(std::lround(m_ratio * double(before)));

    const ox::oxPointer<ox::oxGeometry> geometry(toGeometry(mesh));
    Outcome outcome;
    ox::oxTimer timer;
    {
        ProgressBar bar("simplifying", progressMode());
        outcome = m_method == SimplifyMethod::Quadric
                      ? simplifyByQuadrics(*geometry, target, m_maxError, m_lockBoundary, &bar)
                      : simplifyInPasses(*geometry, target, m_maxError, m_lockBoundary, &bar);
    }
    timer.snapTime();
    if (outcome.stop == mp::tCollapseStop::NotManifold) {
        std::fprintf(stderr,
                     "oxmesh: %s: the mesh is not manifold: some edge is shared by more than two "
                     "triangles or some triangle names a vertex twice\n%s\n",
                     m_input.c_str(), notManifoldHint(statisticsOf(mesh), m_input).c_str());
        return 1;
    }
    if (hadNormals) {
        ox::oxVertexBuffer& vertices = *geometry->GetVertexBuffer();
        for (int v = 0; v < vertices.GetVertexQuantity(); ++v)
            vertices.Normal3(v) = ox::Vec3(0.0f, 0.0f, 0.0f);  // normals from the geometry alone
        mp::RecomputeNormals(*geometry);
    }
    const MeshData result = fromTriMesh(*geometry);
    writeMesh(m_output, result);
    if (!m_global.quiet) {
        if (welded)
            std::printf("welded %zu vertices split at seams\n", welded);
        const std::string passes = m_method == SimplifyMethod::Generic
                                       ? plural(outcome.passes, "pass", "passes")
                                       : std::string("simplified");
        std::printf("%s: %zu triangles (target %u, input %u), %s in %.0f ms: %s\n", m_output.c_str(),
                    result.triangleCount(), target, before, passes.c_str(), timer.getElapsedMs(),
                    describeStop(outcome.stop));
    }
    return std::fflush(stdout) == 0 ? 0 : 1;
}

}  // namespace oxmesh
