// The mesh statistics against shapes whose answers are known by hand, and against a
// brute-force count (std::map edges, breadth-first components and fans) on
// random polygon soups and damaged grids.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <queue>
#include <random>
#include <set>

#include "oxMeshProcessing.h"

namespace {

using Polygon = std::vector<std::uint32_t>;

namespace mp = ox::oxMeshProcessing;

/// A mesh as a file stores it: positions, polygons, and their fan triangles.
struct tPolygonMesh {
    std::vector<float> positions;
    std::vector<float> normals;
    std::vector<unsigned int> triangles, corners, offsets{0};
    bool asPolygons = true;  ///< false: the statistics see the triangles as the faces
    std::size_t vertexCount() const { return positions.size() / 3; }
    std::size_t triangleCount() const { return triangles.size() / 3; }
};

/// A mesh from polygons, fan-triangulated the way the readers do it, with positions from
/// `positions` (x y z per vertex).
tPolygonMesh meshOf(const std::vector<float>& positions, const std::vector<Polygon>& polygons)
{
    tPolygonMesh mesh;
    mesh.positions = positions;
    for (const Polygon& polygon : polygons) {
        mesh.corners.insert(mesh.corners.end(), polygon.begin(), polygon.end());
        mesh.offsets.push_back(unsigned(mesh.corners.size()));
        for (std::size_t k = 1; k + 1 < polygon.size(); ++k)
            mesh.triangles.insert(mesh.triangles.end(), {polygon[0], polygon[k], polygon[k + 1]});
    }
    return mesh;
}

mp::tMeshStatistics statisticsOf(const tPolygonMesh& mesh)
{
    mp::tMeshView view;
    view.positions = mesh.positions.data();
    view.vertexCount = mesh.positions.size() / 3;
    view.triangles = mesh.triangles.data();
    view.triangleCount = mesh.triangles.size() / 3;
    if (mesh.asPolygons) {
        view.faceCorners = mesh.corners.data();
        view.faceOffsets = mesh.offsets.data();
        view.faceCount = mesh.offsets.size() - 1;
    }
    if (!mesh.normals.empty())
        view.normals = mesh.normals.data();
    return mp::ComputeMeshStatistics(view);
}

std::array<double, 3> triple(const double* values)
{
    return {values[0], values[1], values[2]};
}

std::vector<float> cubeCorners()
{
    return {0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0, 0, 0, 1, 1, 0, 1, 1, 1, 1, 0, 1, 1};
}

std::vector<Polygon> cubeQuads()
{
    return {{0, 3, 2, 1}, {4, 5, 6, 7}, {0, 1, 5, 4}, {2, 3, 7, 6}, {0, 4, 7, 3}, {1, 2, 6, 5}};
}

/// An n x m torus grid of quads (closed, genus 1) on a ring of radius 3 and tube radius 1.
tPolygonMesh torus(int n, int m, bool quads)
{
    std::vector<float> positions;
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < m; ++j) {
            const double u = 2 * M_PI * i / n, v = 2 * M_PI * j / m;
            positions.insert(positions.end(), {float((3 + std::cos(v)) * std::cos(u)),
                                               float((3 + std::cos(v)) * std::sin(u)), float(std::sin(v))});
        }
    std::vector<Polygon> polygons;
    auto id = [&](int i, int j) { return std::uint32_t((i % n) * m + (j % m)); };
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < m; ++j) {
            if (quads) {
                polygons.push_back({id(i, j), id(i + 1, j), id(i + 1, j + 1), id(i, j + 1)});
            } else {
                polygons.push_back({id(i, j), id(i + 1, j), id(i + 1, j + 1)});
                polygons.push_back({id(i, j), id(i + 1, j + 1), id(i, j + 1)});
            }
        }
    return meshOf(positions, polygons);
}

