// The reconstruction pipeline (ReconstructSurface) on a sampled sphere away from the origin:
// the mesh comes back in the cloud's own frame (vertices on the analytic sphere, normals along
// the radius), closed and of genus 0; both overloads give the same mesh bit for bit; the report
// agrees with the printed lines and the grid geometry; impossible clouds give a null mesh.
// Every mesher run in this process uses depth 5 (the face tables are fixed by the first call).
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "oxMeshProcessing.h"
#include "oxPointSetProcessing.h"
#include "oxPointSetQuery.h"
#include "oxSurfaceReconstruction.h"
#include "support/CaptureStdout.h"
#include "support/Topology.h"

namespace {

namespace pp = ox::oxPointSetProcessing;
namespace mp = ox::oxMeshProcessing;
using ox::Vec3;

constexpr unsigned kDepth = 5;
const Vec3 kCentre(5.0f, -3.0f, 2.0f);
constexpr float kRadius = 2.0f;

/// `count` points on the sphere (Fibonacci spiral), outward normals of length 3 (the pipeline
/// rescales them), and `extra` floats per point (a colour) to check that layouts do not matter.
ox::oxPointer<ox::oxVertexBuffer> sphereCloud(unsigned count, bool normals = true)
{
    ox::oxAttributes layout;
    layout.SetPositionChannels(3);
    if (normals)
        layout.SetNormalChannels(3);
    layout.SetColorChannels(0, 3);
    ox::oxPointer<ox::oxVertexBuffer> cloud(new ox::oxVertexBuffer(layout, int(count)));
    for (unsigned i = 0; i < count; ++i) {
        const float z = 1.0f - 2.0f * (float(i) + 0.5f) / float(count);
        const float s = std::sqrt(std::max(0.0f, 1.0f - z * z)), phi = 2.39996323f * float(i);
        const Vec3 d(s * std::cos(phi), s * std::sin(phi), z);
        cloud->Position3(int(i)) = kCentre + d * kRadius;
        if (normals)
            cloud->Normal3(int(i)) = d * 3.0f;
    }
    return cloud;
}

class ReconstructionPipeline : public ::testing::Test {
protected:
    static void SetUpTestSuite()
    {
        s_cloud = sphereCloud(3000);
        pp::tReconstructionOptions options;
        options.depth = kDepth;
        s_lines = new std::string(oxtest::capturedStdout(
            [&] { s_mesh = pp::ReconstructSurface(*s_cloud, options, &s_progress, &s_report); }));
    }
    static void TearDownTestSuite()
    {
        s_mesh = ox::oxPointer<ox::oxTriMesh>();
        s_cloud = ox::oxPointer<ox::oxVertexBuffer>();
        delete s_lines;
    }

    /// Records every progress value.
    struct tRecorder : ox::oxProgressNotifierInterface {
        std::vector<float> values;
        void notifyProgress(float value) override { values.push_back(value); }
    };

