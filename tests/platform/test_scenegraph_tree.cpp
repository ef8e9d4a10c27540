// Transforms, scene trees, persistence of whole trees and the extension pattern of oxGeometry.

#include "scenegraph/oxBaseStream.h"
#include "scenegraph/oxGeometry.h"
#include "scenegraph/oxNode.h"
#include "scenegraph/oxSceneGraphFactories.h"
#include "scenegraph/oxTransformation.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using namespace ox;
using Vec3 = Wm4::Vector3<float>;
using Mat3 = Wm4::Matrix3<float>;

void expectNear(const Vec3& actual, const Vec3& expected, float tolerance = 1e-5f)
{
    EXPECT_NEAR(actual.X(), expected.X(), tolerance);
    EXPECT_NEAR(actual.Y(), expected.Y(), tolerance);
    EXPECT_NEAR(actual.Z(), expected.Z(), tolerance);
}

Mat3 rotationAbout(const Vec3& axis, float angle)
{
    Vec3 unit = axis;
    unit.Normalize();
    Mat3 r;
    r.FromAxisAngle(unit, angle);
    return r;
}

oxTransformation makeTransform(const Vec3& axis, float angle, const Vec3& scale, const Vec3& translate)
{
    oxTransformation t;
    t.SetRotate(rotationAbout(axis, angle));
    t.SetScale(scale);
    t.SetTranslate(translate);
    return t;
}

TEST(SceneGraphTransformation, ComponentsActOnPointsVectorsAndNormals)
{
    oxTransformation t;
    EXPECT_TRUE(t.IsIdentity());
    // Rotation by 90 degrees about z maps (x, y, z) to (-y, x, z).
    t.SetRotate(Mat3(0.0f, -1.0f, 0.0f, 1.0f, 0.0f, 0.0f, 0.0f, 0.0f, 1.0f));
    t.SetScale(Vec3(2.0f, 3.0f, 4.0f));
    t.SetTranslate(Vec3(1.0f, 2.0f, 3.0f));
    EXPECT_FALSE(t.IsIdentity());
    // p = (1, 1, 1): scaled (2, 3, 4), rotated (-3, 2, 4), translated (-2, 4, 7).
    expectNear(t.ApplyForward(Vec3(1.0f, 1.0f, 1.0f)), Vec3(-2.0f, 4.0f, 7.0f));
    expectNear(t.ApplyForwardVector(Vec3(1.0f, 1.0f, 1.0f)), Vec3(-3.0f, 2.0f, 4.0f));
    // Setting the scale again replaces it (it does not accumulate).
    t.SetScale(Vec3(1.0f, 1.0f, 1.0f));
    expectNear(t.ApplyForward(Vec3(1.0f, 0.0f, 0.0f)), Vec3(1.0f, 3.0f, 3.0f));
    t.MakeIdentity();
    EXPECT_TRUE(t.IsIdentity());

    // Normals stay perpendicular to transformed tangent planes under non-uniform scale.
    const oxTransformation skew =
        makeTransform(Vec3(1.0f, 2.0f, 0.5f), 0.7f, Vec3(3.0f, 0.5f, 1.5f), Vec3(4.0f, 0.0f, -1.0f));
    const Vec3 t1(1.0f, -0.5f, 0.25f);
    const Vec3 t2(0.0f, 1.0f, 2.0f);
    const Vec3 normal = t1.Cross(t2);
    Vec3 expected = skew.ApplyForwardVector(t1).Cross(skew.ApplyForwardVector(t2));
    expected.Normalize();
    const Vec3 transformed = skew.ApplyForwardNormal(normal);
    expectNear(transformed, expected);
    EXPECT_NEAR(transformed.Length(), 1.0f, 1e-6f);
    // A singular linear block gives the zero normal.
    oxTransformation flat;
    flat.SetScale(Vec3(1.0f, 1.0f, 0.0f));
    EXPECT_EQ(flat.ApplyForwardNormal(Vec3(0.0f, 0.0f, 1.0f)), Vec3::ZERO);
}