struct Topology {
    std::size_t unreferenced = 0, edges = 0, boundary = 0, nonManifoldEdges = 0, duplicatedHalfEdges = 0;
    std::size_t components = 0, boundaryLoops = 0, nonManifoldVertices = 0, repeatedIndex = 0;
    long long euler = 0;
};

/// Breadth-first count of the groups of `nodes` linked by `adjacent`.
std::size_t countGroups(const std::set<std::uint32_t>& nodes,
                        const std::map<std::uint32_t, std::set<std::uint32_t>>& adjacent)
{
    std::set<std::uint32_t> seen;
    std::size_t groups = 0;
    for (std::uint32_t start : nodes) {
        if (!seen.insert(start).second)
            continue;
        ++groups;
        std::queue<std::uint32_t> queue;
        queue.push(start);
        while (!queue.empty()) {
            const std::uint32_t node = queue.front();
            queue.pop();
            const auto it = adjacent.find(node);
            if (it == adjacent.end())
                continue;
            for (std::uint32_t next : it->second)
                if (seen.insert(next).second)
                    queue.push(next);
        }
    }
    return groups;
}

/// The same facts computed the slow, obvious way.
Topology bruteForce(std::size_t vertexCount, const std::vector<Polygon>& polygons)
{
    Topology t;
    std::map<std::pair<std::uint32_t, std::uint32_t>, int> undirected, directed;
    std::map<std::uint32_t, std::set<std::uint32_t>> neighbours;
    std::set<std::uint32_t> used;
    for (const Polygon& polygon : polygons) {
        const std::set<std::uint32_t> distinct(polygon.begin(), polygon.end());
        t.repeatedIndex += distinct.size() != polygon.size();
        for (std::size_t i = 0; i < polygon.size(); ++i) {
            const std::uint32_t a = polygon[i], b = polygon[(i + 1) % polygon.size()];
            ++undirected[{std::min(a, b), std::max(a, b)}];
            ++directed[{a, b}];
            neighbours[a].insert(b);
            neighbours[b].insert(a);
            used.insert(a);
        }
    }
    t.unreferenced = vertexCount - used.size();
    t.edges = undirected.size();
    std::map<std::uint32_t, std::set<std::uint32_t>> boundaryNeighbours;
    std::set<std::uint32_t> boundaryVertices;
    for (const auto& [edge, count] : undirected) {
        t.boundary += count == 1;
        t.nonManifoldEdges += count > 2;
        if (count == 1) {
            boundaryNeighbours[edge.first].insert(edge.second);
            boundaryNeighbours[edge.second].insert(edge.first);
            boundaryVertices.insert(edge.first);
            boundaryVertices.insert(edge.second);
        }
    }
    for (const auto& [halfEdge, count] : directed)
        t.duplicatedHalfEdges += count > 1;
    t.components = countGroups(used, neighbours);
    t.boundaryLoops = countGroups(boundaryVertices, boundaryNeighbours);

    // Fans: the corners at a vertex, linked when their two spokes (to the previous and the next
    // corner's vertex) share an endpoint.
    std::map<std::uint32_t, std::vector<std::set<std::uint32_t>>> spokesAt;
    for (const Polygon& polygon : polygons)
        for (std::size_t i = 0; i < polygon.size(); ++i) {
            const std::size_t k = polygon.size();
            spokesAt[polygon[i]].push_back({polygon[(i + 1) % k], polygon[(i + k - 1) % k]});
        }
    for (const auto& [vertex, corners] : spokesAt) {
        std::set<std::uint32_t> nodes;
        std::map<std::uint32_t, std::set<std::uint32_t>> linked;
        for (std::uint32_t a = 0; a < corners.size(); ++a) {
            nodes.insert(a);
            for (std::uint32_t b = 0; b < corners.size(); ++b)
                for (std::uint32_t end : corners[a])
                    if (corners[b].count(end))
                        linked[a].insert(b);
        }
        t.nonManifoldVertices += countGroups(nodes, linked) > 1;
    }
    t.euler = (long long)used.size() - (long long)t.edges + (long long)polygons.size();
    return t;
}

