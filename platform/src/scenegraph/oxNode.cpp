#include "scenegraph/oxNode.h"

#include "oxPersistenceHelpers.h"

namespace ox {

const oxRtti oxNode::TYPE("oxCore.oxNode", &oxSpatial::TYPE);

oxNode::~oxNode()
{
    for (oxPointer<oxSpatial>& child : m_children) {
        if (child) {
            child->m_parent = nullptr;
        }
    }
}

bool oxNode::isSelfOrAncestor(const oxSpatial* candidate) const
{
    for (const oxSpatial* node = this; node != nullptr; node = node->getParent()) {
        if (node == candidate) {
            return true;
        }
    }
    return false;
}

int oxNode::findChild(const oxSpatial* child) const
{
    for (std::size_t i = 0; i < m_children.size(); ++i) {
        if (m_children[i] == child) {
            return static_cast<int>(i);
        }
    }
    return -1;
}

void oxNode::detachFromParent(oxSpatial* child)
{
    oxNode* parent = oxDynamicCast<oxNode>(child->m_parent);
    if (parent != nullptr) {
        parent->detachChild(child);
    }
    child->m_parent = nullptr;
}

int oxNode::attachChild(oxSpatial* child)
{
    if (child == nullptr || isSelfOrAncestor(child)) {
        return -1;
    }
    if (child->m_parent == this) {
        return findChild(child);
    }
    const int freeSlot = findChild(nullptr);
    const int slot = freeSlot >= 0 ? freeSlot : getNoChildren();
    setChild(slot, child);
    return slot;
}

int oxNode::detachChild(oxSpatial* child)
{
    const int slot = child != nullptr ? findChild(child) : -1;
    if (slot >= 0) {
        child->m_parent = nullptr;
        m_children[static_cast<std::size_t>(slot)].reset();
    }
    return slot;
}

void oxNode::setChild(int i, oxSpatial* child)
{
    if (i < 0 || (child != nullptr && isSelfOrAncestor(child))) {
        return;
    }
    // Keep the child alive while it moves: detaching may release its last other reference.
    oxPointer<oxSpatial> keep(child);
    if (child != nullptr) {
        detachFromParent(child);
    }
    const std::size_t slot = static_cast<std::size_t>(i);
    if (slot >= m_children.size()) {
        m_children.resize(slot + 1);
    }
    if (m_children[slot]) {
        m_children[slot]->m_parent = nullptr;
    }
    m_children[slot] = keep;
    if (child != nullptr) {
        child->m_parent = this;
    }
}

void oxNode::replaceChildren(const std::vector<oxPointer<oxSpatial>>& children)
{
    for (oxPointer<oxSpatial>& child : m_children) {
        if (child) {
            child->m_parent = nullptr;
        }
    }
    m_children.clear();
    for (std::size_t i = 0; i < children.size(); ++i) {
        setChild(static_cast<int>(i), children[i]);
    }
}

oxPointer<oxSpatial> oxNode::getChild(int i) const
{
    if (i < 0 || i >= getNoChildren()) {
        return oxPointer<oxSpatial>();
    }
    return m_children[static_cast<std::size_t>(i)];
}

void oxNode::updateWorldTransforms(const oxTransformation* parentWorld)
{
    oxSpatial::updateWorldTransforms(parentWorld);
    for (oxPointer<oxSpatial>& child : m_children) {
        if (child) {
            child->updateWorldTransforms(&getWorldTransform());
        }
    }
}

void oxNode::setDirtyDown(bool dirty)
{
    oxSpatial::setDirtyDown(dirty);
    for (oxPointer<oxSpatial>& child : m_children) {
        if (child) {
            child->setDirtyDown(dirty);
        }
    }
}

bool oxNode::Load(oxBaseStream& stream)
{
    std::uint32_t slots = 0;
    if (!oxSpatial::Load(stream) || !stream.readValue(slots)) {
        return false;
    }
    // Load into a fresh list first so that a failure leaves no half-attached children.
    std::vector<oxPointer<oxSpatial>> children;
    for (std::uint32_t i = 0; i < slots; ++i) {
        std::uint8_t present = 0;
        if (!stream.readValue(present) || present > 1) {
            return false;
        }
        if (present == 0) {
            children.emplace_back();
            continue;
        }
        oxPointer<oxObject> object(oxLoadObject(stream));
        oxPointer<oxSpatial> child(oxDynamicCast<oxSpatial>(object.get()));
        if (!child) {
            return false;
        }
        children.push_back(child);
    }
    replaceChildren(children);
    return true;
}

bool oxNode::Save(oxBaseStream& stream) const
{
    if (!oxSpatial::Save(stream) || !stream.writeValue(static_cast<std::uint32_t>(m_children.size()))) {
        return false;
    }
    for (const oxPointer<oxSpatial>& child : m_children) {
        const std::uint8_t present = child ? 1 : 0;
        if (!stream.writeValue(present) || (child && !oxSaveObject(stream, *child))) {
            return false;
        }
    }
    return true;
}

bool oxNode::Equals(const oxObject* other) const
{
    if (!oxSpatial::Equals(other)) {
        return false;
    }
    const oxNode* node = static_cast<const oxNode*>(other);
    if (node->m_children.size() != m_children.size()) {
        return false;
    }
    for (std::size_t i = 0; i < m_children.size(); ++i) {
        if (!detail::sameContent(m_children[i].get(), node->m_children[i].get())) {
            return false;
        }
    }
    return true;
}

bool oxNode::Clone(oxObject*& target) const
{
    return CloneWith<oxNode>(target, [this](oxObject*& copy) {
        if (!oxSpatial::Clone(copy)) {
            return false;
        }
        oxNode* node = static_cast<oxNode*>(copy);
        std::vector<oxPointer<oxSpatial>> children;
        for (const oxPointer<oxSpatial>& child : m_children) {
            oxPointer<oxSpatial> childCopy = detail::deepCopy(child.get());
            if (child && !childCopy) {
                return false;
            }
            children.push_back(childCopy);
        }
        node->replaceChildren(children);
        return true;
    });
}

oxObject* oxNode::Factory(oxBaseStream& stream)
{
    return LoadNew<oxNode>(stream);
}

}  // namespace ox
