// Loaded files as library objects and back: geometry layouts, exact round trips,
// and node trees whose world transforms are the products of the file's matrices.
#include <gtest/gtest.h>

#include <array>

#include "formats/MeshReader.h"
#include "formats/SceneConversion.h"
#include "scenegraph/oxNode.h"
#include "scenegraph/oxVertexBuffer.h"
#include "test_assimp_scene_files.h"
#include "test_cli_support.h"

namespace {

using Matrix = std::array<double, 16>;

Matrix product(const Matrix& a, const Matrix& b)
{
    Matrix c{};
    for (int r = 0; r < 4; ++r)
        for (int col = 0; col < 4; ++col)
            for (int k = 0; k < 4; ++k)
                c[4 * r + col] += a[4 * r + k] * b[4 * k + col];
    return c;
}

Matrix matrixOf(const ox::oxTransformation& transform)
{
    Matrix m{};
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c)
            m[4 * r + c] = transform.GetMatrix()(r, c);
    return m;
}

void expectRoundTrip(const oxmesh::MeshData& mesh)
{
    const ox::oxPointer<ox::oxGeometry> geometry(oxmesh::toGeometry(mesh));
    const oxmesh::MeshData back = oxmesh::fromTriMesh(*geometry);
    EXPECT_EQ(back.positions, mesh.positions);
    EXPECT_EQ(back.normals, mesh.normals);
    EXPECT_EQ(back.colors, mesh.colors);
    EXPECT_EQ(back.triangles, mesh.triangles);
    EXPECT_EQ(back.sourceFaces, mesh.triangleCount());
}

}  // namespace

TEST(SceneConversion, GeometryLayoutFollowsTheMeshAttributes)
{
    oxmesh::MeshData mesh;
    mesh.positions = {0, 0, 0, 1, 0, 0, 0, 1, 0};
    mesh.normals = {0, 0, 1, 0, 0, 1, 0, 0, -1};
    mesh.colors = {1, 0, 0, 0, 1, 0, 0, 0, 1};
    mesh.triangles = {0, 1, 2};
    const ox::oxPointer<ox::oxGeometry> geometry(oxmesh::toGeometry(mesh));
    const ox::oxVertexBuffer* buffer = geometry->GetVertexBuffer();
    ASSERT_NE(buffer, nullptr);
    const ox::oxAttributes& layout = buffer->GetAttributes();
    EXPECT_EQ(layout.GetPositionChannels(), 3);
    EXPECT_EQ(layout.GetNormalChannels(), 3);
    EXPECT_EQ(layout.GetColorChannels(0), 3);
    EXPECT_FALSE(layout.HasTCoord(0));
    EXPECT_EQ(buffer->GetChannelQuantity(), 9);
    // The interleaved record of vertex 2: position, normal, colour.
    const float* record = buffer->GetData() + 2 * 9;
    EXPECT_EQ(std::vector<float>(record, record + 9), (std::vector<float>{0, 1, 0, 0, 0, -1, 0, 0, 1}));
    EXPECT_EQ(geometry->GetTriangleQuantity(), 1);
    EXPECT_EQ(geometry->GetIndexBuffer()->GetIndexBufferType(), int(ox::oxIndexBuffer::IBT_TRIANGLES));
    EXPECT_TRUE(geometry->getLocalTransform().IsIdentity());
    expectRoundTrip(mesh);

    oxmesh::MeshData cloud;
    cloud.positions = {1, 2, 3, 4, 5, 6};
    const ox::oxPointer<ox::oxGeometry> points(oxmesh::toGeometry(cloud));
    EXPECT_EQ(points->GetVertexBuffer()->GetChannelQuantity(), 3);
    EXPECT_EQ(points->GetTriangleQuantity(), 0);
    expectRoundTrip(cloud);
}

TEST(SceneConversion, BundledMeshesRoundTripExactly)
{
    for (const char* name : {"meshes/spot.obj", "meshes/suzanne.obj", "meshes/beetle.obj"}) {
        SCOPED_TRACE(name);
        expectRoundTrip(oxmesh::readMesh(clitest::testData(name)));
    }
}

TEST(SceneConversion, FourChannelColoursComeBackAsRgb)
{
    ox::oxAttributes layout;
    layout.SetPositionChannels(3);
    layout.SetColorChannels(0, 4);
    const ox::oxPointer<ox::oxVertexBuffer> vertices(new ox::oxVertexBuffer(layout, 3));
    const ox::oxPointer<ox::oxIndexBuffer> indices(new ox::oxIndexBuffer(3));
    for (int v = 0; v < 3; ++v) {
        vertices->Position3(v) = Wm4::Vector3<float>(float(v), 1.0f, 2.0f);
        vertices->Color4(0, v) = Wm4::ColorRGBA(0.25f * float(v), 0.5f, 0.75f, 0.1f);
        (*indices)[v] = unsigned(2 - v);
    }
    const ox::oxPointer<ox::oxGeometry> geometry(new ox::oxGeometry(vertices.get(), indices.get()));
    const oxmesh::MeshData data = oxmesh::fromTriMesh(*geometry);
    EXPECT_EQ(data.positions, (std::vector<float>{0, 1, 2, 1, 1, 2, 2, 1, 2}));
    EXPECT_EQ(data.colors, (std::vector<float>{0, 0.5f, 0.75f, 0.25f, 0.5f, 0.75f, 0.5f, 0.5f, 0.75f}));
    EXPECT_FALSE(data.hasNormals());
    EXPECT_EQ(data.triangles, (std::vector<std::uint32_t>{2, 1, 0}));
}

