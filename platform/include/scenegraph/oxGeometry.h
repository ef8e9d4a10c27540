#pragma once

#include "scenegraph/oxTriMesh.h"

namespace ox {

/// Scene-graph leaf holding one vertex buffer and one index buffer of triangles: the persistent
/// triangle-mesh class that applications derive from. Derived classes extend Load, Save, Equals
/// and Clone by calling these first and then handling their own fields.
class oxGeometry : public oxTriMesh {
public:
    static const oxRtti TYPE;

    /// A geometry without buffers.
    oxGeometry() = default;

    /// A geometry sharing `vertexBuffer` and `indexBuffer` (either may be null).
    oxGeometry(oxVertexBuffer* vertexBuffer, oxIndexBuffer* indexBuffer);

    const oxRtti& GetType() const override { return TYPE; }

    /// Reads name, transforms, vertex buffer and index buffer. Returns false on a short or
    /// invalid stream.
    bool Load(oxBaseStream& stream) override;
    /// Writes name, transforms, vertex buffer and index buffer.
    bool Save(oxBaseStream& stream) const override;
    /// Nothing to resolve after loading; hook for derived classes.
    void PostLink() override;
    /// Same type, name, transforms and buffer contents.
    bool Equals(const oxObject* other) const override;
    /// Copies into `target`, allocating an oxGeometry when it is null (see oxObject::Clone).
    bool Clone(oxObject*& target) const override;

    /// Factory for oxLoadObject: a new geometry loaded from `stream`, or null. It is not
    /// registered automatically: register it under oxGeometry::TYPE.GetName().
    static oxObject* Factory(oxBaseStream& stream);
};

}  // namespace ox
