// The OBJ reader: the file's own vertex numbering, polygons and their fans,
// the per-vertex normal rule, and a clear error for every kind of broken file.
#include <gtest/gtest.h>

#include <cmath>

#include "formats/FileError.h"
#include "formats/MeshReader.h"
#include "formats/ObjReader.h"
#include "test_cli_support.h"

namespace {

oxmesh::MeshData parse(const std::string& text)
{
    return oxmesh::parseObj(text.data(), text.size(), "test.obj");
}

std::string parseError(const std::string& text)
{
    try {
        parse(text);
    } catch (const oxmesh::FileError& error) {
        EXPECT_EQ(error.path(), "test.obj");
        return error.problem();
    }
    return "no error";
}

const char* kSquareAndPentagon = "# a quad and a pentagon sharing the edge 2-3\n"
                                 "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nv 2 0 0\nv 2 1 0\nv 1.5 2 0\n"
                                 "f 1 2 3 4\n"
                                 "f 2 5 6 7 3\n";

}  // namespace

TEST(ObjReader, PolygonsAreFannedAndTheirSizesKept)
{
    const oxmesh::MeshData mesh = parse(kSquareAndPentagon);
    EXPECT_EQ(mesh.format, "obj");
    EXPECT_EQ(mesh.vertexCount(), 7u);
    EXPECT_EQ(mesh.sourceFaces, 2u);
    EXPECT_EQ(mesh.faceSizes, (std::map<unsigned, std::size_t>{{4, 1}, {5, 1}}));
    EXPECT_EQ(mesh.triangles, (std::vector<std::uint32_t>{0, 1, 2, 0, 2, 3, 1, 4, 5, 1, 5, 6, 1, 6, 2}));
    EXPECT_EQ(mesh.polygonStarts, (std::vector<std::uint32_t>{0, 2}));
    EXPECT_FALSE(mesh.hasNormals());
    EXPECT_FALSE(mesh.hasColors());
    EXPECT_FALSE(mesh.hasTexCoords);

    // A triangle-only file needs no polygon grouping.
    const oxmesh::MeshData triangles = parse("v 0 0 0\nv 1 0 0\nv 0 1 0\nv 1 1 0\nf 1 2 3\nf 2 4 3\n");
    EXPECT_TRUE(triangles.polygonStarts.empty());
    EXPECT_EQ(triangles.faceSizes, (std::map<unsigned, std::size_t>{{3, 2}}));
}

TEST(ObjReader, KeepsTheFileVertexListIncludingUnusedVertices)
{
    // Relative indices, index forms v, v/vt, v//vn, v/vt/vn, groups and objects, and two unused vertices.
    const oxmesh::MeshData mesh =
        parse("mtllib missing.mtl\no first\ng a\nusemtl none\ns 1\n"
              "v 0 0 0\nv 1 0 0\nv 0 1 0\nv 5 5 5\nvt 0 0\nvt 1 0\nvt 0 1\nvn 0 0 1\n"
              "f -4 -3 -2\n"
              "o second\nv 1 1 0\nv 9 9 9\n"
              "f 2/2 5/1 3/3\nf 2//1 5//1 3//1\nf 2/2/1 5/1/1 3/3/1\nl 1 2\np 4\n");
    EXPECT_EQ(mesh.vertexCount(), 6u);
    EXPECT_EQ(mesh.positions[3 * 4], 1.0f);
    EXPECT_EQ(mesh.positions[3 * 5], 9.0f);
    EXPECT_EQ(mesh.triangles, (std::vector<std::uint32_t>{0, 1, 2, 1, 4, 2, 1, 4, 2, 1, 4, 2}));
    EXPECT_TRUE(mesh.hasTexCoords);
    EXPECT_FALSE(mesh.hasNormals());  // vertex 0 (used by the first face) has no normal
}

TEST(ObjReader, NormalOfTheFirstCornerWhenEveryUsedVertexHasOne)
{
    const oxmesh::MeshData mesh = parse("v 0 0 0\nv 1 0 0\nv 0 1 0\nv 1 1 0\nv 7 7 7\n"
                                        "vn 0 0 1\nvn 0 1 0\nvn 1 0 0\n"
                                        "f 1//1 2//2 3//3\nf 2//3 4//1 3//1\n");
    ASSERT_TRUE(mesh.hasNormals());
    // Vertex 2 first appears with normal 2, vertex 3 with normal 3; unused vertex 5 gets zero.
    EXPECT_EQ(mesh.normals, (std::vector<float>{0, 0, 1, 0, 1, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0}));
}

TEST(ObjReader, VertexColoursWhenEveryVertexHasThem)
{
    const oxmesh::MeshData coloured = parse("v 0 0 0 1 0 0\nv 1 0 0 0 1 0\nv 0 1 0 0 0 0.5\nf 1 2 3\n");
    EXPECT_EQ(coloured.colors, (std::vector<float>{1, 0, 0, 0, 1, 0, 0, 0, 0.5f}));
    const oxmesh::MeshData partly = parse("v 0 0 0 1 0 0\nv 1 0 0\nv 0 1 0 0 0 0.5\nf 1 2 3\n");
    EXPECT_FALSE(partly.hasColors());
}

