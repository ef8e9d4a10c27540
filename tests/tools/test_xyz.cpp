// XYZ point clouds: the separators, comments and line ends text exports use; the
// broken-input corpus; exact round trips through the writer.
#include "formats/XyzReader.h"
#include "formats/XyzWriter.h"

#include "formats/FileError.h"
#include "test_ply_support.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <map>
#include <random>

namespace {

oxmesh::MeshData parse(const std::string& text)
{
    return oxmesh::parseXyz(text.data(), text.size(), "mem.xyz");
}

std::string parseError(const std::string& text)
{
    try {
        parse(text);
    } catch (const oxmesh::FileError& e) {
        return e.what();
    }
    return "";
}

TEST(Xyz, SeparatorsCommentsAndLineEnds)
{
    const std::vector<float> expected = {1, 2, 3, -4.5f, 5e-3f, 600, 0.25f, -0.0f, 7};
    const std::vector<std::string> texts = {
        "1 2 3\n-4.5 5e-3 600\n0.25 -0 7\n",
        "# exported\n\n1\t2\t3\r\n  -4.5   5e-3 600 \r\n\t# middle comment\r\n+0.25 -0 7",
        "1,2,3\n-4.5, 5e-3 ,600\n0.25 ,-0,  7\n\n\n",
    };
    for (const std::string& text : texts) {
        SCOPED_TRACE(text);
        const oxmesh::MeshData m = parse(text);
        EXPECT_EQ(expected, m.positions);
        EXPECT_FALSE(m.hasNormals());
        EXPECT_EQ("xyz", m.format);
        EXPECT_EQ(0u, m.triangleCount());
    }
    const oxmesh::MeshData n = parse("1 2 3 0 0 1\n4,5,6,0,1,0\n");
    EXPECT_EQ((std::vector<float>{1, 2, 3, 4, 5, 6}), n.positions);
    EXPECT_EQ((std::vector<float>{0, 0, 1, 0, 1, 0}), n.normals);
}

TEST(Xyz, LineProblemsAreNamed)
{
    EXPECT_EQ("mem.xyz: line 3: 6 columns, but line 2 has 3", parseError("#\n1 2 3\n1 2 3 4 5 6\n"));
    EXPECT_EQ("mem.xyz: line 1: expected 3 or 6 columns (x y z or x y z nx ny nz), found 2",
              parseError("1 2\n"));
    EXPECT_EQ("mem.xyz: line 1: expected 3 or 6 columns (x y z or x y z nx ny nz), found 9",
              parseError("1 2 3 4 5 6 7 8 9\n"));
    EXPECT_EQ("mem.xyz: line 2: '3#' is not a number", parseError("1 2 3\n1 2 3# note\n"));
    EXPECT_EQ("mem.xyz: line 1: empty column", parseError(",1,2,3\n"));
    EXPECT_EQ("mem.xyz: line 1: empty column", parseError("1,2,3,\n"));
    EXPECT_EQ("mem.xyz: line 1: empty column", parseError("1 2 , , 3\n"));
    EXPECT_EQ("mem.xyz: empty file", parseError(""));
    EXPECT_EQ("mem.xyz: no points in the file (only blank or comment lines)",
              parseError("\n# nothing\n  \n"));
}

TEST(Xyz, BrokenCorpusFilesFailWithTheirExpectedMessage)
{
    const std::map<std::string, std::string> expected = {
        {"empty.xyz", "empty file"},
        {"mixed-columns.xyz", "line 4: 6 columns, but line 2 has 3"},
        {"non-numeric.xyz", "line 2: 'zero' is not a number"},
        {"four-columns.xyz", "line 1: expected 3 or 6 columns"},
        {"empty-column.xyz", "line 2: empty column"},
        {"only-comments.xyz", "no points in the file"},
        {"binary-garbage.xyz", "line 1: '" + std::string(5, '?') + "' is not a number"},
    };
    plytest::expectCorpusErrors(OX_TEST_DATA_DIR "/broken/xyz", expected,
                                [](const std::string& path) { oxmesh::readXyz(path); });
}

TEST(Xyz, WriterOutputReadsBackExactly)
{
    const plytest::TempDir dir;
    oxmesh::MeshData small;
    small.positions = {1, 2, 3, 0.1f, -0.0f, 1e-7f};
    oxmesh::writeXyz(dir.file("s.xyz"), small);
    EXPECT_EQ("1 2 3\n0.1 -0 1e-07\n", plytest::readBytes(dir.file("s.xyz")));

    std::mt19937 rng(99);
    std::uniform_real_distribution<float> coord(-1e4f, 1e4f);
    for (bool normals : {false, true}) {
        oxmesh::MeshData m;
        for (int i = 0; i < 3000; ++i) {
            m.positions.push_back(coord(rng) / static_cast<float>(1 + rng() % 1000));
            if (normals)
                m.normals.push_back(coord(rng) / 1e4f);
        }
        m.triangles = {0, 1, 2};  // not part of the format, dropped
        oxmesh::writeXyz(dir.file("r.xyz"), m);
        std::vector<float> calls;
        const oxmesh::MeshData back =
            oxmesh::readXyz(dir.file("r.xyz"), [&](float f) { calls.push_back(f); });
        ASSERT_EQ(m.positions.size(), back.positions.size());
        EXPECT_EQ(0,
                  std::memcmp(m.positions.data(), back.positions.data(), m.positions.size() * sizeof(float)));
        EXPECT_EQ(m.normals, back.normals);
        EXPECT_EQ(0u, back.triangleCount());
        EXPECT_LE(calls.size(), 101u);
        EXPECT_TRUE(std::is_sorted(calls.begin(), calls.end()));
        EXPECT_EQ(1.0f, calls.back());
    }
    EXPECT_EQ((std::vector<std::string>{"r.xyz", "s.xyz"}), dir.entries());
}

TEST(Xyz, RandomCorruptionGivesCleanErrorsOnly)
{
    std::mt19937 rng(4321);
    const std::string valid = "# cloud\n1 2 3 0 0 1\n-4.5,5e-3,600,1,0,0\n\n0.25 -0 7 0 1 0\r\n";
    std::size_t failures = 0, reads = 0;
    for (int round = 0; round < 3000; ++round) {
        std::string bytes = valid;
        for (int e = 0; e < 1 + static_cast<int>(rng() % 3) && !bytes.empty(); ++e) {
            const std::size_t at = rng() % bytes.size();
            if (rng() % 2)
                bytes[at] = " ,#\n\r-+.e0123456789naif\x01\xff"[rng() % 25];
            else
                bytes.erase(at, 1);
        }
        try {
            const oxmesh::MeshData m = parse(bytes);
            ++reads;
            EXPECT_TRUE(m.normals.empty() || m.normals.size() == m.positions.size());
        } catch (const oxmesh::FileError&) {
            ++failures;
        }
    }
    EXPECT_GT(failures, 0u);
    EXPECT_GT(reads, 0u);
}

}  // namespace
