#include "commands/SimplifyCommand.h"

#include <cmath>
#include <cstdio>

#include "commands/ProgressBar.h"
#include "commands/Simplification.h"
#include "io/InputError.h"
#include "io/MeshReader.h"
#include "io/MeshStats.h"
#include "io/MeshWriter.h"
#include "io/SceneConversion.h"
#include "io/Weld.h"
#include "oxMeshProcessing.h"
#include "scenegraph/oxPointer.h"
#include "scenegraph/oxVertexBuffer.h"
#include "system/oxTimer.h"

namespace oxmesh {
namespace {

/// One line telling what makes the collapse refuse the mesh, from its statistics.
std::string notManifoldHint(const MeshStats& stats, const std::string& input)
{
    std::string hint = "hint: the simplification needs every edge shared by at most two triangles";
    if (stats.nonManifoldEdges || stats.facesWithRepeatedIndex)
        hint += " and no triangle naming a vertex twice; this mesh has " +
                std::to_string(stats.nonManifoldEdges) + " edges in more than two triangles and " +
                std::to_string(stats.facesWithRepeatedIndex) + " faces repeating a vertex";
    return hint + " (see 'oxmesh info " + input + "')";
}

/// Replaces the vertex normals of `mesh` by angle-weighted normals of its faces.
void recomputeVertexNormals(ox::oxTriMesh& mesh)
{
    ox::oxVertexBuffer& vertices = *mesh.GetVertexBuffer();
    for (int v = 0; v < vertices.GetVertexQuantity(); ++v)
        vertices.Normal3(v) = Wm4::Vector3<float>(0, 0, 0);
    ox::oxMeshProcessing::RecomputeNormals(mesh);
}

}  // namespace

SimplifyCommand::SimplifyCommand(CLI::App& app, const GlobalOptions& global)
    : Command(app, global, "simplify", "Reduce the triangle count by quadric edge collapses")
{
    subcommand_->add_option("IN", input_, "Triangle mesh to read (any supported format)")->required();
    subcommand_->add_option("-o,--output", output_, "File to write (.ply, .obj or .xyz)")->required();
    CLI::App* target = subcommand_->add_option_group("target", "How many triangles to keep (one of)");
    target->add_option("--ratio", ratio_, "Fraction of the input's triangles to keep, in (0, 1]")
        ->check(CLI::Range(0.0, 1.0));
    target->add_option("--triangles", triangles_, "Number of triangles to keep");
    target->require_option(1);
    subcommand_
        ->add_option("--max-error", maxError_,
                     "Stop before a collapse would move the surface by more than this fraction of the "
                     "bounding box's diagonal (e.g. 0.001)")
        ->check(CLI::PositiveNumber);
    subcommand_
        ->add_option("--method", method_,
                     "quadric: one greedy quadric collapse run, error measured against the input "
                     "(default); generic: the neighbourhood-limited collapse in passes with valence "
                     "flips between them")
        ->transform(CLI::CheckedTransformer(
            std::map<std::string, SimplifyMethod>{{"quadric", SimplifyMethod::Quadric},
                                                  {"generic", SimplifyMethod::Generic}},
            CLI::ignore_case));
    subcommand_->add_flag("--lock-boundary", lockBoundary_, "Keep the vertices of open borders in place");
}

int SimplifyCommand::run()
{
    checkOutputExtension(output_);
    const auto mode = global_.quiet ? ProgressBar::Mode::Never : ProgressBar::Mode::Auto;
    MeshData mesh;
    {
        ProgressBar bar("reading " + input_, mode);
        mesh = readMesh(input_, bar.function());
    }
    if (mesh.triangleCount() == 0)
        throw InputError(input_, "has no triangles to simplify");
    const std::size_t welded = weldByPosition(mesh);
    const bool hadNormals = mesh.hasNormals();
    mesh.colors.clear();  // the collapse would repaint them with its own diagnostic colours
    const unsigned int before = unsigned(mesh.triangleCount());

    SimplifyRequest request;
    request.targetTriangles =
        subcommand_->count("--triangles") ? triangles_ : unsigned(std::lround(ratio_ * double(before)));
    request.method = method_;
    request.maxError = maxError_;
    request.lockBoundary = lockBoundary_;

    const ox::oxPointer<ox::oxGeometry> geometry(toGeometry(mesh));
    SimplifyOutcome outcome;
    ox::oxTimer timer;
    {
        ProgressBar bar("simplifying", mode);
        outcome = simplifyMesh(*geometry, request, &bar);
    }
    timer.snapTime();
    if (outcome.stop == ox::oxMeshProcessing::tCollapseStop::NotManifold) {
        std::fprintf(stderr, "oxmesh: %s: %s\n%s\n", input_.c_str(), outcome.setUpMessage.c_str(),
                     notManifoldHint(computeMeshStats(mesh), input_).c_str());
        return 1;
    }
    if (hadNormals)
        recomputeVertexNormals(*geometry);
    MeshData result = fromTriMesh(*geometry);
    writeMesh(output_, result);
    if (!global_.quiet) {
        if (welded)
            std::printf("welded %zu vertices split at seams\n", welded);
        const std::string passes =
            request.method == SimplifyMethod::Generic
                ? std::to_string(outcome.passes) + (outcome.passes == 1 ? " pass" : " passes")
                : std::string("simplified");
        std::printf("%s: %zu triangles (target %u, input %u), %s in %.0f ms: %s\n", output_.c_str(),
                    result.triangleCount(), request.targetTriangles, before, passes.c_str(),
                    timer.getElapsedMs(), describeStop(outcome.stop));
    }
    return std::fflush(stdout) == 0 ? 0 : 1;
}

}  // namespace oxmesh
