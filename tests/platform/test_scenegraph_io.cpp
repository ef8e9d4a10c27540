// Debug dumps: images as PPM/PGM, meshes as binary PLY.

#include "scenegraph/oxGeometry.h"
#include "scenegraph/oxImage.h"
#include "scenegraph/oxMeshManager.h"
#include "scenegraph/oxNode.h"
#include "system/oxProgressNotifierInterface.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

using namespace ox;
using Bytes = std::vector<unsigned char>;

Bytes readFile(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

Bytes bytesOf(const std::string& text)
{
    return Bytes(text.begin(), text.end());
}

Bytes concat(Bytes a, const Bytes& b)
{
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

TEST(SceneGraphImage, FormatsAndAllocation)
{
    EXPECT_EQ(oxImage::ms_aiBytesPerPixel[oxImage::IT_RGB888], 3);
    EXPECT_EQ(oxImage::ms_aiBytesPerPixel[oxImage::IT_RGBA8888], 4);
    EXPECT_EQ(oxImage::ms_aiBytesPerPixel[oxImage::IT_L8], 1);
    EXPECT_EQ(oxImage::ms_aiBytesPerPixel[oxImage::IT_RGB32F], 12);
    oxPointer<oxImage> image(new oxImage(oxImage::IT_RGBA8888, 3, 2, nullptr, "albedo"));
    EXPECT_EQ(image->GetData(), nullptr);
    EXPECT_EQ(image->GetName(), "albedo");
    EXPECT_FALSE(oxImageIOManager::saveImage(*image, ::testing::TempDir() + "ox_never_written.ppm"));
    image->AllocateData();
    ASSERT_NE(image->GetData(), nullptr);
    EXPECT_EQ(image->GetByteQuantity(), 24u);
    for (std::size_t k = 0; k < 24; ++k) {
        EXPECT_EQ(image->GetData()[k], 0);
    }
    oxObject* copy = nullptr;
    ASSERT_TRUE(image->Clone(copy));
    oxPointer<oxObject> owner(copy);
    EXPECT_TRUE(image->Equals(copy));
    static_cast<oxImage*>(copy)->GetData()[23] = 1;
    EXPECT_FALSE(image->Equals(copy));
}

TEST(SceneGraphImage, SavesPpmAndPgm)
{
    const std::string path = ::testing::TempDir() + "ox_image_dump.ppm";
    unsigned char* rgb = new unsigned char[6]{255, 0, 0, 0, 128, 255};
    oxImage colour(oxImage::IT_RGB888, 2, 1, rgb, "rgb");
    ASSERT_TRUE(oxImageIOManager::saveImage(colour, path));
    EXPECT_EQ(readFile(path), concat(bytesOf("P6\n2 1\n255\n"), Bytes{255, 0, 0, 0, 128, 255}));

    unsigned char* grey = new unsigned char[3]{1, 2, 3};
    oxImage luminance(oxImage::IT_L8, 1, 3, grey, nullptr);
    ASSERT_TRUE(oxImageIOManager::saveImage(luminance, path));
    EXPECT_EQ(readFile(path), concat(bytesOf("P5\n1 3\n255\n"), Bytes{1, 2, 3}));

    // Floats are clamped to [0, 1] and rounded; alpha is dropped.
    oxImage hdr(oxImage::IT_RGBA32F, 1, 1, nullptr, "hdr");
    hdr.AllocateData();
    const float pixel[4] = {2.0f, -1.0f, 0.5f, 0.25f};
    std::memcpy(hdr.GetData(), pixel, sizeof(pixel));
    ASSERT_TRUE(oxImageIOManager::saveImage(hdr, path));
    EXPECT_EQ(readFile(path), concat(bytesOf("P6\n1 1\n255\n"), Bytes{255, 0, 128}));
    std::remove(path.c_str());
}

class RecordingNotifier : public oxProgressNotifierInterface {
public:
    void notifyProgress(float value) override { values.push_back(value); }
    std::vector<float> values;
};

/// Decodes a little-endian float at `offset`.
float floatAt(const Bytes& bytes, std::size_t offset)
{
    const std::uint32_t bits = std::uint32_t(bytes[offset]) | std::uint32_t(bytes[offset + 1]) << 8 |
                               std::uint32_t(bytes[offset + 2]) << 16 |
                               std::uint32_t(bytes[offset + 3]) << 24;
    float value = 0.0f;
    std::memcpy(&value, &bits, sizeof(value));
    return value;
}

/// One triangle with positions, normals and colours.
oxPointer<oxGeometry> makeTriangle(float shift)
{
    oxAttributes attributes;
    attributes.SetPositionChannels(3);
    attributes.SetNormalChannels(3);
    attributes.SetColorChannels(0, 3);
    oxPointer<oxVertexBuffer> vb(new oxVertexBuffer(attributes, 3));
    for (int v = 0; v < 3; ++v) {
        vb->Position3(v) = Wm4::Vector3<float>(float(v) + shift, 2.0f * float(v), -1.0f);
        vb->Normal3(v) = Wm4::Vector3<float>::UNIT_Z;
        vb->Color3(0, v) = Wm4::ColorRGB(1.0f, 0.5f, float(v) - 1.0f);
    }
    oxPointer<oxIndexBuffer> ib(new oxIndexBuffer(3));
    (*ib)[0] = 0;
    (*ib)[1] = 2;
    (*ib)[2] = 1;
    return oxPointer<oxGeometry>(new oxGeometry(vb.get(), ib.get()));
}

TEST(SceneGraphMeshManager, WritesBinaryLittleEndianPly)
{
    const std::string path = ::testing::TempDir() + "ox_mesh_dump.ply";
    const oxPointer<oxGeometry> triangle = makeTriangle(0.0f);
    RecordingNotifier notifier;
    ASSERT_TRUE(oxMeshManager::saveMesh(triangle.get(), path, &notifier, 0));
    EXPECT_EQ(notifier.values, (std::vector<float>{0.0f, 1.0f}));

    const Bytes file = readFile(path);
    const std::string text(file.begin(), file.end());
    const std::string endHeader = "end_header\n";
    const std::size_t headerEnd = text.find(endHeader);
    ASSERT_NE(headerEnd, std::string::npos);
    const std::string header = text.substr(0, headerEnd);
    EXPECT_EQ(header.rfind("ply\nformat binary_little_endian 1.0\n", 0), 0u);
    EXPECT_NE(header.find("element vertex 3\n"), std::string::npos);
    EXPECT_NE(header.find("property float nx\n"), std::string::npos);
    EXPECT_NE(header.find("property uchar red\n"), std::string::npos);
    EXPECT_NE(header.find("element face 1\nproperty list uchar int vertex_indices\n"), std::string::npos);

    // Vertex records: 6 floats + 3 bytes; then one face: count byte + 3 int32.
    const std::size_t body = headerEnd + endHeader.size();
    const std::size_t record = 6 * 4 + 3;
    ASSERT_EQ(file.size(), body + 3 * record + 1 + 12);
    const std::size_t vertex2 = body + 2 * record;
    EXPECT_EQ(floatAt(file, vertex2), 2.0f);
    EXPECT_EQ(floatAt(file, vertex2 + 4), 4.0f);
    EXPECT_EQ(floatAt(file, vertex2 + 8), -1.0f);
    EXPECT_EQ(floatAt(file, vertex2 + 20), 1.0f);  // nz
    EXPECT_EQ(file[vertex2 + 24], 255);            // red 1.0
    EXPECT_EQ(file[vertex2 + 25], 128);            // green 0.5
    EXPECT_EQ(file[vertex2 + 26], 255);            // blue 1.0
    EXPECT_EQ(file[body + 26], 0);                 // vertex 0 blue -1 clamped
    const std::size_t face = body + 3 * record;
    EXPECT_EQ(file[face], 3);
    EXPECT_EQ(Bytes(file.begin() + static_cast<long>(face) + 1, file.end()),
              (Bytes{0, 0, 0, 0, 2, 0, 0, 0, 1, 0, 0, 0}));
    std::remove(path.c_str());
}

TEST(SceneGraphMeshManager, NodesAreMergedAndUnsupportedObjectsRefused)
{
    const std::string path = ::testing::TempDir() + "ox_node_dump.ply";
    oxPointer<oxNode> root(new oxNode());
    root->attachChild(makeTriangle(0.0f).get());
    root->attachChild(makeTriangle(10.0f).get());
    ASSERT_TRUE(oxMeshManager::saveMesh(root.get(), path, nullptr, 0));
    const Bytes file = readFile(path);
    const std::string text(file.begin(), file.end());
    EXPECT_NE(text.find("element vertex 6\n"), std::string::npos);
    EXPECT_NE(text.find("element face 2\n"), std::string::npos);
    // The merged mesh keeps positions and normals only.
    EXPECT_EQ(text.find("property uchar red"), std::string::npos);
    std::remove(path.c_str());

    oxPointer<oxVertexBuffer> notAMesh(new oxVertexBuffer());
    RecordingNotifier notifier;
    EXPECT_FALSE(oxMeshManager::saveMesh(notAMesh.get(), path, &notifier, 0));
    EXPECT_FALSE(oxMeshManager::saveMesh(nullptr, path, nullptr, 0));
    EXPECT_FALSE(
        oxMeshManager::saveMesh(root.get(), ::testing::TempDir() + "ox_missing_dir/x.ply", nullptr, 0));

    // Objects not held by any pointer (reference count 0) survive the dump untouched.
    const oxPointer<oxGeometry> source = makeTriangle(0.0f);
    oxGeometry* loose = new oxGeometry(source->GetVertexBuffer(), source->GetIndexBuffer());
    ASSERT_TRUE(oxMeshManager::saveMesh(loose, path, nullptr, 0));
    EXPECT_EQ(loose->GetReferences(), 0);
    oxNode* looseNode = new oxNode();
    looseNode->attachChild(loose);
    ASSERT_TRUE(oxMeshManager::saveMesh(looseNode, path, nullptr, 0));
    EXPECT_EQ(looseNode->GetReferences(), 0);
    EXPECT_EQ(loose->GetReferences(), 1);
    delete looseNode;  // releases the child too
    std::remove(path.c_str());
}

}  // namespace
