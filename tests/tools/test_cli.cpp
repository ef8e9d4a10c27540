// The oxmesh executable as a user runs it: usage errors, reports, conversions,
// and the rule for bad input (exit 1, one stderr line naming the file, no crash,
// no output file left behind).
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <map>

#include "formats/MeshReader.h"
#include "test_cli_support.h"

using clitest::jsonInt;
using clitest::jsonValue;
using clitest::runOxmesh;
using clitest::ScratchDir;
using clitest::testData;

namespace {

/// The rule every failing file operation follows.
void expectOneLineError(const clitest::RunResult& run, const std::string& file,
                        const std::string& phrase = "")
{
    EXPECT_FALSE(run.crashed) << file;
    EXPECT_EQ(run.exitCode, 1) << file << "\n" << run.err;
    const std::vector<std::string> lines = run.errLines();
    ASSERT_EQ(lines.size(), 1u) << file << "\n" << run.err;
    EXPECT_EQ(lines[0].rfind("oxmesh: " + file + ": ", 0), 0u) << lines[0];
    if (!phrase.empty()) {
        EXPECT_NE(lines[0].find(phrase), std::string::npos) << lines[0];
    }
}

}  // namespace

TEST(OxmeshCli, UsageErrorsExitWithTwoAndHelpAndVersionWithZero)
{
    const auto bare = runOxmesh({});
    EXPECT_EQ(bare.exitCode, 2);
    EXPECT_NE(bare.err.find("Subcommands"), std::string::npos) << bare.err;
    EXPECT_NE(bare.err.find("info"), std::string::npos);
    EXPECT_NE(bare.err.find("convert"), std::string::npos);

    const auto version = runOxmesh({"--version"});
    EXPECT_EQ(version.exitCode, 0);
    EXPECT_EQ(version.out, "1.0.0.10699 2021-5\n");

    for (const char* command : {"info", "convert"}) {
        const auto help = runOxmesh({command, "--help"});
        EXPECT_EQ(help.exitCode, 0) << command;
        EXPECT_NE(help.out.find(std::string("oxmesh ") + command), std::string::npos) << help.out;
    }
    const auto topHelp = runOxmesh({"--help"});
    EXPECT_EQ(topHelp.exitCode, 0);
    EXPECT_NE(topHelp.out.find("--quiet"), std::string::npos);

    for (const std::vector<std::string>& args :
         std::vector<std::vector<std::string>>{{"frobnicate"},
                                               {"info"},
                                               {"info", "--no-such-option", testData("meshes/woody.obj")},
                                               {"convert", testData("meshes/woody.obj")},
                                               {"info", "a.obj", "b.obj"}}) {
        const auto run = runOxmesh(args);
        EXPECT_EQ(run.exitCode, 2) << args[0] << " " << run.err;
        EXPECT_FALSE(run.err.empty());
        EXPECT_TRUE(run.out.empty());
    }
}

TEST(OxmeshCli, InfoPrintsAlignedLinesOrOneJsonObject)
{
    const std::string spot = testData("meshes/spot.obj");
    const auto text = runOxmesh({"info", spot});
    ASSERT_EQ(text.exitCode, 0) << text.err;
    EXPECT_TRUE(text.err.empty()) << text.err;  // not a terminal: no progress bar

    // Every line is "label:" + spaces + value, and all values start in the same column.
    std::istringstream lines(text.out);
    std::size_t column = 0, count = 0;
    bool sawVertices = false, sawGenus = false;
    for (std::string line; std::getline(lines, line); ++count) {
        const std::size_t colon = line.find(": ");
        ASSERT_NE(colon, std::string::npos) << line;
        const std::size_t value = line.find_first_not_of(' ', colon + 1);
        if (column == 0)
            column = value;
        EXPECT_EQ(value, column) << line;
        sawVertices = sawVertices || (line.compare(0, 9, "vertices:") == 0 && line.substr(value) == "2930");
        sawGenus = sawGenus || (line.compare(0, 6, "genus:") == 0 && line.substr(value) == "0");
    }
    EXPECT_GT(count, 20u);
    EXPECT_TRUE(sawVertices) << text.out;
    EXPECT_TRUE(sawGenus) << text.out;

    const auto json = runOxmesh({"info", "--json", spot});
    ASSERT_EQ(json.exitCode, 0) << json.err;
    ASSERT_EQ(json.out.front(), '{');
    ASSERT_EQ(json.out.find('\n'), json.out.size() - 1);  // one line
    EXPECT_EQ(jsonInt(json.out, "vertices"), 2930);
    EXPECT_EQ(jsonInt(json.out, "faces"), 5856);
    EXPECT_EQ(jsonValue(json.out, "closed"), "true");
    EXPECT_EQ(jsonValue(json.out, "texture_coordinates"), "true");
    EXPECT_EQ(jsonValue(json.out, "face_sizes"), "{\"3\": 5856}");
    EXPECT_EQ(jsonValue(json.out, "file"), "\"" + spot + "\"");

    // --quiet is accepted before and after the subcommand and changes nothing in the report.
    EXPECT_EQ(runOxmesh({"--quiet", "info", "--json", spot}).out, json.out);
    EXPECT_EQ(runOxmesh({"info", "--json", spot, "--quiet"}).out, json.out);
}

