// Quadric error metric and the edge-collapse driver: quadric values and placements against
// hand-built answers, the legality rules on small meshes, and topology and orientation on
// closed meshes and real scans.
#include <gtest/gtest.h>

#include <map>

#include <cmath>
#include <iostream>
#include <limits>
#include <sstream>

#include "oxMeshProcessing.h"
#include "support/CaptureStdout.h"
#include "support/DataPaths.h"
#include "support/MeshFiles.h"
#include "support/Shapes.h"

using namespace oxtest;
namespace mp = ox::oxMeshProcessing;

namespace {

/// Set-up of a collapse run outside the driver: edge table, identity parents, neighbour maps.
struct MetricRun {
    MeshPtr mesh;
    std::vector<mp::tEdge> edges;
    std::vector<unsigned> vparents, eparents;
    std::vector<mp::tNeighbourMap> maps;
    std::vector<float> costs;
    mp::oxQuadricErrorMetric metric{0.01f};

    explicit MetricRun(const Soup& s, float lambda = 0.01f) : mesh(toMesh(s)), metric(lambda)
    {
        ox::oxMeshProperties props(mesh.get());
        edges = props.edges().edges;
        vparents.resize(s.p.size());
        for (unsigned v = 0; v < vparents.size(); ++v)
            vparents[v] = v;
        eparents.resize(edges.size());
        maps.resize(s.p.size());
        for (unsigned e = 0; e < edges.size(); ++e) {
            eparents[e] = e;
            maps[edges[e].v0].insert(edges[e].v1, e);
            maps[edges[e].v1].insert(edges[e].v0, e);
        }
        metric.init(*mesh, edges, vparents, eparents, maps, costs);
    }
    unsigned edge(unsigned a, unsigned b) const { return maps[a].find(b); }
    float cost(unsigned e, Vec3& pos) const
    {
        return metric.estimateEdgeCost(e, *mesh, edges, vparents, eparents, maps, pos);
    }
};

float evalQuadric(const Wm4::Matrix4<float>& q, const Vec3& x)
{
    const float h[4] = {x.X(), x.Y(), x.Z(), 1.0f};
    float s = 0;
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c)
            s += h[r] * q(r, c) * h[c];
    return s;
}

/// Runs the collapse and returns the captured standard output.
std::string collapse(ox::oxTriMesh& m, unsigned target, float maxError,
                     mp::tEdgeCollapseReport* report = nullptr, const std::vector<bool>* locked = nullptr)
{
    oxtest::CaptureStdout captured;
    mp::oxQuadricErrorMetric metric(0.01f);
    mp::GenericEdgeCollapse(m, metric, target, maxError, locked, nullptr, report);
    return captured.text();
}

void expectClosedSimplification(const Soup& input, float ratio, unsigned allowedFlips = 0)
{
    ASSERT_TRUE(closedOrientedManifold(input));
    MeshPtr m = toMesh(input);
    const unsigned target = unsigned(ratio * input.t.size() / 3);
    mp::tEdgeCollapseReport report;
    collapse(*m, target, 1e30f, &report);
    const Soup out = toSoup(*m);
    EXPECT_TRUE(closedOrientedManifold(out));
    EXPECT_EQ(eulerCharacteristic(out), eulerCharacteristic(input));
    // The 10-triangle neighbourhood limit may stall the run before the target.
    EXPECT_LT(out.t.size(), input.t.size() / 2);
    if (report.stop == mp::tCollapseStop::TargetReached)
        EXPECT_LE(out.t.size() / 3, target + 1);
    else
        EXPECT_EQ(report.stop, mp::tCollapseStop::NoLegalCollapse);
    EXPECT_EQ(report.trianglesAfter, out.t.size() / 3);
    expectNoFoldOver(input, out, allowedFlips);
}

}  // namespace