void expectSameTopology(const mp::tMeshStatistics& s, const Topology& t, const std::string& what)
{
    EXPECT_EQ(s.unreferencedVertices, t.unreferenced) << what;
    EXPECT_EQ(s.edges, t.edges) << what;
    EXPECT_EQ(s.boundaryEdges, t.boundary) << what;
    EXPECT_EQ(s.nonManifoldEdges, t.nonManifoldEdges) << what;
    EXPECT_EQ(s.duplicatedHalfEdges, t.duplicatedHalfEdges) << what;
    EXPECT_EQ(s.components, t.components) << what;
    EXPECT_EQ(s.boundaryLoops, t.boundaryLoops) << what;
    EXPECT_EQ(s.nonManifoldVertices, t.nonManifoldVertices) << what;
    EXPECT_EQ(s.facesWithRepeatedIndex, t.repeatedIndex) << what;
    EXPECT_EQ(s.eulerCharacteristic, t.euler) << what;
    EXPECT_EQ(s.closed, t.boundary == 0 && t.nonManifoldEdges == 0) << what;
    EXPECT_EQ(s.manifold, t.nonManifoldEdges == 0 && t.nonManifoldVertices == 0) << what;
    EXPECT_EQ(s.oriented, t.duplicatedHalfEdges == 0) << what;
}

}  // namespace

TEST(MeshStatistics, CubeOfQuadsCountsPolygonSidesNotFanDiagonals)
{
    const mp::tMeshStatistics quads = statisticsOf(meshOf(cubeCorners(), cubeQuads()));
    EXPECT_EQ(quads.vertices, 8u);
    EXPECT_EQ(quads.faces, 6u);
    EXPECT_EQ(quads.triangles, 12u);
    EXPECT_EQ(quads.edges, 12u);
    EXPECT_EQ(quads.eulerCharacteristic, 2);
    EXPECT_TRUE(quads.closed && quads.manifold && quads.oriented && quads.hasGenus);
    EXPECT_EQ(quads.genus, 0);
    EXPECT_EQ(quads.components, 1u);
    EXPECT_DOUBLE_EQ(quads.signedVolume, 1.0);
    EXPECT_DOUBLE_EQ(quads.surfaceArea, 6.0);
    EXPECT_EQ(triple(quads.bboxMin), (std::array<double, 3>{0, 0, 0}));
    EXPECT_EQ(triple(quads.bboxMax), (std::array<double, 3>{1, 1, 1}));
    EXPECT_DOUBLE_EQ(quads.bboxDiagonal, std::sqrt(3.0));

    // The same surface stored as triangles: 6 more edges, same Euler characteristic.
    tPolygonMesh triangles = meshOf(cubeCorners(), cubeQuads());
    triangles.asPolygons = false;
    const mp::tMeshStatistics fan = statisticsOf(triangles);
    EXPECT_EQ(fan.edges, 18u);
    EXPECT_EQ(fan.faces, 12u);
    EXPECT_EQ(fan.eulerCharacteristic, 2);

    // Turned inside out: still oriented, negative volume.
    std::vector<Polygon> inward = cubeQuads();
    for (Polygon& polygon : inward)
        std::reverse(polygon.begin(), polygon.end());
    EXPECT_DOUBLE_EQ(statisticsOf(meshOf(cubeCorners(), inward)).signedVolume, -1.0);
}