TEST(ObjReader, LineEndingsSignsAndNonFiniteValues)
{
    const oxmesh::MeshData lf = parse("v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
    const oxmesh::MeshData dos = parse("v 0 0 0\r\nv +1 0 0\r\nv 0 1 0\r\nf 1 2 3\r\n");
    const oxmesh::MeshData mac = parse("v 0 0 0\rv 1 0 0\rv 0 1e0 0 # comment\rf 1 2 3");
    EXPECT_EQ(dos.positions, lf.positions);
    EXPECT_EQ(dos.triangles, lf.triangles);
    EXPECT_EQ(mac.positions, lf.positions);
    EXPECT_EQ(mac.triangles, lf.triangles);

    // tinyobjloader alone reads "nan" as 0; the reader keeps the real value for validation.
    const oxmesh::MeshData nan = parse("v 0 0 0\nv nan 0 0\nv 0 -inf 0\nv 1e39 0 0\nf 1 2 3\n");
    EXPECT_TRUE(std::isnan(nan.positions[3]));
    EXPECT_EQ(nan.positions[7], -INFINITY);
    EXPECT_EQ(nan.positions[9], INFINITY);
}

TEST(ObjReader, BrokenFilesGiveOneClearProblem)
{
    const std::string triangle = "v 0 0 0\nv 1 0 0\nv 0 1 0\n";
    std::string hugePolygon = "f";
    for (int i = 0; i < 300; ++i)
        hugePolygon += " " + std::to_string(i % 3 + 1);
    const std::vector<std::pair<std::string, std::string>> cases{
        {triangle + "f 1 2 99999\n", "face 1 refers to vertex 99999, but there are 3 vertices"},
        {triangle + "f 1 2 3\nf 3 2 4\n", "face 2 refers to vertex 4, but there are 3 vertices"},
        {triangle + "f -1 -2 -4\n",
         "face 1 has a relative vertex index reaching before the first of the 3 vertices"},
        {triangle + "vn 0 0 1\nf 1//1 2//1 3//2\n", "face 1 refers to normal 2, but there are 1 normal"},
        {triangle + "f 0 1 2\n", "cannot parse OBJ: Failed parse `f' line"},
        {triangle + "f 1 2\n", "a face has fewer than 3 vertices"},
        {triangle + hugePolygon + "\n", "a face has more than 255 vertices"},
        {"v 0 0 0\nv 1 zero 0\n", "line 2: 'zero' is not a number"},
        {"v 0 0 0\n\nv 1 0\n", "line 3: a vertex needs 3 coordinates, found 2"},
        {"v 1 2 3 4 5 6 7 8\n", "line 1: a vertex has more than 7 numbers"},
        {"v 0.1.2 0 0\n", "line 1: '0.1.2' is not a number"},
    };
    for (const auto& [text, problem] : cases)
        EXPECT_EQ(parseError(text).rfind(problem, 0), 0u) << text << "\n-> " << parseError(text);
}

TEST(ObjReader, FileAndMemoryGiveTheSameMesh)
{
    const std::string path = clitest::testData("meshes/spot.obj");
    const oxmesh::MeshData file = oxmesh::readObj(path);
    const std::string text = clitest::readText(path);
    const oxmesh::MeshData memory = oxmesh::parseObj(text.data(), text.size(), path);
    EXPECT_EQ(file.positions, memory.positions);
    EXPECT_EQ(file.triangles, memory.triangles);

    // The file's numbering: 2,930 positions, not one vertex per distinct v/vt pair.
    EXPECT_EQ(file.vertexCount(), 2930u);
    EXPECT_EQ(file.triangleCount(), 5856u);
    EXPECT_TRUE(file.hasTexCoords);

    std::vector<float> reported;
    const oxmesh::MeshData withProgress = oxmesh::readObj(path, [&](float f) { reported.push_back(f); });
    ASSERT_FALSE(reported.empty());
    EXPECT_EQ(reported.back(), 1.0f);
    for (std::size_t i = 1; i < reported.size(); ++i)
        EXPECT_GE(reported[i], reported[i - 1]);
}

TEST(ObjReader, BundledMeshesWithPolygonsNormalsAndAMissingMaterialFile)
{
    const oxmesh::MeshData suzanne = oxmesh::readMesh(clitest::testData("meshes/suzanne.obj"));
    EXPECT_EQ(suzanne.vertexCount(), 507u);
    EXPECT_EQ(suzanne.sourceFaces, 500u);
    EXPECT_EQ(suzanne.faceSizes, (std::map<unsigned, std::size_t>{{3, 32}, {4, 468}}));
    EXPECT_EQ(suzanne.triangleCount(), 968u);
    EXPECT_EQ(suzanne.polygonStarts.size(), 500u);
    EXPECT_TRUE(suzanne.hasNormals());

    const oxmesh::MeshData beetle =
        oxmesh::readMesh(clitest::testData("meshes/beetle.obj"));  // its .mtl is absent
    EXPECT_EQ(beetle.vertexCount(), 1148u);
    EXPECT_EQ(beetle.triangleCount(), 2053u);
    EXPECT_TRUE(beetle.hasNormals());
}

TEST(ObjReader, SharedBunnyKeepsItsUnreferencedVertices)
{
    const std::string bunny = clitest::sharedData("meshes/stanford-bunny.obj");
    if (!clitest::fs::exists(bunny))
        GTEST_SKIP() << "shared data set not present";
    const oxmesh::MeshData mesh = oxmesh::readMesh(bunny);
    EXPECT_EQ(mesh.vertexCount(), 35947u);
    EXPECT_EQ(mesh.triangleCount(), 69451u);
}
