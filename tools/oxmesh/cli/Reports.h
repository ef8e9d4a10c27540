// The words of the command summaries: meshes, stage times, stop reasons and repairs, built
// from the library's report structs.
#pragma once

#include <cstddef>
#include <string>

#include "oxMeshProcessing.h"
#include "oxSurfaceReconstruction.h"

namespace oxmesh {

/// "1 vertex" / "2 vertices": the count and the word that fits it. O(1).
std::string plural(std::size_t count, const char* singular, const char* pluralForm);

/// Seconds as the summaries print them: "0.123 s". O(1).
std::string formatSeconds(double seconds);

/// "apss" or "rimls", as the command line spells them.
const char* surfaceName(ox::oxPointSetProcessing::tSurfaceKind kind);

/// "N vertices, M triangles, closed manifold" (or "open", "non-manifold"), from the mesh's
/// statistics. O(V + T).
std::string describeMesh(const ox::oxTriMesh& mesh);

/// "corner signs 0.12 s, growth 0.40 s (31 iterations), bisection 0.55 s, normals 0.01 s", then
/// ", clean-up 0.02 s" when the repair was part of the run. O(1).
std::string describeStages(const ox::oxPointSetProcessing::tReconstructionReport& report);

/// One line for a reconstruction's repair, e.g. "clean-up: split 2 pinched vertices, dropped 3
/// stray pieces (17 triangles), closed 12 small holes (131 triangles)"; "clean-up: nothing to
/// repair (4 holes left open)" when it ran without changing anything; "" when it did not run.
std::string describeRepair(const ox::oxMeshProcessing::tRepairReport& report);

/// Words for a stop reason, e.g. "target reached", "no legal collapse left".
const char* describeStop(ox::oxMeshProcessing::tCollapseStop stop);

}  // namespace oxmesh
