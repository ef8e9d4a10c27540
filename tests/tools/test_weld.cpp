// Welding by exact position, checked against a brute-force first-occurrence
// search written independently here.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include "formats/MeshView.h"
#include "formats/Weld.h"

namespace {

/// The first vertex u <= v with the same coordinates (compared as values, so -0 == +0 and a NaN
/// coordinate never equals anything). O(n^2).
std::vector<std::size_t> bruteForceFirst(const std::vector<float>& p)
{
    const std::size_t n = p.size() / 3;
    std::vector<std::size_t> first(n);
    for (std::size_t v = 0; v < n; ++v) {
        first[v] = v;
        for (std::size_t u = 0; u < v; ++u) {
            if (p[3 * u] == p[3 * v] && p[3 * u + 1] == p[3 * v + 1] && p[3 * u + 2] == p[3 * v + 2]) {
                first[v] = u;
                break;
            }
        }
    }
    return first;
}

/// A soup whose vertices are drawn from a few distinct positions (with signed zeros mixed in),
/// each vertex with its own normal and colour, and random triangles and polygons.
oxmesh::MeshData randomSoup(std::mt19937& rng, std::size_t vertices, std::size_t distinct)
{
    std::uniform_int_distribution<int> coordinate(-2, 2);
    std::vector<std::array<float, 3>> pool(distinct);
    for (auto& p : pool)
        for (float& x : p)
            x = float(coordinate(rng)) * 0.25f;
    std::uniform_int_distribution<std::size_t> pick(0, distinct - 1);
    std::uniform_real_distribution<float> unit(0.0f, 1.0f);
    oxmesh::MeshData mesh;
    for (std::size_t v = 0; v < vertices; ++v) {
        std::array<float, 3> p = pool[pick(rng)];
        for (float& x : p)
            if (x == 0.0f && unit(rng) < 0.5f)
                x = -0.0f;
        mesh.positions.insert(mesh.positions.end(), p.begin(), p.end());
        for (int k = 0; k < 3; ++k)
            mesh.normals.push_back(unit(rng));
        for (int k = 0; k < 3; ++k)
            mesh.colors.push_back(unit(rng));
    }
    std::uniform_int_distribution<std::uint32_t> index(0, std::uint32_t(vertices - 1));
    for (std::size_t t = 0; t < vertices; ++t)
        for (int k = 0; k < 3; ++k)
            mesh.triangles.push_back(index(rng));
    mesh.polygonStarts = {0, 2, 3, 7};
    return mesh;
}

}  // namespace

TEST(WeldByPosition, MatchesBruteForceFirstOccurrence)
{
    std::mt19937 rng(20240611);
    for (int round = 0; round < 40; ++round) {
        const std::size_t vertices = 20 + std::size_t(round) * 7, distinct = 3 + std::size_t(round) % 17;
        const oxmesh::MeshData original = randomSoup(rng, vertices, distinct);
        const std::vector<std::size_t> first = bruteForceFirst(original.positions);

        // The expected result, built from the brute-force answer.
        std::vector<std::uint32_t> renumber(vertices);
        std::vector<float> positions, normals, colors;
        std::uint32_t survivors = 0;
        for (std::size_t v = 0; v < vertices; ++v) {
            if (first[v] != v) {
                renumber[v] = renumber[first[v]];
                continue;
            }
            renumber[v] = survivors++;
            for (int k = 0; k < 3; ++k) {
                positions.push_back(original.positions[3 * v + k]);
                normals.push_back(original.normals[3 * v + k]);
                colors.push_back(original.colors[3 * v + k]);
            }
        }
        std::vector<std::uint32_t> triangles;
        for (std::uint32_t index : original.triangles)
            triangles.push_back(renumber[index]);

        oxmesh::MeshData mesh = original;
        mesh.weldedVertices = 5;  // adds to what earlier steps merged
        const std::size_t merged = oxmesh::weldByPosition(mesh);
        EXPECT_EQ(merged, vertices - survivors);
        EXPECT_EQ(mesh.weldedVertices, 5 + vertices - survivors);
        EXPECT_EQ(mesh.positions, positions);  // -0 vs +0: the first occurrence's bits survive
        EXPECT_EQ(mesh.normals, normals);
        EXPECT_EQ(mesh.colors, colors);
        EXPECT_EQ(mesh.triangles, triangles);
        EXPECT_EQ(mesh.polygonStarts, original.polygonStarts);
        EXPECT_EQ(oxmesh::statisticsOf(original).duplicatePositions, vertices - survivors);

        // Welding again changes nothing.
        const oxmesh::MeshData once = mesh;
        EXPECT_EQ(oxmesh::weldByPosition(mesh), 0u);
        EXPECT_EQ(mesh.positions, once.positions);
        EXPECT_EQ(mesh.triangles, once.triangles);
    }
}

