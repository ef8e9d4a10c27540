// Clean-up operations against brute force and hand-made cases.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <random>
#include <set>

#include "oxMeshProcessing.h"
#include "support/Shapes.h"

using namespace oxtest;
namespace mp = ox::oxMeshProcessing;

namespace {

Soup twoSpheres(bool secondInside)
{
    Soup a = toSoup(*sphere(8, 8, 1.0f));
    Soup b = toSoup(*sphere(8, 8, 1.0f, false, false, secondInside));
    const unsigned offset = unsigned(a.p.size());
    for (Vec3 p : b.p)
        a.p.push_back(p + Vec3(5, 0, 0));
    for (unsigned i : b.t)
        a.t.push_back(i + offset);
    return a;
}

float smallestAngle(const Soup& s)
{
    float best = 10.0f;
    for (std::size_t t = 0; t < s.t.size() / 3; ++t)
        for (int k = 0; k < 3; ++k) {
            Vec3 u = s.p[s.t[3 * t + (k + 1) % 3]] - s.p[s.t[3 * t + k]],
                 v = s.p[s.t[3 * t + (k + 2) % 3]] - s.p[s.t[3 * t + k]];
            best = std::min(best,
                            std::acos(std::max(-1.0f, std::min(1.0f, u.Dot(v) / (u.Length() * v.Length())))));
        }
    return best;
}

}  // namespace

TEST(RecomputeNormals, AccumulatesIntoExistingNormals)
{
    Soup s;
    s.p = {Vec3(0, 0, 0), Vec3(1, 0, 0), Vec3(0, 1, 0)};
    s.t = {0, 1, 2};
    MeshPtr m = toMesh(s, true);
    ox::oxVertexBuffer* vb = m->GetVertexBuffer();
    vb->Normal3(0) = Vec3(0, 0, 1);   // same direction: unchanged
    vb->Normal3(1) = Vec3(10, 0, 0);  // arbitrary old normal biases the result
    mp::RecomputeNormals(*m);
    EXPECT_EQ(vb->Normal3(0), Vec3(0, 0, 1));
    Vec3 expected = Vec3(10, 0, 0) + Vec3(0, 0, 0.7853982f);  // 45-degree corner at vertex 1
    expected.Normalize();
    EXPECT_NEAR((vb->Normal3(1) - expected).Length(), 0.0f, 1e-5f);
    EXPECT_NEAR((vb->Normal3(2) - Vec3(0, 0, 1)).Length(), 0.0f, 1e-6f);
    MeshPtr plain = toMesh(s);  // no normal channel: no change, no crash
    mp::RecomputeNormals(*plain);
}

TEST(EraseComponentsWithInvertedNormals, KeepsOnlyOutwardSphereRenumbered)
{
    for (bool reversedFirst : {false, true}) {
        Soup s = twoSpheres(true);
        if (reversedFirst) {  // put the reversed sphere first so the kept one is renumbered
            Soup inner = toSoup(*sphere(8, 8, 1.0f, false, false, true)), outer = toSoup(*sphere(8, 8, 1.0f));
            s = inner;
            const unsigned offset = unsigned(s.p.size());
            for (Vec3 p : outer.p)
                s.p.push_back(p + Vec3(5, 0, 0));
            for (unsigned i : outer.t)
                s.t.push_back(i + offset);
        }
        MeshPtr m = toMesh(s, true);
        mp::EraseComponentsWithInvertedNormals(*m);
        const Soup out = toSoup(*m);
        const Soup outward = toSoup(*sphere(8, 8, 1.0f));
        ASSERT_EQ(out.p.size(), outward.p.size());
        EXPECT_EQ(out.t, outward.t);
        for (std::size_t v = 0; v < out.p.size(); ++v)
            EXPECT_EQ(out.p[v], outward.p[v] + Vec3(reversedFirst ? 5.0f : 0.0f, 0, 0));
        EXPECT_TRUE(m->GetVertexBuffer()->GetAttributes().HasNormal());
    }
    MeshPtr both = toMesh(twoSpheres(false));
    mp::EraseComponentsWithInvertedNormals(*both);
    EXPECT_EQ(toSoup(*both).t.size(), twoSpheres(false).t.size());
}

