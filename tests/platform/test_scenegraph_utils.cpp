// Vertex copies between layouts, merging of scene trees, mixed-primitive geometry.

#include "scenegraph/oxBaseStream.h"
#include "scenegraph/oxGenericGeometry.h"
#include "scenegraph/oxGeometry.h"
#include "scenegraph/oxMeshUtils.h"
#include "scenegraph/oxNode.h"
#include "scenegraph/oxSceneGraphFactories.h"
#include "scenegraph/oxStandardMesh.h"

#include <gtest/gtest.h>

#include <cmath>
#include <set>
#include <vector>

namespace {

using namespace ox;
using Vec3 = Wm4::Vector3<float>;

TEST(SceneGraphMeshUtils, CopyVertexDataBetweenLayouts)
{
    oxAttributes from;
    from.SetPositionChannels(3);
    from.SetNormalChannels(3);
    from.SetColorChannels(0, 4);
    from.SetTCoordChannels(0, 2);
    from.SetTCoordChannels(2, 3);
    from.SetTangentChannels(3);
    from.SetPSizeChannels(1);
    oxAttributes to;
    to.SetPositionChannels(3);
    to.SetColorChannels(0, 3);   // fewer channels than the source: RGB of RGBA
    to.SetColorChannels(1, 4);   // absent from the source: untouched
    to.SetTCoordChannels(0, 3);  // more channels than the source: the third is untouched
    to.SetTCoordChannels(2, 1);  // fewer: the first one
    to.SetPSizeChannels(1);

    oxVertexBuffer src(from, 3);
    oxVertexBuffer dst(to, 2);
    const int srcStride = from.GetChannelQuantity();  // 3+3+4+2+3+3+1 = 19
    ASSERT_EQ(srcStride, 19);
    for (int k = 0; k < 3 * srcStride; ++k) {
        src.GetData()[k] = float(100 + k);
    }
    const int dstStride = to.GetChannelQuantity();  // 3+3+4+3+1+1 = 15
    ASSERT_EQ(dstStride, 15);
    for (int k = 0; k < 2 * dstStride; ++k) {
        dst.GetData()[k] = -1.0f;
    }
    oxMeshUtils::CopyVertexData(&src, &dst, 2, 1);

    // Source record 2 starts at float 38: position 38..40, normal 41..43, colour 44..47,
    // tcoord0 48..49, tcoord2 50..52, tangent 53..55, psize 56 (values are 100 + index).
    const float* d = dst.GetData() + dstStride;
    const float expected[15] = {138, 139, 140,      // position
                                144, 145, 146,      // colour 0 (RGB of RGBA)
                                -1,  -1,  -1,  -1,  // colour 1: not in the source
                                148, 149, -1,       // tcoord 0: two channels copied
                                150,                // tcoord 2: first channel
                                156};               // point size
    for (int k = 0; k < 15; ++k) {
        EXPECT_EQ(d[k], expected[k]) << k;
    }
    // Vertex 0 of the target is untouched.
    for (int k = 0; k < dstStride; ++k) {
        EXPECT_EQ(dst.GetData()[k], -1.0f);
    }

    // The same layout copies the whole record.
    oxVertexBuffer same(from, 1);
    oxMeshUtils::CopyVertexData(&src, &same, 1, 0);
    for (int k = 0; k < srcStride; ++k) {
        EXPECT_EQ(same.GetData()[k], float(100 + srcStride + k));
    }
}

oxAttributes positionsAndNormals()
{
    oxAttributes a;
    a.SetPositionChannels(3);
    a.SetNormalChannels(3);
    return a;
}

/// Greedy reference clustering by brute force: a point joins the earliest representative within
/// the tolerance (identical points for tolerance 0).
int bruteForceClusterCount(const std::vector<Vec3>& points, float tolerance)
{
    std::vector<Vec3> representatives;
    for (const Vec3& p : points) {
        bool joined = false;
        for (const Vec3& r : representatives) {
            const double d = (Wm4::Vector3<double>(r) - Wm4::Vector3<double>(p)).Length();
            if (tolerance == 0.0f ? r == p : d <= tolerance) {
                joined = true;
                break;
            }
        }
        if (!joined) {
            representatives.push_back(p);
        }
    }
    return static_cast<int>(representatives.size());
}

/// Every vertex position of `mesh` mapped through `chain` (applied last to first).
void appendTransformed(const oxTriMesh& mesh, const std::vector<oxTransformation>& chain,
                       std::vector<Vec3>& out)
{
    const oxVertexBuffer& vb = *mesh.GetVertexBuffer();
    for (int v = 0; v < vb.GetVertexQuantity(); ++v) {
        Vec3 p = vb.Position3(v);
        for (auto it = chain.rbegin(); it != chain.rend(); ++it) {
            p = it->ApplyForward(p);
        }
        out.push_back(p);
    }
}

bool containsNear(const oxVertexBuffer& vb, const Vec3& p, float tolerance)
{
    for (int v = 0; v < vb.GetVertexQuantity(); ++v) {
        if ((vb.Position3(v) - p).Length() <= tolerance) {
            return true;
        }
    }
    return false;
}

TEST(SceneGraphMeshUtils, MergeWeldsTouchingBoxesExactly)
{
    // Two unit boxes side by side: the shared face has four common corners.
    oxStandardMesh builder(positionsAndNormals());
    oxPointer<oxNode> root(new oxNode());
    oxPointer<oxTriMesh> left(builder.Box(1.0f, 1.0f, 1.0f));
    oxPointer<oxTriMesh> right(builder.Box(1.0f, 1.0f, 1.0f));
    right->editLocalTransform().SetTranslate(Vec3(2.0f, 0.0f, 0.0f));
    root->attachChild(left.get());
    root->attachChild(right.get());

    oxPointer<oxSpatial> merged = oxMeshUtils::MergeNodeGeometries(root, 0.0f);
    oxGeometry* geometry = oxDynamicCast<oxGeometry>(merged.get());
    ASSERT_NE(geometry, nullptr);
    EXPECT_EQ(geometry->GetVertexBuffer()->GetVertexQuantity(), 8 + 8 - 4);
    EXPECT_EQ(geometry->GetTriangleQuantity(), 24);
    EXPECT_TRUE(geometry->GetVertexBuffer()->GetAttributes().HasNormal());
    EXPECT_TRUE(geometry->getLocalTransform().IsIdentity());
    EXPECT_TRUE(geometry->getWorldTransform().IsIdentity());
    const oxBBox box = geometry->computeBBox();
    EXPECT_EQ(box.getMin(), Vec3(-1.0f, -1.0f, -1.0f));
    EXPECT_EQ(box.getMax(), Vec3(3.0f, 1.0f, 1.0f));
    // The first box's first vertex comes first and keeps its normal.
    EXPECT_EQ(geometry->GetVertexBuffer()->Position3(0), left->GetVertexBuffer()->Position3(0));
    EXPECT_EQ(geometry->GetVertexBuffer()->Normal3(0), left->GetVertexBuffer()->Normal3(0));

    // A negative tolerance keeps every vertex; the sources are not modified.
    oxPointer<oxSpatial> unwelded = oxMeshUtils::MergeNodeGeometries(root, -1.0f);
    EXPECT_EQ(oxDynamicCast<oxTriMesh>(unwelded.get())->GetVertexBuffer()->GetVertexQuantity(), 48);
    EXPECT_EQ(right->GetVertexBuffer()->GetVertexQuantity(), 24);
    EXPECT_EQ(left->getParent(), root.get());
}

TEST(SceneGraphMeshUtils, MergeAppliesWorldTransformsOfNestedNodes)
{
    oxStandardMesh builder(positionsAndNormals());
    oxTransformation rootLocal;
    rootLocal.SetTranslate(Vec3(0.0f, 0.0f, 10.0f));
    oxTransformation innerLocal;
    Wm4::Matrix3<float> rotation;
    rotation.FromAxisAngle(Vec3::UNIT_Z, 0.5f * 3.14159265f);
    innerLocal.SetRotate(rotation);
    innerLocal.SetScale(Vec3(2.0f, 1.0f, 1.0f));
    oxTransformation sphereLocal;
    sphereLocal.SetTranslate(Vec3(3.0f, 0.0f, 0.0f));
    oxTransformation boxLocal;
    boxLocal.SetTranslate(Vec3(0.0f, -4.0f, 0.0f));

    oxPointer<oxNode> root(new oxNode());
    oxPointer<oxNode> inner(new oxNode());
    oxPointer<oxTriMesh> sphere(builder.Sphere(9, 12, 1.0f));
    oxPointer<oxTriMesh> box(builder.Box(0.5f, 0.5f, 0.5f));
    root->editLocalTransform() = rootLocal;
    inner->editLocalTransform() = innerLocal;
    sphere->editLocalTransform() = sphereLocal;
    box->editLocalTransform() = boxLocal;
    root->attachChild(box.get());
    root->attachChild(inner.get());
    inner->attachChild(sphere.get());

    // Hand-transformed positions in visiting order: the box (slot 0), then the sphere.
    std::vector<Vec3> expected;
    appendTransformed(*box, {rootLocal, boxLocal}, expected);
    appendTransformed(*sphere, {rootLocal, innerLocal, sphereLocal}, expected);

    for (float tolerance : {1e-4f, 0.3f}) {
        oxPointer<oxSpatial> merged = oxMeshUtils::MergeNodeGeometries(root, tolerance);
        const oxTriMesh& mesh = *oxDynamicCast<oxTriMesh>(merged.get());
        const oxVertexBuffer& vb = *mesh.GetVertexBuffer();
        EXPECT_EQ(vb.GetVertexQuantity(), bruteForceClusterCount(expected, tolerance)) << tolerance;
        for (const Vec3& p : expected) {
            EXPECT_TRUE(containsNear(vb, p, tolerance + 1e-4f));
        }
        // No degenerate triangles survive, and indices are in range.
        for (int t = 0; t < mesh.GetTriangleQuantity(); ++t) {
            int a = 0, b = 0, c = 0;
            mesh.GetTriangle(t, a, b, c);
            EXPECT_TRUE(a != b && b != c && a != c);
            EXPECT_LT(std::max(a, std::max(b, c)), vb.GetVertexQuantity());
        }
        if (tolerance < 1e-3f) {
            // Nothing collapses but the coincident box corners: 8 corners + 74 sphere vertices.
            EXPECT_EQ(vb.GetVertexQuantity(), 8 + 2 + 7 * 12);
            EXPECT_EQ(mesh.GetTriangleQuantity(), 12 + 2 * 12 * 7);
        }
    }

    // Normals of the sphere follow the non-uniform scale (inverse transpose): compare with the
    // normal of the transformed ellipsoid at the north pole, which stays along +z.
    oxPointer<oxSpatial> merged = oxMeshUtils::MergeNodeGeometries(root, 0.0f);
    const oxVertexBuffer& vb = *oxDynamicCast<oxTriMesh>(merged.get())->GetVertexBuffer();
    const Vec3 northPole =
        rootLocal.ApplyForward(innerLocal.ApplyForward(sphereLocal.ApplyForward(Vec3(0, 0, 1))));
    bool found = false;
    for (int v = 0; v < vb.GetVertexQuantity(); ++v) {
        if ((vb.Position3(v) - northPole).Length() < 1e-5f) {
            found = true;
            EXPECT_NEAR(vb.Normal3(v).Z(), 1.0f, 1e-5f);
        }
    }
    EXPECT_TRUE(found);
}

TEST(SceneGraphMeshUtils, MergeDropsCollapsedTrianglesAndMixedLayouts)
{
    // A sliver triangle whose vertices are within the tolerance collapses.
    oxAttributes positionsOnly;
    positionsOnly.SetPositionChannels(3);
    oxPointer<oxVertexBuffer> vb(new oxVertexBuffer(positionsOnly, 6));
    const Vec3 points[6] = {Vec3(0, 0, 0), Vec3(1, 0, 0),      Vec3(0, 1, 0),
                            Vec3(5, 5, 5), Vec3(5.001f, 5, 5), Vec3(5, 5.001f, 5)};
    for (int v = 0; v < 6; ++v) {
        vb->Position3(v) = points[v];
    }
    oxPointer<oxIndexBuffer> ib(new oxIndexBuffer(9));
    const unsigned int indices[9] = {0, 1, 2, 3, 4, 5, 0, 1, 7};  // the last refers to a missing vertex
    for (int i = 0; i < 9; ++i) {
        (*ib)[i] = indices[i];
    }
    oxPointer<oxGeometry> slivers(new oxGeometry(vb.get(), ib.get()));
    slivers->editLocalTransform().SetTranslate(Vec3(1.0f, 0.0f, 0.0f));

    // A root that is itself a mesh is merged alone, with its own transform.
    oxPointer<oxSpatial> merged = oxMeshUtils::MergeNodeGeometries(oxPointer<oxSpatial>(slivers), 0.01f);
    const oxTriMesh& mesh = *oxDynamicCast<oxTriMesh>(merged.get());
    EXPECT_EQ(mesh.GetVertexBuffer()->GetVertexQuantity(), 4);
    EXPECT_EQ(mesh.GetTriangleQuantity(), 1);
    EXPECT_EQ(mesh.GetVertexBuffer()->Position3(3), Vec3(6.0f, 5.0f, 5.0f));
    EXPECT_FALSE(mesh.GetVertexBuffer()->GetAttributes().HasNormal());

    // One part without normals: the merged layout has none.
    oxStandardMesh builder(positionsAndNormals());
    oxPointer<oxNode> root(new oxNode());
    root->attachChild(builder.Box(1, 1, 1));
    root->attachChild(slivers.get());
    oxPointer<oxSpatial> mixed = oxMeshUtils::MergeNodeGeometries(root, 0.0f);
    EXPECT_FALSE(oxDynamicCast<oxTriMesh>(mixed.get())->GetVertexBuffer()->GetAttributes().HasNormal());

    // Empty trees give an empty geometry, a null root gives null.
    oxPointer<oxNode> empty(new oxNode());
    oxPointer<oxSpatial> nothing = oxMeshUtils::MergeNodeGeometries(empty, 0.0f);
    ASSERT_TRUE(nothing);
    EXPECT_EQ(oxDynamicCast<oxTriMesh>(nothing.get())->GetTriangleQuantity(), 0);
    EXPECT_FALSE(oxMeshUtils::MergeNodeGeometries(oxPointer<oxSpatial>(), 0.0f));
}

TEST(SceneGraphGenericGeometry, QuadsSplitAlongTheFirstDiagonal)
{
    oxAttributes positionsOnly;
    positionsOnly.SetPositionChannels(3);
    oxPointer<oxVertexBuffer> vb(new oxVertexBuffer(positionsOnly, 6));
    oxPointer<oxIndexBuffer> tris(new oxIndexBuffer(3));
    (*tris)[0] = 5;
    (*tris)[1] = 4;
    (*tris)[2] = 3;
    oxPointer<oxIndexBuffer> quads(new oxIndexBuffer(8, oxIndexBuffer::IBT_QUADS));
    for (int i = 0; i < 8; ++i) {
        (*quads)[i] = static_cast<unsigned int>(i % 6);
    }
    oxPointer<oxGenericGeometry> generic(new oxGenericGeometry());
    generic->SetName("mixed");
    generic->NewTrianglesAndQuads(vb.get(), tris.get(), quads.get());
    ASSERT_EQ(generic->GetPrimitiveSetQuantity(), 2);
    EXPECT_EQ(generic->GetPrimitiveType(0), oxIndexBuffer::IBT_TRIANGLES);
    EXPECT_EQ(generic->GetPrimitiveType(1), oxIndexBuffer::IBT_QUADS);
    EXPECT_EQ(generic->GetPrimitiveType(2), oxIndexBuffer::IBT_UNKNOWN);
    EXPECT_EQ(generic->GetPrimitiveIndices(1), quads.get());
    EXPECT_EQ(generic->GetTriangleQuantity(), 1);
    EXPECT_EQ(generic->GetQuadQuantity(), 2);

    oxPointer<oxTriMesh> mesh = generic->toTriMesh();
    ASSERT_EQ(mesh->GetTriangleQuantity(), 5);
    const int expected[5][3] = {{5, 4, 3}, {0, 1, 2}, {0, 2, 3}, {4, 5, 0}, {4, 0, 1}};
    for (int t = 0; t < 5; ++t) {
        int a = 0, b = 0, c = 0;
        ASSERT_TRUE(mesh->GetTriangle(t, a, b, c));
        EXPECT_EQ(a, expected[t][0]);
        EXPECT_EQ(b, expected[t][1]);
        EXPECT_EQ(c, expected[t][2]);
    }
    EXPECT_EQ(mesh->GetName(), "mixed");
    EXPECT_NE(mesh->GetVertexBuffer(), vb.get());  // a copy
    EXPECT_TRUE(mesh->GetVertexBuffer()->Equals(vb.get()));

    // Each New* call replaces the content.
    generic->NewQuads(vb.get(), quads.get());
    EXPECT_EQ(generic->GetPrimitiveSetQuantity(), 1);
    EXPECT_EQ(generic->GetTriangleQuantity(), 0);
    EXPECT_EQ(generic->toTriMesh()->GetTriangleQuantity(), 4);
    generic->NewTriangles(vb.get(), tris.get());
    EXPECT_EQ(generic->GetPrimitiveType(0), oxIndexBuffer::IBT_TRIANGLES);
    EXPECT_EQ(generic->GetQuadQuantity(), 0);
    EXPECT_EQ(quads->GetReferences(), 1);
}

TEST(SceneGraphGenericGeometry, PersistenceAndClone)
{
    oxRegisterSceneGraphFactories();
    oxAttributes layout;
    layout.SetPositionChannels(3);
    layout.SetTCoordChannels(0, 2);
    oxPointer<oxVertexBuffer> vb(new oxVertexBuffer(layout, 4));
    for (int k = 0; k < 20; ++k) {
        vb->GetData()[k] = float(k) * 0.5f;
    }
    oxPointer<oxIndexBuffer> quads(new oxIndexBuffer(4, oxIndexBuffer::IBT_QUADS));
    for (int i = 0; i < 4; ++i) {
        (*quads)[i] = static_cast<unsigned int>(3 - i);
    }
    oxPointer<oxGenericGeometry> generic(new oxGenericGeometry());
    generic->NewTrianglesAndQuads(vb.get(), nullptr, quads.get());
    EXPECT_EQ(generic->GetPrimitiveSetQuantity(), 1);

    oxBaseStream out = oxBaseStream::openMemoryWrite();
    ASSERT_TRUE(oxSaveObject(out, *generic));
    oxBaseStream in = oxBaseStream::openMemoryRead(out.getBuffer());
    oxPointer<oxObject> loaded(oxLoadObject(in));
    ASSERT_TRUE(loaded);
    EXPECT_TRUE(loaded->IsExactly(oxGenericGeometry::TYPE));
    EXPECT_TRUE(generic->Equals(loaded.get()));

    oxObject* copy = nullptr;
    ASSERT_TRUE(generic->Clone(copy));
    oxPointer<oxObject> owner(copy);
    EXPECT_TRUE(generic->Equals(copy));
    (*static_cast<oxGenericGeometry*>(copy)->GetPrimitiveIndices(0))[0] = 9;
    EXPECT_FALSE(generic->Equals(copy));
    EXPECT_EQ((*quads)[0], 3u);
    oxUnregisterSceneGraphFactories();
}

}  // namespace