TEST(QuadricErrorMetric, PlaneQuadricOfAWellShapedTriangle)
{
    Soup s;
    s.p = {Vec3(0, 0, 3), Vec3(2, 0, 3), Vec3(0, 2, 3)};
    s.t = {0, 1, 2};
    MetricRun run(s);
    EXPECT_EQ(run.metric.getCenter(), Vec3(1, 1, 3));
    EXPECT_FLOAT_EQ(run.metric.getHalfExtent(), 1.0f);
    // Plane z^ = 0 in normalised coordinates: Q = n n^T with n = (0, 0, 1, 0).
    const Wm4::Matrix4<float>& q = run.metric.getCostQuadric(1);
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c)
            EXPECT_FLOAT_EQ(q(r, c), (r == 2 && c == 2) ? 1.0f : 0.0f);
}

TEST(QuadricErrorMetric, LineQuadricOfAThinTriangle)
{
    Soup s;
    s.p = {Vec3(0, 0, 0), Vec3(10, 0, 0), Vec3(5, 0.1f, 0)};
    s.t = {0, 1, 2};
    MetricRun run(s);
    // Normalised: centre (5, 0.05, 0), half-extent 5; the line runs along x through the
    // centroid, whose normalised y is (-0.01 - 0.01 + 0.01) / 3.
    const float gy = -0.01f / 3.0f;
    for (const Vec3& x : {Vec3(0.3f, 0.5f, 0.2f), Vec3(-2, 1, -1), Vec3(0, gy, 0)}) {
        const float expected = 1000.0f * ((x.Y() - gy) * (x.Y() - gy) + x.Z() * x.Z());
        EXPECT_NEAR(evalQuadric(run.metric.getCostQuadric(0), x), expected, 1e-3f * (1 + expected));
    }
}

TEST(QuadricErrorMetric, OptimalPositionOnAPlaneIsTheMidpoint)
{
    Soup g = grid(6, 0.5f);
    for (Vec3& p : g.p)
        p = Vec3(p.X(), 0.3f * p.X() + 2.0f, p.Y());  // tilted plane y = 0.3 x + 2
    MetricRun run(g);
    const unsigned a = 3 * 7 + 3, b = a + 1;
    Vec3 pos;
    const float cost = run.cost(run.edge(a, b), pos);
    const Vec3 mid = (g.p[a] + g.p[b]) * 0.5f;
    EXPECT_NEAR(cost, 0.0f, 1e-6f);
    EXPECT_NEAR((pos - mid).Length(), 0.0f, 1e-4f);
}

TEST(QuadricErrorMetric, OptimalPositionOnACreaseLiesOnTheCrease)
{
    // Roof: two planes z = +-x meeting along the y axis; an edge along the crease.
    Soup g = grid(6, 1.0f);
    for (Vec3& p : g.p)
        p = Vec3(p.X() - 3.0f, p.Y(), -std::fabs(p.X() - 3.0f));
    MetricRun run(g);
    const unsigned a = 3 * 7 + 3, b = 4 * 7 + 3;  // (0, 3) and (0, 4): both on the crease
    Vec3 pos;
    const float cost = run.cost(run.edge(a, b), pos);
    EXPECT_NEAR(cost, 0.0f, 1e-5f);
    EXPECT_NEAR(pos.X(), 0.0f, 1e-4f);
    EXPECT_NEAR(pos.Z(), 0.0f, 1e-4f);
    EXPECT_NEAR(pos.Y(), 3.5f, 1e-3f);
}

