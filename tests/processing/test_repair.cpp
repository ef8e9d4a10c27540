// The repair of reconstructed meshes (RepairMesh with every step) on small hand-made meshes with
// known defects (a pinched double cone, a fin on an edge of a closed sphere, a stray sliver,
// holes of several sizes), checked against counts worked out by hand and against the mesh
// statistics.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <set>
#include <string>
#include <vector>

#include "oxMeshProcessing.h"
#include "scenegraph/oxIndexBuffer.h"
#include "scenegraph/oxVertexBuffer.h"

namespace {

namespace mp = ox::oxMeshProcessing;
using mp::tMeshStatistics;
using CleanupReport = mp::tRepairReport;
using CleanupLimits = mp::tRepairOptions;

/// Positions, unit normals and triangles, as plain arrays that are easy to draw by hand.
struct MeshData {
    std::vector<float> positions, normals;
    std::vector<std::uint32_t> triangles;
    std::size_t vertexCount() const { return positions.size() / 3; }
    std::size_t triangleCount() const { return triangles.size() / 3; }
};

ox::oxPointer<ox::oxTriMesh> toTriMesh(const MeshData& mesh)
{
    ox::oxAttributes layout;
    layout.SetPositionChannels(3);
    layout.SetNormalChannels(3);
    ox::oxPointer<ox::oxVertexBuffer> vb(new ox::oxVertexBuffer(layout, int(mesh.vertexCount())));
    for (std::size_t v = 0; v < mesh.vertexCount(); ++v) {
        vb->Position3(int(v)) = ox::Vec3(&mesh.positions[3 * v]);
        vb->Normal3(int(v)) = ox::Vec3(&mesh.normals[3 * v]);
    }
    ox::oxPointer<ox::oxIndexBuffer> ib(new ox::oxIndexBuffer(int(mesh.triangles.size())));
    for (std::size_t i = 0; i < mesh.triangles.size(); ++i)
        (*ib)[int(i)] = mesh.triangles[i];
    return ox::oxPointer<ox::oxTriMesh>(new ox::oxTriMesh(vb.get(), ib.get()));
}

MeshData fromTriMesh(const ox::oxTriMesh& tri)
{
    MeshData mesh;
    const ox::oxVertexBuffer& vb = *tri.GetVertexBuffer();
    for (int v = 0; v < vb.GetVertexQuantity(); ++v) {
        const ox::Vec3 &p = vb.Position3(v), &n = vb.Normal3(v);
        mesh.positions.insert(mesh.positions.end(), {p.X(), p.Y(), p.Z()});
        mesh.normals.insert(mesh.normals.end(), {n.X(), n.Y(), n.Z()});
    }
    const ox::oxIndexBuffer& ib = *tri.GetIndexBuffer();
    mesh.triangles.assign(ib.GetData(), ib.GetData() + ib.GetIndexQuantity());
    return mesh;
}

/// RepairMesh with every step of a reconstruction's clean-up, on the arrays.
CleanupReport cleanReconstruction(MeshData& mesh, const CleanupLimits& limits = CleanupLimits(),
                                  const mp::tUnsupportedVertexTest& away = mp::tUnsupportedVertexTest())
{
    ox::oxPointer<ox::oxTriMesh> tri = toTriMesh(mesh);
    CleanupLimits options = limits;
    options.unsupportedVertex = away;
    CleanupReport report;
    mp::RepairMesh(*tri, mp::kRepairReconstruction, options, &report);
    mesh = fromTriMesh(*tri);
    return report;
}

tMeshStatistics statisticsOf(const MeshData& mesh)
{
    return mp::ComputeMeshStatistics(*toTriMesh(mesh));
}

std::uint32_t addVertex(MeshData& mesh, double x, double y, double z)
{
    mesh.positions.insert(mesh.positions.end(), {float(x), float(y), float(z)});
    const double length = std::sqrt(x * x + y * y + z * z);
    if (length > 0)
        mesh.normals.insert(mesh.normals.end(), {float(x / length), float(y / length), float(z / length)});
    else
        mesh.normals.insert(mesh.normals.end(), {0.0f, 0.0f, 1.0f});
    return std::uint32_t(mesh.vertexCount() - 1);
}

void addTriangle(MeshData& mesh, std::uint32_t a, std::uint32_t b, std::uint32_t c)
{
    mesh.triangles.insert(mesh.triangles.end(), {a, b, c});
}

/// A closed, outward UV sphere of radius r around c: two poles, `rings` - 1 rings of `segments`
/// vertices; 2 + (rings - 1) * segments vertices and 2 * segments * (rings - 1) triangles.
void addSphere(MeshData& mesh, const std::array<double, 3>& c, double r, unsigned rings, unsigned segments)
{
    const std::uint32_t north = addVertex(mesh, c[0], c[1], c[2] + r);
    const std::uint32_t first = std::uint32_t(mesh.vertexCount());
    for (unsigned i = 1; i < rings; ++i) {
        const double theta = M_PI * i / rings;
        for (unsigned j = 0; j < segments; ++j) {
            const double phi = 2 * M_PI * j / segments;
            addVertex(mesh, c[0] + r * std::sin(theta) * std::cos(phi),
                      c[1] + r * std::sin(theta) * std::sin(phi), c[2] + r * std::cos(theta));
        }
    }
    const std::uint32_t south = addVertex(mesh, c[0], c[1], c[2] - r);
    auto at = [&](unsigned ring, unsigned j) { return first + (ring - 1) * segments + j % segments; };
    for (unsigned j = 0; j < segments; ++j) {
        addTriangle(mesh, north, at(1, j), at(1, j + 1));
        for (unsigned i = 1; i + 1 < rings; ++i) {
            addTriangle(mesh, at(i, j), at(i + 1, j), at(i + 1, j + 1));
            addTriangle(mesh, at(i, j), at(i + 1, j + 1), at(i, j + 1));
        }
        addTriangle(mesh, south, at(rings - 1, j + 1), at(rings - 1, j));
    }
}

/// Removes triangle t (keeping its vertices) and returns its corners.
std::array<std::uint32_t, 3> removeTriangle(MeshData& mesh, std::size_t t)
{
    const std::array<std::uint32_t, 3> removed{
        {mesh.triangles[3 * t], mesh.triangles[3 * t + 1], mesh.triangles[3 * t + 2]}};
    mesh.triangles.erase(mesh.triangles.begin() + long(3 * t), mesh.triangles.begin() + long(3 * t + 3));
    return removed;
}

void expectClosedManifoldOriented(const tMeshStatistics& s, std::size_t components)
{
    EXPECT_TRUE(s.closed);
    EXPECT_TRUE(s.manifold);
    EXPECT_TRUE(s.oriented);
    EXPECT_EQ(s.components, components);
    EXPECT_EQ(s.eulerCharacteristic, 2 * (long long)components);  // spheres only
    EXPECT_EQ(s.unreferencedVertices, 0u);
    EXPECT_GT(s.signedVolume, 0.0);  // still facing outwards
}

TEST(RepairMesh, ClosedManifoldMeshIsLeftExactlyAsItIs)
{
    // A large sphere and a tiny one: the tiny piece would count as stray, but a closed manifold
    // mesh is never touched.
    MeshData mesh;
    addSphere(mesh, {{0, 0, 0}}, 1.0, 12, 16);
    addSphere(mesh, {{3, 0, 0}}, 0.01, 2, 3);
    const MeshData before = mesh;
    const CleanupReport report = cleanReconstruction(mesh);
    EXPECT_FALSE(report.ran);
    EXPECT_EQ(mesh.positions, before.positions);
    EXPECT_EQ(mesh.normals, before.normals);
    EXPECT_EQ(mesh.triangles, before.triangles);

    MeshData empty;
    EXPECT_FALSE(cleanReconstruction(empty).ran);
}

TEST(RepairMesh, TrianglesAtFlaggedVerticesAreTrimmedAndTheRestRepaired)
{
    // A sphere with a flap: a strip of two triangles hanging off one of its edges. Flagging the
    // flap's two outer vertices (as lying away from the points) removes the flap, reached from
    // its open rim; the sphere stays whole and closed. Each vertex is asked about once at most.
    // (addSphere adds the south pole last.)
    MeshData mesh;
    addSphere(mesh, {{0, 0, 0}}, 1.0, 10, 12);
    const std::size_t sphereTriangles = mesh.triangleCount();
    const std::uint32_t a = mesh.triangles[0], b = mesh.triangles[1];
    const std::uint32_t f0 = addVertex(mesh, 0, 0, 2.0), f1 = addVertex(mesh, 0.3, 0, 2.0);
    addTriangle(mesh, a, b, f0);
    addTriangle(mesh, b, f1, f0);
    // The south pole is flagged too, as a gap between samples inside well covered surface: its
    // triangles reach no open edge through flagged triangles, so they stay.
    const std::uint32_t southPole = f0 - 1;
    std::vector<unsigned> asked(mesh.vertexCount(), 0);
    auto away = [&](std::uint32_t v) {
        ++asked[v];
        return v == f0 || v == f1 || v == southPole;
    };

    MeshData trimmed = mesh;
    const CleanupReport report = cleanReconstruction(trimmed, CleanupLimits(), away);
    for (unsigned count : asked)
        EXPECT_LE(count, 1u);
    EXPECT_EQ(asked[f0], 1u);
    EXPECT_EQ(report.unsupportedTriangles, 2u);
    EXPECT_EQ(report.nonManifoldTriangles, 0u);
    EXPECT_EQ(trimmed.triangleCount(), sphereTriangles);
    EXPECT_EQ(trimmed.vertexCount(), mesh.vertexCount() - 2);
    expectClosedManifoldOriented(statisticsOf(trimmed), 1);
}

TEST(RepairMesh, PinchedDoubleConeSplitsIntoTwoClosedCones)
{
    // Two closed hexagonal cones (side fan plus a capped base) meeting apex to apex: 15 vertices,
    // 24 triangles, one vertex with two fans.
    MeshData mesh;
    const std::uint32_t apex = addVertex(mesh, 0, 0, 0);
    const unsigned k = 6;
    for (const double side : {1.0, -1.0}) {
        const std::uint32_t ring = std::uint32_t(mesh.vertexCount());
        for (unsigned j = 0; j < k; ++j)
            addVertex(mesh, std::cos(2 * M_PI * j / k), std::sin(2 * M_PI * j / k), side);
        const std::uint32_t centre = addVertex(mesh, 0, 0, side);
        for (unsigned j = 0; j < k; ++j) {
            const std::uint32_t a = ring + j, b = ring + (j + 1) % k;
            if (side > 0) {
                addTriangle(mesh, apex, b, a);
                addTriangle(mesh, centre, a, b);
            } else {
                addTriangle(mesh, apex, a, b);
                addTriangle(mesh, centre, b, a);
            }
        }
    }
    const tMeshStatistics raw = statisticsOf(mesh);
    ASSERT_TRUE(raw.closed);
    ASSERT_FALSE(raw.manifold);
    ASSERT_EQ(raw.nonManifoldVertices, 1u);

    const CleanupReport report = cleanReconstruction(mesh);
    EXPECT_TRUE(report.ran);
    EXPECT_EQ(report.pinchedVertices, 1u);
    EXPECT_EQ(report.addedVertexCopies, 1u);
    EXPECT_EQ(report.smallComponents, 0u);  // equal halves: neither is stray
    EXPECT_EQ(report.holes.closed, 0u);
    EXPECT_EQ(mesh.vertexCount(), 16u);
    EXPECT_EQ(mesh.triangleCount(), 24u);
    expectClosedManifoldOriented(statisticsOf(mesh), 2);
    // Both apex vertices sit at the origin with the original's attributes.
    std::size_t atOrigin = 0;
    for (std::size_t v = 0; v < mesh.vertexCount(); ++v)
        if (mesh.positions[3 * v] == 0.0f && mesh.positions[3 * v + 1] == 0.0f &&
            mesh.positions[3 * v + 2] == 0.0f) {
            ++atOrigin;
            EXPECT_EQ(mesh.normals[3 * v + 2], 1.0f);
        }
    EXPECT_EQ(atOrigin, 2u);
}

TEST(RepairMesh, OpenDoubleConeKeepsItsRimsWhenHolesStayOpen)
{
    // Without the caps each cone is open along a 6-edge rim; with hole closing off the split
    // leaves two open cones, and with it each rim gets a fan of 6 triangles around a new vertex.
    MeshData mesh;
    const std::uint32_t apex = addVertex(mesh, 0, 0, 0);
    for (const double side : {1.0, -1.0}) {
        const std::uint32_t ring = std::uint32_t(mesh.vertexCount());
        for (unsigned j = 0; j < 6; ++j)
            addVertex(mesh, std::cos(M_PI * j / 3), std::sin(M_PI * j / 3), side);
        for (unsigned j = 0; j < 6; ++j)
            if (side > 0)
                addTriangle(mesh, apex, ring + (j + 1) % 6, ring + j);
            else
                addTriangle(mesh, apex, ring + j, ring + (j + 1) % 6);
    }
    MeshData open = mesh;
    CleanupLimits noHoles;
    noHoles.maxHoleEdges = 0;
    const CleanupReport kept = cleanReconstruction(open, noHoles);
    EXPECT_EQ(kept.pinchedVertices, 1u);
    EXPECT_EQ(kept.holes.open, 2u);
    const tMeshStatistics openStats = statisticsOf(open);
    EXPECT_TRUE(openStats.manifold);
    EXPECT_FALSE(openStats.closed);
    EXPECT_EQ(openStats.boundaryLoops, 2u);
    EXPECT_EQ(openStats.boundaryEdges, 12u);
    EXPECT_EQ(open.vertexCount(), 14u);

    const CleanupReport closed = cleanReconstruction(mesh);
    EXPECT_EQ(closed.holes.closed, 2u);
    EXPECT_EQ(closed.holes.triangles, 12u);
    EXPECT_EQ(mesh.vertexCount(), 16u);  // 13 + the apex copy + two rim centres
    EXPECT_EQ(mesh.triangleCount(), 24u);
    expectClosedManifoldOriented(statisticsOf(mesh), 2);
    // The rim centres lie at the rims' centroids, on the axis.
    const std::size_t last = mesh.vertexCount() - 1;
    EXPECT_NEAR(std::abs(mesh.positions[3 * last + 2]), 1.0f, 1e-6f);
    EXPECT_NEAR(std::hypot(mesh.positions[3 * last], mesh.positions[3 * last + 1]), 0.0, 1e-6);
}

TEST(RepairMesh, FinOnAnEdgeIsDroppedAndTheHoleClosed)
{
    // A sphere plus one fin triangle on an edge of the sphere: that edge has three triangles.
    // All three go; the two sphere triangles leave a 4-edge hole, closed by a fan of 4 around a
    // new vertex; the fin's own vertex is no longer used.
    MeshData mesh;
    addSphere(mesh, {{0, 0, 0}}, 1.0, 8, 10);
    const std::size_t v0 = mesh.vertexCount(), t0 = mesh.triangleCount();
    const std::uint32_t a = mesh.triangles[3 * 20], b = mesh.triangles[3 * 20 + 1];
    const std::uint32_t tip = addVertex(mesh, 0, 0, 3);
    addTriangle(mesh, a, b, tip);
    ASSERT_EQ(statisticsOf(mesh).nonManifoldEdges, 1u);

    const CleanupReport report = cleanReconstruction(mesh);
    EXPECT_EQ(report.nonManifoldTriangles, 3u);
    EXPECT_EQ(report.pinchedVertices, 0u);
    EXPECT_EQ(report.holes.closed, 1u);
    EXPECT_EQ(report.holes.triangles, 4u);
    EXPECT_EQ(report.droppedVertices, 1u);
    EXPECT_EQ(mesh.vertexCount(), v0 + 1);
    EXPECT_EQ(mesh.triangleCount(), t0 - 2 + 4);
    expectClosedManifoldOriented(statisticsOf(mesh), 1);
    for (std::size_t v = 0; v < mesh.vertexCount(); ++v)
        EXPECT_LT(mesh.positions[3 * v + 2], 1.5f);  // no tip
}

TEST(RepairMesh, StraySliverAndDegenerateTrianglesAreDropped)
{
    // A closed sphere of 160 triangles, a separate sliver triangle and a triangle naming a
    // sphere vertex twice: the sliver is 1/160 of the largest piece (under the 1/200 default
    // it stays, with a 1/100 limit it goes); the degenerate triangle always goes.
    MeshData mesh;
    addSphere(mesh, {{0, 0, 0}}, 1.0, 9, 10);
    const std::size_t v0 = mesh.vertexCount(), t0 = mesh.triangleCount();
    ASSERT_EQ(t0, 160u);
    const std::uint32_t s = addVertex(mesh, 2, 0, 0);
    addVertex(mesh, 2.5, 0, 0);
    addVertex(mesh, 2.5, 0.001, 0);
    addTriangle(mesh, s, s + 1, s + 2);
    addTriangle(mesh, 0, 5, 0);

    MeshData lenient = mesh;
    const CleanupReport kept = cleanReconstruction(lenient);
    EXPECT_EQ(kept.degenerateTriangles, 1u);
    EXPECT_EQ(kept.smallComponents, 0u);
    EXPECT_EQ(kept.holes.closed, 1u);  // the sliver's own 3-edge rim: a back face closes it
    EXPECT_EQ(lenient.triangleCount(), t0 + 2);
    EXPECT_EQ(statisticsOf(lenient).components, 2u);

    CleanupLimits strict;
    strict.smallComponentFraction = 0.01;
    const CleanupReport report = cleanReconstruction(mesh, strict);
    EXPECT_EQ(report.degenerateTriangles, 1u);
    EXPECT_EQ(report.smallComponents, 1u);
    EXPECT_EQ(report.smallComponentTriangles, 1u);
    EXPECT_EQ(report.holes.closed, 0u);
    EXPECT_EQ(report.droppedVertices, 3u);
    EXPECT_EQ(mesh.vertexCount(), v0);
    EXPECT_EQ(mesh.triangleCount(), t0);
    expectClosedManifoldOriented(statisticsOf(mesh), 1);
}

TEST(RepairMesh, SmallHolesCloseAndLargeOnesStayOpen)
{
    // One missing triangle: the 3-edge hole is closed by that very triangle again.
    MeshData one;
    addSphere(one, {{0, 0, 0}}, 1.0, 10, 12);
    const std::array<std::uint32_t, 3> removed = removeTriangle(one, 50);
    const std::size_t t0 = one.triangleCount() + 1;
    const CleanupReport report = cleanReconstruction(one);
    EXPECT_EQ(report.holes.closed, 1u);
    EXPECT_EQ(report.holes.triangles, 1u);
    ASSERT_EQ(one.triangleCount(), t0);
    std::array<std::uint32_t, 3> added{
        {one.triangles[3 * t0 - 3], one.triangles[3 * t0 - 2], one.triangles[3 * t0 - 1]}};
    std::rotate(added.begin(), std::find(added.begin(), added.end(), removed[0]), added.end());
    EXPECT_EQ(added, removed);  // same corners in the same turning order
    expectClosedManifoldOriented(statisticsOf(one), 1);

    // The whole southern cap of 40 segments: a 40-edge hole stays open with the default limit
    // of 32 and closes with a limit of 40.
    MeshData cap;
    addSphere(cap, {{0, 0, 0}}, 1.0, 10, 40);
    const std::size_t t1 = cap.triangleCount();
    for (std::size_t t = t1; t-- > 0;)
        if (cap.triangles[3 * t] == cap.vertexCount() - 1)
            removeTriangle(cap, t);
    ASSERT_EQ(cap.triangleCount(), t1 - 40);
    MeshData wide = cap;
    const CleanupReport open = cleanReconstruction(cap);
    EXPECT_EQ(open.holes.closed, 0u);
    EXPECT_EQ(open.holes.open, 1u);
    EXPECT_EQ(open.droppedVertices, 1u);  // the south pole
    EXPECT_EQ(statisticsOf(cap).boundaryEdges, 40u);

    CleanupLimits forty;
    forty.maxHoleEdges = 40;
    const CleanupReport closed = cleanReconstruction(wide, forty);
    EXPECT_EQ(closed.holes.closed, 1u);
    EXPECT_EQ(closed.holes.triangles, 40u);
    expectClosedManifoldOriented(statisticsOf(wide), 1);
    // The new vertex at the centroid of the ring, with the mean normal (straight down).
    const std::size_t centre = wide.vertexCount() - 1;
    EXPECT_NEAR(wide.positions[3 * centre], 0.0f, 1e-6f);
    EXPECT_NEAR(wide.positions[3 * centre + 1], 0.0f, 1e-6f);
    EXPECT_NEAR(wide.positions[3 * centre + 2], -std::cos(M_PI / 10), 1e-6);
    EXPECT_NEAR(wide.normals[3 * centre + 2], -1.0f, 1e-6f);
}

}  // namespace
