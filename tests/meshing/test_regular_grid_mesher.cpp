// The regular-grid mesher on analytic potentials (exact answers) and on sampled clouds
// through both point-set surfaces: closed, consistently oriented output, vertices on the
// true surface, each grid corner evaluated once, the printed lines, the depth clamp and
// the process-wide face tables.
//
// The face tables are fixed by the first computeMesh of a process, so every in-process
// test here uses kDepth; tests that need other depths run in a fresh process (death
// tests in "threadsafe" style re-execute the binary).
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <iostream>
#include <limits>
#include <map>
#include <memory>
#include <tuple>

#include "oxAPSSSurface.h"
#include "oxRIMLSSurface.h"
#include "oxRegularGridSurfaceMesher.h"
#include "scenegraph/oxGeometry.h"
#include "scenegraph/oxIndexBuffer.h"
#include "scenegraph/oxVertexBuffer.h"
#include "support/CaptureStdout.h"
#include "support/Clouds.h"
#include "support/Topology.h"

using oxtest::Vec3;

namespace {

constexpr unsigned kDepth = 5;

// An analytic potential over a handful of points (which only set the grid's bounding cube
// and the seed cells); records every evaluated position.
class tAnalyticSurface : public ox::oxPointSetSurface {
public:
    enum Shape { SPHERE, TORUS, CONSTANT, CUT_SPHERE };
    tAnalyticSurface(const ox::oxPointSetQuery* query, Shape shape, float a, float b)
        : ox::oxPointSetSurface(query), m_shape(shape), m_a(a), m_b(b)
    {}
    float computePotential(const Vec3& x) const override
    {
        ++evaluations[std::make_tuple(x.X(), x.Y(), x.Z())];
        switch (m_shape) {
        case SPHERE:
            return x.Length() - m_a;
        case TORUS:
            return oxtest::torusDistance(x, m_a, m_b);
        // The sphere of radius a where x < b; beyond the plane x = b the surface is undefined
        // (+infinity), as a point-set surface is outside every point's support.
        case CUT_SPHERE:
            return x.X() < m_b ? x.Length() - m_a : std::numeric_limits<float>::infinity();
        default:
            return m_a;
        }
    }
    Vec3 computeGradient(const Vec3&) override { return Vec3(); }
    Vec3 projectOntoSurface(const Vec3& x, const Vec3*, unsigned int) const override { return x; }
    mutable std::map<std::tuple<float, float, float>, int> evaluations;

private:
    Shape m_shape;
    float m_a, m_b;
};

// Points with a point size of kSize at the given positions (normals unused). The size
// pads the grid by several cells, as real point radii do: a point in the top cell layer
// would see its clamped corners coincide.
constexpr float kSize = 0.2f;
std::unique_ptr<oxtest::tCloud> seedPoints(const std::vector<Vec3>& p)
{
    return oxtest::makeCloud(p, std::vector<Vec3>(p.size(), Vec3(0.0f, 0.0f, 1.0f)), kSize);
}

struct tMeshResult {
    std::vector<unsigned> triangles;
    std::vector<Vec3> vertices;
    std::string output;
};

tMeshResult mesh(const ox::oxPointSetSurface& surface, unsigned depth)
{
    ox::oxRegularGridSurfaceMesher mesher(&surface);
    mesher.setDepth(depth);
    tMeshResult r;
    ox::oxPointer<ox::oxGeometry> geometry;
    r.output =
        oxtest::capturedStdout([&] { geometry = ox::oxPointer<ox::oxGeometry>(mesher.computeMesh()); });
    const ox::oxIndexBuffer& ib = *geometry->GetIndexBuffer();
    const ox::oxVertexBuffer& vb = *geometry->GetVertexBuffer();
    for (int i = 0; i < ib.GetIndexQuantity(); ++i)
        r.triangles.push_back(ib[i]);
    for (int i = 0; i < vb.GetVertexQuantity(); ++i) {
        r.vertices.push_back(vb.Position3(i));
        EXPECT_EQ(vb.Normal3(i), Vec3(0.0f, 0.0f, 0.0f)) << "normals are not written";
    }
    return r;
}

// The sphere of radius 0.5 at the origin as the analytic surface sees it, with a few
// points on it (one is enough to seed; growth finds the rest).
std::vector<Vec3> fewSpherePoints()
{
    return {Vec3(0.5f, 0.0f, 0.0f), Vec3(-0.6f, -0.6f, -0.6f), Vec3(0.6f, 0.6f, 0.6f)};
}

double cellSize(const std::vector<Vec3>& points, float pointSize, unsigned depth)
{
    float lo = 1e9f, hi = -1e9f;
    float extent = 0;
    for (int a = 0; a < 3; ++a) {
        lo = 1e9f;
        hi = -1e9f;
        for (const Vec3& p : points) {
            lo = std::min(lo, p[a] - pointSize);
            hi = std::max(hi, p[a] + pointSize);
        }
        extent = std::max(extent, hi - lo);
    }
    return extent / double(1u << depth);
}

}  // namespace