TEST(WeldByPosition, NonFiniteVerticesStayApartAndSignedZerosMerge)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    oxmesh::MeshData mesh;
    mesh.positions = {nan, 0, 0, nan, 0, 0, 0.0f, 1, 2, -0.0f, 1, 2, INFINITY, 0, 0, INFINITY, 0, 0};
    mesh.triangles = {0, 1, 2, 3, 4, 5};
    EXPECT_EQ(oxmesh::weldByPosition(mesh), 1u);
    ASSERT_EQ(mesh.vertexCount(), 5u);
    EXPECT_EQ(mesh.triangles, (std::vector<std::uint32_t>{0, 1, 2, 2, 3, 4}));
    EXPECT_FALSE(std::signbit(mesh.positions[6]));  // the first occurrence (+0) is kept
    EXPECT_EQ(oxmesh::statisticsOf(mesh).duplicatePositions, 0u);
}

TEST(WeldByPosition, EmptyAndDuplicateFreeMeshesAreUnchanged)
{
    oxmesh::MeshData empty;
    EXPECT_EQ(oxmesh::weldByPosition(empty), 0u);
    oxmesh::MeshData mesh;
    mesh.positions = {0, 0, 0, 1, 0, 0, 0, 1, 0};
    mesh.triangles = {2, 1, 0};
    const oxmesh::MeshData before = mesh;
    EXPECT_EQ(oxmesh::weldByPosition(mesh), 0u);
    EXPECT_EQ(mesh.positions, before.positions);
    EXPECT_EQ(mesh.triangles, before.triangles);
    EXPECT_EQ(mesh.weldedVertices, 0u);
}

TEST(WeldByPosition, LargeGridOfPerCornerVerticesWeldsToTheGrid)
{
    // A 300 x 300 grid stored the way Assimp stores STL: three fresh vertices per triangle.
    const int n = 300;
    oxmesh::MeshData mesh;
    auto corner = [&](int i, int j) {
        mesh.triangles.push_back(std::uint32_t(mesh.vertexCount()));
        mesh.positions.insert(mesh.positions.end(), {float(i) * 0.1f, float(j) * 0.1f, float((i * j) % 7)});
    };
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j) {
            corner(i, j), corner(i + 1, j), corner(i + 1, j + 1);
            corner(i, j), corner(i + 1, j + 1), corner(i, j + 1);
        }
    const std::size_t corners = mesh.vertexCount();
    EXPECT_EQ(oxmesh::weldByPosition(mesh), corners - std::size_t(n + 1) * std::size_t(n + 1));
    EXPECT_EQ(mesh.vertexCount(), std::size_t(n + 1) * std::size_t(n + 1));
    // Vertex (0, 0) is the first corner, (1, 0) the second, (1, 1) the third.
    EXPECT_EQ((std::vector<std::uint32_t>(mesh.triangles.begin(), mesh.triangles.begin() + 6)),
              (std::vector<std::uint32_t>{0, 1, 2, 0, 2, 3}));
}