TEST(SceneGraphTransformation, ProductAndInverse)
{
    const oxTransformation a =
        makeTransform(Vec3(0.0f, 1.0f, 0.0f), 0.4f, Vec3(2.0f, 2.0f, 1.0f), Vec3(1.0f, -1.0f, 0.5f));
    const oxTransformation b =
        makeTransform(Vec3(1.0f, 1.0f, 1.0f), -1.1f, Vec3(0.5f, 1.0f, 3.0f), Vec3(0.0f, 2.0f, 0.0f));
    const Vec3 p(0.3f, -0.7f, 2.0f);
    // a * b applies b first.
    expectNear((a * b).ApplyForward(p), a.ApplyForward(b.ApplyForward(p)));
    oxTransformation product;
    product.Product(a, b);
    EXPECT_TRUE(product == a * b);
    // Aliasing the output with an input.
    oxTransformation c = a;
    c.Product(c, b);
    EXPECT_TRUE(c == a * b);

    expectNear(a.Inverse().ApplyForward(a.ApplyForward(p)), p);
    const oxTransformation identity = b * b.Inverse();
    for (int r = 0; r < 4; ++r) {
        for (int col = 0; col < 4; ++col) {
            EXPECT_NEAR(identity.GetMatrix()(r, col), r == col ? 1.0f : 0.0f, 1e-5f);
        }
    }
}

TEST(SceneGraphTransformation, SaveLoadIsExact)
{
    const oxTransformation a =
        makeTransform(Vec3(0.3f, 1.0f, -2.0f), 2.1f, Vec3(1.0f, 7.0f, 0.1f), Vec3(1e-7f, -3e5f, 0.5f));
    oxBaseStream out = oxBaseStream::openMemoryWrite();
    ASSERT_TRUE(a.Save(out));
    EXPECT_EQ(out.getBuffer().size(), 16u * 4u);
    oxBaseStream in = oxBaseStream::openMemoryRead(out.getBuffer());
    oxTransformation loaded;
    ASSERT_TRUE(loaded.Load(in));
    EXPECT_TRUE(loaded == a);
}

TEST(SceneGraphNode, WorldTransformsOfAThreeLevelTree)
{
    oxPointer<oxNode> root(new oxNode());
    oxPointer<oxNode> middle(new oxNode());
    oxPointer<oxGeometry> leaf(new oxGeometry());
    root->attachChild(middle.get());
    middle->attachChild(leaf.get());
    const oxTransformation a =
        makeTransform(Vec3(0.0f, 0.0f, 1.0f), 0.5f, Vec3(2.0f, 2.0f, 2.0f), Vec3(10.0f, 0.0f, 0.0f));
    const oxTransformation b =
        makeTransform(Vec3(1.0f, 0.0f, 0.0f), -0.3f, Vec3(1.0f, 0.5f, 1.0f), Vec3(0.0f, 5.0f, 0.0f));
    const oxTransformation c =
        makeTransform(Vec3(1.0f, 1.0f, 0.0f), 1.2f, Vec3(1.0f, 1.0f, 3.0f), Vec3(0.0f, 0.0f, -2.0f));
    root->editLocalTransform() = a;
    middle->editLocalTransform() = b;
    leaf->editLocalTransform() = c;
    root->updateWorldTransforms();

    // World matrices are the explicit products of the local matrices down the path.
    const Wm4::Matrix4<float> expectedLeaf = a.GetMatrix() * b.GetMatrix() * c.GetMatrix();
    const Wm4::Matrix4<float> expectedMiddle = a.GetMatrix() * b.GetMatrix();
    for (int r = 0; r < 4; ++r) {
        for (int col = 0; col < 4; ++col) {
            EXPECT_NEAR(leaf->getWorldTransform().GetMatrix()(r, col), expectedLeaf(r, col), 1e-5f);
            EXPECT_NEAR(middle->getWorldTransform().GetMatrix()(r, col), expectedMiddle(r, col), 1e-5f);
        }
    }
    EXPECT_TRUE(root->getWorldTransform() == a);
    const Vec3 p(1.0f, 2.0f, 3.0f);
    expectNear(leaf->getWorldTransform().ApplyForward(p), a.ApplyForward(b.ApplyForward(c.ApplyForward(p))),
               1e-4f);

    // Updating a subtree alone uses its parent's current world transform.
    leaf->editLocalTransform().MakeIdentity();
    leaf->updateWorldTransforms();
    EXPECT_TRUE(leaf->getWorldTransform() == middle->getWorldTransform());
    // A detached object is its own root.
    middle->detachChild(leaf.get());
    leaf->updateWorldTransforms();
    EXPECT_TRUE(leaf->getWorldTransform().IsIdentity());
}