TEST(RegularGridMesher, AnalyticSphereIsClosedOutwardAndExact)
{
    auto cloud = seedPoints(fewSpherePoints());
    const tAnalyticSurface surface(cloud->query.get(), tAnalyticSurface::SPHERE, 0.5f, 0.0f);
    const tMeshResult r = mesh(surface, kDepth);
    ASSERT_GT(r.triangles.size(), 300u);
    const oxtest::tTopology t = oxtest::checkTopology(r.triangles);
    EXPECT_TRUE(t.closedAndOriented()) << t.badEdges << " bad edges";
    EXPECT_EQ(t.euler, 2) << "a sphere";
    const double volume = oxtest::signedVolume(r.triangles, [&](unsigned v) { return r.vertices[v]; });
    EXPECT_NEAR(volume, 4.0 / 3.0 * M_PI * 0.125, 0.02) << "positive: triangles face outwards";
    const double cell = cellSize(fewSpherePoints(), kSize, kDepth);
    for (const Vec3& v : r.vertices)
        EXPECT_NEAR(v.Length(), 0.5f, 0.002 * cell);
    // Each grid corner, cell centre and bisection point is evaluated once.
    for (const auto& e : surface.evaluations)
        ASSERT_EQ(e.second, 1);
    // Messages: iterations numbered from 0, then the two fixed lines.
    EXPECT_EQ(r.output.rfind("iteration :0\n", 0), 0u) << r.output;
    EXPECT_NE(r.output.find("iteration :1\n"), std::string::npos);
    const std::string tail = "searching precise surface position\ndone\n";
    ASSERT_GE(r.output.size(), tail.size());
    EXPECT_EQ(r.output.substr(r.output.size() - tail.size()), tail);
}

TEST(RegularGridMesher, AnalyticTorusHasGenusOne)
{
    const float R = 0.55f, rr = 0.2f;
    auto cloud = seedPoints({Vec3(R + rr, 0.0f, 0.0f), Vec3(-0.8f, -0.8f, 0.3f), Vec3(0.8f, 0.8f, -0.3f)});
    const tAnalyticSurface surface(cloud->query.get(), tAnalyticSurface::TORUS, R, rr);
    const tMeshResult r = mesh(surface, kDepth);
    const oxtest::tTopology t = oxtest::checkTopology(r.triangles);
    EXPECT_TRUE(t.closedAndOriented()) << t.badEdges << " bad edges";
    EXPECT_EQ(t.euler, 0) << "genus 1";
    const double volume = oxtest::signedVolume(r.triangles, [&](unsigned v) { return r.vertices[v]; });
    EXPECT_NEAR(volume, 2.0 * M_PI * M_PI * R * rr * rr, 0.02);
    for (const Vec3& v : r.vertices)
        EXPECT_NEAR(oxtest::torusDistance(v, R, rr), 0.0f, 2e-4f);
}

