// The polygonization tables: stated offsets and counts, the cube-row derivation against a
// direct corner-by-corner formula, and closed, consistently oriented surfaces from every
// cube configuration and from random sign fields with the shared-vertex rule.
#include <gtest/gtest.h>

#include <bitset>
#include <cstdint>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "oxSurfacePolygonizer.h"
#include "support/Topology.h"

using ox::oxSurfacePolygonizer;

TEST(PolygonizationTables, SquareTable)
{
    const unsigned offsets[17] = {0, 6, 15, 24, 36, 45, 57, 69, 84, 93, 105, 117, 132, 144, 159, 174, 192};
    unsigned count = 99;
    const unsigned* base = oxSurfacePolygonizer::GetSquarePolygonConfiguration(0, count);
    for (unsigned c = 0; c <= 16; ++c) {
        const unsigned* t = oxSurfacePolygonizer::GetSquarePolygonConfiguration(c, count);
        EXPECT_EQ(unsigned(t - base), offsets[c]) << c;
        EXPECT_EQ(count, c == 16 ? 8u : 2u + unsigned(std::bitset<4>(c).count())) << c;
        // Every vertex used is a corner, a midpoint present in the configuration, or the
        // centre for configuration 16 -- except configuration 2's first triangle, which
        // names midpoint 1 as it always has.
        for (unsigned i = 0; i < 3 * count; ++i) {
            const unsigned v = t[i];
            if (c == 2 && i == 1) {
                EXPECT_EQ(v, 1u);
                continue;
            }
            if (v == 8) {
                EXPECT_EQ(c, 16u);
            } else if (v % 2 == 1) {
                EXPECT_TRUE(c == 16 || (c >> (v / 2)) & 1u) << "config " << c << " vertex " << v;
            } else {
                EXPECT_LE(v, 6u);
            }
        }
    }
    oxSurfacePolygonizer::GetSquarePolygonConfiguration(2, count);
    const unsigned* two = oxSurfacePolygonizer::GetSquarePolygonConfiguration(2, count);
    EXPECT_EQ(two[0], 0u);
    EXPECT_EQ(two[1], 1u);
    EXPECT_EQ(two[2], 3u);
    const unsigned* sixteen = oxSurfacePolygonizer::GetSquarePolygonConfiguration(16, count);
    EXPECT_EQ(sixteen[3 * 7 + 2], 6u) << "216 entries in all";
}

TEST(PolygonizationTables, TetrahedronTable)
{
    const unsigned offsets[16] = {0, 0, 3, 6, 12, 15, 21, 27, 30, 33, 39, 45, 48, 54, 57, 0};
    const unsigned edgeCorners[6][2] = {{0, 1}, {1, 2}, {0, 2}, {0, 3}, {1, 3}, {2, 3}};
    const unsigned corner[4][3] = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    unsigned count = 0;
    const unsigned* base = oxSurfacePolygonizer::GetTetrahedronPolygonConfiguration(1, count);
    for (unsigned c = 0; c < 16; ++c) {
        const unsigned* t = oxSurfacePolygonizer::GetTetrahedronPolygonConfiguration(c, count);
        EXPECT_EQ(unsigned(t - base), offsets[c]) << c;
        const unsigned set = unsigned(std::bitset<4>(c).count());
        EXPECT_EQ(count, set == 0 || set == 4 ? 0u : set == 2 ? 2u : 1u) << c;
        std::set<unsigned> cut;
        for (unsigned i = 0; i < 3 * count; ++i) {
            const unsigned e = t[i];
            ASSERT_LT(e, 6u);
            EXPECT_NE((c >> edgeCorners[e][0]) & 1u, (c >> edgeCorners[e][1]) & 1u) << "config " << c;
            cut.insert(e);
        }
        // Every cut edge carries a vertex.
        for (unsigned e = 0; e < 6; ++e)
            if (((c >> edgeCorners[e][0]) ^ (c >> edgeCorners[e][1])) & 1u) {
                EXPECT_TRUE(cut.count(e)) << c;
            }
        // Orientation: the normal of each triangle (edge midpoints of the reference
        // tetrahedron, right-hand rule) points towards the corners whose bits are set.
        for (unsigned f = 0; f < count; ++f) {
            Wm4::Vector3<float> v[3];
            for (int k = 0; k < 3; ++k) {
                const unsigned e = t[3 * f + k];
                for (int a = 0; a < 3; ++a)
                    v[k][a] = 0.5f * float(corner[edgeCorners[e][0]][a] + corner[edgeCorners[e][1]][a]);
            }
            const Wm4::Vector3<float> normal = (v[1] - v[0]).Cross(v[2] - v[0]);
            float towardsSet = 0;
            for (unsigned k = 0; k < 4; ++k) {
                const Wm4::Vector3<float> ck(static_cast<float>(corner[k][0]),
                                             static_cast<float>(corner[k][1]),
                                             static_cast<float>(corner[k][2]));
                towardsSet += ((c >> k) & 1u ? 1.0f : -1.0f) * normal.Dot(ck - v[0]);
            }
            EXPECT_GT(towardsSet, 0.0f) << "config " << c << " triangle " << f;
        }
    }
}