TEST(OxmeshCli, ConvertWritesEveryOutputFormatReadableAgain)
{
    ScratchDir dir;
    const std::string input = testData("meshes/suzanne.obj");
    const oxmesh::MeshData original = oxmesh::readMesh(input);

    for (const char* name : {"out.ply", "out-ascii.ply", "out.obj", "out.xyz", "OUT.PLY"}) {
        const std::string output = dir.file(name);
        std::vector<std::string> args{"convert", input, "-o", output};
        if (std::string(name) == "out-ascii.ply")
            args.push_back("--ascii");
        const auto run = runOxmesh(args);
        ASSERT_EQ(run.exitCode, 0) << name << ": " << run.err;
        EXPECT_NE(run.out.find(output), std::string::npos) << run.out;

        const oxmesh::MeshData copy = oxmesh::readMesh(output);
        EXPECT_EQ(copy.positions, original.positions) << name;  // shortest round-trip text or raw floats
        if (std::string(name) == "out.xyz") {
            EXPECT_EQ(copy.triangleCount(), 0u);
            continue;
        }
        EXPECT_EQ(copy.triangles, original.triangles) << name;
        EXPECT_EQ(copy.hasNormals(), original.hasNormals()) << name;
        if (copy.hasNormals()) {
            ASSERT_EQ(copy.normals.size(), original.normals.size());
            for (std::size_t i = 0; i < copy.normals.size(); ++i)
                EXPECT_NEAR(copy.normals[i], original.normals[i], 1e-6f) << name << " " << i;
        }
    }
    // The OBJ writer keeps the quads as quads.
    const oxmesh::MeshData obj = oxmesh::readMesh(dir.file("out.obj"));
    EXPECT_EQ(obj.faceSizes, (std::map<unsigned, std::size_t>{{3, 32}, {4, 468}}));

    // --quiet drops the summary line.
    const auto quiet = runOxmesh({"--quiet", "convert", input, "-o", dir.file("quiet.ply")});
    EXPECT_EQ(quiet.exitCode, 0);
    EXPECT_TRUE(quiet.out.empty());
}

TEST(OxmeshCli, FailedOutputLeavesNoFileBehind)
{
    ScratchDir dir;
    const std::string input = testData("meshes/woody.obj");

    const auto noFolder = runOxmesh({"convert", input, "-o", "/nonexistent/dir/x.ply"});
    expectOneLineError(noFolder, "/nonexistent/dir/x.ply", "cannot write");
    EXPECT_FALSE(clitest::fs::exists("/nonexistent/dir"));

    const auto badExtension = runOxmesh({"convert", input, "-o", dir.file("x.abc")});
    expectOneLineError(badExtension, dir.file("x.abc"), "unknown output extension '.abc'");

    // The output is a folder: the rename fails and the temporary file is cleaned up.
    clitest::fs::create_directory(dir.file("taken.ply"));
    const auto isFolder = runOxmesh({"convert", input, "-o", dir.file("taken.ply")});
    expectOneLineError(isFolder, dir.file("taken.ply"), "cannot write");

    // A bad input never creates the output.
    const auto badInput =
        runOxmesh({"convert", testData("broken/obj/face-index-out-of-range.obj"), "-o", dir.file("y.ply")});
    expectOneLineError(badInput, testData("broken/obj/face-index-out-of-range.obj"),
                       "refers to vertex 99999");

    EXPECT_EQ(dir.entries(), std::vector<std::string>{"taken.ply"});
}