TEST(SceneGraphNode, SlotsParentsAndDirtyFlags)
{
    oxPointer<oxNode> root(new oxNode());
    oxPointer<oxNode> other(new oxNode());
    oxPointer<oxGeometry> g0(new oxGeometry());
    oxPointer<oxGeometry> g1(new oxGeometry());
    EXPECT_EQ(root->attachChild(g0.get()), 0);
    EXPECT_EQ(root->attachChild(g1.get()), 1);
    EXPECT_EQ(root->attachChild(g0.get()), 0);  // already here: same slot
    EXPECT_EQ(root->attachChild(nullptr), -1);
    EXPECT_EQ(root->getNoChildren(), 2);
    EXPECT_EQ(g1->getParent(), root.get());
    EXPECT_EQ(g0->GetReferences(), 2);

    EXPECT_EQ(root->detachChild(g0.get()), 0);
    EXPECT_EQ(g0->getParent(), nullptr);
    EXPECT_EQ(root->getNoChildren(), 2);  // the slot stays, empty
    EXPECT_FALSE(root->getChild(0));
    EXPECT_EQ(root->detachChild(g0.get()), -1);
    // The empty slot is reused first.
    EXPECT_EQ(root->attachChild(other.get()), 0);
    EXPECT_EQ(root->getChild(0), other);

    // setChild grows the list with empty slots.
    root->setChild(4, g0.get());
    EXPECT_EQ(root->getNoChildren(), 5);
    EXPECT_FALSE(root->getChild(2));
    EXPECT_FALSE(root->getChild(3));
    EXPECT_EQ(root->getChild(4), g0);
    EXPECT_FALSE(root->getChild(5));
    EXPECT_FALSE(root->getChild(-1));

    // Attaching elsewhere moves the child.
    EXPECT_EQ(other->attachChild(g0.get()), 0);
    EXPECT_EQ(g0->getParent(), other.get());
    EXPECT_FALSE(root->getChild(4));
    // A node cannot become its own descendant.
    EXPECT_EQ(other->attachChild(root.get()), -1);
    EXPECT_EQ(other->attachChild(other.get()), -1);

    // Dirty flags propagate down, not up.
    root->setDirtyDown(false);
    other->setDirtyDown(true);
    EXPECT_TRUE(g0->isDirty());
    EXPECT_FALSE(root->isDirty());
    EXPECT_FALSE(g1->isDirty());
    root->editLocalTransform();
    EXPECT_TRUE(g1->isDirty());
    root->setDirtyDown(false);
    root->editLocalTransform(false);
    EXPECT_FALSE(g1->isDirty());
}

/// Counts destructions, to check that nodes release their children exactly once.
class CountedGeometry : public oxGeometry {
public:
    explicit CountedGeometry(int* destroyed) : m_destroyed(destroyed) {}
    ~CountedGeometry() override { ++*m_destroyed; }

private:
    int* m_destroyed;
};

TEST(SceneGraphNode, ChildrenLiveAsLongAsTheirReferences)
{
    int destroyed = 0;
    oxPointer<CountedGeometry> kept(new CountedGeometry(&destroyed));
    {
        oxPointer<oxNode> root(new oxNode());
        root->attachChild(kept.get());
        root->attachChild(new CountedGeometry(&destroyed));
        root->setChild(2, new CountedGeometry(&destroyed));
        root->setChild(2, nullptr);  // replaced: released
        EXPECT_EQ(destroyed, 1);
    }
    EXPECT_EQ(destroyed, 2);
    EXPECT_EQ(kept->getParent(), nullptr);
    EXPECT_EQ(kept->GetReferences(), 1);
}

/// A triangle mesh with a transform, a name and distinct vertex data.
oxPointer<oxGeometry> makeGeometry(float seed)
{
    oxAttributes attributes;
    attributes.SetPositionChannels(3);
    attributes.SetNormalChannels(3);
    attributes.SetColorChannels(0, 3);
    oxPointer<oxVertexBuffer> vb(new oxVertexBuffer(attributes, 4));
    for (int k = 0; k < 4 * attributes.GetChannelQuantity(); ++k) {
        vb->GetData()[k] = seed + 0.37f * float(k);
    }
    oxPointer<oxIndexBuffer> ib(new oxIndexBuffer(6));
    const unsigned int indices[6] = {0, 1, 2, 0, 2, 3};
    for (int i = 0; i < 6; ++i) {
        (*ib)[i] = indices[i];
    }
    oxPointer<oxGeometry> geometry(new oxGeometry(vb.get(), ib.get()));
    geometry->SetName("geometry " + std::to_string(seed));
    geometry->editLocalTransform() =
        makeTransform(Vec3(seed, 1.0f, 0.0f), seed, Vec3(1.0f, 2.0f, 1.0f), Vec3(seed, 0.0f, 1.0f));
    return geometry;
}

