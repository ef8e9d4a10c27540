// Formats read through Assimp: polygons fanned here, per-corner vertices welded
// back to the surface, scene hierarchies kept or flattened, and broken files
// (including those Assimp would patch up silently) rejected.
#include <gtest/gtest.h>

#include <cmath>

#include "formats/AssimpReader.h"
#include "formats/FileError.h"
#include "formats/MeshReader.h"
#include "formats/MeshView.h"
#include "test_assimp_scene_files.h"
#include "test_cli_support.h"

// Assimp 5.2 leaks a little on some failed imports (the STL and 3MF importers among them).
// LeakSanitizer reads this hook in sanitizer builds; elsewhere nothing calls it.
extern "C" const char* __lsan_default_suppressions()
{
    return "leak:libassimp.so\n";
}

namespace {

oxmesh::SceneData fromMemory(const std::string& bytes, const std::string& hint)
{
    return oxmesh::parseAssimpScene(bytes.data(), bytes.size(), hint, "memory." + hint);
}

std::string memoryError(const std::string& bytes, const std::string& hint)
{
    try {
        fromMemory(bytes, hint);
    } catch (const oxmesh::FileError& error) {
        EXPECT_EQ(error.path(), "memory." + hint);
        return error.problem();
    }
    return "no error";
}

}  // namespace

TEST(AssimpReader, OffQuadsAreFannedHere)
{
    const oxmesh::SceneData scene = fromMemory(scenetest::cubeOff(), "off");
    ASSERT_EQ(scene.meshes.size(), 1u);
    const oxmesh::MeshData& cube = scene.meshes[0];
    EXPECT_EQ(cube.format, "off");
    // OFF shares its vertices; nothing to weld, the file's vertex order is kept.
    EXPECT_EQ(cube.vertexCount(), 8u);
    EXPECT_EQ(cube.weldedVertices, 0u);
    EXPECT_EQ(cube.sourceFaces, 6u);
    EXPECT_EQ(cube.faceSizes, (std::map<unsigned, std::size_t>{{4, 6}}));
    EXPECT_EQ(cube.triangleCount(), 12u);
    EXPECT_EQ(cube.polygonStarts.size(), 6u);
    EXPECT_EQ((std::vector<float>(cube.positions.begin(), cube.positions.begin() + 12)),
              (std::vector<float>{0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0}));
    EXPECT_EQ((std::vector<std::uint32_t>(cube.triangles.begin(), cube.triangles.begin() + 6)),
              (std::vector<std::uint32_t>{0, 3, 2, 0, 2, 1}));

    const ox::oxMeshProcessing::tMeshStatistics stats = oxmesh::statisticsOf(cube);
    EXPECT_EQ(stats.edges, 12u);  // polygon sides, not fan diagonals
    EXPECT_TRUE(stats.closed);
    EXPECT_TRUE(stats.oriented);
    EXPECT_EQ(stats.genus, 0);
    EXPECT_NEAR(stats.signedVolume, 1.0, 1e-12);
}

TEST(AssimpReader, OffHeaderVariantsPassTheCountCheck)
{
    // Comments, counts on the keyword's line, a dimension, colours, no trailing newline.
    const std::vector<std::string> files{
        "# made by hand\nOFF 3 1 0\n0 0 0\n1 0 0\n0 1 0\n3 0 1 2",
        "COFF\n\n# counts\n3 1 3\n0 0 0 255 0 0 255\n1 0 0 0 255 0 255\n0 1 0 0 0 255 255\n3 0 1 2\n",
        "nOFF\n3\n3 1 0\n0 0 0\n1 0 0\n0 1 0\n3 0 1 2\n",
        "3 1 0\n0 0 0\n1 0 0\n0 1 0\n3 0 1 2\n",
    };
    for (const std::string& file : files) {
        const oxmesh::SceneData scene = fromMemory(file, "off");
        ASSERT_EQ(scene.meshes.size(), 1u) << file;
        EXPECT_EQ(scene.meshes[0].vertexCount(), 3u) << file;
        EXPECT_EQ(scene.meshes[0].triangleCount(), 1u) << file;
    }
}