TEST(CheckMeshSanity, IndexCountAndRange)
{
    Soup s;
    s.p = {Vec3(0, 0, 0), Vec3(1, 0, 0), Vec3(0, 1, 0)};
    s.t = {0, 1};
    EXPECT_FALSE(mp::CheckMeshSanity(*toMesh(s)));
    s.t = {0, 1, 2, 1};
    EXPECT_TRUE(mp::CheckMeshSanity(*toMesh(s)));
    s.t = {0, 1, 3};
    EXPECT_FALSE(mp::CheckMeshSanity(*toMesh(s)));
}

TEST(Components, ClusterAndKeepLargest)
{
    Soup s = twoSpheres(false);
    Soup small = toSoup(*sphere(5, 5, 0.5f));
    const unsigned offset = unsigned(s.p.size());
    for (Vec3 p : small.p)
        s.p.push_back(p + Vec3(-5, 0, 0));
    for (unsigned i : small.t)
        s.t.push_back(i + offset);
    std::vector<unsigned> labels;
    EXPECT_EQ(mp::ClusterizeConnectedComponents(*toMesh(s), labels), 3u);
    EXPECT_EQ(labels.front(), 0u);
    EXPECT_EQ(labels.back(), 2u);
    MeshPtr m = toMesh(s);
    mp::KeepSingleConnectedComponent(*m);
    EXPECT_EQ(toSoup(*m).t, toSoup(*sphere(8, 8, 1.0f)).t);  // first of the two equal largest
}

TEST(WeldSimilarVertices, MatchesBruteForce)
{
    std::mt19937 rng(7);
    std::uniform_int_distribution<int> pick(0, 29);
    std::normal_distribution<float> jitter(0.0f, 0.004f);
    Soup s;
    std::vector<Vec3> base;
    std::uniform_real_distribution<float> u(0.0f, 1.0f);
    for (int i = 0; i < 30; ++i)
        base.push_back(Vec3(u(rng), u(rng), u(rng)));
    for (int i = 0; i < 300; ++i)
        s.p.push_back(base[pick(rng)] + Vec3(jitter(rng), jitter(rng), jitter(rng)));
    for (int i = 0; i < 200; ++i)
        s.t.insert(s.t.end(),
                   {unsigned(3 * i % 300), unsigned((3 * i + 1) % 300), unsigned((3 * i + 2) % 300)});
    const float tol = 0.01f;
    // Brute force: each vertex joins the lowest earlier representative within tol.
    std::vector<unsigned> rep(s.p.size());
    std::vector<unsigned> reps;
    for (unsigned v = 0; v < s.p.size(); ++v) {
        rep[v] = v;
        for (unsigned r : reps)
            if ((s.p[r] - s.p[v]).Length() <= tol) {
                rep[v] = r;
                break;
            }
        if (rep[v] == v)
            reps.push_back(v);
    }
    std::vector<std::array<Vec3, 3>> expected;
    for (std::size_t t = 0; t < s.t.size() / 3; ++t) {
        const unsigned a = rep[s.t[3 * t]], b = rep[s.t[3 * t + 1]], c = rep[s.t[3 * t + 2]];
        if (a != b && b != c && a != c)
            expected.push_back({s.p[a], s.p[b], s.p[c]});
    }
    MeshPtr m = toMesh(s);
    EXPECT_EQ(mp::WeldSimilarVertices(*m, tol), unsigned(s.p.size() - reps.size()));
    const Soup out = toSoup(*m);
    ASSERT_EQ(out.t.size() / 3, expected.size());
    for (std::size_t t = 0; t < expected.size(); ++t)
        for (int k = 0; k < 3; ++k)
            EXPECT_EQ(out.p[out.t[3 * t + k]], expected[t][k]);
}

TEST(RemoveDuplicateTriangles, MatchesBruteForce)
{
    Soup s;
    for (int i = 0; i < 6; ++i)
        s.p.push_back(Vec3(float(i), float(i * i % 5), 0));
    std::mt19937 rng(3);
    std::uniform_int_distribution<unsigned> pick(0, 5);
    for (int i = 0; i < 120; ++i) {
        unsigned a = pick(rng), b = pick(rng), c = pick(rng);
        if (a == b || b == c || a == c)
            continue;
        s.t.insert(s.t.end(), {a, b, c});
    }
    std::vector<unsigned> expected;
    std::set<std::multiset<unsigned>> seen;
    for (std::size_t t = 0; t < s.t.size() / 3; ++t)
        if (seen.insert({s.t[3 * t], s.t[3 * t + 1], s.t[3 * t + 2]}).second)
            expected.insert(expected.end(), {s.t[3 * t], s.t[3 * t + 1], s.t[3 * t + 2]});
    MeshPtr m = toMesh(s);
    EXPECT_EQ(mp::RemoveDuplicateTriangles(*m), unsigned((s.t.size() - expected.size()) / 3));
    EXPECT_EQ(toSoup(*m).t, expected);
    EXPECT_EQ(toSoup(*m).p.size(), s.p.size());
}

