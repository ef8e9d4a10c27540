// What `oxmesh reconstruct` says about its clean-up: the summary words for the repair report
// (built by hand, so each phrase is checked against the counts it names), and the command on a
// sphere cloud with a small cap missing, whose raw mesh is open.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "cli/Reports.h"
#include "formats/MeshData.h"
#include "formats/MeshReader.h"
#include "formats/MeshView.h"
#include "formats/MeshWriter.h"
#include "test_cli_support.h"

namespace {

using ox::oxMeshProcessing::tMeshStatistics;
using ox::oxMeshProcessing::tRepairReport;
using oxmesh::MeshData;

}  // namespace

TEST(RepairWords, EachPhraseNamesItsCount)
{
    // Oracle: the phrases of the summary line, worked out by hand for each report.
    tRepairReport report;
    EXPECT_EQ(oxmesh::describeRepair(report), "");  // did not run
    report.ran = true;
    EXPECT_EQ(oxmesh::describeRepair(report), "clean-up: nothing to repair");
    report.holes.open = 1;
    EXPECT_EQ(oxmesh::describeRepair(report), "clean-up: nothing to repair (1 hole left open)");
    report.holes.open = 0;
    report.pinchedVertices = 1;
    EXPECT_EQ(oxmesh::describeRepair(report), "clean-up: split 1 pinched vertex");
    report.holes.open = 2;
    EXPECT_EQ(oxmesh::describeRepair(report), "clean-up: split 1 pinched vertex; 2 holes left open");
    report.holes = {2, 12, 0};
    EXPECT_EQ(oxmesh::describeRepair(report),
              "clean-up: split 1 pinched vertex, closed 2 small holes (12 triangles)");
    tRepairReport sliver;
    sliver.ran = true;
    sliver.degenerateTriangles = 1;
    sliver.smallComponents = 1;
    sliver.smallComponentTriangles = 1;
    EXPECT_EQ(oxmesh::describeRepair(sliver),
              "clean-up: dropped 1 degenerate triangle, dropped 1 stray piece (1 triangle)");
    tRepairReport trim;
    trim.ran = true;
    trim.unsupportedTriangles = 2;
    trim.nonManifoldTriangles = 3;
    EXPECT_EQ(
        oxmesh::describeRepair(trim),
        "clean-up: trimmed 2 triangles away from the points, dropped 3 triangles on non-manifold edges");
}

// `oxmesh reconstruct` on a sphere cloud whose cap below z = -0.85 is missing: the raw surface
// runs on past the cloud's rim into the hole (an extrapolated band that ends in an open rim);
// by default the band is trimmed, leaving the cloud's own hole as one open, manifold border,
// and a "clean-up:" line follows the summary.
TEST(ReconstructCleanupCommand, BandPastTheCloudsRimIsTrimmedUnlessRaw)
{
    clitest::ScratchDir dir;
    MeshData cloud;
    const unsigned n = 1500;
    float lowest = 1.0f;
    for (unsigned i = 0; i < n; ++i) {
        const double z = 1.0 - 2.0 * (i + 0.5) / n;
        if (z < -0.85)
            continue;
        const double s = std::sqrt(1.0 - z * z), phi = 2.399963229728653 * i;
        const float normal[3] = {float(s * std::cos(phi)), float(s * std::sin(phi)), float(z)};
        cloud.positions.insert(cloud.positions.end(), {5.0f + normal[0], normal[1], normal[2]});
        cloud.normals.insert(cloud.normals.end(), normal, normal + 3);
        lowest = std::min(lowest, normal[2]);
    }
    const std::string in = dir.file("holed.ply"), raw = dir.file("raw.ply"), clean = dir.file("clean.ply");
    oxmesh::writeMesh(in, cloud);
    auto lowestVertex = [](const MeshData& mesh) {
        float z = 1e30f;
        for (std::size_t v = 0; v < mesh.vertexCount(); ++v)
            z = std::min(z, mesh.positions[3 * v + 2]);
        return z;
    };

    const clitest::RunResult r1 = clitest::runOxmesh({"reconstruct", in, "-o", raw, "--depth", "5", "--raw"});
    ASSERT_EQ(r1.exitCode, 0) << r1.err;
    EXPECT_EQ(r1.out.find("clean-up"), std::string::npos) << r1.out;
    const MeshData rawMesh = oxmesh::readMesh(raw);
    const tMeshStatistics rawStats = oxmesh::statisticsOf(rawMesh);
    ASSERT_FALSE(rawStats.closed);
    ASSERT_LT(lowestVertex(rawMesh), lowest - 0.15f);  // the band this test is about

    const clitest::RunResult r2 = clitest::runOxmesh({"reconstruct", in, "-o", clean, "--depth", "5"});
    ASSERT_EQ(r2.exitCode, 0) << r2.err;
    const MeshData cleanMesh = oxmesh::readMesh(clean);
    const tMeshStatistics cleanStats = oxmesh::statisticsOf(cleanMesh);
    EXPECT_TRUE(cleanStats.manifold);
    EXPECT_EQ(cleanStats.boundaryLoops, 1u);
    EXPECT_EQ(cleanStats.components, 1u);
    EXPECT_EQ(cleanStats.eulerCharacteristic, 1);  // a disk: the sphere minus its cap
    EXPECT_GT(lowestVertex(cleanMesh), lowest - 0.1f) << lowestVertex(cleanMesh) << " " << lowest;
    EXPECT_NE(r2.out.find(clean + ": " + std::to_string(cleanStats.vertices) + " vertices, " +
                          std::to_string(cleanStats.triangles) + " triangles, open manifold"),
              std::string::npos)
        << r2.out;
    EXPECT_NE(r2.out.find("\nclean-up: trimmed "), std::string::npos) << r2.out;
    EXPECT_NE(r2.out.find(", clean-up "), std::string::npos) << r2.out;  // its time among the stages
}
