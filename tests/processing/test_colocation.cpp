// The one welder (ColocateVertices) and boundary detection, against brute force: the greedy
// rule written out as a double loop, and boundary vertices from the brute-force edge counts of
// the support topology checker.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "oxMeshProcessing.h"
#include "support/Shapes.h"

namespace {

namespace mp = ox::oxMeshProcessing;

/// The greedy rule by brute force: vertex i joins the lowest earlier representative within the
/// tolerance (double-precision distance; tolerance 0: equal values), non-finite never joins.
std::vector<unsigned> bruteForceColocation(const std::vector<float>& p, float tolerance)
{
    const std::size_t n = p.size() / 3;
    std::vector<unsigned> representative(n);
    auto finite = [&](std::size_t i) {
        return std::isfinite(p[3 * i]) && std::isfinite(p[3 * i + 1]) && std::isfinite(p[3 * i + 2]);
    };
    for (std::size_t i = 0; i < n; ++i) {
        representative[i] = unsigned(i);
        if (!finite(i) || !(tolerance >= 0.0f))
            continue;
        for (std::size_t r = 0; r < i; ++r) {
            if (representative[r] != r)
                continue;
            double d2 = 0.0;
            bool equal = true;
            for (int k = 0; k < 3; ++k) {
                const double e = double(p[3 * r + k]) - double(p[3 * i + k]);
                d2 += e * e;
                equal = equal && p[3 * r + k] == p[3 * i + k];
            }
            if (tolerance == 0.0f ? equal : d2 <= double(tolerance) * double(tolerance)) {
                representative[i] = unsigned(r);
                break;
            }
        }
    }
    return representative;
}

TEST(ColocateVertices, MatchesTheGreedyRuleByBruteForce)
{
    // Oracle: bruteForceColocation on clustered random points, several tolerances, with a stride.
    std::mt19937 rng(11);
    std::uniform_int_distribution<int> cell(-3, 3);
    std::normal_distribution<float> jitter(0.0f, 0.02f);
    for (float tolerance : {0.0f, 0.005f, 0.03f, 0.1f, 0.7f}) {
        std::vector<float> p;
        for (int i = 0; i < 1500; ++i) {
            const bool exact = i % 3 == 0;
            for (int k = 0; k < 3; ++k)
                p.push_back(float(cell(rng)) * 0.25f + (exact ? 0.0f : jitter(rng)));
        }
        std::vector<float> strided;  // x y z and two other floats per vertex
        for (std::size_t i = 0; i < p.size() / 3; ++i)
            strided.insert(strided.end(), {p[3 * i], p[3 * i + 1], p[3 * i + 2], 7.0f, -1.0f});
        std::vector<unsigned> representative(p.size() / 3);
        const std::size_t groups =
            mp::ColocateVertices(strided.data(), p.size() / 3, 5, tolerance, representative.data());
        const std::vector<unsigned> expected = bruteForceColocation(p, tolerance);
        EXPECT_EQ(representative, expected) << "tolerance " << tolerance;
        std::size_t expectedGroups = 0;
        for (std::size_t i = 0; i < expected.size(); ++i)
            expectedGroups += expected[i] == i;
        EXPECT_EQ(groups, expectedGroups);
    }
}

TEST(ColocateVertices, NonFiniteSignedZeroHugeAndInvalidTolerance)
{
    // Oracle: the stated rules, worked out by hand.
    const float nan = std::numeric_limits<float>::quiet_NaN(), inf = std::numeric_limits<float>::infinity();
    const std::vector<float> p = {nan, 0, 0, nan, 0, 0, 0.0f,  1,      2,     -0.0f, 1,      2,
                                  inf, 0, 0, inf, 0, 0, 3e38f, -3e38f, 3e38f, 3e38f, -3e38f, 3e38f};
    std::vector<unsigned> r(p.size() / 3);
    EXPECT_EQ(mp::ColocateVertices(p.data(), r.size(), 3, 0.0f, r.data()), 6u);
    EXPECT_EQ(r, (std::vector<unsigned>{0, 1, 2, 2, 4, 5, 6, 6}));
    // A tolerance tiny against the coordinates must not overflow the grid arithmetic.
    EXPECT_EQ(mp::ColocateVertices(p.data(), r.size(), 3, 1e-30f, r.data()), 6u);
    EXPECT_EQ(r, (std::vector<unsigned>{0, 1, 2, 2, 4, 5, 6, 6}));
    for (float bad : {-1.0f, nan}) {
        EXPECT_EQ(mp::ColocateVertices(p.data(), r.size(), 3, bad, r.data()), r.size());
        for (std::size_t i = 0; i < r.size(); ++i)
            EXPECT_EQ(r[i], i);
    }
}

TEST(ColocateVertices, WeldSimilarVerticesClosesASoupOfPerCornerVertices)
{
    // Oracle: an invariant. A sphere stored with three vertices per triangle welds back to the
    // closed, oriented sphere with the original vertex count.
    const oxtest::Soup sphere = oxtest::toSoup(*oxtest::sphere(12, 16, 1.0f));
    oxtest::Soup soup;
    for (unsigned index : sphere.t) {
        soup.p.push_back(sphere.p[index]);
        soup.t.push_back(unsigned(soup.t.size()));
    }
    oxtest::MeshPtr mesh = oxtest::toMesh(soup);
    const unsigned merged = mp::WeldSimilarVertices(*mesh, 0.0f);
    EXPECT_EQ(merged, soup.p.size() - sphere.p.size());
    const oxtest::Soup welded = oxtest::toSoup(*mesh);
    EXPECT_TRUE(oxtest::closedOrientedManifold(welded));
    EXPECT_EQ(welded.p.size(), sphere.p.size());
}

TEST(FindBoundaryVertices, EndsOfSingleUseEdgesByBruteForce)
{
    // Oracle: the brute-force edge counts of the support topology checker.
    for (const oxtest::Soup& soup :
         {oxtest::grid(6, 0.1f), oxtest::cylinder(9, 4, 1.0f, 2.0f),
          oxtest::toSoup(*oxtest::sphere(8, 8, 1.0f)), oxtest::tetrahedronWithFin()}) {
        std::vector<bool> expected(soup.p.size(), false);
        for (const auto& [edge, uses] : oxtest::edgeUses(soup))
            if (uses == 1)
                expected[edge.first] = expected[edge.second] = true;
        EXPECT_EQ(mp::FindBoundaryVertices(*oxtest::toMesh(soup)), expected);
        EXPECT_EQ(mp::FindBoundaryVertices(soup.t.data(), soup.t.size() / 3, soup.p.size()), expected);
    }
}

}  // namespace