TEST(AssimpReader, StlInBothEncodingsWeldsToTheSameTetrahedron)
{
    const oxmesh::SceneData ascii = fromMemory(scenetest::tetrahedronAsciiStl(), "stl");
    const oxmesh::SceneData binary = fromMemory(scenetest::tetrahedronBinaryStl(), "stl");
    for (const oxmesh::SceneData* scene : {&ascii, &binary}) {
        ASSERT_EQ(scene->meshes.size(), 1u);
        const oxmesh::MeshData& mesh = scene->meshes[0];
        EXPECT_EQ(mesh.vertexCount(), 4u);
        EXPECT_EQ(mesh.weldedVertices, 8u);
        EXPECT_EQ(mesh.triangleCount(), 4u);
        const ox::oxMeshProcessing::tMeshStatistics stats = oxmesh::statisticsOf(mesh);
        EXPECT_TRUE(stats.closed && stats.manifold && stats.oriented);
        EXPECT_EQ(stats.eulerCharacteristic, 2);
        EXPECT_NEAR(stats.signedVolume, 1.0 / 6.0, 1e-7);
    }
    EXPECT_EQ(ascii.meshes[0].positions, binary.meshes[0].positions);
    EXPECT_EQ(ascii.meshes[0].triangles, binary.meshes[0].triangles);
}

TEST(AssimpReader, SceneHierarchyIsKeptAndFlattenedWithWorldTransforms)
{
    clitest::ScratchDir dir;
    const std::string path = dir.file("two-nodes.gltf");
    clitest::writeText(path, scenetest::twoNodeGltf());

    const oxmesh::SceneData scene = oxmesh::readScene(path);
    ASSERT_EQ(scene.meshes.size(), 1u);
    EXPECT_EQ(scene.meshes[0].vertexCount(), 3u);
    // Find "parent" (Assimp may or may not put a root of its own above it).
    const oxmesh::SceneNode* parent = &scene.root;
    if (parent->name != "parent") {
        ASSERT_EQ(parent->children.size(), 1u);
        parent = &parent->children[0];
    }
    ASSERT_EQ(parent->name, "parent");
    const std::vector<float> expectedParent = scenetest::parentMatrixRowMajor();
    for (int i = 0; i < 16; ++i)
        EXPECT_FLOAT_EQ(parent->transform[std::size_t(i)], expectedParent[std::size_t(i)]) << i;
    EXPECT_EQ(parent->meshes, std::vector<std::size_t>{0});
    ASSERT_EQ(parent->children.size(), 1u);
    const oxmesh::SceneNode& child = parent->children[0];
    EXPECT_EQ(child.name, "child");
    EXPECT_EQ(child.transform, (std::array<float, 16>{1, 0, 0, 0, 0, 1, 0, 5, 0, 0, 1, 0, 0, 0, 0, 1}));
    EXPECT_EQ(child.meshes, std::vector<std::size_t>{0});

    // Flattened: the parent's instance is M p, the child's M (p + (0, 5, 0)); worked out by hand
    // for M = rotate 90 degrees about z, scale 2, translate (10, 0, 0).
    const oxmesh::MeshData flat = oxmesh::readMesh(path);
    const std::vector<float> expected{10, 0, 0, 10, 2, 0, 8, 0, 0, 0, 0, 0, 0, 2, 0, -2, 0, 0};
    ASSERT_EQ(flat.positions.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i)
        EXPECT_NEAR(flat.positions[i], expected[i], 1e-5f) << i;
    EXPECT_EQ(flat.triangles, (std::vector<std::uint32_t>{0, 1, 2, 3, 4, 5}));
    EXPECT_EQ(flat.sourceFaces, 2u);
}