TEST(QuadricErrorMetric, TenTrianglesAroundAnEdgeAreTheLimit)
{
    Soup g = grid(6, 1.0f);
    const unsigned a = 3 * 7 + 3, b = a + 1;  // interior, valency 6 + 6
    {
        MetricRun run(g);
        Vec3 pos;
        EXPECT_TRUE(std::isfinite(run.cost(run.edge(a, b), pos)));
    }
    // Split a triangle at a that does not touch b: a gets valency 7 (11 triangles around).
    const unsigned below = a - 7;  // triangle (below, below + 1, a) from the quad under a
    std::size_t tri = 0;
    for (; tri < g.t.size() / 3; ++tri) {
        const unsigned* c = &g.t[3 * tri];
        if (c[0] == below - 1 && c[1] == below && c[2] == a)
            break;
    }
    ASSERT_LT(tri, g.t.size() / 3);
    const unsigned c0 = g.t[3 * tri], c1 = g.t[3 * tri + 1], c2 = g.t[3 * tri + 2];
    const unsigned m = unsigned(g.p.size());
    g.p.push_back((g.p[c0] + g.p[c1] + g.p[c2]) / 3.0f);
    g.t[3 * tri + 2] = m;
    g.t.insert(g.t.end(), {c1, c2, m, c2, c0, m});
    MetricRun run(g);
    Vec3 pos;
    EXPECT_TRUE(std::isinf(run.cost(run.edge(a, b), pos)));
}

TEST(QuadricErrorMetric, FoldOverIsRejected)
{
    // Vertex 4 in the middle of a square fan, pulled almost onto the far corner side: moving it
    // to the midpoint of its edge towards a far corner would turn a fan triangle over.
    Soup s;
    s.p = {Vec3(0, 0, 0), Vec3(4, 0, 0), Vec3(4, 4, 0), Vec3(0, 4, 0), Vec3(3.6f, 3.9f, 0), Vec3(-3, 5, 0)};
    s.t = {0, 1, 4, 1, 2, 4, 2, 3, 4, 3, 0, 4, 3, 5, 0};
    MetricRun run(s);
    Vec3 pos;
    unsigned rejected = 0, accepted = 0;
    for (unsigned e = 0; e < run.edges.size(); ++e) {
        const float c = run.cost(e, pos);
        const unsigned a = run.edges[e].v0, b = run.edges[e].v1;
        bool flips = false;
        for (std::size_t t = 0; t < s.t.size() / 3; ++t) {
            Vec3 p[3], q[3];
            bool touches = false;
            for (int k = 0; k < 3; ++k) {
                p[k] = s.p[s.t[3 * t + k]];
                touches |= s.t[3 * t + k] == a || s.t[3 * t + k] == b;
                q[k] = (s.t[3 * t + k] == a || s.t[3 * t + k] == b) ? pos : p[k];
            }
            if (touches && (p[1] - p[0]).Cross(p[2] - p[0]).Dot((q[1] - q[0]).Cross(q[2] - q[0])) < 0)
                flips = true;
        }
        EXPECT_EQ(std::isinf(c), flips) << "edge " << a << "-" << b;
        (std::isinf(c) ? rejected : accepted) += 1;
    }
    EXPECT_GT(rejected, 0u);
    EXPECT_GT(accepted, 0u);
}

TEST(GenericEdgeCollapse, NothingHappensAboveTheCountOrWithBoundZero)
{
    MeshPtr m = sphere(10, 10, 1.0f);
    const Soup before = toSoup(*m);
    mp::tEdgeCollapseReport report;
    collapse(*m, 1000000, 1.0f, &report);
    EXPECT_EQ(report.stop, mp::tCollapseStop::TargetAboveCount);
    EXPECT_EQ(toSoup(*m).t, before.t);
    collapse(*m, 0, 0.0f, &report);
    EXPECT_EQ(report.stop, mp::tCollapseStop::ErrorBoundReached);
    EXPECT_EQ(report.collapses, 0u);
    EXPECT_EQ(toSoup(*m).t, before.t);
}

TEST(GenericEdgeCollapse, TetrahedronCannotCollapse)
{
    MeshPtr m = toMesh(tetrahedron());
    mp::tEdgeCollapseReport report;
    collapse(*m, 0, 1e30f, &report);
    EXPECT_EQ(report.collapses, 0u);
    EXPECT_EQ(report.stop, mp::tCollapseStop::NoLegalCollapse);
    EXPECT_EQ(m->GetTriangleQuantity(), 4);
}