/// root (transformed) -> [geometry A, empty slot, node (transformed) -> [geometry B]]
oxPointer<oxNode> makeTree()
{
    oxPointer<oxNode> root(new oxNode());
    root->SetName("root");
    root->editLocalTransform() =
        makeTransform(Vec3(0.0f, 0.0f, 1.0f), 0.25f, Vec3(1.0f, 1.0f, 1.0f), Vec3(1.0f, 2.0f, 3.0f));
    oxPointer<oxNode> inner(new oxNode());
    inner->editLocalTransform().SetTranslate(Vec3(-5.0f, 0.0f, 0.0f));
    root->setChild(0, makeGeometry(1.0f).get());
    root->setChild(2, inner.get());
    inner->attachChild(makeGeometry(2.0f).get());
    root->updateWorldTransforms();
    return root;
}

TEST(SceneGraphPersistence, TreeRoundTripThroughRegisteredFactories)
{
    oxRegisterSceneGraphFactories();
    const oxPointer<oxNode> tree = makeTree();
    oxBaseStream out = oxBaseStream::openMemoryWrite();
    ASSERT_TRUE(oxSaveObject(out, *tree));

    oxBaseStream in = oxBaseStream::openMemoryRead(out.getBuffer());
    oxPointer<oxObject> loaded(oxLoadObject(in));
    ASSERT_TRUE(loaded);
    EXPECT_EQ(in.tell(), out.getBuffer().size());
    ASSERT_TRUE(loaded->IsExactly(oxNode::TYPE));
    EXPECT_TRUE(tree->Equals(loaded.get()));
    EXPECT_TRUE(loaded->Equals(tree.get()));

    // The loaded tree is wired: slots, parents, types and world transforms.
    oxNode* root = static_cast<oxNode*>(loaded.get());
    ASSERT_EQ(root->getNoChildren(), 3);
    EXPECT_FALSE(root->getChild(1));
    EXPECT_TRUE(root->getChild(0)->IsExactly(oxGeometry::TYPE));
    EXPECT_EQ(root->getChild(0)->getParent(), root);
    oxPointer<oxNode> inner(oxDynamicCast<oxNode>(root->getChild(2).get()));
    ASSERT_TRUE(inner);
    oxPointer<oxGeometry> leaf(oxDynamicCast<oxGeometry>(inner->getChild(0).get()));
    ASSERT_TRUE(leaf);
    EXPECT_EQ(leaf->getParent(), inner.get());
    EXPECT_EQ(leaf->GetName(), "geometry 2.000000");
    EXPECT_TRUE(leaf->getWorldTransform() ==
                static_cast<oxNode*>(tree->getChild(2).get())->getChild(0)->getWorldTransform());

    // Equals sees a one-float difference deep in the tree.
    leaf->GetVertexBuffer()->Normal3(3).Y() += 1e-3f;
    EXPECT_FALSE(tree->Equals(loaded.get()));

    // Truncated trees fail cleanly.
    for (std::size_t size : {std::size_t(3), out.getBuffer().size() / 2, out.getBuffer().size() - 1}) {
        std::vector<unsigned char> part(out.getBuffer().begin(),
                                        out.getBuffer().begin() + static_cast<long>(size));
        oxBaseStream shortStream = oxBaseStream::openMemoryRead(part);
        EXPECT_EQ(oxLoadObject(shortStream), nullptr) << size;
    }

    // Without the geometry factory the children cannot be rebuilt.
    oxRttiInterface::UnregisterFactoryFunction(oxGeometry::TYPE.GetName());
    oxBaseStream again = oxBaseStream::openMemoryRead(out.getBuffer());
    EXPECT_EQ(oxLoadObject(again), nullptr);
    oxUnregisterSceneGraphFactories();
}

