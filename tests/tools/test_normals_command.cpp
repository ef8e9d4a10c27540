// `oxmesh normals` run as a user would: a cloud written without normals gets normals that
// agree with the known outward direction of its shape, or face a given viewpoint; bad
// input fails cleanly and leaves no output.
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "formats/MeshData.h"
#include "formats/PlyReader.h"
#include "formats/XyzWriter.h"
#include "test_cli_support.h"

namespace {

// Points on two spheres (radius 1 at the origin, radius 0.5 at (4, 0, 0)) without normals.
oxmesh::MeshData twoSpheres(unsigned n)
{
    oxmesh::MeshData cloud;
    std::mt19937 rng(5);
    std::normal_distribution<float> g;
    for (unsigned i = 0; i < n; ++i) {
        float d[3] = {g(rng), g(rng), g(rng)};
        const float l = std::sqrt(d[0] * d[0] + d[1] * d[1] + d[2] * d[2]);
        const bool small = i % 3 == 0;
        const float r = small ? 0.5f : 1.0f, cx = small ? 4.0f : 0.0f;
        cloud.positions.insert(cloud.positions.end(), {cx + r * d[0] / l, r * d[1] / l, r * d[2] / l});
    }
    return cloud;
}

}  // namespace

TEST(NormalsCommand, OrientsEveryPartOutwardsOrTowardsAViewpoint)
{
    clitest::ScratchDir dir;
    const oxmesh::MeshData cloud = twoSpheres(3000);
    oxmesh::writeXyz(dir.file("spheres.xyz"), cloud);

    const clitest::RunResult outwards =
        clitest::runOxmesh({"normals", dir.file("spheres.xyz"), "-o", dir.file("out.ply")});
    ASSERT_EQ(outwards.exitCode, 0) << outwards.err;
    EXPECT_NE(outwards.out.find("2 connected parts"), std::string::npos) << outwards.out;
    const oxmesh::MeshData result = oxmesh::readPly(dir.file("out.ply"));
    ASSERT_EQ(result.vertexCount(), cloud.vertexCount());
    ASSERT_TRUE(result.hasNormals());
    unsigned agree = 0;
    for (std::size_t i = 0; i < result.vertexCount(); ++i) {
        const float* p = &result.positions[3 * i];
        const float* n = &result.normals[3 * i];
        const float cx = p[0] > 2.0f ? 4.0f : 0.0f;
        agree += n[0] * (p[0] - cx) + n[1] * p[1] + n[2] * p[2] > 0.0f;
    }
    EXPECT_GT(agree, result.vertexCount() * 99 / 100);

    const clitest::RunResult towards = clitest::runOxmesh(
        {"normals", dir.file("spheres.xyz"), "-o", dir.file("eye.ply"), "--viewpoint", "0,10,0"});
    ASSERT_EQ(towards.exitCode, 0) << towards.err;
    const oxmesh::MeshData facing = oxmesh::readPly(dir.file("eye.ply"));
    for (std::size_t i = 0; i < facing.vertexCount(); ++i) {
        const float* p = &facing.positions[3 * i];
        const float* n = &facing.normals[3 * i];
        ASSERT_GE(n[0] * -p[0] + n[1] * (10.0f - p[1]) + n[2] * -p[2], 0.0f) << "point " << i;
    }
}

TEST(NormalsCommand, RejectsTooFewPointsAndBadArguments)
{
    clitest::ScratchDir dir;
    clitest::writeText(dir.file("two.xyz"), "0 0 0\n1 0 0\n");
    const clitest::RunResult few =
        clitest::runOxmesh({"normals", dir.file("two.xyz"), "-o", dir.file("out.ply")});
    EXPECT_EQ(few.exitCode, 1);
    ASSERT_EQ(few.errLines().size(), 1u) << few.err;
    EXPECT_NE(few.err.find("needs at least 3 points"), std::string::npos) << few.err;
    EXPECT_EQ(dir.entries(), std::vector<std::string>{"two.xyz"}) << "no output may be left behind";

    clitest::writeText(dir.file("nan.xyz"), "0 0 0\n1 0 0\nnan 1 0\n0 1 1\n");
    const clitest::RunResult nan =
        clitest::runOxmesh({"normals", dir.file("nan.xyz"), "-o", dir.file("out.ply")});
    EXPECT_EQ(nan.exitCode, 1);
    EXPECT_NE(nan.err.find("non-finite"), std::string::npos) << nan.err;

    const clitest::RunResult badK =
        clitest::runOxmesh({"normals", dir.file("two.xyz"), "-o", dir.file("out.ply"), "-k", "1"});
    EXPECT_EQ(badK.exitCode, 2);
    const clitest::RunResult badEye =
        clitest::runOxmesh({"normals", dir.file("two.xyz"), "-o", dir.file("out.ply"), "--viewpoint", "1,2"});
    EXPECT_EQ(badEye.exitCode, 2);
}
