// PLY writer: the bytes it writes match the layout it promises (checked by hand,
// not through the reader), binary and ASCII files read back exactly, colours are
// rounded and clamped, and failures leave no file behind.
#include "formats/PlyWriter.h"

#include "formats/FileError.h"
#include "formats/PlyReader.h"
#include "test_ply_support.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>

namespace {

// Random floats including the awkward ones: signed zero, denormals, extremes.
oxmesh::MeshData randomMesh(unsigned seed, std::size_t vertices, std::size_t triangles, bool normals,
                            bool colors)
{
    std::mt19937 rng(seed);
    std::uniform_real_distribution<float> coord(-1000.0f, 1000.0f);
    oxmesh::MeshData m;
    for (std::size_t i = 0; i < 3 * vertices; ++i) {
        m.positions.push_back(coord(rng) *
                              std::pow(10.0f, static_cast<float>(static_cast<int>(rng() % 20) - 10)));
        if (normals)
            m.normals.push_back(coord(rng) / 1000.0f);
        if (colors)
            m.colors.push_back(static_cast<float>((rng() % 256) / 255.0));
    }
    const float awkward[] = {-0.0f,
                             std::numeric_limits<float>::denorm_min(),
                             std::numeric_limits<float>::max(),
                             -std::numeric_limits<float>::min(),
                             1e-30f,
                             0.1f};
    for (std::size_t i = 0; i < std::size(awkward) && i < m.positions.size(); ++i)
        m.positions[i] = awkward[i];
    for (std::size_t t = 0; t < 3 * triangles; ++t)
        m.triangles.push_back(static_cast<std::uint32_t>(rng() % vertices));
    return m;
}

// Float arrays compared bit for bit (so -0 differs from 0).
void expectBitwiseEqual(const std::vector<float>& a, const std::vector<float>& b)
{
    ASSERT_EQ(a.size(), b.size());
    if (!a.empty()) {
        EXPECT_EQ(0, std::memcmp(a.data(), b.data(), a.size() * sizeof(float)));
    }
}

TEST(PlyWriter, BinaryLayoutIsWhatTheHeaderSays)
{
    const plytest::TempDir dir;
    oxmesh::MeshData m;
    m.positions = {1.5f, -2.0f, 3.25f, 0.0f, 1.0f, 0.0f, 7.0f, 8.0f, 9.0f};
    m.normals = {0, 0, 1, 0, 1, 0, 1, 0, 0};
    m.colors = {1.0f, 0.5f, 0.0f, 0, 0, 0, 1, 1, 1};
    m.triangles = {0, 1, 2};
    oxmesh::writePly(dir.file("t.ply"), m);
    const std::string bytes = plytest::readBytes(dir.file("t.ply"));
    const std::string header =
        "ply\nformat binary_little_endian 1.0\ncomment written by oxmesh\nelement vertex 3\n"
        "property float x\nproperty float y\nproperty float z\n"
        "property float nx\nproperty float ny\nproperty float nz\n"
        "property uchar red\nproperty uchar green\nproperty uchar blue\n"
        "element face 1\nproperty list uchar int vertex_indices\nend_header\n";
    ASSERT_EQ(header, bytes.substr(0, header.size()));
    ASSERT_EQ(header.size() + 3 * (24 + 3) + 13, bytes.size());
    const char* p = bytes.data() + header.size();
    float first[6];
    std::memcpy(first, p, sizeof first);
    EXPECT_EQ(1.5f, first[0]);
    EXPECT_EQ(-2.0f, first[1]);
    EXPECT_EQ(3.25f, first[2]);
    EXPECT_EQ(1.0f, first[5]);
    EXPECT_EQ(255, static_cast<unsigned char>(p[24]));
    EXPECT_EQ(128, static_cast<unsigned char>(p[25]));  // 0.5 * 255 = 127.5 rounds up
    EXPECT_EQ(0, static_cast<unsigned char>(p[26]));
    const char* face = bytes.data() + bytes.size() - 13;
    EXPECT_EQ(3, face[0]);
    std::int32_t corners[3];
    std::memcpy(corners, face + 1, sizeof corners);
    EXPECT_EQ(0, corners[0]);
    EXPECT_EQ(1, corners[1]);
    EXPECT_EQ(2, corners[2]);
}

TEST(PlyWriter, BinaryAndAsciiFilesReadBackExactly)
{
    const plytest::TempDir dir;
    for (bool binary : {true, false}) {
        for (int kind = 0; kind < 3; ++kind) {
            SCOPED_TRACE(std::string(binary ? "binary" : "ascii") + " kind " + std::to_string(kind));
            const bool normals = kind != 1, colors = kind != 2;
            const oxmesh::MeshData m = randomMesh(5 + kind, 500, kind == 1 ? 0 : 900, normals, colors);
            const std::string path = dir.file("r.ply");
            oxmesh::writePly(path, m, binary);
            const oxmesh::MeshData back = oxmesh::readPly(path);
            EXPECT_EQ(binary ? "ply binary_little_endian" : "ply ascii", back.format);
            expectBitwiseEqual(m.positions, back.positions);
            expectBitwiseEqual(m.normals, back.normals);
            EXPECT_EQ(m.colors, back.colors);
            EXPECT_EQ(m.triangles, back.triangles);
            EXPECT_EQ(m.triangleCount(), back.sourceFaces);
            EXPECT_TRUE(back.skippedProperties.empty());
            // A point cloud gets no face element at all.
            EXPECT_EQ(kind != 1, plytest::readBytes(path).find("element face") != std::string::npos);
        }
    }
}

TEST(PlyWriter, ColoursAreClampedAndRounded)
{
    const plytest::TempDir dir;
    oxmesh::MeshData m;
    m.positions.assign(6, 0.0f);
    m.colors = {-0.5f, 1.5f, std::nanf(""), 0.2f, 0.998f, 0.002f};
    oxmesh::writePly(dir.file("c.ply"), m, false);
    const std::string text = plytest::readBytes(dir.file("c.ply"));
    // 0.2*255 = 51, 0.998*255 = 254.49 -> 254, 0.002*255 = 0.51 -> 1
    EXPECT_NE(std::string::npos, text.find("end_header\n0 0 0 0 255 0\n0 0 0 51 254 1\n")) << text;
}

TEST(PlyWriter, FailuresLeaveNoFileAndKeepTheOldOne)
{
    const plytest::TempDir dir;
    const std::string path = dir.file("keep.ply");
    plytest::writeBytes(path, "old content");
    const auto message = [&](const oxmesh::MeshData& m, const std::string& target) {
        try {
            oxmesh::writePly(target, m);
        } catch (const oxmesh::FileError& e) {
            return std::string(e.what());
        }
        return std::string();
    };
    oxmesh::MeshData bad;
    bad.positions.assign(9, 1.0f);
    bad.triangles = {0, 1, 3};
    EXPECT_EQ(path + ": cannot write: a triangle refers to vertex 3, but there are 3 vertices",
              message(bad, path));
    bad.triangles = {0, 1, 2};
    bad.normals.assign(6, 0.0f);
    EXPECT_EQ(path + ": cannot write: the mesh has 2 normals for 3 vertices", message(bad, path));
    bad.normals.clear();
    bad.triangles.push_back(1);
    EXPECT_EQ(path + ": cannot write: the triangle array does not hold whole triangles", message(bad, path));
    EXPECT_EQ("old content", plytest::readBytes(path));
    EXPECT_EQ(std::vector<std::string>{"keep.ply"}, dir.entries());

    const std::string nowhere = dir.file("no/such/folder/x.ply");
    bad.triangles.pop_back();
    EXPECT_EQ(nowhere + ": cannot write: No such file or directory", message(bad, nowhere));
    // Writing onto a folder fails at the rename; the temporary file goes away.
    std::filesystem::create_directory(dir.file("folder.ply"));
    EXPECT_NE(std::string::npos, message(bad, dir.file("folder.ply")).find("cannot write: Is a directory"));
    EXPECT_EQ((std::vector<std::string>{"folder.ply", "keep.ply"}), dir.entries());
}

}  // namespace
