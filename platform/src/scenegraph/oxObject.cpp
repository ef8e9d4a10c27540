#include "scenegraph/oxObject.h"

#include "scenegraph/oxBaseStream.h"

#include <cassert>
#include <string>

namespace ox {

const oxRtti oxObject::TYPE("oxCore.oxObject", nullptr);

oxObject::~oxObject() = default;

void oxObject::IncrementReferences()
{
    m_references.fetch_add(1, std::memory_order_relaxed);
}

void oxObject::DecrementReferences()
{
    const int previous = m_references.fetch_sub(1, std::memory_order_acq_rel);
    assert(previous > 0 && "DecrementReferences on an unreferenced object");
    if (previous == 1) {
        delete this;
    }
}

bool oxObject::Load(oxBaseStream& stream)
{
    return stream.good();
}

bool oxObject::Save(oxBaseStream& stream) const
{
    return stream.good();
}

void oxObject::PostLink() {}

bool oxObject::Equals(const oxObject* other) const
{
    return other != nullptr && other->GetType().IsExactly(GetType());
}

bool oxObject::Clone(oxObject*& target) const
{
    return target != nullptr && target->IsDerived(GetType());
}

bool oxSaveObject(oxBaseStream& stream, const oxObject& object)
{
    return stream.writeString(object.GetType().GetName()) && object.Save(stream);
}

oxObject* oxLoadObject(oxBaseStream& stream)
{
    std::string name;
    if (!stream.readString(name)) {
        return nullptr;
    }
    const oxRttiInterface::FactoryFunction factory = oxRttiInterface::FindFactoryFunction(name);
    if (factory == nullptr) {
        return nullptr;
    }
    oxObject* object = factory(stream);
    if (object != nullptr) {
        object->PostLink();
    }
    return object;
}

}  // namespace ox
