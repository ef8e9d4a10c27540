// Triangle meshes: standard shapes, normals, principal axes, bounding boxes.

#include "scenegraph/oxGeometry.h"
#include "scenegraph/oxStandardMesh.h"
#include "support/Topology.h"

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <set>
#include <utility>

namespace {

using namespace ox;
using Vec3 = Wm4::Vector3<float>;

const double kPi = 3.14159265358979323846;

oxAttributes positionsAndNormals()
{
    oxAttributes a;
    a.SetPositionChannels(3);
    a.SetNormalChannels(3);
    return a;
}

/// Every undirected edge used by exactly two triangles, once in each direction (closed,
/// consistently oriented); returns the number of edges.
int checkClosedAndOriented(const oxTriMesh& mesh)
{
    const oxtest::tTopology topology = oxtest::checkTopology(mesh);
    EXPECT_TRUE(topology.closedAndOriented()) << topology.badEdges << " bad edges";
    return int(topology.edges);
}

using oxtest::signedVolume;

TEST(SceneGraphStandardMesh, SphereIsClosedWithTheRightVolume)
{
    const float radius = 2.0f;
    oxStandardMesh builder(positionsAndNormals());
    oxPointer<oxTriMesh> sphere(builder.Sphere(17, 24, radius));
    ASSERT_TRUE(sphere);
    const int vertices = sphere->GetVertexBuffer()->GetVertexQuantity();
    const int faces = sphere->GetTriangleQuantity();
    EXPECT_EQ(vertices, 2 + 15 * 24);
    EXPECT_EQ(faces, 2 * 24 * 15);
    const int edges = checkClosedAndOriented(*sphere);
    EXPECT_EQ(vertices - edges + faces, 2);  // Euler characteristic of a sphere

    // An inscribed polyhedron: slightly less than the ball's volume, and positive (outward).
    const double ball = 4.0 / 3.0 * kPi * radius * radius * radius;
    const double volume = signedVolume(*sphere);
    EXPECT_LT(volume, ball);
    EXPECT_GT(volume, 0.97 * ball);

    // Vertices on the sphere, normals radial; the extreme points are on the axes.
    const oxVertexBuffer& vb = *sphere->GetVertexBuffer();
    for (int v = 0; v < vertices; ++v) {
        EXPECT_NEAR(vb.Position3(v).Length(), radius, 1e-5f);
        const Vec3 radial = vb.Position3(v) / radius;
        EXPECT_NEAR(vb.Normal3(v).Dot(radial), 1.0f, 1e-5f);
    }
    const oxBBox box = sphere->computeBBox();
    for (int axis = 0; axis < 3; ++axis) {
        EXPECT_NEAR(box.getMin()[axis], -radius, 1e-5f);
        EXPECT_NEAR(box.getMax()[axis], radius, 1e-5f);
    }
    // Every triangle faces outward: its normal points away from the centre.
    for (int t = 0; t < faces; ++t) {
        int a = 0, b = 0, c = 0;
        sphere->GetTriangle(t, a, b, c);
        const Vec3 n = (vb.Position3(b) - vb.Position3(a)).Cross(vb.Position3(c) - vb.Position3(a));
        EXPECT_GT(n.Dot(vb.Position3(a) + vb.Position3(b) + vb.Position3(c)), 0.0f) << t;
    }
}

TEST(SceneGraphStandardMesh, InsideAndTransformedSpheres)
{
    const float radius = 1.0f;
    oxStandardMesh inside(positionsAndNormals(), true);
    oxPointer<oxTriMesh> inverted(inside.Sphere(9, 12, radius));
    checkClosedAndOriented(*inverted);
    EXPECT_LT(signedVolume(*inverted), 0.0);
    const oxVertexBuffer& ivb = *inverted->GetVertexBuffer();
    EXPECT_NEAR(ivb.Normal3(5).Dot(ivb.Position3(5)), -radius, 1e-5f);

    // Scale by 2 and move to (5, 0, 0): eight times the volume, normals still outward; a
    // mirroring scale keeps the winding outward too.
    oxStandardMesh plain(positionsAndNormals());
    oxPointer<oxTriMesh> reference(plain.Sphere(9, 12, radius));
    const double referenceVolume = signedVolume(*reference);
    for (float mirror : {1.0f, -1.0f}) {
        oxTransformation xfrm;
        xfrm.SetScale(Vec3(2.0f * mirror, 2.0f, 2.0f));
        xfrm.SetTranslate(Vec3(5.0f, 0.0f, 0.0f));
        oxStandardMesh builder(positionsAndNormals(), false, &xfrm);
        oxPointer<oxTriMesh> moved(builder.Sphere(9, 12, radius));
        const oxVertexBuffer& vb = *moved->GetVertexBuffer();
        const Vec3 centre(5.0f, 0.0f, 0.0f);
        for (int v = 0; v < vb.GetVertexQuantity(); ++v) {
            EXPECT_NEAR((vb.Position3(v) - centre).Length(), 2.0f * radius, 1e-5f);
            EXPECT_NEAR(vb.Normal3(v).Dot((vb.Position3(v) - centre) / (2.0f * radius)), 1.0f, 1e-5f);
        }
        // The volume formula is translation invariant for closed meshes.
        EXPECT_NEAR(signedVolume(*moved), 8.0 * referenceVolume, 1e-3 * referenceVolume) << mirror;
    }

    // Without a normal channel only positions are written; too few samples are raised to 3.
    oxAttributes positionsOnly;
    oxStandardMesh bare(positionsOnly);
    oxPointer<oxTriMesh> coarse(bare.Sphere(1, 2, 1.0f));
    EXPECT_TRUE(coarse->GetVertexBuffer()->GetAttributes().HasPosition());
    EXPECT_FALSE(coarse->GetVertexBuffer()->GetAttributes().HasNormal());
    EXPECT_EQ(coarse->GetVertexBuffer()->GetVertexQuantity(), 5);
    EXPECT_EQ(coarse->GetTriangleQuantity(), 6);
    checkClosedAndOriented(*coarse);
}

TEST(SceneGraphStandardMesh, BoxFacesAndVolume)
{
    oxStandardMesh builder(positionsAndNormals());
    oxPointer<oxTriMesh> box(builder.Box(1.0f, 2.0f, 3.0f));
    EXPECT_EQ(box->GetVertexBuffer()->GetVertexQuantity(), 24);
    EXPECT_EQ(box->GetTriangleQuantity(), 12);
    EXPECT_NEAR(signedVolume(*box), 2.0 * 4.0 * 6.0, 1e-4);
    const oxVertexBuffer& vb = *box->GetVertexBuffer();
    for (int t = 0; t < 12; ++t) {
        int a = 0, b = 0, c = 0;
        box->GetTriangle(t, a, b, c);
        Vec3 n = (vb.Position3(b) - vb.Position3(a)).Cross(vb.Position3(c) - vb.Position3(a));
        n.Normalize();
        EXPECT_EQ(n, vb.Normal3(a)) << t;
    }
    const oxBBox bounds = box->computeBBox();
    EXPECT_EQ(bounds.getMin(), Vec3(-1.0f, -2.0f, -3.0f));
    EXPECT_EQ(bounds.getMax(), Vec3(1.0f, 2.0f, 3.0f));
}

TEST(SceneGraphTriangles, GenerateNormalsOfASphereApproachesTheRadialDirection)
{
    const float radius = 3.0f;
    oxStandardMesh builder(positionsAndNormals());
    oxPointer<oxTriMesh> sphere(builder.Sphere(33, 48, radius));
    oxVertexBuffer& vb = *sphere->GetVertexBuffer();
    for (int v = 0; v < vb.GetVertexQuantity(); ++v) {
        vb.Normal3(v) = Vec3(9.0f, 9.0f, 9.0f);  // garbage the recomputation must overwrite
    }
    sphere->GenerateNormals();
    float worst = 1.0f;
    for (int v = 0; v < vb.GetVertexQuantity(); ++v) {
        const Vec3 analytic = vb.Position3(v) / vb.Position3(v).Length();
        EXPECT_NEAR(vb.Normal3(v).Length(), 1.0f, 1e-5f);
        worst = std::min(worst, vb.Normal3(v).Dot(analytic));
    }
    EXPECT_GT(worst, 0.999f);  // within about 2.5 degrees everywhere
    // The poles are symmetric: exactly on the axis.
    EXPECT_NEAR(vb.Normal3(0).Z(), -1.0f, 1e-6f);

    // A vertex used by no triangle gets the zero normal.
    vb.SetVertexQuantity(vb.GetVertexQuantity() + 1);
    const int lonely = vb.GetVertexQuantity() - 1;
    vb.Position3(lonely) = Vec3(100.0f, 0.0f, 0.0f);
    vb.Normal3(lonely) = Vec3(1.0f, 0.0f, 0.0f);
    sphere->GenerateNormals();
    EXPECT_EQ(vb.Normal3(lonely), Vec3::ZERO);
}

TEST(SceneGraphTriangles, GenerateNormalsWeightsByAreaAndSkipsMissingChannels)
{
    // Two triangles at vertex 0: a big one in the z = 0 plane and a small one in the x = 0 plane.
    oxPointer<oxVertexBuffer> vb(new oxVertexBuffer(positionsAndNormals(), 5));
    vb->Position3(0) = Vec3(0.0f, 0.0f, 0.0f);
    vb->Position3(1) = Vec3(4.0f, 0.0f, 0.0f);
    vb->Position3(2) = Vec3(0.0f, 4.0f, 0.0f);
    vb->Position3(3) = Vec3(0.0f, 1.0f, 0.0f);
    vb->Position3(4) = Vec3(0.0f, 0.0f, 1.0f);
    oxPointer<oxIndexBuffer> ib(new oxIndexBuffer(6));
    const unsigned int indices[6] = {0, 1, 2, 0, 3, 4};
    for (int i = 0; i < 6; ++i) {
        (*ib)[i] = indices[i];
    }
    oxPointer<oxTriMesh> mesh(new oxTriMesh(vb.get(), ib.get()));
    mesh->GenerateNormals();
    // Areas 8 and 0.5: normal = normalise(8 * z + 0.5 * x).
    Vec3 expected(0.5f, 0.0f, 8.0f);
    expected.Normalize();
    EXPECT_NEAR(vb->Normal3(0).X(), expected.X(), 1e-6f);
    EXPECT_NEAR(vb->Normal3(0).Z(), expected.Z(), 1e-6f);
    EXPECT_EQ(vb->Normal3(1), Vec3::UNIT_Z);
    EXPECT_EQ(vb->Normal3(4), Vec3::UNIT_X);

    // No normal channel: nothing changes.
    oxAttributes positionsOnly;
    positionsOnly.SetPositionChannels(3);
    oxPointer<oxVertexBuffer> bare(new oxVertexBuffer(positionsOnly, 5));
    for (int v = 0; v < 5; ++v) {
        bare->Position3(v) = vb->Position3(v);
    }
    oxPointer<oxVertexBuffer> before(new oxVertexBuffer(positionsOnly, 5));
    std::copy(bare->GetData(), bare->GetData() + 15, before->GetData());
    mesh->SetVertexBuffer(bare.get());
    mesh->GenerateNormals();
    EXPECT_TRUE(bare->Equals(before.get()));
}

TEST(SceneGraphTriangles, PrincipalAxesOfAStretchedPointBox)
{
    // A lattice box with half sizes 5, 2, 0.5 along a rotated frame, denser on one side of the
    // long axis (so the mean is not the centre of the ranges).
    Wm4::Matrix3<float> rotation;
    Vec3 axis(1.0f, -2.0f, 0.5f);
    axis.Normalize();
    rotation.FromAxisAngle(axis, 0.8f);
    const Vec3 centre(3.0f, -1.0f, 7.0f);
    std::vector<float> u;
    for (int i = -5; i <= 5; ++i) {
        u.push_back(float(i));
    }
    for (float extra : {0.5f, 1.5f, 2.5f, 3.5f, 4.5f}) {
        u.push_back(extra);
    }
    std::vector<Vec3> points;
    for (float a : u) {
        for (int j = -4; j <= 4; ++j) {
            for (int k = -2; k <= 2; ++k) {
                const Vec3 local(a, 0.5f * float(j), 0.25f * float(k));
                points.push_back(centre + rotation * local);
            }
        }
    }
    oxAttributes positionsOnly;
    positionsOnly.SetPositionChannels(3);
    oxPointer<oxVertexBuffer> vb(new oxVertexBuffer(positionsOnly, static_cast<int>(points.size())));
    for (std::size_t v = 0; v < points.size(); ++v) {
        vb->Position3(static_cast<int>(v)) = points[v];
    }
    oxPointer<oxTriMesh> mesh(new oxTriMesh(vb.get(), new oxIndexBuffer(0)));
    const Wm4::Box3<float> box = mesh->ComputePCA();

    const float expectedExtent[3] = {5.0f, 2.0f, 0.5f};
    for (int i = 0; i < 3; ++i) {
        EXPECT_NEAR(std::fabs(box.Axis[i].Dot(rotation.GetColumn(i))), 1.0f, 1e-4f) << i;
        EXPECT_NEAR(box.Axis[i].Length(), 1.0f, 1e-5f);
        EXPECT_NEAR(box.Extent[i], expectedExtent[i], 1e-3f) << i;
    }
    EXPECT_NEAR((box.Center - centre).Length(), 0.0f, 1e-3f);
    // Every point is inside the box.
    for (const Vec3& p : points) {
        for (int i = 0; i < 3; ++i) {
            EXPECT_LE(std::fabs((p - box.Center).Dot(box.Axis[i])), box.Extent[i] + 1e-3f);
        }
    }

    // Without vertices: the default box.
    oxPointer<oxTriMesh> empty(new oxTriMesh(new oxVertexBuffer(positionsOnly, 0), nullptr));
    const Wm4::Box3<float> none = empty->ComputePCA();
    EXPECT_EQ(none.Center, Vec3::ZERO);
    EXPECT_EQ(none.Extent[0], 0.0f);
    EXPECT_TRUE(empty->computeBBox().isEmpty());
    EXPECT_EQ(empty->GetTriangleQuantity(), 0);
}

TEST(SceneGraphTriangles, TriangleAccessOutOfRange)
{
    oxPointer<oxIndexBuffer> ib(new oxIndexBuffer(7));  // two triangles and a stray index
    for (int i = 0; i < 7; ++i) {
        (*ib)[i] = static_cast<unsigned int>(i);
    }
    oxTriMesh mesh(nullptr, ib.get());
    EXPECT_EQ(mesh.GetTriangleQuantity(), 2);
    int a = -1, b = -1, c = -1;
    EXPECT_TRUE(mesh.GetTriangle(1, a, b, c));
    EXPECT_EQ(a, 3);
    EXPECT_EQ(c, 5);
    EXPECT_FALSE(mesh.GetTriangle(2, a, b, c));
    EXPECT_FALSE(mesh.GetTriangle(-1, a, b, c));
    EXPECT_EQ(a, 3);
    mesh.SetIndexBuffer(nullptr);
    EXPECT_EQ(ib->GetReferences(), 1);
    EXPECT_EQ(mesh.GetTriangleQuantity(), 0);
}

}  // namespace