namespace {

// Position of a library corner number in the published cyclic numbering.
unsigned publishedCorner(unsigned libraryCorner)
{
    const unsigned map[8] = {0, 1, 3, 2, 4, 5, 7, 6};
    return map[libraryCorner];
}

}  // namespace

TEST(PolygonizationTables, CubeRowsAndEdges)
{
    const unsigned stated[24] = {0, 1, 1, 3, 2, 3, 0, 2, 4, 5, 5, 7, 6, 7, 4, 6, 0, 4, 1, 5, 3, 7, 2, 6};
    unsigned count = 0;
    const unsigned* edges = nullptr;
    const unsigned* row0 = oxSurfacePolygonizer::GetCubePolygonConfiguration(0xFF, count, edges);
    EXPECT_EQ(count, 0u);
    for (int i = 0; i < 24; ++i)
        EXPECT_EQ(edges[i], stated[i]);
    // Published rows 1 and 3, reached through this library's configurations.
    const unsigned* r1 = oxSurfacePolygonizer::GetCubePolygonConfiguration(0xFE, count, edges);
    EXPECT_EQ(count, 1u);
    EXPECT_EQ(r1[0], 0u);
    EXPECT_EQ(r1[1], 8u);
    EXPECT_EQ(r1[2], 3u);
    EXPECT_EQ(r1[3], 0xFFFFFFFFu);
    const unsigned* r3 = oxSurfacePolygonizer::GetCubePolygonConfiguration(0xFC, count, edges);
    const unsigned row3[7] = {1, 8, 3, 9, 8, 1, 0xFFFFFFFFu};
    EXPECT_EQ(count, 2u);
    for (int i = 0; i < 7; ++i)
        EXPECT_EQ(r3[i], row3[i]);
    oxSurfacePolygonizer::GetCubePolygonConfiguration(0x00, count, edges);
    EXPECT_EQ(count, 0u);

    for (unsigned config = 0; config < 256; ++config) {
        // Direct formula: the published row has a bit for every positive corner, at that
        // corner's position in the cyclic numbering.
        unsigned expectedRow = 0;
        for (unsigned c = 0; c < 8; ++c)
            if (!((config >> c) & 1u))
                expectedRow |= 1u << publishedCorner(c);
        const unsigned* row = oxSurfacePolygonizer::GetCubePolygonConfiguration(config, count, edges);
        EXPECT_EQ(unsigned(row - row0), 16 * expectedRow) << config;
        EXPECT_EQ(oxSurfacePolygonizer::GetCubePolygonConfiguration(config | 0x100, count, edges), row)
            << "only the low 8 bits count";
        // Count = triples before the first -1; the rest of the row is -1.
        unsigned n = 0;
        while (n < 5 && row[3 * n] != 0xFFFFFFFFu)
            ++n;
        EXPECT_EQ(count, n);
        for (unsigned i = 3 * n; i < 16; ++i)
            EXPECT_EQ(row[i], 0xFFFFFFFFu);
        // Every triangle vertex lies on an edge whose corners have different signs, and
        // every such edge carries a vertex.
        std::set<unsigned> cut;
        for (unsigned i = 0; i < 3 * count; ++i) {
            ASSERT_LT(row[i], 12u);
            const unsigned a = edges[2 * row[i]], b = edges[2 * row[i] + 1];
            EXPECT_NE((config >> a) & 1u, (config >> b) & 1u) << "config " << config;
            cut.insert(row[i]);
        }
        for (unsigned e = 0; e < 12; ++e)
            if (((config >> edges[2 * e]) ^ (config >> edges[2 * e + 1])) & 1u) {
                EXPECT_TRUE(cut.count(e)) << config;
            }
    }
}

