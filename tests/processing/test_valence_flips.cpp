// FlipEdgesForValence: valences move towards 6 (4 on the boundary) without changing the
// surface's topology, the vertex positions, or the side triangles face; crowded fans that
// bend more than the limit stay as they are.
#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "oxMeshProcessing.h"
#include "support/Shapes.h"

namespace {

using oxtest::Soup;
using oxtest::Vec3;

/// Valence of every vertex and the sum of squared deviations from 6 (4 on the boundary),
/// counted from the triangle list alone.
struct ValenceCensus {
    std::vector<int> valence;
    long deviation = 0;

    explicit ValenceCensus(const Soup& s) : valence(s.p.size(), 0)
    {
        std::vector<int> ideal(s.p.size(), 6);
        for (const auto& edge : oxtest::edgeUses(s)) {
            ++valence[edge.first.first];
            ++valence[edge.first.second];
            if (edge.second == 1)
                ideal[edge.first.first] = ideal[edge.first.second] = 4;
        }
        for (std::size_t v = 0; v < s.p.size(); ++v)
            if (valence[v])
                deviation += long(valence[v] - ideal[v]) * (valence[v] - ideal[v]);
    }
};

Vec3 normalOf(const Soup& s, std::size_t t)
{
    const Vec3 &a = s.p[s.t[3 * t]], &b = s.p[s.t[3 * t + 1]], &c = s.p[s.t[3 * t + 2]];
    return (b - a).Cross(c - a);
}

/// Degrees between the two triangles of every interior edge, keyed by the edge.
std::map<std::pair<unsigned, unsigned>, float> bendAngles(const Soup& s)
{
    std::map<std::pair<unsigned, unsigned>, std::vector<std::size_t>> triangles;
    for (std::size_t t = 0; t < s.t.size() / 3; ++t)
        for (int k = 0; k < 3; ++k) {
            const unsigned a = s.t[3 * t + k], b = s.t[3 * t + (k + 1) % 3];
            triangles[{std::min(a, b), std::max(a, b)}].push_back(t);
        }
    std::map<std::pair<unsigned, unsigned>, float> bends;
    for (const auto& entry : triangles) {
        if (entry.second.size() != 2)
            continue;
        const Vec3 n0 = normalOf(s, entry.second[0]), n1 = normalOf(s, entry.second[1]);
        const float c = std::max(-1.0f, std::min(1.0f, n0.Dot(n1) / (n0.Length() * n1.Length())));
        bends[entry.first] = std::acos(c) * 57.2957795f;
    }
    return bends;
}

TEST(ValenceFlips, SpherePolesLoseTheirCrowdedFansAndTheSurfaceStaysIntact)
{
    const oxtest::MeshPtr mesh = oxtest::sphere(10, 16, 1.0f);
    const Soup before = oxtest::toSoup(*mesh);
    ASSERT_TRUE(oxtest::closedOrientedManifold(before));
    const ValenceCensus censusBefore(before);
    const int crowdedBefore = *std::max_element(censusBefore.valence.begin(), censusBefore.valence.end());
    ASSERT_GE(crowdedBefore, 16);  // the poles

    const unsigned flips = ox::oxMeshProcessing::FlipEdgesForValence(*mesh, 60.0f);
    const Soup after = oxtest::toSoup(*mesh);
    const ValenceCensus censusAfter(after);

    EXPECT_GT(flips, 0u);
    // Every accepted flip lowers the deviation by at least 2 (see the acceptance rule).
    EXPECT_LE(censusAfter.deviation, censusBefore.deviation - 2 * long(flips));
    EXPECT_LT(*std::max_element(censusAfter.valence.begin(), censusAfter.valence.end()), crowdedBefore);
    EXPECT_TRUE(oxtest::closedOrientedManifold(after));
    EXPECT_EQ(oxtest::eulerCharacteristic(after), oxtest::eulerCharacteristic(before));
    ASSERT_EQ(after.t.size(), before.t.size());
    ASSERT_EQ(after.p.size(), before.p.size());
    for (std::size_t v = 0; v < before.p.size(); ++v)
        EXPECT_EQ(after.p[v], before.p[v]) << "vertex " << v;
    for (std::size_t t = 0; t < after.t.size() / 3; ++t) {
        const Vec3 centroid =
            (after.p[after.t[3 * t]] + after.p[after.t[3 * t + 1]] + after.p[after.t[3 * t + 2]]) / 3.0f;
        EXPECT_GT(normalOf(after, t).Dot(centroid), 0.0f) << "triangle " << t << " faces inwards";
    }
}

TEST(ValenceFlips, OnlyEdgesBetweenTrianglesWithinTheBendLimitAreFlipped)
{
    const oxtest::MeshPtr mesh = oxtest::sphere(10, 16, 1.0f);
    const Soup before = oxtest::toSoup(*mesh);
    const auto bends = bendAngles(before);
    ox::oxMeshProcessing::FlipEdgesForValence(*mesh, 5.0f);
    const auto edgesAfter = oxtest::edgeUses(oxtest::toSoup(*mesh));
    for (const auto& bend : bends) {
        if (bend.second > 5.0f) {
            EXPECT_EQ(edgesAfter.count(bend.first), 1u) << "edge bending " << bend.second << " deg";
        }
    }
}

TEST(ValenceFlips, MeshesAtTheirIdealValencesOrWithoutLegalFlipsAreLeftAlone)
{
    // Torus: every vertex has 6 edges. Open cylinder: 6 inside, 4 on both borders.
    for (const Soup& regular : {oxtest::torus(12, 8, 2.0f, 0.5f), oxtest::cylinder(12, 5, 1.0f, 2.0f)}) {
        const oxtest::MeshPtr mesh = oxtest::toMesh(regular);
        EXPECT_EQ(ox::oxMeshProcessing::FlipEdgesForValence(*mesh, 90.0f), 0u);
        EXPECT_EQ(oxtest::toSoup(*mesh).t, regular.t);
    }
    // Flat fan of 10 spokes: the centre is crowded, but flipping a spoke would leave its rim
    // vertex with 2 edges, so nothing may flip.
    Soup fan;
    fan.p.push_back(Vec3(0, 0, 0));
    for (unsigned i = 0; i < 10; ++i)
        fan.p.push_back(Vec3(std::cos(0.6283185f * i), std::sin(0.6283185f * i), 0));
    for (unsigned i = 0; i < 10; ++i)
        fan.t.insert(fan.t.end(), {0u, 1 + i, 1 + (i + 1) % 10});
    const oxtest::MeshPtr mesh = oxtest::toMesh(fan);
    EXPECT_EQ(ox::oxMeshProcessing::FlipEdgesForValence(*mesh, 90.0f), 0u);
    EXPECT_EQ(oxtest::toSoup(*mesh).t, fan.t);
}

TEST(ValenceFlips, AnEdgeOfThreeTrianglesIsNeverFlipped)
{
    // The sphere with a third triangle on one pole spoke: that edge must survive.
    const oxtest::MeshPtr sphere = oxtest::sphere(10, 16, 1.0f);
    Soup s = oxtest::toSoup(*sphere);
    const ValenceCensus census(s);
    const unsigned pole =
        unsigned(std::max_element(census.valence.begin(), census.valence.end()) - census.valence.begin());
    unsigned spoke = 0;
    for (std::size_t i = 0; i < s.t.size() && !spoke; i += 3)
        for (int k = 0; k < 3; ++k)
            if (s.t[i + k] == pole)
                spoke = s.t[i + (k + 1) % 3];
    s.p.push_back(Vec3(0.0f, 0.0f, 0.0f));  // the centre: a fin inside the sphere
    s.t.insert(s.t.end(), {pole, spoke, unsigned(s.p.size() - 1)});
    const oxtest::MeshPtr mesh = oxtest::toMesh(s);
    ox::oxMeshProcessing::FlipEdgesForValence(*mesh, 60.0f);
    const auto edges = oxtest::edgeUses(oxtest::toSoup(*mesh));
    const auto at = edges.find({std::min(pole, spoke), std::max(pole, spoke)});
    ASSERT_NE(at, edges.end());
    EXPECT_EQ(at->second, 3);
}

}  // namespace
