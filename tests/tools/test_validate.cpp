// Validation after loading, for every format, and the path checks that run
// before any reader: each failure is one FileError line naming the file.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "formats/FileError.h"
#include "formats/MeshReader.h"
#include "formats/MeshView.h"
#include "formats/Validate.h"
#include "test_cli_support.h"

namespace {

oxmesh::MeshData square()
{
    oxmesh::MeshData mesh;
    mesh.positions = {0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0};
    mesh.triangles = {0, 1, 2, 0, 2, 3};
    return mesh;
}

/// The message validateMesh throws for `mesh`, or "" when it passes.
std::string validationMessage(const oxmesh::MeshData& mesh)
{
    try {
        oxmesh::validateMesh(mesh, "scan.ply");
    } catch (const oxmesh::FileError& error) {
        EXPECT_EQ(error.path(), "scan.ply");
        return error.what();
    }
    return "";
}

std::string readMessage(const std::string& path)
{
    try {
        oxmesh::readMesh(path);
    } catch (const oxmesh::FileError& error) {
        return error.what();
    }
    return "";
}

}  // namespace

TEST(ValidateMesh, AcceptsGoodMeshesAndPointClouds)
{
    EXPECT_EQ(validationMessage(square()), "");
    oxmesh::MeshData cloud = square();
    cloud.triangles.clear();
    EXPECT_EQ(validationMessage(cloud), "");
}

TEST(ValidateMesh, NamesTheFirstNonFiniteVertexAndCountsThemAll)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float inf = std::numeric_limits<float>::infinity();
    oxmesh::MeshData mesh = square();
    mesh.positions[6] = nan;  // vertex 2
    mesh.positions[7] = 0.5f;
    mesh.positions[11] = -inf;  // vertex 3
    EXPECT_EQ(
        validationMessage(mesh),
        "scan.ply: vertex 2 has a non-finite coordinate (nan, 0.5, 0); 2 vertices in all are not finite");

    oxmesh::MeshData single = square();
    single.positions[1] = inf;
    EXPECT_EQ(validationMessage(single),
              "scan.ply: vertex 0 has a non-finite coordinate (0, inf, 0); it is the only one");
}

TEST(ValidateMesh, RejectsIndicesOutOfRangeMissingVerticesAndMismatchedAttributes)
{
    oxmesh::MeshData mesh = square();
    mesh.triangles[4] = 4;
    EXPECT_EQ(validationMessage(mesh), "scan.ply: triangle 1 refers to vertex 4, but there are 4 vertices");

    oxmesh::MeshData empty;
    EXPECT_EQ(validationMessage(empty), "scan.ply: no vertices");
    oxmesh::MeshData facesOnly;
    facesOnly.triangles = {0, 1, 2};
    EXPECT_EQ(validationMessage(facesOnly), "scan.ply: no vertices");

    oxmesh::MeshData normals = square();
    normals.normals = {0, 0, 1, 0, 0, 1};
    EXPECT_EQ(validationMessage(normals), "scan.ply: 2 normals for 4 vertices");
    oxmesh::MeshData colours = square();
    colours.colors.assign(15, 0.5f);
    EXPECT_EQ(validationMessage(colours), "scan.ply: 5 colours for 4 vertices");
}

TEST(ValidateMesh, NonFiniteAndZeroNormalsAreCountedNotRejected)
{
    oxmesh::MeshData mesh = square();
    mesh.normals = {0, 0, 1, std::numeric_limits<float>::quiet_NaN(), 0, 1, 0, 0, 0, 0, 0, 1};
    EXPECT_EQ(validationMessage(mesh), "");
    const ox::oxMeshProcessing::tMeshStatistics stats = oxmesh::statisticsOf(mesh);
    EXPECT_EQ(stats.nonFiniteNormals, 1u);
    EXPECT_EQ(stats.zeroNormals, 1u);
}