TEST(SceneConversion, NodeTreeWorldTransformsAreProductsOfTheFileMatrices)
{
    clitest::ScratchDir dir;
    const std::string path = dir.file("two-nodes.gltf");
    clitest::writeText(path, scenetest::twoNodeGltf());
    const oxmesh::SceneData scene = oxmesh::readScene(path);
    const ox::oxPointer<ox::oxSpatial> root = oxmesh::toSceneGraph(scene);

    // Walk down to the node named "parent" (Assimp may add a root above it).
    ox::oxNode* parent = ox::oxDynamicCast<ox::oxNode>(root.get());
    ASSERT_NE(parent, nullptr);
    Matrix above{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    if (parent->GetName() != "parent") {
        above = matrixOf(parent->getLocalTransform());
        ASSERT_EQ(parent->getNoChildren(), 1);
        parent = ox::oxDynamicCast<ox::oxNode>(parent->getChild(0).get());
        ASSERT_NE(parent, nullptr);
    }
    ASSERT_EQ(parent->GetName(), "parent");
    ASSERT_EQ(parent->getNoChildren(), 2);  // its geometry, then the child node
    const auto* parentGeometry = ox::oxDynamicCast<ox::oxGeometry>(parent->getChild(0).get());
    const auto* child = ox::oxDynamicCast<ox::oxNode>(parent->getChild(1).get());
    ASSERT_NE(parentGeometry, nullptr);
    ASSERT_NE(child, nullptr);
    EXPECT_EQ(child->GetName(), "child");
    ASSERT_EQ(child->getNoChildren(), 1);
    const auto* childGeometry = ox::oxDynamicCast<ox::oxGeometry>(child->getChild(0).get());
    ASSERT_NE(childGeometry, nullptr);

    // The file's matrices, multiplied here.
    const std::vector<float> p = scenetest::parentMatrixRowMajor();
    const Matrix parentLocal{p[0], p[1], p[2],  p[3],  p[4],  p[5],  p[6],  p[7],
                             p[8], p[9], p[10], p[11], p[12], p[13], p[14], p[15]};
    const Matrix childLocal{1, 0, 0, 0, 0, 1, 0, 5, 0, 0, 1, 0, 0, 0, 0, 1};
    const Matrix parentWorld = product(above, parentLocal);
    const Matrix childWorld = product(parentWorld, childLocal);
    const Matrix gotParent = matrixOf(parent->getWorldTransform());
    const Matrix gotChild = matrixOf(child->getWorldTransform());
    const Matrix gotLeaf = matrixOf(childGeometry->getWorldTransform());
    for (int i = 0; i < 16; ++i) {
        EXPECT_NEAR(gotParent[std::size_t(i)], parentWorld[std::size_t(i)], 1e-6) << i;
        EXPECT_NEAR(gotChild[std::size_t(i)], childWorld[std::size_t(i)], 1e-6) << i;
        EXPECT_NEAR(gotLeaf[std::size_t(i)], childWorld[std::size_t(i)], 1e-6) << i;
    }

    // Both instances share the mesh's buffers.
    EXPECT_EQ(parentGeometry->GetVertexBuffer(), childGeometry->GetVertexBuffer());
    EXPECT_EQ(parentGeometry->GetIndexBuffer(), childGeometry->GetIndexBuffer());

    // The leaves placed by the library's world transforms land where the flattened mesh has them.
    const oxmesh::MeshData flat = oxmesh::readMesh(path);
    std::vector<float> placed;
    for (const ox::oxGeometry* leaf : {parentGeometry, childGeometry})
        for (int v = 0; v < leaf->GetVertexBuffer()->GetVertexQuantity(); ++v) {
            const Wm4::Vector3<float> q =
                leaf->getWorldTransform().ApplyForward(leaf->GetVertexBuffer()->Position3(v));
            placed.insert(placed.end(), {q.X(), q.Y(), q.Z()});
        }
    ASSERT_EQ(placed.size(), flat.positions.size());
    for (std::size_t i = 0; i < placed.size(); ++i)
        EXPECT_NEAR(placed[i], flat.positions[i], 1e-5f) << i;
}