namespace {

// Polygonizes a sign field on a grid of g^3 corners (corner (i, j, k) positive when
// positive[(k * g + j) * g + i]) with the tables and the shared-vertex rule (one vertex
// per cut grid edge, keyed by its ordered corner pair); vertices at edge midpoints.
struct tFieldMesh {
    std::vector<unsigned> triangles;
    std::vector<Wm4::Vector3<float>> vertices;
};

tFieldMesh polygonizeField(const std::vector<bool>& positive, unsigned g)
{
    tFieldMesh mesh;
    std::map<std::pair<unsigned, unsigned>, unsigned> vertexOf;
    auto id = [g](unsigned i, unsigned j, unsigned k) { return (k * g + j) * g + i; };
    for (unsigned k = 0; k + 1 < g; ++k)
        for (unsigned j = 0; j + 1 < g; ++j)
            for (unsigned i = 0; i + 1 < g; ++i) {
                unsigned corners[8], config = 0;
                for (unsigned c = 0; c < 8; ++c) {
                    corners[c] = id(i + (c & 1), j + ((c >> 1) & 1), k + ((c >> 2) & 1));
                    if (!positive[corners[c]])
                        config |= 1u << c;  // the non-positive mask
                }
                unsigned count;
                const unsigned* edges;
                const unsigned* row = oxSurfacePolygonizer::GetCubePolygonConfiguration(config, count, edges);
                for (unsigned e = 0; e < 3 * count; ++e) {
                    const unsigned a = corners[edges[2 * row[e]]], b = corners[edges[2 * row[e] + 1]];
                    const auto key = std::make_pair(b, a);
                    auto found = vertexOf.find(key);
                    if (found == vertexOf.end()) {
                        found = vertexOf.emplace(key, unsigned(mesh.vertices.size())).first;
                        auto at = [g](unsigned v) {
                            return Wm4::Vector3<float>(float(v % g), float((v / g) % g), float(v / (g * g)));
                        };
                        mesh.vertices.push_back((at(a) + at(b)) * 0.5f);
                    }
                    mesh.triangles.push_back(found->second);
                }
            }
    return mesh;
}

void expectClosedInwardSurface(const std::vector<bool>& positive, unsigned g, const std::string& what)
{
    const tFieldMesh mesh = polygonizeField(positive, g);
    const oxtest::tTopology t = oxtest::checkTopology(mesh.triangles);
    ASSERT_TRUE(t.closedAndOriented())
        << what << ": " << t.badEdges << " bad edges, " << t.degenerate << " degenerate";
    // Triangles face the positive corners; the positive region is enclosed (the grid
    // boundary is non-positive), so the enclosed volume comes out negative.
    EXPECT_LT(oxtest::signedVolume(mesh.triangles, [&](unsigned v) { return mesh.vertices[v]; }), 0.0)
        << what;
}

}  // namespace

TEST(PolygonizationTables, EveryCubeConfigurationClosesUp)
{
    // One cube with the configuration inside a 3x3x3-cell grid whose other corners are
    // non-positive: its triangles and those of the 26 neighbours form closed surfaces.
    const unsigned g = 4;
    for (unsigned config = 1; config < 256; ++config) {
        std::vector<bool> positive(g * g * g, false);
        for (unsigned c = 0; c < 8; ++c)
            if ((config >> c) & 1u)
                positive[((1 + ((c >> 2) & 1)) * g + 1 + ((c >> 1) & 1)) * g + 1 + (c & 1)] = true;
        expectClosedInwardSurface(positive, g, "configuration " + std::to_string(config));
    }
}

TEST(PolygonizationTables, RandomSignFieldsCloseUp)
{
    const unsigned g = 7;  // 6 x 6 x 6 cells
    std::mt19937 rng(2024);
    for (int field = 0; field < 300; ++field) {
        std::vector<bool> positive(g * g * g, false);
        const unsigned threshold = 20 + unsigned(field % 7) * 10;  // 20%..80% positive inside
        for (unsigned k = 1; k + 1 < g; ++k)
            for (unsigned j = 1; j + 1 < g; ++j)
                for (unsigned i = 1; i + 1 < g; ++i)
                    positive[(k * g + j) * g + i] = rng() % 100 < threshold;
        expectClosedInwardSurface(positive, g, "field " + std::to_string(field));
    }
}