TEST(RegularGridMesher, CellsWithAnInfiniteCentreDoNotGrow)
{
    // Grid: the points' cube is [-0.8, 0.8]^3, 32 cells of 0.05 per axis, so the cells cut by
    // the plane x = b span [0.2, 0.25] with their centres at x = 0.225. Where the sphere is cut
    // off, the surface continues as a wall x = b between its negative inside and +infinity.
    const std::vector<Vec3> points = {Vec3(-0.5f, 0.0f, 0.0f), Vec3(-0.6f, -0.6f, -0.6f),
                                      Vec3(0.6f, 0.6f, 0.6f)};
    auto cloud = seedPoints(points);
    ASSERT_NEAR(cellSize(points, kSize, kDepth), 0.05, 1e-6);

    // Wall beyond those centres (b = 0.24): the wall cells grow along it and close the surface.
    const tAnalyticSurface beyond(cloud->query.get(), tAnalyticSurface::CUT_SPHERE, 0.5f, 0.24f);
    const tMeshResult closed = mesh(beyond, kDepth);
    const oxtest::tTopology tc = oxtest::checkTopology(closed.triangles);
    EXPECT_TRUE(tc.closedAndOriented()) << tc.badEdges << " bad edges";
    EXPECT_EQ(tc.euler, 2) << "a capped sphere";

    // Wall before them (b = 0.21): the wall cells' centres are infinite, they are kept but do not
    // grow, so the wall stays open; every unmatched edge lies in those cells.
    const tAnalyticSurface before(cloud->query.get(), tAnalyticSurface::CUT_SPHERE, 0.5f, 0.21f);
    const tMeshResult open = mesh(before, kDepth);
    ASSERT_GT(open.triangles.size(), 300u);
    std::map<std::pair<unsigned, unsigned>, int> directed;
    for (std::size_t f = 0; f < open.triangles.size(); f += 3)
        for (int e = 0; e < 3; ++e)
            ++directed[{open.triangles[f + e], open.triangles[f + (e + 1) % 3]}];
    std::size_t unmatched = 0;
    for (const auto& d : directed) {
        EXPECT_EQ(d.second, 1);
        if (directed.count({d.first.second, d.first.first}))
            continue;
        ++unmatched;
        for (unsigned v : {d.first.first, d.first.second})
            EXPECT_GE(open.vertices[v].X(), 0.2f - 1e-5f);
    }
    EXPECT_GT(unmatched, 0u);
    for (const auto& e : before.evaluations)
        ASSERT_EQ(e.second, 1);
}

TEST(RegularGridMesher, ConstantFieldsGiveNoTriangles)
{
    auto cloud = seedPoints(fewSpherePoints());
    for (float value : {1.0f, -1.0f}) {
        const tAnalyticSurface surface(cloud->query.get(), tAnalyticSurface::CONSTANT, value, 0.0f);
        const tMeshResult r = mesh(surface, kDepth);
        EXPECT_TRUE(r.triangles.empty());
        EXPECT_TRUE(r.vertices.empty());
        EXPECT_EQ(r.output, "searching precise surface position\ndone\n") << "no growth, no iteration";
        // Only the seed cells' corners were evaluated: 3 separate cells, 24 corners.
        EXPECT_EQ(surface.evaluations.size(), 24u);
    }
}

namespace {

// Reconstructs a sampled cloud through a point-set surface and checks the result
// against the analytic distance; returns the largest vertex error in cell units.
template <class Surface, class Distance>
double reconstruct(const oxtest::tCloud& cloud, const Distance& distance, long euler, double tolerance)
{
    const Surface surface(cloud.query.get());
    const ox::oxVertexBuffer& pts = *cloud.query->getVertices();
    std::vector<Vec3> p;
    float size = 0;
    for (int i = 0; i < pts.GetVertexQuantity(); ++i) {
        p.push_back(pts.Position3(i));
        size = std::max(size, pts.PSize1(i));
    }
    const tMeshResult r = mesh(surface, kDepth);
    const oxtest::tTopology t = oxtest::checkTopology(r.triangles);
    EXPECT_TRUE(t.closedAndOriented()) << t.badEdges << " bad edges";
    EXPECT_EQ(t.euler, euler);
    EXPECT_GT(oxtest::signedVolume(r.triangles, [&](unsigned v) { return r.vertices[v]; }), 0.0);
    double worst = 0;
    const double cell = cellSize(p, 0.0f, kDepth);  // lower bound of the true cell size
    for (const Vec3& v : r.vertices)
        worst = std::max(worst, std::fabs(distance(v)) / cell);
    EXPECT_LT(worst, tolerance);
    return worst;
}

}  // namespace

