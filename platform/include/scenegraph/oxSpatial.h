#pragma once

#include "scenegraph/oxObject.h"
#include "scenegraph/oxTransformation.h"

#include <string>

namespace ox {

class oxNode;

/// Base of scene-graph nodes: a name, a local transform (relative to the parent), a world
/// transform (derived by updateWorldTransforms or edited directly), a non-owning parent pointer
/// (set by oxNode) and a dirty flag marking derived data (bounds, caches) as stale.
class oxSpatial : public oxObject {
public:
    static const oxRtti TYPE;

    const oxRtti& GetType() const override { return TYPE; }

    /// The local transform for editing; marks this subtree dirty when `markDirty` is set.
    oxTransformation& editLocalTransform(bool markDirty = true);
    /// The world transform for editing; marks this subtree dirty when `markDirty` is set.
    oxTransformation& editWorldTransform(bool markDirty = true);
    /// Read access to the transforms (no dirty marking).
    const oxTransformation& getLocalTransform() const { return m_local; }
    const oxTransformation& getWorldTransform() const { return m_world; }

    /// world = parentWorld * local. When `parentWorld` is null the parent's current world
    /// transform is used, or the identity for a root. oxNode recurses into its children.
    virtual void updateWorldTransforms(const oxTransformation* parentWorld = nullptr);

    /// Sets the dirty flag of this object (and, for a node, of its whole subtree).
    virtual void setDirtyDown(bool dirty);
    bool isDirty() const { return m_dirty; }

    /// The node this object is attached to, or null.
    oxSpatial* getParent() const { return m_parent; }

    /// The object's name (persisted; free text, empty by default).
    void SetName(const std::string& name) { m_name = name; }
    const std::string& GetName() const { return m_name; }

    /// Reads name, local and world transforms. Returns false on a short stream.
    bool Load(oxBaseStream& stream) override;
    /// Writes name, local and world transforms.
    bool Save(oxBaseStream& stream) const override;
    /// Same type, name and transforms (the parent and the dirty flag are not compared).
    bool Equals(const oxObject* other) const override;
    /// Copies name and transforms (not the parent: the copy is detached).
    bool Clone(oxObject*& target) const override;

protected:
    oxSpatial() = default;
    /// A copy is detached from any parent.
    oxSpatial(const oxSpatial& other);
    oxSpatial& operator=(const oxSpatial& other);

private:
    friend class oxNode;

    std::string m_name;
    oxTransformation m_local;
    oxTransformation m_world;
    oxSpatial* m_parent = nullptr;
    bool m_dirty = false;
};

}  // namespace ox
