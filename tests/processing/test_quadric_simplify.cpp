// QuadricSimplify against shapes whose right answer is known: a subdivided cube must come back
// to its 8 corners, a flat patch must keep its plane, outline and area, spheres and tori must
// stay closed on their analytic surface; plus its refusals and guarantees.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <sstream>

#include "oxMeshProcessing.h"
#include "support/CaptureStdout.h"
#include "support/DataPaths.h"
#include "support/MeshFiles.h"
#include "support/Shapes.h"

namespace {

using namespace oxtest;
namespace mp = ox::oxMeshProcessing;

/// Runs QuadricSimplify; returns what it printed.
std::string simplify(ox::oxTriMesh& m, unsigned target,
                     float maxError = std::numeric_limits<float>::infinity(),
                     mp::tEdgeCollapseReport* report = nullptr, const std::vector<bool>* locked = nullptr)
{
    CaptureStdout captured;
    mp::tQuadricSimplifyOptions options;
    options.targetTriangleCount = target;
    options.maxError = maxError;
    options.lockedVertices = locked;
    mp::QuadricSimplify(m, options, nullptr, report);
    return captured.text();
}

TEST(QuadricSimplify, SubdividedCubeReturnsToItsCorners)
{
    const Soup cube = subdividedCube(6);
    ASSERT_TRUE(closedOrientedManifold(cube));
    MeshPtr m = toMesh(cube);
    mp::tEdgeCollapseReport report;
    // Every collapse inside a face or along an edge of the cube is free; moving a corner is not.
    simplify(*m, 0, 1e-5f, &report);
    const Soup out = toSoup(*m);
    EXPECT_EQ(report.stop, mp::tCollapseStop::ErrorBoundReached);
    EXPECT_EQ(out.t.size() / 3, 12u);
    EXPECT_EQ(out.p.size(), 8u);
    for (const Vec3& p : out.p)
        for (int k = 0; k < 3; ++k)
            EXPECT_NEAR(std::min(std::fabs(p[k]), std::fabs(p[k] - 1.0f)), 0.0f, 1e-5f);
    EXPECT_TRUE(closedOrientedManifold(out));
    EXPECT_NEAR(area(out), 6.0, 1e-4);
}

TEST(QuadricSimplify, FlatPatchKeepsItsPlaneOutlineAndArea)
{
    const Soup patch = grid(20, 0.5f);  // 10 x 10 square, 800 triangles
    MeshPtr m = toMesh(patch);
    mp::tEdgeCollapseReport report;
    simplify(*m, 2, std::numeric_limits<float>::infinity(), &report);
    const Soup out = toSoup(*m);
    EXPECT_LE(out.t.size() / 3, 8u) << "a flat square needs only two triangles";
    EXPECT_EQ(eulerCharacteristic(out), 1);
    EXPECT_NEAR(area(out), 100.0, 1e-3);
    for (const Vec3& p : out.p) {
        EXPECT_EQ(p.Z(), 0.0f);
        // On the outline: the border planes hold border vertices on the square's sides.
        const float toSide = std::min(
            {std::fabs(p.X()), std::fabs(p.X() - 10.0f), std::fabs(p.Y()), std::fabs(p.Y() - 10.0f)});
        EXPECT_LT(toSide, 1e-4f) << p.X() << " " << p.Y();
    }
    for (const Vec3 corner : {Vec3(0, 0, 0), Vec3(10, 0, 0), Vec3(10, 10, 0), Vec3(0, 10, 0)}) {
        float nearest = std::numeric_limits<float>::max();
        for (const Vec3& p : out.p)
            nearest = std::min(nearest, (p - corner).Length());
        EXPECT_LT(nearest, 1e-4f) << corner.X() << " " << corner.Y();
    }
    expectNoFoldOver(patch, out);
}

/// Simplifies to `ratio`, checks the topology and returns the simplified soup.
Soup expectClosedAtTarget(const Soup& input, float ratio)
{
    EXPECT_TRUE(closedOrientedManifold(input));
    MeshPtr m = toMesh(input);
    const unsigned target = unsigned(ratio * input.t.size() / 3);
    mp::tEdgeCollapseReport report;
    simplify(*m, target, std::numeric_limits<float>::infinity(), &report);
    const Soup out = toSoup(*m);
    EXPECT_EQ(report.stop, mp::tCollapseStop::TargetReached);
    EXPECT_GE(out.t.size() / 3, target);
    EXPECT_LE(out.t.size() / 3, target + 1);
    EXPECT_EQ(report.trianglesAfter, out.t.size() / 3);
    EXPECT_TRUE(closedOrientedManifold(out));
    EXPECT_EQ(eulerCharacteristic(out), eulerCharacteristic(input));
    return out;
}

TEST(QuadricSimplify, SphereAndTorusStayClosedOnTheirSurface)
{
    const Soup ball = toSoup(*sphere(40, 40, 1.0f));
    const Soup sphereOut = expectClosedAtTarget(ball, 0.1f);
    // 312 triangles: edges about 0.25 long, sagitta 0.008; merged vertices sit just outside.
    for (const Vec3& p : sphereOut.p)
        EXPECT_NEAR(p.Length(), 1.0f, 0.02f);
    expectNoFoldOver(ball, sphereOut);

    const Soup ring = torus(80, 30, 2.0f, 0.6f);
    // 480 triangles: edges about 0.4 long, chords within 0.03 of the tube.
    const Soup torusOut = expectClosedAtTarget(ring, 0.1f);
    for (const Vec3& p : torusOut.p) {
        const float fromAxis = std::sqrt(p.X() * p.X() + p.Y() * p.Y());
        EXPECT_NEAR(std::hypot(fromAxis - 2.0f, p.Z()), 0.6f, 0.03f);
    }
    expectNoFoldOver(ring, torusOut);
}

TEST(QuadricSimplify, RealClosedMeshesReachSmallTargetsWithoutFlips)
{
    for (const char* name : {"spot.obj", "fandisk.obj"}) {
        Soup mesh;
        ASSERT_TRUE(readObj(bundledData(std::string("meshes/") + name), mesh)) << name;
        expectNoFoldOver(mesh, expectClosedAtTarget(mesh, 0.02f), 1);
    }
}

TEST(QuadricSimplify, OpenMeshStaysManifoldWithItsTopology)
{
    Soup woody;
    ASSERT_TRUE(readObj(bundledData("meshes/woody.obj"), woody));
    MeshPtr m = toMesh(woody);
    simplify(*m, unsigned(woody.t.size() / 3 / 10));
    const Soup out = toSoup(*m);
    unsigned nonManifold = 0;
    for (const auto& e : edgeUses(out))
        nonManifold += e.second > 2;
    EXPECT_EQ(nonManifold, 0u);
    EXPECT_EQ(eulerCharacteristic(out), eulerCharacteristic(woody));
    expectNoFoldOver(woody, out, 1);
}

TEST(QuadricSimplify, RefusesWhatItCannotDo)
{
    // Above the count: unchanged.
    MeshPtr ball = sphere(10, 10, 1.0f);
    const Soup before = toSoup(*ball);
    mp::tEdgeCollapseReport report;
    simplify(*ball, 100000, std::numeric_limits<float>::infinity(), &report);
    EXPECT_EQ(report.stop, mp::tCollapseStop::TargetAboveCount);
    EXPECT_EQ(toSoup(*ball).t, before.t);

    // A tetrahedron has no legal collapse.
    MeshPtr tet = toMesh(tetrahedron());
    simplify(*tet, 0, std::numeric_limits<float>::infinity(), &report);
    EXPECT_EQ(report.stop, mp::tCollapseStop::NoLegalCollapse);
    EXPECT_EQ(tet->GetTriangleQuantity(), 4);

    // A third triangle on an edge, or a triangle naming a vertex twice: the message, no change.
    const std::string message = "Error while initializing edge collapse: input mesh is not manifold\n";
    const Soup fin = tetrahedronWithFin();
    MeshPtr finMesh = toMesh(fin);
    EXPECT_EQ(simplify(*finMesh, 0, 1.0f, &report), message);
    EXPECT_EQ(report.stop, mp::tCollapseStop::NotManifold);
    EXPECT_EQ(toSoup(*finMesh).t, fin.t);
    const Soup repeated = tetrahedronWithRepeatedCorner();
    MeshPtr repeatedMesh = toMesh(repeated);
    EXPECT_EQ(simplify(*repeatedMesh, 0), message);
}

TEST(QuadricSimplify, LockedVerticesStayAndRunsRepeat)
{
    const Soup ball = toSoup(*sphere(24, 24, 1.0f));
    std::vector<bool> locked(ball.p.size(), false);
    for (std::size_t v = 0; v < locked.size(); ++v)
        locked[v] = ball.p[v].Z() > 0.3f;
    MeshPtr first = toMesh(ball), second = toMesh(ball);
    simplify(*first, 150, std::numeric_limits<float>::infinity(), nullptr, &locked);
    simplify(*second, 150, std::numeric_limits<float>::infinity(), nullptr, &locked);
    const Soup out = toSoup(*first);
    for (std::size_t v = 0; v < ball.p.size(); ++v) {
        if (locked[v]) {
            EXPECT_NE(std::find(out.p.begin(), out.p.end(), ball.p[v]), out.p.end()) << v;
        }
    }
    EXPECT_TRUE(closedOrientedManifold(out));
    const Soup again = toSoup(*second);
    EXPECT_EQ(again.t, out.t);
    EXPECT_TRUE(std::equal(out.p.begin(), out.p.end(), again.p.begin(), again.p.end()));
}

}  // namespace