TEST(ValidateMesh, EveryFormatIsValidatedAfterLoading)
{
    // The same broken content in three formats and three readers, one message.
    const char* expected = "vertex 1 has a non-finite coordinate (nan, 0, 0); it is the only one";
    for (const char* file : {"broken/obj/nan-coordinate.obj", "broken/off/nan-coordinate.off"}) {
        const std::string path = clitest::testData(file);
        EXPECT_EQ(readMessage(path), path + ": " + expected);
    }
    const std::string stl = clitest::testData("broken/stl/nan-vertex.stl");
    EXPECT_EQ(readMessage(stl),
              stl + ": vertex 3 has a non-finite coordinate (nan, 1, 0); it is the only one");

    const std::string scan = clitest::sharedData("scans/stress-table_scene_mug_stereo_with_nan.ply");
    if (!clitest::fs::exists(scan))
        GTEST_SKIP() << "shared data set not present";
    const std::string message = readMessage(scan);
    EXPECT_EQ(message.rfind(scan + ": vertex ", 0), 0u) << message;
    EXPECT_NE(
        message.find("has a non-finite coordinate (nan, nan, nan); 24491 vertices in all are not finite"),
        std::string::npos)
        << message;
}

TEST(MeshReaderPaths, CheckedBeforeAnyReader)
{
    clitest::ScratchDir dir;
    const std::string missing = dir.file("missing.ply");
    EXPECT_EQ(readMessage(missing), missing + ": no such file");

    clitest::fs::create_directory(dir.file("folder.stl"));
    EXPECT_EQ(readMessage(dir.file("folder.stl")), dir.file("folder.stl") + ": is a directory, not a file");

    for (const char* name : {"empty.obj", "empty.OFF", "empty.ply", "empty.xyz", "empty.glb"}) {
        clitest::writeText(dir.file(name), "");
        EXPECT_EQ(readMessage(dir.file(name)), dir.file(name) + ": file is empty");
    }
    clitest::writeText(dir.file("points.pcd"), "VERSION .7\n");
    EXPECT_EQ(readMessage(dir.file("points.pcd")),
              dir.file("points.pcd") + ": unknown file extension '.pcd' (supported: .ply .obj .off .stl "
                                       ".gltf .glb .fbx .3mf .dae .3ds .xyz .txt)");
    clitest::writeText(dir.file("noextension"), "v 0 0 0\n");
    EXPECT_NE(readMessage(dir.file("noextension")).find("no file extension (supported: "), std::string::npos);

    EXPECT_EQ(oxmesh::lowerCaseExtension("/a.b/Mesh.OBJ"), ".obj");
    EXPECT_EQ(oxmesh::lowerCaseExtension("/a.b/mesh"), "");
}

TEST(MeshReaderPaths, DispatchIsByCaseInsensitiveExtension)
{
    clitest::ScratchDir dir;
    const std::string text = "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n";
    clitest::writeText(dir.file("tri.OBJ"), text);
    const oxmesh::MeshData obj = oxmesh::readMesh(dir.file("tri.OBJ"));
    EXPECT_EQ(obj.format, "obj");
    EXPECT_EQ(obj.triangleCount(), 1u);

    clitest::writeText(dir.file("tri.Off"), "OFF\n3 1 0\n0 0 0\n1 0 0\n0 1 0\n3 0 1 2\n");
    const oxmesh::MeshData off = oxmesh::readMesh(dir.file("tri.Off"));
    EXPECT_EQ(off.format, "off");
    EXPECT_EQ(off.positions, obj.positions);
    EXPECT_EQ(off.triangles, obj.triangles);

    clitest::writeText(dir.file("points.txt"), "0 0 0\n1 0 0\n0 1 0\n");
    const oxmesh::MeshData xyz = oxmesh::readMesh(dir.file("points.txt"));
    EXPECT_EQ(xyz.positions, obj.positions);
    EXPECT_EQ(xyz.triangleCount(), 0u);
}