    static ox::oxPointer<ox::oxVertexBuffer> s_cloud;
    static ox::oxPointer<ox::oxTriMesh> s_mesh;
    static pp::tReconstructionReport s_report;
    static tRecorder s_progress;
    static std::string* s_lines;
};

ox::oxPointer<ox::oxVertexBuffer> ReconstructionPipeline::s_cloud;
ox::oxPointer<ox::oxTriMesh> ReconstructionPipeline::s_mesh;
pp::tReconstructionReport ReconstructionPipeline::s_report;
ReconstructionPipeline::tRecorder ReconstructionPipeline::s_progress;
std::string* ReconstructionPipeline::s_lines = nullptr;

TEST_F(ReconstructionPipeline, SphereComesBackInTheCloudsFrameClosedAndOutward)
{
    // Oracle: the analytic sphere (centre, radius, outward radial normals) and its topology.
    ASSERT_TRUE(s_mesh);
    const oxtest::tTopology topology = oxtest::checkTopology(*s_mesh);
    EXPECT_TRUE(topology.closedAndOriented());
    EXPECT_EQ(topology.euler, 2);
    EXPECT_GT(oxtest::signedVolume(*s_mesh), 0.9 * 4.18879 * kRadius * kRadius * kRadius);
    const ox::oxVertexBuffer& vb = *s_mesh->GetVertexBuffer();
    ASSERT_TRUE(vb.GetAttributes().HasNormal());
    const float cell = s_report.cellSize;
    for (int v = 0; v < vb.GetVertexQuantity(); ++v) {
        const Vec3 radial = vb.Position3(v) - kCentre;
        ASSERT_NEAR(radial.Length(), kRadius, 0.25f * cell) << v;
        EXPECT_NEAR(vb.Normal3(v).Length(), 1.0f, 1e-5f);
        EXPECT_GT(vb.Normal3(v).Dot(radial) / radial.Length(), 0.9f) << v;
    }
}

TEST_F(ReconstructionPipeline, ReportAgreesWithTheLinesAndTheGrid)
{
    // Oracle: the mesher's printed lines, the mesh itself and the grid geometry (the cube spans
    // the sphere plus the points' support radii, split into 2^depth cells).
    const ox::tGridMeshingReport& meshing = s_report.meshing;
    EXPECT_EQ(meshing.depth, kDepth);
    std::size_t iterationLines = 0;
    for (std::size_t at = s_lines->find("iteration :"); at != std::string::npos;
         at = s_lines->find("iteration :", at + 1))
        ++iterationLines;
    EXPECT_EQ(meshing.iterations, iterationLines);
    EXPECT_NE(s_lines->find("searching precise surface position\ndone\n"), std::string::npos);
    const float cube = s_report.cellSize * float(1u << kDepth);
    EXPECT_GT(cube, 2.0f * kRadius);
    EXPECT_LT(cube, 2.0f * kRadius * 1.5f);
    EXPECT_GE(meshing.cells, meshing.seedCells);
    EXPECT_TRUE(s_report.repairRequested);
    EXPECT_TRUE(s_report.repair.ran == false);  // a closed manifold sphere is left as it is
    EXPECT_EQ(meshing.triangles, unsigned(s_mesh->GetTriangleQuantity()));
    EXPECT_GE(s_report.querySeconds, 0.0);

    // Progress rises to 1 and never goes back.
    ASSERT_FALSE(s_progress.values.empty());
    for (std::size_t i = 1; i < s_progress.values.size(); ++i)
        EXPECT_LE(s_progress.values[i - 1], s_progress.values[i]);
    EXPECT_EQ(s_progress.values.back(), 1.0f);
}

TEST_F(ReconstructionPipeline, SharedQueryGivesTheSameMeshBitForBit)
{
    // Oracle: the other overload on the same cloud (the query built once and reused).
    const std::unique_ptr<ox::oxPointSetQuery> query = pp::BuildReconstructionQuery(*s_cloud);
    ASSERT_TRUE(query);
    pp::tReconstructionOptions options;
    options.depth = kDepth;
    ox::oxPointer<ox::oxTriMesh> again;
    oxtest::capturedStdout([&] { again = pp::ReconstructSurface(*query, options); });
    const ox::oxVertexBuffer &a = *s_mesh->GetVertexBuffer(), &b = *again->GetVertexBuffer();
    ASSERT_EQ(a.GetVertexQuantity(), b.GetVertexQuantity());
    ASSERT_EQ(a.GetChannelQuantity(), b.GetChannelQuantity());
    EXPECT_EQ(
        std::memcmp(a.GetData(), b.GetData(), sizeof(float) * a.GetChannelQuantity() * a.GetVertexQuantity()),
        0);
    EXPECT_EQ(oxtest::trianglesOf(*s_mesh), oxtest::trianglesOf(*again));
}

TEST(ReconstructionPipelineRefusals, TooFewPointsNoNormalsOrNonFinitePositions)
{
    // Oracle: the stated refusals (null mesh, nothing printed).
    pp::tReconstructionOptions options;
    options.depth = kDepth;
    const std::string printed = oxtest::capturedStdout([&] {
        EXPECT_FALSE(pp::ReconstructSurface(*sphereCloud(pp::kMinReconstructionPoints - 1), options));
        EXPECT_FALSE(pp::ReconstructSurface(*sphereCloud(100, false), options));
        ox::oxPointer<ox::oxVertexBuffer> broken = sphereCloud(100);
        broken->Position3(7) = Vec3(NAN, 0.0f, 0.0f);
        EXPECT_FALSE(pp::IsReconstructible(*broken));
        EXPECT_FALSE(pp::ReconstructSurface(*broken, options));
        EXPECT_FALSE(pp::BuildReconstructionQuery(*broken));
    });
    EXPECT_EQ(printed, "");
}

TEST(RemovePointsWithoutNormal, KeepsWholeRecordsInOrder)
{
    // Oracle: hand-made cloud; the kept records are the ones with usable normals, in order.
    ox::oxPointer<ox::oxVertexBuffer> cloud = sphereCloud(6);
    cloud->Normal3(1) = Vec3(0.0f, 0.0f, 0.0f);
    cloud->Normal3(4) = Vec3(INFINITY, 0.0f, 0.0f);
    const Vec3 p0 = cloud->Position3(0), p2 = cloud->Position3(2), p5 = cloud->Position3(5);
    EXPECT_EQ(pp::RemovePointsWithoutNormal(*cloud), 2u);
    ASSERT_EQ(cloud->GetVertexQuantity(), 4);
    EXPECT_EQ(cloud->Position3(0), p0);
    EXPECT_EQ(cloud->Position3(1), p2);
    EXPECT_EQ(cloud->Position3(3), p5);
}

}  // namespace