TEST(FlipEdges, ImprovesMinimumAngleWithoutBreakingTopology)
{
    // A grid sheared so that the chosen diagonals make thin triangles.
    Soup g = grid(8, 1.0f);
    for (Vec3& p : g.p)
        p = Vec3(p.X() + 0.8f * p.Y(), 0.3f * p.Y(), 0);
    const float before = smallestAngle(g);
    MeshPtr m = toMesh(g);
    mp::FlipEdges(*m);
    const Soup out = toSoup(*m);
    EXPECT_GT(smallestAngle(out), before);
    EXPECT_EQ(checkTopology(out).nonManifoldEdges, 0u);
    for (std::size_t t = 0; t < out.t.size() / 3; ++t)
        EXPECT_GT(faceNormal(out, t).Z(), 0.0f);
    EXPECT_EQ(eulerCharacteristic(out), eulerCharacteristic(g));
    Soup closed = toSoup(*sphere(20, 20, 1.0f));
    MeshPtr sm = toMesh(closed);
    mp::FlipEdges(*sm);
    EXPECT_TRUE(closedOrientedManifold(toSoup(*sm)));
}

TEST(SafeLaplacianSmoothing, NeverFlipsATriangle)
{
    std::mt19937 rng(11);
    std::normal_distribution<float> noise(0.0f, 0.08f);
    Soup s = toSoup(*sphere(20, 20, 1.0f));
    for (Vec3& p : s.p)
        p += Vec3(noise(rng), noise(rng), noise(rng));
    MeshPtr m = toMesh(s);
    mp::SafeLaplacianSmoothing(*m, 20, 0.9f, nullptr);
    const Soup out = toSoup(*m);
    for (std::size_t t = 0; t < s.t.size() / 3; ++t)
        EXPECT_GT(faceNormal(out, t).Dot(faceNormal(s, t)), 0.0f);
    EXPECT_NE(out.p, s.p);
    std::vector<bool> locked(s.p.size(), true);
    MeshPtr l = toMesh(s);
    mp::SafeLaplacianSmoothing(*l, 3, 0.5f, &locked);
    EXPECT_EQ(toSoup(*l).p, s.p);
}

TEST(Filter, RunsTheDocumentedSequence)
{
    Soup s = twoSpheres(false);
    Soup extra = toSoup(*sphere(30, 30, 2.0f));
    const unsigned offset = unsigned(s.p.size());
    for (Vec3 p : extra.p)
        s.p.push_back(p + Vec3(0, 9, 0));
    for (unsigned i : extra.t)
        s.t.push_back(i + offset);
    MeshPtr zeroSource = toMesh(s);
    ox::oxPointer<ox::oxGeometry> zero =
        new ox::oxGeometry(zeroSource->GetVertexBuffer(), zeroSource->GetIndexBuffer());
    mp::Filter(*zero, true, 0);
    MeshPtr largest = toMesh(s);
    mp::KeepSingleConnectedComponent(*largest);
    EXPECT_EQ(toSoup(*zero).t, toSoup(*largest).t);
    EXPECT_EQ(toSoup(*zero).p, toSoup(*largest).p);

    MeshPtr src = toMesh(s);
    ox::oxPointer<ox::oxGeometry> three = new ox::oxGeometry(src->GetVertexBuffer(), src->GetIndexBuffer());
    mp::Filter(*three, true, 3);
    MeshPtr manual = toMesh(s);
    mp::KeepSingleConnectedComponent(*manual);
    for (int i = 0; i < 3; ++i) {
        mp::SafeLaplacianSmoothing(*manual, 5, 0.2f, nullptr);
        mp::FlipEdges(*manual);
        if (i == 0)
            mp::HQEdgeCollapse(*manual, nullptr);
    }
    EXPECT_EQ(toSoup(*three).t, toSoup(*manual).t);
    EXPECT_EQ(toSoup(*three).p, toSoup(*manual).p);
    EXPECT_TRUE(closedOrientedManifold(toSoup(*three)));
}
