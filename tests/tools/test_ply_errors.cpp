// PLY reader on broken input: every file of the broken-input corpus fails with one
// line naming the file and the problem; every truncation of a valid binary file is
// reported as such; absurd counts fail without allocating; random corruption never
// ends in anything but a clean error or a successful read.
#include "formats/PlyReader.h"

#include "formats/FileError.h"
#include "test_ply_support.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <random>

namespace {

using plytest::Cell;
using plytest::ElementDecl;
using plytest::Encoding;

// The error message of parsing `bytes`, or "" when it parses.
std::string parseError(const std::string& bytes, const std::string& name = "mem.ply")
{
    try {
        oxmesh::parsePly(bytes.data(), bytes.size(), name);
    } catch (const oxmesh::FileError& e) {
        return e.what();
    }
    return "";
}

TEST(PlyErrors, BrokenCorpusFilesFailWithTheirExpectedMessage)
{
    const std::map<std::string, std::string> expected = {
        {"empty.ply", "empty file"},
        {"wrong-magic.ply", "not a PLY file"},
        {"truncated-header.ply", "file ends inside the header"},
        {"truncated-binary-vertices.ply", "file ends inside vertex 6 of 10"},
        {"truncated-binary-faces-be.ply", "file ends inside face 2 of 4"},
        {"truncated-ascii.ply", "file ends inside vertex 3 of 5"},
        {"face-index-out-of-range.ply", "face 1 refers to vertex 7, but there are 4 vertices"},
        {"negative-index.ply", "face 0 has a negative vertex index (-2)"},
        {"huge-vertex-count.ply", "file ends inside vertex 2 of 2147483648"},
        {"huge-face-count.ply", "file ends inside face 1 of 4294967295"},
        {"huge-ascii-count.ply", "file ends inside vertex 1 of 4000000000"},
        {"unknown-property-type.ply", "unknown property type 'float33' on header line 5"},
        {"garbage-token.ply", "line 9: 'abc' is not a number"},
        {"list-count-overflow.ply", "file ends inside face 0 of 1"},
        {"list-count-negative.ply", "face 0 has a negative list count (-5)"},
        {"tristrips-out-of-range.ply", "tristrips 0 refers to vertex 9, but there are 4 vertices"},
        {"tristrips-negative.ply", "negative vertex index (-3) other than the strip restart -1"},
        {"extra-token.ply", "line 9: extra value '1' after the end of vertex 1"},
        {"no-vertex-element.ply", "no vertex element"},
        {"missing-z.ply", "has no x, y and z properties"},
        {"unknown-format.ply", "unknown format 'binary_middle_endian'"},
        {"malformed-header-line.ply", "malformed header line 4: 'property float'"},
        {"float-face-indices.ply", "vertex indices of the face element (header line 7) are not integers"},
        {"value-out-of-range.ply", "'300' is out of range for uchar"},
        {"data-after-last-element.ply", "line 9: unexpected data after the last element"},
    };
    plytest::expectCorpusErrors(OX_TEST_DATA_DIR "/broken/ply", expected,
                                [](const std::string& path) { oxmesh::readPly(path); });
}

TEST(PlyErrors, FilesThatCannotBeOpened)
{
    const plytest::TempDir dir;
    const auto message = [](const std::string& path) {
        try {
            oxmesh::readPly(path);
        } catch (const oxmesh::FileError& e) {
            return std::string(e.what());
        }
        return std::string();
    };
    EXPECT_EQ(dir.file("missing.ply") + ": cannot open: No such file or directory",
              message(dir.file("missing.ply")));
    EXPECT_EQ(dir.path().string() + ": cannot open: is a directory", message(dir.path().string()));
}

// A small valid mesh with a face list and an unknown element between.
std::vector<ElementDecl> smallMesh()
{
    ElementDecl vertices{"vertex", {{"x", "float", ""}, {"y", "double", ""}, {"z", "float", ""}}, {}};
    for (int i = 0; i < 5; ++i)
        vertices.rows.push_back({Cell::of(i), Cell::of(i * 0.5), Cell::of(-i)});
    ElementDecl grid{
        "range_grid", {{"vertex_indices", "int", "uchar"}}, {{Cell::list({})}, {Cell::list({3})}}};
    ElementDecl faces{"face",
                      {{"vertex_indices", "int", "uchar"}, {"quality", "ushort", ""}},
                      {{Cell::list({0, 1, 2}), Cell::of(1)}, {Cell::list({1, 2, 3, 4}), Cell::of(2)}}};
    return {vertices, grid, faces};
}

TEST(PlyErrors, EveryTruncationOfABinaryFileIsReported)
{
    for (Encoding enc : {Encoding::LittleEndian, Encoding::BigEndian}) {
        const std::string whole = plytest::encodePly(smallMesh(), enc);
        ASSERT_EQ("", parseError(whole));
        const std::size_t bodyStart = whole.find("end_header\n") + 11;
        for (std::size_t cut = 0; cut < whole.size(); ++cut) {
            const std::string message = parseError(whole.substr(0, cut));
            SCOPED_TRACE("cut at " + std::to_string(cut) + ": " + message);
            if (cut == 0)
                EXPECT_NE(std::string::npos, message.find("empty file"));
            else if (cut < 3)
                EXPECT_NE(std::string::npos, message.find("not a PLY file"));
            else if (cut < bodyStart)
                EXPECT_NE(std::string::npos, message.find("file ends inside the header"));
            else
                EXPECT_NE(std::string::npos, message.find("file ends inside ")) << message;
        }
    }
}

TEST(PlyErrors, AsciiRowsMustMatchTheirLines)
{
    const std::string head =
        "ply\nformat ascii 1.0\nelement vertex 2\nproperty float x\nproperty float y\n"
        "property float z\nelement face 1\nproperty list uchar int vertex_indices\nend_header\n";
    EXPECT_EQ("", parseError(head + "0 0 0\n1 1 1\n3 0 1 0\n"));
    // A row split over two lines: the first line lacks values.
    EXPECT_EQ("mem.ply: line 10 ends inside vertex 0 (too few values)",
              parseError(head + "0 0\n0\n1 1 1\n3 0 1 0\n"));
    // A list longer than its count says.
    EXPECT_EQ("mem.ply: line 12: extra value '1' after the end of face 0",
              parseError(head + "0 0 0\n1 1 1\n2 0 1 1\n"));
    // A list shorter than its count says, at the end of the file.
    EXPECT_EQ("mem.ply: file ends inside face 0 of 1", parseError(head + "0 0 0\n1 1 1\n4 0 1 0"));
    // Integers must be integers, and fit their type.
    EXPECT_NE(std::string::npos,
              parseError(head + "0 0 0\n1 1 1\n3 0 1.5 0\n").find("'1.5' is not a number of type int"));
    EXPECT_NE(std::string::npos,
              parseError(head + "0 0 0\n1 1 1\n3 0 4294967296 0\n").find("out of range for int"));
    EXPECT_NE(std::string::npos,
              parseError(head + "0 0 0\n1 1 1\n-3 0 1 0\n").find("'-3' is out of range for uchar"));
    // The first index past the end, in faces and in strips.
    EXPECT_EQ("mem.ply: face 0 refers to vertex 2, but there are 2 vertices",
              parseError(head + "0 0 0\n1 1 1\n3 0 1 2\n"));
    const std::string strips = head.substr(0, head.find("element face")) +
                               "element tristrips 1\nproperty list int int vertex_indices\nend_header\n";
    EXPECT_EQ("mem.ply: tristrips 0 refers to vertex 2, but there are 2 vertices",
              parseError(strips + "0 0 0\n1 1 1\n4 0 1 -1 2\n"));
    // A number cut off by junk glued to it.
    EXPECT_NE(std::string::npos,
              parseError(head + "0 0 0x1\n1 1 1\n3 0 1 0\n").find("'0x1' is not a number"));
}

TEST(PlyErrors, HeaderProblems)
{
    const std::string v = "element vertex 1\nproperty float x\nproperty float y\nproperty float z\n";
    const auto err = [](const std::string& text) { return parseError(text); };
    EXPECT_NE(std::string::npos, err("ply\n" + v + "end_header\n").find("the header has no format line"));
    EXPECT_NE(std::string::npos,
              err("ply\nformat ascii 2.0\n" + v + "end_header\n").find("unsupported PLY version '2.0'"));
    EXPECT_NE(std::string::npos, err("ply\nformat ascii 1.0\nformat ascii 1.0\n" + v + "end_header\n")
                                     .find("malformed header line 3 (second format line)"));
    EXPECT_NE(std::string::npos, err("ply\nformat ascii 1.0\nproperty float x\n" + v + "end_header\n")
                                     .find("malformed header line 3 (property before any element)"));
    EXPECT_NE(
        std::string::npos,
        err("ply\nformat ascii 1.0\nelement vertex -4\nend_header\n").find("negative element count '-4'"));
    EXPECT_NE(std::string::npos,
              err("ply\nformat ascii 1.0\nelement vertex 99999999999999999999999\nend_header\n")
                  .find("is absurdly large"));
    EXPECT_NE(std::string::npos, err("ply\nformat ascii 1.0\nelement vertex 1x\nend_header\n")
                                     .find("(element count is not a number)"));
    EXPECT_NE(std::string::npos,
              err("ply\nformat ascii 1.0\n" + v +
                  "element face 1\nproperty list float int vertex_indices\n"
                  "end_header\n")
                  .find("list count type 'float' on header line 8 is not an integer type"));
    EXPECT_NE(std::string::npos, err("ply\nformat ascii 1.0\n" + v + v + "end_header\n")
                                     .find("second vertex element on header line 7"));
    EXPECT_NE(std::string::npos,
              err("ply\nformat ascii 1.0\n" + v + "element face 1\nproperty int vertex_indices\nend_header\n")
                  .find("the face element (header line 7) has no vertex_indices list"));
    EXPECT_NE(std::string::npos,
              err("ply\nformat ascii 1.0\n" + v + "end_header extra\n").find("malformed header line 7"));
    // Binary junk in a header line is shown as '?' and the message stays on one line.
    const std::string junk = err("ply\nformat ascii 1.0\nelem\x01\rent\n" + v + "end_header\n");
    EXPECT_NE(std::string::npos, junk.find("malformed header line 3: 'elem??ent'")) << junk;
    // Comments may hold anything.
    EXPECT_EQ("", err("ply\nformat ascii 1.0\ncomment \x01\x02\xff\n" + v + "end_header\n1 2 3\n"));
}

TEST(PlyErrors, AbsurdCountsFailFastWithoutAllocating)
{
    // Each claims far more rows than a few bytes can hold; a reader that allocated
    // for the claim first would need gigabytes (and fail with bad_alloc instead).
    const std::string v3 = "property float x\nproperty float y\nproperty float z\n";
    EXPECT_NE(std::string::npos,
              parseError("ply\nformat binary_little_endian 1.0\nelement vertex 4000000000\n" + v3 +
                         "end_header\n" + std::string(50, '\0'))
                  .find("file ends inside vertex 4 of 4000000000"));
    EXPECT_NE(std::string::npos,
              parseError("ply\nformat binary_big_endian 1.0\nelement vertex 0\n" + v3 +
                         "element grid 18446744073709551615\nproperty int a\nend_header\n" +
                         std::string(50, '\0'))
                  .find("file ends inside grid 12 of 18446744073709551615"));
    EXPECT_NE(std::string::npos,
              parseError("ply\nformat binary_little_endian 1.0\nelement vertex 0\n" + v3 +
                         "element face 3000000000\nproperty list uint uint vertex_indices\nend_header\n" +
                         std::string(50, '\0'))
                  .find("file ends inside face 12 of 3000000000"));
    EXPECT_NE(std::string::npos,
              parseError("ply\nformat ascii 1.0\nelement vertex 3000000000\n" + v3 + "end_header\n1 2 3\n")
                  .find("file ends inside vertex 1 of 3000000000"));
    // A huge element without properties holds no data and costs nothing.
    EXPECT_EQ("", parseError("ply\nformat binary_little_endian 1.0\nelement nothing 18446744073709551615\n"
                             "element vertex 1\n" +
                             v3 + "end_header\n" + std::string(12, '\0')));
    // A vertex count beyond 32-bit indices.
    EXPECT_NE(std::string::npos,
              parseError("ply\nformat ascii 1.0\nelement vertex 4294967296\n" + v3 + "end_header\n")
                  .find("too many vertices (4294967296) for 32-bit indices"));
}

TEST(PlyErrors, RandomCorruptionGivesCleanErrorsOnly)
{
    // Flip, insert and delete bytes of valid files in every encoding: each result
    // either reads or raises FileError; anything else (another exception, a crash
    // under the sanitizers) is a bug.
    std::mt19937 rng(1234);
    std::size_t failures = 0, reads = 0;
    for (Encoding enc : {Encoding::Ascii, Encoding::LittleEndian, Encoding::BigEndian}) {
        const std::string valid = plytest::encodePly(smallMesh(), enc);
        for (int round = 0; round < 1500; ++round) {
            std::string bytes = valid;
            const int edits = 1 + static_cast<int>(rng() % 4);
            for (int e = 0; e < edits && !bytes.empty(); ++e) {
                const std::size_t at = rng() % bytes.size();
                switch (rng() % 3) {
                case 0:
                    bytes[at] = static_cast<char>(rng());
                    break;
                case 1:
                    bytes.insert(at, 1, "0123456789 -\n\xff"[rng() % 15]);
                    break;
                default:
                    bytes.erase(at, 1);
                    break;
                }
            }
            try {
                const oxmesh::MeshData m = oxmesh::parsePly(bytes.data(), bytes.size(), "fuzz.ply");
                ++reads;
                for (std::uint32_t index : m.triangles)
                    ASSERT_LT(index, m.vertexCount());
            } catch (const oxmesh::FileError&) {
                ++failures;
            }
        }
    }
    EXPECT_GT(failures, 0u);
    EXPECT_GT(reads, 0u);
}

}  // namespace
