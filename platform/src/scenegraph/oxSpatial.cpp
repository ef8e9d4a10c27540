#include "scenegraph/oxSpatial.h"

#include "scenegraph/oxBaseStream.h"

namespace ox {

const oxRtti oxSpatial::TYPE("oxCore.oxSpatial", &oxObject::TYPE);

oxSpatial::oxSpatial(const oxSpatial& other)
    : oxObject(other), m_name(other.m_name), m_local(other.m_local), m_world(other.m_world),
      m_dirty(other.m_dirty)
{}

oxSpatial& oxSpatial::operator=(const oxSpatial& other)
{
    m_name = other.m_name;
    m_local = other.m_local;
    m_world = other.m_world;
    m_dirty = other.m_dirty;
    return *this;
}

oxTransformation& oxSpatial::editLocalTransform(bool markDirty)
{
    if (markDirty) {
        setDirtyDown(true);
    }
    return m_local;
}

oxTransformation& oxSpatial::editWorldTransform(bool markDirty)
{
    if (markDirty) {
        setDirtyDown(true);
    }
    return m_world;
}

void oxSpatial::updateWorldTransforms(const oxTransformation* parentWorld)
{
    if (parentWorld == nullptr && m_parent != nullptr) {
        parentWorld = &m_parent->m_world;
    }
    if (parentWorld != nullptr) {
        m_world.Product(*parentWorld, m_local);
    } else {
        m_world = m_local;
    }
}

void oxSpatial::setDirtyDown(bool dirty)
{
    m_dirty = dirty;
}

bool oxSpatial::Load(oxBaseStream& stream)
{
    std::string name;
    oxTransformation local;
    oxTransformation world;
    if (!oxObject::Load(stream) || !stream.readString(name) || !local.Load(stream) || !world.Load(stream)) {
        return false;
    }
    m_name = std::move(name);
    m_local = local;
    m_world = world;
    return true;
}

bool oxSpatial::Save(oxBaseStream& stream) const
{
    return oxObject::Save(stream) && stream.writeString(m_name) && m_local.Save(stream) &&
           m_world.Save(stream);
}

bool oxSpatial::Equals(const oxObject* other) const
{
    if (!oxObject::Equals(other)) {
        return false;
    }
    const oxSpatial* spatial = static_cast<const oxSpatial*>(other);
    return m_name == spatial->m_name && m_local == spatial->m_local && m_world == spatial->m_world;
}

bool oxSpatial::Clone(oxObject*& target) const
{
    if (!oxObject::Clone(target)) {
        return false;
    }
    *static_cast<oxSpatial*>(target) = *this;
    return true;
}

}  // namespace ox