TEST(RegularGridMesher, SampledSphereAndTorusThroughBothSurfaces)
{
    auto sphere = oxtest::sphereCloud(6000, Vec3(0.0f, 0.0f, 0.0f), 0.5f);
    auto sphereDistance = [](const Vec3& v) { return v.Length() - 0.5f; };
    const float R = 0.6f, rr = 0.25f;
    auto torus = oxtest::torusCloud(160, 64, R, rr);
    auto torusDistance = [&](const Vec3& v) { return oxtest::torusDistance(v, R, rr); };
    const double apssSphere = reconstruct<ox::oxAPSSSurface>(*sphere, sphereDistance, 2, 0.02);
    const double apssTorus = reconstruct<ox::oxAPSSSurface>(*torus, torusDistance, 0, 0.01);
    const double rimlsSphere = reconstruct<ox::oxRIMLSSurface>(*sphere, sphereDistance, 2, 0.1);
    const double rimlsTorus = reconstruct<ox::oxRIMLSSurface>(*torus, torusDistance, 0, 0.1);
    RecordProperty("apss_sphere_error_per_cell", std::to_string(apssSphere));
    RecordProperty("apss_torus_error_per_cell", std::to_string(apssTorus));
    RecordProperty("rimls_sphere_error_per_cell", std::to_string(rimlsSphere));
    RecordProperty("rimls_torus_error_per_cell", std::to_string(rimlsTorus));
}

namespace {

// Closedness of the analytic sphere meshed at `depth` in this process.
bool sphereClosedAt(unsigned depth, std::size_t* triangles = nullptr)
{
    auto cloud = seedPoints(fewSpherePoints());
    const tAnalyticSurface surface(cloud->query.get(), tAnalyticSurface::SPHERE, 0.5f, 0.0f);
    const tMeshResult r = mesh(surface, depth);
    if (triangles)
        *triangles = r.triangles.size();
    return oxtest::checkTopology(r.triangles).closedAndOriented();
}

// A small sphere far inside a large cube: cheap even at depth 10.
std::size_t smallSphereTriangles(unsigned depth)
{
    auto cloud = seedPoints({Vec3(0.02f, 0.0f, 0.0f), Vec3(-1.0f, -1.0f, -1.0f), Vec3(1.0f, 1.0f, 1.0f)});
    const tAnalyticSurface surface(cloud->query.get(), tAnalyticSurface::SPHERE, 0.02f, 0.0f);
    const tMeshResult r = mesh(surface, depth);
    if (!oxtest::checkTopology(r.triangles).closedAndOriented())
        return 0;
    return r.triangles.size();
}

}  // namespace

TEST(RegularGridMesherFreshProcess, DepthIsClampedToOneAndTen)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            const bool same = smallSphereTriangles(0) == smallSphereTriangles(1);
            std::exit(same ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "");
    EXPECT_EXIT(
        {
            const std::size_t ten = smallSphereTriangles(10);
            const bool same =
                ten > 1000 && smallSphereTriangles(11) == ten && smallSphereTriangles(40) == ten;
            std::exit(same ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "");
}

TEST(RegularGridMesherFreshProcess, FaceTablesComeFromTheFirstCall)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    // Alone, depth 4 gives a closed sphere.
    EXPECT_EXIT(std::exit(sphereClosedAt(4) ? 0 : 1), ::testing::ExitedWithCode(0), "");
    // After a depth-2 call, depth 4 tests its faces against the 4-cell grid's boundaries:
    // growth stops at every fourth plane and the sphere is left open.
    EXPECT_EXIT(
        {
            sphereClosedAt(2);
            std::size_t triangles = 0;
            const bool closed = sphereClosedAt(4, &triangles);
            std::exit(!closed && triangles > 0 ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "");
}