TEST(OxmeshCli, InputPathProblemsNameTheFile)
{
    ScratchDir dir;
    expectOneLineError(runOxmesh({"info", dir.file("missing.obj")}), dir.file("missing.obj"), "no such file");
    clitest::fs::create_directory(dir.file("folder.obj"));
    expectOneLineError(runOxmesh({"info", dir.file("folder.obj")}), dir.file("folder.obj"), "is a directory");
    clitest::writeText(dir.file("empty.stl"), "");
    expectOneLineError(runOxmesh({"info", dir.file("empty.stl")}), dir.file("empty.stl"), "file is empty");
    clitest::writeText(dir.file("mesh.abc"), "v 0 0 0\n");
    expectOneLineError(runOxmesh({"info", dir.file("mesh.abc")}), dir.file("mesh.abc"),
                       "unknown file extension '.abc' (supported: .ply .obj");
}

namespace {

/// What `oxmesh info` must say about each hand-made broken file of the OBJ, OFF, STL and misc
/// folders (the PLY and XYZ folders have their own table in the reader tests).
const std::map<std::string, std::string>& expectedProblems()
{
    static const std::map<std::string, std::string> table{
        {"obj/binary-garbage.obj", "no vertices"},
        {"obj/empty.obj", "file is empty"},
        {"obj/face-index-out-of-range.obj", "face 1 refers to vertex 99999, but there are 3 vertices"},
        {"obj/garbled-number.obj", "line 3: '0.5.5' is not a number"},
        {"obj/nan-coordinate.obj", "vertex 1 has a non-finite coordinate (nan, 0, 0)"},
        {"obj/no-vertices.obj", "no vertices"},
        {"obj/normal-index-out-of-range.obj", "face 1 refers to normal 5, but there are 1 normal"},
        {"obj/relative-index-out-of-range.obj",
         "relative vertex index reaching before the first of the 3 vertices"},
        {"obj/truncated-face.obj", "a face has fewer than 3 vertices"},
        {"obj/zero-index.obj", "cannot parse OBJ: Failed parse `f' line"},
        {"off/bad-counts.off", "cannot read: OFF: There are no valid vertices"},
        {"off/binary-garbage.off", "cannot read: OFF: Header is invalid"},
        {"off/empty-face-lines.off", "cannot read: OFF: Faces with zero indices aren't allowed"},
        {"off/empty.off", "file is empty"},
        {"off/face-index-out-of-range.off", "cannot read: OFF: Vertex index is out of range"},
        {"off/huge-vertex-count.off", "OFF header announces 4000000000 vertices and 6 faces"},
        {"off/nan-coordinate.off", "vertex 1 has a non-finite coordinate (nan, 0, 0)"},
        {"off/truncated-faces.off", "cannot read: OFF: The number of faces in the header is incorrect"},
        {"off/truncated-vertices.off", "cannot read: OFF: The number of verts in the header is incorrect"},
        {"stl/binary-garbage.stl", "cannot read: Failed to determine STL storage representation"},
        {"stl/empty.stl", "file is empty"},
        {"stl/garbled-ascii.stl", "cannot read: Cannot parse string \"zero 0"},
        {"stl/nan-vertex.stl", "vertex 3 has a non-finite coordinate (nan, 1, 0)"},
        {"stl/truncated-ascii.stl", "cannot read: Cannot parse string \"\" as a real number"},
        {"stl/truncated-binary.stl", "cannot read: Failed to determine STL storage representation"},
        {"misc/garbage.fbx", "cannot read: FBX-Tokenize"},
        {"misc/garbage.glb", "cannot read: "},
        {"misc/no-extension", "no file extension (supported: .ply"},
        {"misc/not-a-zip.3mf", "cannot read: "},
        {"misc/truncated-json.gltf", "cannot read: "},
        {"misc/truncated-xml.dae", "cannot read: Unable to read file, malformed XML"},
        {"misc/unknown-extension.abc", "unknown file extension '.abc' (supported: .ply"},
    };
    return table;
}

}  // namespace

