#pragma once

#include "scenegraph/oxPointer.h"
#include "scenegraph/oxSpatial.h"

#include <vector>

namespace ox {

/// Interior scene-graph node: an ordered list of child slots, each holding a shared child or
/// nothing. A child has at most one parent; attaching it elsewhere detaches it first.
class oxNode : public oxSpatial {
public:
    static const oxRtti TYPE;

    oxNode() = default;
    oxNode(const oxNode&) = delete;
    oxNode& operator=(const oxNode&) = delete;
    /// Detaches the children (clears their parent pointers); they die with their last reference.
    ~oxNode() override;

    const oxRtti& GetType() const override { return TYPE; }

    /// Attaches `child` in the first empty slot (or a new slot at the end) and returns the slot.
    /// A child already attached here keeps its slot; one attached to another node is moved.
    /// Returns -1 for a null child or for an ancestor of this node (which would form a cycle).
    /// Cost O(slots + depth).
    int attachChild(oxSpatial* child);

    /// Empties the slot of `child` and clears its parent. Returns the slot, or -1 when `child`
    /// is not a child of this node. The child is deleted when this was its last reference.
    int detachChild(oxSpatial* child);

    /// Places `child` (or null) at slot `i`, growing the list as needed; the previous occupant
    /// is detached, and `child` is detached from any previous parent first. Ignored for i < 0 or
    /// an ancestor of this node.
    void setChild(int i, oxSpatial* child);

    /// The child in slot `i`; null for an empty slot or an index out of range.
    oxPointer<oxSpatial> getChild(int i) const;

    /// Number of slots (empty ones included).
    int getNoChildren() const { return static_cast<int>(m_children.size()); }

    /// Updates this node's world transform, then its children's, recursively.
    void updateWorldTransforms(const oxTransformation* parentWorld = nullptr) override;

    /// Sets the dirty flag of this node and of its whole subtree.
    void setDirtyDown(bool dirty) override;

    /// Reads the spatial fields and the subtree (children rebuilt through their registered
    /// factories). Returns false on a short stream or an unknown child type.
    bool Load(oxBaseStream& stream) override;
    /// Writes the spatial fields, the slot count, then each slot (children with oxSaveObject).
    bool Save(oxBaseStream& stream) const override;
    /// Same type, spatial fields, slot count and equal children slot by slot.
    bool Equals(const oxObject* other) const override;
    /// Copies the spatial fields and deep copies of the whole subtree.
    bool Clone(oxObject*& target) const override;

    /// Factory for oxLoadObject: a new node loaded from `stream`, or null.
    static oxObject* Factory(oxBaseStream& stream);

private:
    /// True when `candidate` is this node or one of its ancestors.
    bool isSelfOrAncestor(const oxSpatial* candidate) const;
    /// Slot of `child`, or -1.
    int findChild(const oxSpatial* child) const;
    /// Detaches every child, then attaches `children` in slots 0..n-1 (null entries stay empty).
    void replaceChildren(const std::vector<oxPointer<oxSpatial>>& children);
    /// Removes `child` from the node it is attached to, if any.
    static void detachFromParent(oxSpatial* child);

    std::vector<oxPointer<oxSpatial>> m_children;
};

}  // namespace ox