TEST(GenericEdgeCollapse, NonManifoldInputIsRefusedWithTheMessage)
{
    const std::string message = "Error while initializing edge collapse: input mesh is not manifold\n";
    const Soup fin = tetrahedronWithFin();
    MeshPtr m = toMesh(fin);
    mp::tEdgeCollapseReport report;
    EXPECT_EQ(collapse(*m, 0, 1e30f, &report), message);
    EXPECT_EQ(report.stop, mp::tCollapseStop::NotManifold);
    EXPECT_EQ(toSoup(*m).t, fin.t);
    const Soup repeated = tetrahedronWithRepeatedCorner();
    MeshPtr r = toMesh(repeated);
    EXPECT_EQ(collapse(*r, 0, 1e30f), message);
}

TEST(GenericEdgeCollapse, SurvivorsAreSmallerIndicesAndColoured)
{
    MeshPtr m = sphere(12, 12, 1.0f, false, true);
    for (int v = 0; v < m->GetVertexBuffer()->GetVertexQuantity(); ++v)
        m->GetVertexBuffer()->Color3(0, v) = Wm4::ColorRGB(0.5f, 0.5f, 0.5f);
    const Soup before = toSoup(*m);
    mp::tEdgeCollapseReport report;
    collapse(*m, 200, 1e30f, &report);
    const ox::oxVertexBuffer* vb = m->GetVertexBuffer();
    // The output keeps surviving vertices in order: map them back to input indices by position
    // of untouched vertices and by colour.
    unsigned moved = 0, untouched = 0;
    std::vector<unsigned> kept;  // input index of every output vertex, for untouched ones
    for (int v = 0; v < vb->GetVertexQuantity(); ++v) {
        const Wm4::ColorRGB c = vb->Color3(0, v);
        const bool isSurvivor = c == Wm4::ColorRGB(0.2f, 0.2f, 1.0f);
        EXPECT_TRUE(isSurvivor || c == Wm4::ColorRGB(1.0f, 0.2f, 0.2f));
        moved += isSurvivor;
        untouched += !isSurvivor;
    }
    EXPECT_EQ(report.collapses, moved == 0 ? 0u : report.collapses);
    EXPECT_GT(moved, 0u);
    EXPECT_EQ(unsigned(vb->GetVertexQuantity()), unsigned(before.p.size()) - report.collapses);
    // Survivor = smaller index: the untouched vertices appear at output ranks consistent with
    // the removed vertices all having larger indices than their survivors, so the first output
    // vertex is input vertex 0 and every untouched vertex keeps its input position.
    unsigned j = 0;
    for (int v = 0; v < vb->GetVertexQuantity(); ++v) {
        if (vb->Color3(0, v) == Wm4::ColorRGB(0.2f, 0.2f, 1.0f))
            continue;
        while (j < before.p.size() && !(before.p[j] == vb->Position3(v)))
            ++j;
        EXPECT_LT(j, before.p.size()) << "untouched output vertex " << v << " not in input order";
    }
}

TEST(GenericEdgeCollapse, SurvivorOfASingleCollapseIsTheSmallerIndex)
{
    // One collapse on a grid: the vertex that disappears has the larger index of the edge.
    Soup g = grid(6, 1.0f);
    g.p[3 * 7 + 3].Z() = 0.001f;  // make one interior edge the cheapest: (24, 25) region
    MeshPtr m = toMesh(g, false, true);
    mp::tEdgeCollapseReport report;
    collapse(*m, unsigned(g.t.size() / 3) - 2, 1e30f, &report);
    ASSERT_EQ(report.collapses, 1u);
    const ox::oxVertexBuffer* vb = m->GetVertexBuffer();
    int survivor = -1;
    for (int v = 0; v < vb->GetVertexQuantity(); ++v)
        if (vb->Color3(0, v) == Wm4::ColorRGB(0.2f, 0.2f, 1.0f))
            survivor = v;
    ASSERT_GE(survivor, 0);
    // Output vertex `survivor` is input vertex `survivor` (all earlier vertices survive) and the
    // removed vertex is a neighbour with a larger index: every later output vertex is shifted.
    for (int v = 0; v < survivor; ++v)
        EXPECT_EQ(vb->Position3(v), g.p[v]);
    unsigned shifted = 0;
    for (int v = survivor + 1; v < vb->GetVertexQuantity(); ++v)
        shifted += !(vb->Position3(v) == g.p[v]);
    EXPECT_GT(shifted, 0u);
}