TEST(MeshStatistics, OpenBoxTorusAndSeparateParts)
{
    std::vector<Polygon> open = cubeQuads();
    open.erase(open.begin() + 1);  // no lid
    const mp::tMeshStatistics box = statisticsOf(meshOf(cubeCorners(), open));
    EXPECT_EQ(box.boundaryEdges, 4u);
    EXPECT_EQ(box.boundaryLoops, 1u);
    EXPECT_EQ(box.eulerCharacteristic, 1);
    EXPECT_FALSE(box.closed);
    EXPECT_TRUE(box.manifold);
    EXPECT_FALSE(box.hasGenus);

    for (bool quads : {true, false}) {
        const mp::tMeshStatistics ring = statisticsOf(torus(12, 8, quads));
        EXPECT_EQ(ring.eulerCharacteristic, 0);
        EXPECT_TRUE(ring.hasGenus);
        EXPECT_EQ(ring.genus, 1);
        EXPECT_GT(ring.signedVolume, 0.0);
    }

    // Two cubes apart plus three unused vertices: two components, genus 0 in total.
    std::vector<float> positions = cubeCorners();
    for (std::size_t i = 0; i < 24; ++i)
        positions.push_back(cubeCorners()[i] + (i % 3 == 0 ? 5.0f : 0.0f));
    positions.insert(positions.end(), {9, 9, 9, 8, 8, 8, 7, 7, 7});
    std::vector<Polygon> polygons = cubeQuads();
    for (Polygon polygon : cubeQuads()) {
        for (std::uint32_t& v : polygon)
            v += 8;
        polygons.push_back(polygon);
    }
    const mp::tMeshStatistics two = statisticsOf(meshOf(positions, polygons));
    EXPECT_EQ(two.components, 2u);
    EXPECT_EQ(two.unreferencedVertices, 3u);
    EXPECT_EQ(two.eulerCharacteristic, 4);
    EXPECT_EQ(two.genus, 0);
    EXPECT_DOUBLE_EQ(two.signedVolume, 2.0);
}

TEST(MeshStatistics, NonManifoldConfigurationsAndDegenerateFaces)
{
    const std::vector<float> points{0, 0, 0, 1, 0, 0, 0, 1, 0, -1, 0, 0, 0, -1, 0, 0, 0, 1, 2, 0, 0};

    // Bowtie: two triangles sharing only vertex 0.
    const mp::tMeshStatistics bowtie = statisticsOf(meshOf(points, {{0, 1, 2}, {0, 3, 4}}));
    EXPECT_EQ(bowtie.nonManifoldVertices, 1u);
    EXPECT_EQ(bowtie.nonManifoldEdges, 0u);
    EXPECT_EQ(bowtie.components, 1u);
    EXPECT_EQ(bowtie.boundaryLoops, 1u);  // the two rims meet at the shared vertex
    EXPECT_FALSE(bowtie.manifold);

    // Book: three triangles on the edge 0-1.
    const mp::tMeshStatistics book = statisticsOf(meshOf(points, {{0, 1, 2}, {1, 0, 4}, {0, 1, 5}}));
    EXPECT_EQ(book.nonManifoldEdges, 1u);
    EXPECT_EQ(book.duplicatedHalfEdges, 1u);  // 0->1 twice
    EXPECT_FALSE(book.closed);
    EXPECT_FALSE(book.manifold);
    EXPECT_FALSE(book.oriented);

    // A flipped neighbour: both triangles run 0->1.
    const mp::tMeshStatistics flipped = statisticsOf(meshOf(points, {{0, 1, 2}, {0, 1, 4}}));
    EXPECT_EQ(flipped.duplicatedHalfEdges, 1u);
    EXPECT_FALSE(flipped.oriented);
    EXPECT_TRUE(flipped.manifold);

    // Degenerate faces: a repeated index, collinear points, duplicate positions.
    std::vector<float> withCopy = points;
    withCopy.insert(withCopy.end(), {1, 0, 0});
    const mp::tMeshStatistics degenerate =
        statisticsOf(meshOf(withCopy, {{0, 1, 1, 2}, {0, 1, 6}, {0, 2, 5}}));
    EXPECT_EQ(degenerate.facesWithRepeatedIndex, 1u);
    EXPECT_EQ(degenerate.zeroAreaTriangles, 2u);  // (0, 1, 1) and the collinear (0, 1, 6)
    EXPECT_EQ(degenerate.duplicatePositions, 1u);
    EXPECT_EQ(degenerate.unreferencedVertices, 3u);
}

