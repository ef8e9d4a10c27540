#include "cli/Reports.h"

#include <cstdio>
#include <vector>

namespace oxmesh {

std::string plural(std::size_t count, const char* singular, const char* pluralForm)
{
    return std::to_string(count) + " " + (count == 1 ? singular : pluralForm);
}

std::string formatSeconds(double seconds)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.3f s", seconds);
    return text;
}

const char* surfaceName(ox::oxPointSetProcessing::tSurfaceKind kind)
{
    return kind == ox::oxPointSetProcessing::tSurfaceKind::Apss ? "apss" : "rimls";
}

std::string describeMesh(const ox::oxTriMesh& mesh)
{
    const ox::oxMeshProcessing::tMeshStatistics stats = ox::oxMeshProcessing::ComputeMeshStatistics(mesh);
    return plural(stats.vertices, "vertex", "vertices") + ", " +
           plural(stats.triangles, "triangle", "triangles") + ", " + (stats.closed ? "closed" : "open") +
           " " + (stats.manifold ? "manifold" : "non-manifold");
}

std::string describeStages(const ox::oxPointSetProcessing::tReconstructionReport& report)
{
    const ox::tGridMeshingReport& meshing = report.meshing;
    return "corner signs " + formatSeconds(meshing.cornerSignSeconds) + ", growth " +
           formatSeconds(meshing.growthSeconds) + " (" +
           plural(meshing.iterations, "iteration", "iterations") + "), bisection " +
           formatSeconds(meshing.bisectionSeconds) + ", normals " + formatSeconds(report.finishSeconds) +
           (report.repairRequested ? ", clean-up " + formatSeconds(report.repairSeconds) : std::string());
}

std::string describeRepair(const ox::oxMeshProcessing::tRepairReport& report)
{
    if (!report.ran)
        return "";
    std::vector<std::string> done;
    if (report.unsupportedTriangles)
        done.push_back("trimmed " + plural(report.unsupportedTriangles, "triangle", "triangles") +
                       " away from the points");
    if (report.degenerateTriangles)
        done.push_back("dropped " +
                       plural(report.degenerateTriangles, "degenerate triangle", "degenerate triangles"));
    if (report.nonManifoldTriangles)
        done.push_back("dropped " + plural(report.nonManifoldTriangles, "triangle", "triangles") +
                       " on non-manifold edges");
    if (report.pinchedVertices)
        done.push_back("split " + plural(report.pinchedVertices, "pinched vertex", "pinched vertices"));
    if (report.smallComponents)
        done.push_back("dropped " + plural(report.smallComponents, "stray piece", "stray pieces") + " (" +
                       plural(report.smallComponentTriangles, "triangle", "triangles") + ")");
    if (report.holes.closed)
        done.push_back("closed " + plural(report.holes.closed, "small hole", "small holes") + " (" +
                       plural(report.holes.triangles, "triangle", "triangles") + ")");
    std::string text = "clean-up: ";
    if (done.empty())
        text += "nothing to repair";
    for (std::size_t i = 0; i < done.size(); ++i)
        text += (i ? ", " : "") + done[i];
    if (report.holes.open)
        text += (done.empty() ? " (" : "; ") + plural(report.holes.open, "hole", "holes") + " left open" +
                (done.empty() ? ")" : "");
    return text;
}

const char* describeStop(ox::oxMeshProcessing::tCollapseStop stop)
{
    switch (stop) {
    case ox::oxMeshProcessing::tCollapseStop::NotManifold:
        return "input is not manifold";
    case ox::oxMeshProcessing::tCollapseStop::TargetAboveCount:
        return "target above the triangle count, nothing to do";
    case ox::oxMeshProcessing::tCollapseStop::TargetReached:
        return "target reached";
    case ox::oxMeshProcessing::tCollapseStop::ErrorBoundReached:
        return "error bound reached";
    case ox::oxMeshProcessing::tCollapseStop::NoLegalCollapse:
        return "no legal collapse left";
    }
    return "unknown";
}

}  // namespace oxmesh
