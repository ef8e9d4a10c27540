// Run-time types, factory table, reference counting and the intrusive pointer.

#include "scenegraph/oxBaseStream.h"
#include "scenegraph/oxGenericGeometry.h"
#include "scenegraph/oxGeometry.h"
#include "scenegraph/oxNode.h"
#include "scenegraph/oxObject.h"
#include "scenegraph/oxPointer.h"
#include "scenegraph/oxRtti.h"

#include <gtest/gtest.h>

#include <utility>

namespace {

using namespace ox;

/// Counts its destructions in a counter owned by the test.
class CountedObject : public oxObject {
public:
    static const oxRtti TYPE;
    explicit CountedObject(int* destroyed = nullptr) : m_destroyed(destroyed) {}
    ~CountedObject() override
    {
        if (m_destroyed != nullptr) {
            ++*m_destroyed;
        }
    }
    const oxRtti& GetType() const override { return TYPE; }

private:
    int* m_destroyed;
};
const oxRtti CountedObject::TYPE("test.CountedObject", &oxObject::TYPE);

class DerivedCounted : public CountedObject {
public:
    static const oxRtti TYPE;
    using CountedObject::CountedObject;
    const oxRtti& GetType() const override { return TYPE; }
};
const oxRtti DerivedCounted::TYPE("test.DerivedCounted", &CountedObject::TYPE);

TEST(SceneGraphRtti, TypeChainOfTheSceneClasses)
{
    // The chain oxObject <- oxSpatial <- oxTriangles <- oxTriMesh <- oxGeometry.
    oxPointer<oxGeometry> geometry(new oxGeometry());
    EXPECT_TRUE(geometry->IsExactly(oxGeometry::TYPE));
    EXPECT_FALSE(geometry->IsExactly(oxTriMesh::TYPE));
    for (const oxRtti* type :
         {&oxGeometry::TYPE, &oxTriMesh::TYPE, &oxTriangles::TYPE, &oxSpatial::TYPE, &oxObject::TYPE}) {
        EXPECT_TRUE(geometry->IsDerived(*type)) << type->GetName();
    }
    EXPECT_FALSE(geometry->IsDerived(oxNode::TYPE));
    EXPECT_FALSE(geometry->IsDerived(oxVertexBuffer::TYPE));

    oxPointer<oxNode> node(new oxNode());
    EXPECT_TRUE(node->IsDerived(oxSpatial::TYPE));
    EXPECT_TRUE(node->IsDerived(oxObject::TYPE));
    EXPECT_FALSE(node->IsDerived(oxTriMesh::TYPE));
    EXPECT_FALSE(node->IsDerived(oxTriangles::TYPE));

    oxPointer<oxGenericGeometry> generic(new oxGenericGeometry());
    EXPECT_TRUE(generic->IsDerived(oxSpatial::TYPE));
    EXPECT_FALSE(generic->IsDerived(oxTriMesh::TYPE));

    // Names and parents as persisted.
    EXPECT_STREQ(oxGeometry::TYPE.GetName(), "oxCore.oxGeometry");
    EXPECT_STREQ(oxTriMesh::TYPE.GetName(), "oxCore.oxTriMesh");
    EXPECT_STREQ(oxNode::TYPE.GetName(), "oxCore.oxNode");
    EXPECT_STREQ(oxObject::TYPE.GetName(), "oxCore.oxObject");
    EXPECT_EQ(oxGeometry::TYPE.GetBaseType(), &oxTriMesh::TYPE);
    EXPECT_EQ(oxObject::TYPE.GetBaseType(), nullptr);

    // A record with the same name is still another type.
    static const oxRtti impostor("oxCore.oxGeometry", &oxObject::TYPE);
    EXPECT_FALSE(geometry->IsDerived(impostor));
    EXPECT_FALSE(impostor.IsDerived(oxGeometry::TYPE));
}

TEST(SceneGraphRtti, DynamicCastFollowsTheChain)
{
    oxPointer<oxSpatial> spatial(new oxGeometry());
    EXPECT_EQ(oxDynamicCast<oxTriMesh>(spatial.get()),
              static_cast<oxTriMesh*>(static_cast<oxGeometry*>(spatial.get())));
    EXPECT_NE(oxDynamicCast<oxGeometry>(spatial.get()), nullptr);
    EXPECT_EQ(oxDynamicCast<oxNode>(spatial.get()), nullptr);
    EXPECT_EQ(oxDynamicCast<oxNode>(static_cast<oxRttiInterface*>(nullptr)), nullptr);
    const oxSpatial* constSpatial = spatial.get();
    EXPECT_NE(oxDynamicCast<oxTriangles>(constSpatial), nullptr);
}

oxObject* makeCounted(oxBaseStream&)
{
    return new CountedObject();
}
oxObject* makeDerived(oxBaseStream&)
{
    return new DerivedCounted();
}

TEST(SceneGraphRtti, FactoryTableRegisterReplaceUnregister)
{
    const std::string name = "test.FactoryTable";
    EXPECT_EQ(oxRttiInterface::FindFactoryFunction(name), nullptr);
    EXPECT_FALSE(oxRttiInterface::UnregisterFactoryFunction(name));

    EXPECT_TRUE(oxRttiInterface::RegisterFactoryFunction(name, &makeCounted));
    EXPECT_EQ(oxRttiInterface::FindFactoryFunction(name), &makeCounted);
    // Registering an existing name replaces the factory.
    EXPECT_TRUE(oxRttiInterface::RegisterFactoryFunction(name, &makeDerived));
    EXPECT_EQ(oxRttiInterface::FindFactoryFunction(name), &makeDerived);
    EXPECT_FALSE(oxRttiInterface::RegisterFactoryFunction("", &makeDerived));
    EXPECT_FALSE(oxRttiInterface::RegisterFactoryFunction("test.null", nullptr));
    EXPECT_EQ(oxRttiInterface::FindFactoryFunction("test.null"), nullptr);

    EXPECT_TRUE(oxRttiInterface::UnregisterFactoryFunction(name));
    EXPECT_EQ(oxRttiInterface::FindFactoryFunction(name), nullptr);
    EXPECT_FALSE(oxRttiInterface::UnregisterFactoryFunction(name));
}

TEST(SceneGraphRtti, LoadObjectUsesTheFactoryOfTheSavedName)
{
    oxRttiInterface::RegisterFactoryFunction(DerivedCounted::TYPE.GetName(), &makeDerived);
    oxBaseStream out = oxBaseStream::openMemoryWrite();
    DerivedCounted original;
    ASSERT_TRUE(oxSaveObject(out, original));

    oxBaseStream in = oxBaseStream::openMemoryRead(out.getBuffer());
    oxPointer<oxObject> loaded(oxLoadObject(in));
    ASSERT_TRUE(loaded);
    EXPECT_TRUE(loaded->IsExactly(DerivedCounted::TYPE));

    // Unknown type and truncated name give null.
    oxRttiInterface::UnregisterFactoryFunction(DerivedCounted::TYPE.GetName());
    oxBaseStream again = oxBaseStream::openMemoryRead(out.getBuffer());
    EXPECT_EQ(oxLoadObject(again), nullptr);
    std::vector<unsigned char> truncated(out.getBuffer().begin(), out.getBuffer().begin() + 6);
    oxBaseStream shortStream = oxBaseStream::openMemoryRead(truncated);
    EXPECT_EQ(oxLoadObject(shortStream), nullptr);
}

TEST(SceneGraphReferences, PointerCopiesShareOneCountAndReleaseDeletesOnce)
{
    int destroyed = 0;
    {
        CountedObject* raw = new CountedObject(&destroyed);
        EXPECT_EQ(raw->GetReferences(), 0);
        oxPointer<CountedObject> a(raw);
        EXPECT_EQ(raw->GetReferences(), 1);
        {
            oxPointer<CountedObject> b(a);
            oxPointer<oxObject> c = b;  // converting copy
            EXPECT_EQ(raw->GetReferences(), 3);
            oxPointer<oxObject> d(std::move(c));  // move transfers, no new reference
            EXPECT_EQ(raw->GetReferences(), 3);
            EXPECT_FALSE(c);
            EXPECT_TRUE(d == raw);
            EXPECT_TRUE(d == a);
            EXPECT_TRUE(c == nullptr);
            EXPECT_TRUE(nullptr != d);
        }
        EXPECT_EQ(raw->GetReferences(), 1);
        EXPECT_EQ(destroyed, 0);
        oxPointer<CountedObject>& alias = a;
        a = alias;  // self assignment keeps the object
        EXPECT_EQ(destroyed, 0);
        EXPECT_EQ(raw->GetReferences(), 1);
    }
    EXPECT_EQ(destroyed, 1);
}

TEST(SceneGraphReferences, ResetAssignAndRelease)
{
    int destroyedA = 0;
    int destroyedB = 0;
    oxPointer<CountedObject> p(new CountedObject(&destroyedA));
    p = new CountedObject(&destroyedB);  // the first object loses its only reference
    EXPECT_EQ(destroyedA, 1);
    EXPECT_EQ(destroyedB, 0);

    oxPointer<CountedObject> q;
    q = p;
    p.reset();
    EXPECT_EQ(destroyedB, 0);
    EXPECT_EQ(q->GetReferences(), 1);

    // release hands the reference over; DecrementReferences then deletes.
    CountedObject* released = q.release();
    EXPECT_FALSE(q);
    EXPECT_EQ(released->GetReferences(), 1);
    released->DecrementReferences();
    EXPECT_EQ(destroyedB, 1);

    // Derived-to-base move assignment.
    int destroyedC = 0;
    oxPointer<oxObject> base;
    oxPointer<DerivedCounted> derived(new DerivedCounted(&destroyedC));
    base = std::move(derived);
    EXPECT_EQ(base->GetReferences(), 1);
    base = nullptr;
    EXPECT_EQ(destroyedC, 1);
}

TEST(SceneGraphReferences, CopyingAnObjectDoesNotCopyItsCount)
{
    oxPointer<oxGeometry> geometry(new oxGeometry());
    oxPointer<oxGeometry> second(geometry);
    ASSERT_EQ(geometry->GetReferences(), 2);
    oxObject* copy = nullptr;
    ASSERT_TRUE(geometry->Clone(copy));
    EXPECT_EQ(copy->GetReferences(), 0);
    oxPointer<oxObject> owner(copy);
    EXPECT_EQ(copy->GetReferences(), 1);
    EXPECT_TRUE(copy->IsExactly(oxGeometry::TYPE));
}

TEST(SceneGraphReferences, CloneIntoAnUnrelatedTargetFails)
{
    oxPointer<oxGeometry> geometry(new oxGeometry());
    oxPointer<oxNode> node(new oxNode());
    oxObject* target = node.get();
    EXPECT_FALSE(geometry->Clone(target));
    EXPECT_EQ(target, node.get());
    // A target of a base type is not derived from oxGeometry either.
    oxPointer<oxTriMesh> mesh(new oxTriMesh());
    target = mesh.get();
    EXPECT_FALSE(geometry->Clone(target));
    // The other way round works: an oxGeometry is an oxTriMesh.
    target = geometry.get();
    EXPECT_TRUE(mesh->Clone(target));
}

}  // namespace