TEST(MeshStatistics, PointCloudsHaveNoTopology)
{
    tPolygonMesh cloud;
    cloud.positions = {0, 0, 0, 1, 2, 3, 1, 2, 3};
    cloud.normals = {0, 0, 1, 0, 0, 0, NAN, 0, 0};
    const mp::tMeshStatistics stats = statisticsOf(cloud);
    EXPECT_EQ(stats.triangles, 0u);
    EXPECT_EQ(stats.faces, 0u);
    EXPECT_EQ(stats.edges, 0u);
    EXPECT_EQ(stats.duplicatePositions, 1u);
    EXPECT_EQ(stats.zeroNormals, 1u);
    EXPECT_EQ(stats.nonFiniteNormals, 1u);
    EXPECT_EQ(triple(stats.bboxMax), (std::array<double, 3>{1, 2, 3}));
}

TEST(MeshStatistics, RandomPolygonSoupsAgreeWithBruteForce)
{
    std::mt19937 rng(7321);
    for (int round = 0; round < 400; ++round) {
        const std::uint32_t vertices = 4 + std::uint32_t(rng() % 30);
        const std::size_t polygonCount = 1 + rng() % 40;
        std::vector<float> positions;
        for (std::uint32_t v = 0; v < vertices; ++v)
            for (int k = 0; k < 3; ++k)
                positions.push_back(float(rng() % 5));
        std::vector<Polygon> polygons;
        for (std::size_t p = 0; p < polygonCount; ++p) {
            Polygon polygon(3 + rng() % (round % 3 == 0 ? 1 : 4));
            for (std::uint32_t& v : polygon)
                v = std::uint32_t(rng() % vertices);
            polygons.push_back(polygon);
        }
        expectSameTopology(statisticsOf(meshOf(positions, polygons)), bruteForce(vertices, polygons),
                           "soup " + std::to_string(round));
    }
}

TEST(MeshStatistics, DamagedGridsAgreeWithBruteForce)
{
    // Near-manifold input: a torus of quads with random faces removed, flipped or duplicated, and
    // random vertices merged into others (pinches).
    std::mt19937 rng(99);
    for (int round = 0; round < 100; ++round) {
        const int n = 3 + int(rng() % 8), m = 3 + int(rng() % 6);
        const tPolygonMesh grid = torus(n, m, round % 2 == 0);
        std::vector<Polygon> polygons;
        const std::size_t size = round % 2 == 0 ? 4 : 3;
        for (std::size_t t = 0; t < grid.triangleCount(); t += size - 2) {
            Polygon polygon{grid.triangles[3 * t], grid.triangles[3 * t + 1], grid.triangles[3 * t + 2]};
            if (size == 4)
                polygon.push_back(grid.triangles[3 * t + 5]);
            const unsigned roll = rng() % 20;
            if (roll == 0)
                continue;
            if (roll == 1)
                std::reverse(polygon.begin(), polygon.end());
            if (roll == 2)
                polygons.push_back(polygon);
            polygons.push_back(polygon);
        }
        const std::uint32_t vertices = std::uint32_t(grid.vertexCount());
        for (int merges = int(rng() % 3); merges > 0; --merges) {
            const std::uint32_t from = std::uint32_t(rng() % vertices), to = std::uint32_t(rng() % vertices);
            for (Polygon& polygon : polygons)
                for (std::uint32_t& v : polygon)
                    if (v == from)
                        v = to;
        }
        expectSameTopology(statisticsOf(meshOf(grid.positions, polygons)), bruteForce(vertices, polygons),
                           "grid " + std::to_string(round));
    }
}