TEST(AssimpReader, PerCornerVerticesWeldIntoOneSurface)
{
    // Two tetrahedra touching at (1, 0, 0), stored per corner in one STL: the weld joins them there.
    std::string text = "solid two\n";
    for (float shift : {0.0f, 1.0f})
        for (const auto& triangle : scenetest::tetrahedronTriangles()) {
            text += "facet normal 0 0 0\nouter loop\n";
            for (const auto& p : triangle)
                text += "vertex " + std::to_string(p[0] + shift) + " " + std::to_string(p[1]) + " " +
                        std::to_string(p[2]) + "\n";
            text += "endloop\nendfacet\n";
        }
    text += "endsolid two\n";
    clitest::ScratchDir dir;
    clitest::writeText(dir.file("two.stl"), text);
    const oxmesh::MeshData mesh = oxmesh::readMesh(dir.file("two.stl"));
    EXPECT_EQ(mesh.vertexCount(), 7u);  // (1,0,0) is shared by both tetrahedra
    EXPECT_EQ(mesh.weldedVertices, 24u - 7u);
    const ox::oxMeshProcessing::tMeshStatistics stats = oxmesh::statisticsOf(mesh);
    EXPECT_EQ(stats.components, 1u);
    EXPECT_EQ(stats.nonManifoldVertices, 1u);  // the two tetrahedra touch at one vertex
}

TEST(AssimpReader, BrokenFilesAreRejectedEvenWhenAssimpWouldCarryOn)
{
    EXPECT_EQ(memoryError("OFF\n4 2 0\n0 0 0\n1 0 0\n1 1 0\n0 1 0\n3 0 1 2\n3 0 2 100\n", "off"),
              "cannot read: OFF: Vertex index is out of range");
    EXPECT_EQ(memoryError("OFF\n8 1 0\n0 0 0\n1 0 0\n1 1 0\n", "off"),
              "cannot read: OFF: The number of verts in the header is incorrect");
    EXPECT_EQ(memoryError("OFF\n3 1 0\n0 0 0\n1 0 0\n0 1 0\n", "off"),
              "cannot read: OFF: The number of faces in the header is incorrect");
    // Assimp 5.2 alone counts the faces below zero here and crashes; the first logged error stops it.
    EXPECT_EQ(memoryError("OFF\n3 1 0\n0 0 0\n1 0 0\n0 1 0\n0\n0\n", "off"),
              "cannot read: OFF: Faces with zero indices aren't allowed");
    EXPECT_EQ(memoryError("solid x\nfacet normal 0 0 1\nouter loop\nvertex 0 0 0\nvertex 1 0", "stl")
                  .rfind("cannot read: ", 0),
              0u);
    std::string truncated = scenetest::tetrahedronBinaryStl();
    truncated.resize(truncated.size() - 30);
    EXPECT_EQ(memoryError(truncated, "stl").rfind("cannot read: ", 0), 0u);
    EXPECT_EQ(memoryError(std::string(200, '\x07'), "off").rfind("cannot read: ", 0), 0u);

    // Counts the file cannot hold are refused before Assimp allocates for them.
    EXPECT_EQ(memoryError("OFF\n# comment\n\n855555555555555555555 6 12\n0 0 0\n1 0 0\n", "off")
                  .rfind("OFF header announces 18446744073709551615 vertices and 6 faces, more than the", 0),
              0u);
    EXPECT_EQ(memoryError("COFF 3 1000 0\n0 0 0\n", "off")
                  .rfind("OFF header announces 3 vertices and 1000 faces", 0),
              0u);

    // The messages are one line, whatever Assimp's text looked like.
    for (const auto& entry : clitest::fs::directory_iterator(clitest::testData("broken/stl"))) {
        try {
            oxmesh::readMesh(entry.path().string());
            ADD_FAILURE() << entry.path() << " loaded";
        } catch (const oxmesh::FileError& error) {
            EXPECT_EQ(std::string(error.what()).find('\n'), std::string::npos) << error.what();
            EXPECT_LE(error.problem().size(), 200u) << error.what();
        }
    }
}