TEST(SceneGraphPersistence, CloneOfATreeIsDeep)
{
    const oxPointer<oxNode> tree = makeTree();
    oxObject* copy = nullptr;
    ASSERT_TRUE(tree->Clone(copy));
    oxPointer<oxObject> owner(copy);
    ASSERT_TRUE(copy->IsExactly(oxNode::TYPE));
    EXPECT_TRUE(tree->Equals(copy));
    oxNode* cloned = static_cast<oxNode*>(copy);
    oxGeometry* clonedLeaf = oxDynamicCast<oxGeometry>(cloned->getChild(0).get());
    oxGeometry* originalLeaf = oxDynamicCast<oxGeometry>(tree->getChild(0).get());
    ASSERT_NE(clonedLeaf, nullptr);
    EXPECT_NE(clonedLeaf, originalLeaf);
    EXPECT_NE(clonedLeaf->GetVertexBuffer(), originalLeaf->GetVertexBuffer());
    EXPECT_EQ(clonedLeaf->getParent(), cloned);
    clonedLeaf->GetVertexBuffer()->Position3(0).X() = 100.0f;
    EXPECT_NE(originalLeaf->GetVertexBuffer()->Position3(0).X(), 100.0f);
    EXPECT_FALSE(tree->Equals(copy));
}

/// The extension pattern of a persistent class derived from oxGeometry: each operation calls
/// oxGeometry's first and then handles the class's own field.
class WeightedGeometry : public oxGeometry {
public:
    static const oxRtti TYPE;
    WeightedGeometry() = default;
    WeightedGeometry(oxVertexBuffer* vb, oxIndexBuffer* ib, float weight)
        : oxGeometry(vb, ib), m_weight(weight)
    {}
    const oxRtti& GetType() const override { return TYPE; }
    bool Load(oxBaseStream& stream) override
    {
        return oxGeometry::Load(stream) && stream.readValue(m_weight);
    }
    bool Save(oxBaseStream& stream) const override
    {
        return oxGeometry::Save(stream) && stream.writeValue(m_weight);
    }
    bool Equals(const oxObject* other) const override
    {
        return oxGeometry::Equals(other) && static_cast<const WeightedGeometry*>(other)->m_weight == m_weight;
    }
    bool Clone(oxObject*& target) const override
    {
        return CloneWith<WeightedGeometry>(target, [this](oxObject*& copy) {
            if (!oxGeometry::Clone(copy)) {
                return false;
            }
            static_cast<WeightedGeometry*>(copy)->m_weight = m_weight;
            return true;
        });
    }
    static oxObject* Factory(oxBaseStream& stream) { return LoadNew<WeightedGeometry>(stream); }
    float m_weight = 0.0f;
};
const oxRtti WeightedGeometry::TYPE("test.WeightedGeometry", &oxGeometry::TYPE);

TEST(SceneGraphPersistence, DerivedGeometryExtendsTheChain)
{
    oxRttiInterface::RegisterFactoryFunction(WeightedGeometry::TYPE.GetName(), &WeightedGeometry::Factory);
    const oxPointer<oxGeometry> base = makeGeometry(3.0f);
    oxPointer<WeightedGeometry> weighted(
        new WeightedGeometry(base->GetVertexBuffer(), base->GetIndexBuffer(), 0.75f));
    weighted->SetName("weighted");
    EXPECT_TRUE(weighted->IsDerived(oxTriMesh::TYPE));
    EXPECT_FALSE(weighted->Equals(base.get()));  // different exact types

    oxBaseStream out = oxBaseStream::openMemoryWrite();
    ASSERT_TRUE(oxSaveObject(out, *weighted));
    oxBaseStream in = oxBaseStream::openMemoryRead(out.getBuffer());
    oxPointer<oxObject> loaded(oxLoadObject(in));
    ASSERT_TRUE(loaded);
    ASSERT_TRUE(loaded->IsExactly(WeightedGeometry::TYPE));
    EXPECT_EQ(static_cast<WeightedGeometry*>(loaded.get())->m_weight, 0.75f);
    EXPECT_TRUE(weighted->Equals(loaded.get()));

    oxObject* copy = nullptr;
    ASSERT_TRUE(weighted->Clone(copy));
    oxPointer<oxObject> owner(copy);
    EXPECT_TRUE(copy->IsExactly(WeightedGeometry::TYPE));
    EXPECT_TRUE(weighted->Equals(copy));
    static_cast<WeightedGeometry*>(copy)->m_weight = 1.0f;
    EXPECT_FALSE(weighted->Equals(copy));
    oxRttiInterface::UnregisterFactoryFunction(WeightedGeometry::TYPE.GetName());
}

}  // namespace