// Every file of the broken-input corpus (data/broken/<format>/*) fails cleanly in `info` and
// in `convert`; new files are picked up here, and those of this tool's folders must be listed
// above with their message.
TEST(OxmeshCli, EveryBrokenInputFailsWithOneLineAndNoOutput)
{
    ScratchDir dir;
    std::size_t files = 0, listed = 0;
    const clitest::fs::path root = testData("broken");
    for (const auto& entry : clitest::fs::recursive_directory_iterator(root)) {
        if (!entry.is_regular_file())
            continue;
        const std::string path = entry.path().string();
        const std::string relative = entry.path().lexically_relative(root).generic_string();
        const std::string folder = relative.substr(0, relative.find('/'));
        ++files;
        SCOPED_TRACE(path);
        std::string phrase;
        if (folder != "ply" && folder != "xyz") {
            const auto row = expectedProblems().find(relative);
            if (row == expectedProblems().end()) {
                ADD_FAILURE() << relative << " is not in the table of expected problems";
            } else {
                phrase = row->second;
                ++listed;
            }
        }
        const auto info = runOxmesh({"info", path});
        expectOneLineError(info, path, phrase);
        EXPECT_TRUE(info.out.empty());

        const auto convert = runOxmesh({"convert", path, "-o", dir.file("out.ply")});
        expectOneLineError(convert, path, phrase);
        EXPECT_TRUE(dir.entries().empty());
    }
    EXPECT_EQ(listed, expectedProblems().size());
    EXPECT_GE(files, 50u);
}

TEST(OxmeshCli, NaNCoordinatesInARealScanAreRejected)
{
    const std::string scan = clitest::sharedData("scans/stress-table_scene_mug_stereo_with_nan.ply");
    if (!clitest::fs::exists(scan))
        GTEST_SKIP() << "shared data set not present";
    expectOneLineError(runOxmesh({"info", scan}), scan, "24491 vertices in all are not finite");
}

TEST(OxmeshCli, NaNNormalsAreCountedNotFatal)
{
    const std::string scan = clitest::sharedData("scans/pcl-sac_plane_test.ply");
    if (!clitest::fs::exists(scan))
        GTEST_SKIP() << "shared data set not present";
    const auto run = runOxmesh({"info", "--json", scan});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(jsonValue(run.out, "kind"), "\"point cloud\"");
    EXPECT_EQ(jsonInt(run.out, "vertices"), 3283);
    EXPECT_EQ(jsonInt(run.out, "nonfinite_normals"), 15);
}

#if defined(__SANITIZE_ADDRESS__)
#define OXMESH_TEST_UNDER_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define OXMESH_TEST_UNDER_ASAN 1
#endif
#endif

TEST(OxmeshCli, RunningOutOfMemoryIsReportedNotACrash)
{
#ifdef OXMESH_TEST_UNDER_ASAN
    GTEST_SKIP() << "AddressSanitizer reserves more address space than any limit allows";
#endif
    // A 1,000,000-triangle torus needs about 200 MB to load; 96 MB is plenty for a small mesh.
    ScratchDir dir;
    const std::string big = dir.file("torus.obj");
    {
        std::FILE* file = std::fopen(big.c_str(), "w");
        ASSERT_NE(file, nullptr);
        const int n = 1000, m = 500;
        for (int i = 0; i < n; ++i)
            for (int j = 0; j < m; ++j) {
                const double u = 2 * M_PI * i / n, v = 2 * M_PI * j / m;
                std::fprintf(file, "v %.6f %.6f %.6f\n", (1 + 0.3 * std::cos(v)) * std::cos(u),
                             (1 + 0.3 * std::cos(v)) * std::sin(u), 0.3 * std::sin(v));
            }
        for (int i = 0; i < n; ++i)
            for (int j = 0; j < m; ++j) {
                const int a = i * m + j + 1, b = (i + 1) % n * m + j + 1,
                          c = (i + 1) % n * m + (j + 1) % m + 1, d = i * m + (j + 1) % m + 1;
                std::fprintf(file, "f %d %d %d\nf %d %d %d\n", a, b, c, a, c, d);
            }
        std::fclose(file);
    }
    const rlim_t limit = rlim_t(96) << 20;
    const auto small = runOxmesh({"info", testData("meshes/woody.obj")}, limit);
    ASSERT_EQ(small.exitCode, 0) << small.err;
    const auto run = runOxmesh({"info", big}, limit);
    EXPECT_FALSE(run.crashed);
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, "oxmesh: out of memory reading " + big + "\n");
    EXPECT_TRUE(run.out.empty());
}