TEST(GenericEdgeCollapse, LockedVerticesStay)
{
    MeshPtr m = sphere(16, 16, 1.0f);
    const Soup before = toSoup(*m);
    std::vector<bool> locked(before.p.size(), false);
    for (std::size_t v = 0; v < locked.size(); ++v)
        locked[v] = before.p[v].Z() > 0.2f;
    collapse(*m, 100, 1e30f, nullptr, &locked);
    const Soup out = toSoup(*m);
    // Every locked input position is still present exactly.
    for (std::size_t v = 0; v < before.p.size(); ++v) {
        if (!locked[v])
            continue;
        bool found = false;
        for (const Vec3& p : out.p)
            found |= p == before.p[v];
        EXPECT_TRUE(found) << v;
    }
    EXPECT_TRUE(closedOrientedManifold(out));
}

TEST(GenericEdgeCollapse, ClosedMeshesStayClosedWithoutFoldOvers)
{
    expectClosedSimplification(toSoup(*sphere(30, 30, 1.0f)), 0.1f);
    expectClosedSimplification(torus(40, 20, 2.0f, 0.6f), 0.1f);
    Soup spot;
    ASSERT_TRUE(readObj(bundledData("meshes/spot.obj"), spot));
    // Each collapse only refuses flips of the current triangles, so on sharp real meshes a
    // few triangles can drift past 90 degrees from the input surface over many collapses.
    expectClosedSimplification(spot, 0.1f, 4);
    Soup fandisk;
    ASSERT_TRUE(readObj(bundledData("meshes/fandisk.obj"), fandisk));
    expectClosedSimplification(fandisk, 0.1f, 2);
}

TEST(GenericEdgeCollapse, OpenMeshStaysEdgeManifold)
{
    // Oracle: invariants. Boundary edges are never collapsed themselves, so no edge gains a
    // triangle (no non-manifold edge) and the boundary can only shrink, where an interior edge
    // between two boundary vertices folds two boundary edges onto one.
    Soup woody;
    ASSERT_TRUE(readObj(bundledData("meshes/woody.obj"), woody));
    MeshPtr m = toMesh(woody);
    collapse(*m, 300, 1e30f);
    const Soup out = toSoup(*m);
    const tTopology before = checkTopology(woody), after = checkTopology(out);
    EXPECT_EQ(after.nonManifoldEdges, 0u);
    EXPECT_LE(after.boundaryEdges, before.boundaryEdges);
    expectNoFoldOver(woody, out);
}

TEST(GenericEdgeCollapse, InteriorEdgesBetweenBoundaryVerticesCollapse)
{
    // Oracle: the collapse rules, by hand. In a 2 x 8 strip every vertex lies on the boundary,
    // yet each diagonal is an interior edge whose apexes have valency 4 or more and whose ends
    // share no neighbour but the apexes: such collapses are legal.
    Soup strip;
    for (unsigned j = 0; j < 3; ++j)
        for (unsigned i = 0; i < 9; ++i)
            strip.p.push_back(Vec3(float(i), float(j), 0.0f));
    for (unsigned j = 0; j < 2; ++j)
        for (unsigned i = 0; i < 8; ++i) {
            const unsigned a = j * 9 + i, b = a + 1, c = a + 10, d = a + 9;
            strip.t.insert(strip.t.end(), {a, b, c, a, c, d});
        }
    MeshPtr m = toMesh(strip);
    mp::tEdgeCollapseReport report;
    collapse(*m, 16, 1e30f, &report);
    EXPECT_GT(report.collapses, 0u);
    expectNoFoldOver(strip, toSoup(*m));
}

