// Acceptance check of `oxmesh info --json` against the numbers the test data set
// publishes for its meshes (table copied from its README; "closed" as defined
// there: no boundary edge and no edge with more than two faces). Runs on every
// mesh of the shared data set when present, and always on the copies bundled
// in data/meshes.
#include <gtest/gtest.h>

#include <set>

#include "test_cli_support.h"

namespace {

constexpr long long kNotGiven = -1;

struct Published {
    const char* file;
    long long vertices, faces;
    bool closed, manifold, oriented;
    long long components, holes;
    long long genus;  ///< kNotGiven when the mesh is not closed, manifold and oriented
    long long nonManifoldEdges = kNotGiven, pinchedVertices = kNotGiven;
    long long unreferenced = kNotGiven, duplicates = kNotGiven;
};

const std::vector<Published>& publishedTable()
{
    static const std::vector<Published> table{
        // file                  V       F        closed manif  orient comp holes genus  NME  pinched unref dup
        {"stanford-bunny.obj", 35947, 69451, false, true, true, 1, 5, kNotGiven, kNotGiven, kNotGiven, 1113},
        {"fandisk.obj", 6475, 12946, true, true, true, 1, 0, 0},
        {"rocker-arm.obj", 10044, 20088, true, true, true, 1, 0, 1},
        {"spot.obj", 2930, 5856, true, true, true, 1, 0, 0},
        {"igea.ply", 134345, 268686, true, true, true, 1, 0, 0},
        {"igea-faces.ply", 134345, 268686, true, true, true, 1, 0, 0},
        {"nefertiti.obj", 49971, 99938, true, true, true, 1, 0, 0},
        {"teapot.obj", 3644, 6320, false, false, true, 4, 10, kNotGiven, kNotGiven, 38, kNotGiven, 403},
        {"suzanne.obj", 507, 500, false, true, true, 3, 4, kNotGiven},
        {"beast.obj", 32311, 32364, true, true, true, 1, 0, 0},
        {"ogre.obj", 62194, 124008, false, false, true, 44, 12, kNotGiven, kNotGiven, 3, kNotGiven, 9},
        {"cow.obj", 2903, 5804, true, false, true, 1, 0, kNotGiven, 0, 1},
        {"homer.obj", 6002, 12000, true, true, true, 1, 0, 0},
        {"cheburashka.obj", 6669, 13334, true, true, true, 1, 0, 0},
        {"beetle.obj", 1148, 2053, false, false, false, 2, 23, kNotGiven, 47},
        {"woody.obj", 694, 1267, false, true, true, 1, 1, kNotGiven},
        {"alligator.obj", 3208, 5981, false, true, true, 1, 1, kNotGiven},
        {"bun_zipper_res4.ply", 453, 948, false, false, false, 1, 4, kNotGiven, 70, 4},
        {"dragon_vrip_res4.obj", 5205, 11102, false, false, false, 1, 0, kNotGiven, 803, 7, 2},
    };
    return table;
}

const Published* find(const std::string& name)
{
    for (const Published& row : publishedTable())
        if (name == row.file)
            return &row;
    return nullptr;
}

std::string boolText(bool value)
{
    return value ? "true" : "false";
}

/// Runs `oxmesh info --json` on every mesh file in `folder` and compares with the table;
/// returns how many files were checked.
std::size_t checkFolder(const std::string& folder)
{
    std::size_t checked = 0;
    for (const auto& entry : clitest::fs::directory_iterator(folder)) {
        const std::string name = entry.path().filename().string();
        const std::string extension = entry.path().extension().string();
        if (extension != ".obj" && extension != ".ply")
            continue;
        SCOPED_TRACE(name);
        const Published* row = find(name);
        if (!row) {
            ADD_FAILURE() << name << " has no published numbers in the table";
            continue;
        }
        const clitest::RunResult run = clitest::runOxmesh({"info", "--json", entry.path().string()});
        EXPECT_EQ(run.exitCode, 0) << run.err;
        if (run.exitCode != 0)
            continue;
        const std::string& json = run.out;
        using clitest::jsonInt;
        using clitest::jsonValue;
        EXPECT_EQ(jsonInt(json, "vertices"), row->vertices);
        EXPECT_EQ(jsonInt(json, "faces"), row->faces);
        EXPECT_EQ(jsonValue(json, "closed"), boolText(row->closed));
        EXPECT_EQ(jsonValue(json, "manifold"), boolText(row->manifold));
        EXPECT_EQ(jsonValue(json, "consistently_oriented"), boolText(row->oriented));
        EXPECT_EQ(jsonInt(json, "components"), row->components);
        EXPECT_EQ(jsonInt(json, "boundary_loops"), row->holes);
        if (row->genus == kNotGiven) {
            EXPECT_EQ(jsonValue(json, "genus_total"), "");
        } else {
            EXPECT_EQ(jsonInt(json, "genus_total"), row->genus);
        }
        if (row->manifold) {
            EXPECT_EQ(jsonInt(json, "nonmanifold_edges"), 0);
            EXPECT_EQ(jsonInt(json, "nonmanifold_vertices"), 0);
        }
        if (row->nonManifoldEdges != kNotGiven) {
            EXPECT_EQ(jsonInt(json, "nonmanifold_edges"), row->nonManifoldEdges);
        }
        if (row->pinchedVertices != kNotGiven) {
            EXPECT_EQ(jsonInt(json, "nonmanifold_vertices"), row->pinchedVertices);
        }
        if (row->unreferenced != kNotGiven) {
            EXPECT_EQ(jsonInt(json, "unreferenced_vertices"), row->unreferenced);
        }
        if (row->duplicates != kNotGiven) {
            EXPECT_EQ(jsonInt(json, "duplicate_position_vertices"), row->duplicates);
        }
        ++checked;
    }
    return checked;
}

}  // namespace

TEST(PublishedMeshNumbers, BundledCopies)
{
    EXPECT_GE(checkFolder(clitest::testData("meshes")), 7u);
}

TEST(PublishedMeshNumbers, EveryMeshOfTheSharedDataSet)
{
    const std::string folder = clitest::sharedData("meshes");
    if (!clitest::fs::is_directory(folder))
        GTEST_SKIP() << "shared data set not present";
    EXPECT_EQ(checkFolder(folder), publishedTable().size());
}