TEST(GenericEdgeCollapse, CallersIndexBufferIsReplacedNotRewritten)
{
    // Oracle: a copy of the caller's index buffer taken before the run.
    MeshPtr m = sphere(12, 12, 1.0f);
    const ox::oxPointer<ox::oxIndexBuffer> old(m->GetIndexBuffer());
    const std::vector<unsigned> before(old->GetData(), old->GetData() + old->GetIndexQuantity());
    collapse(*m, 40, 1e30f);
    EXPECT_NE(m->GetIndexBuffer(), old.get());
    EXPECT_EQ(std::vector<unsigned>(old->GetData(), old->GetData() + old->GetIndexQuantity()), before);
}

TEST(GenericEdgeCollapse, ColoursArePaintedWithoutTriangles)
{
    // Oracle: the stated painting, which comes with the set-up even when there is nothing to
    // collapse.
    Soup points;
    points.p = {Vec3(0, 0, 0), Vec3(1, 0, 0)};
    MeshPtr m = toMesh(points, false, true);
    collapse(*m, 0, 1e30f);
    for (int v = 0; v < 2; ++v)
        EXPECT_EQ(m->GetVertexBuffer()->Color3(0, v), Wm4::ColorRGB(1.0f, 0.2f, 0.2f));
}

TEST(QuadricErrorMetric, OrderedMapsAndFlatListsCostAlike)
{
    // Oracle: the metric fed the stated neighbour type (ordered maps) and our flat lists on the
    // same real mesh gives the same costs and placements, edge by edge.
    Soup spot;
    ASSERT_TRUE(readObj(bundledData("meshes/spot.obj"), spot));
    MetricRun flat(spot);
    std::vector<std::map<unsigned int, unsigned int>> maps(spot.p.size());
    for (unsigned e = 0; e < flat.edges.size(); ++e) {
        maps[flat.edges[e].v0][flat.edges[e].v1] = e;
        maps[flat.edges[e].v1][flat.edges[e].v0] = e;
    }
    mp::oxQuadricErrorMetric stated(0.01f);
    std::vector<float> costs;
    stated.init(*flat.mesh, flat.edges, flat.vparents, flat.eparents, maps, costs);
    ASSERT_EQ(costs.size(), flat.costs.size());
    for (unsigned e = 0; e < costs.size(); e += 7) {
        EXPECT_EQ(costs[e], flat.costs[e]) << e;
        Vec3 p1, p2;
        EXPECT_EQ(stated.estimateEdgeCost(e, *flat.mesh, flat.edges, flat.vparents, flat.eparents, maps, p1),
                  flat.cost(e, p2));
        EXPECT_EQ(p1, p2);
    }
}

TEST(GenericEdgeCollapse, IgeaToTenPercent)
{
    Soup igea;
    OX_SKIP_WITHOUT_SHARED_DATA();
    ASSERT_TRUE(readFacePly(sharedData("meshes/igea-faces.ply"), igea));
    MeshPtr m = toMesh(igea);
    const unsigned target = unsigned(igea.t.size() / 3 / 10);
    mp::tEdgeCollapseReport report;
    collapse(*m, target, 1e30f, &report);
    const Soup out = toSoup(*m);
    EXPECT_TRUE(closedOrientedManifold(out));
    EXPECT_EQ(eulerCharacteristic(out), eulerCharacteristic(igea));
    EXPECT_LT(report.trianglesAfter, igea.t.size() / 3 / 4);
}
