#pragma once

#include "scenegraph/oxTriangles.h"

namespace ox {

/// Triangle mesh: the index buffer holds consecutive index triples, one per triangle.
class oxTriMesh : public oxTriangles {
public:
    static const oxRtti TYPE;

    /// A mesh without buffers (for factories).
    oxTriMesh() = default;

    /// A mesh sharing `vertexBuffer` and `indexBuffer` (either may be null).
    oxTriMesh(oxVertexBuffer* vertexBuffer, oxIndexBuffer* indexBuffer);

    const oxRtti& GetType() const override { return TYPE; }

    /// Index count / 3 (0 without an index buffer).
    int GetTriangleQuantity() const override;

    /// Indices 3i, 3i+1, 3i+2. Returns false (outputs unchanged) when i is out of range.
    bool GetTriangle(int i, int& a, int& b, int& c) const override;

    /// Copies into `target`, allocating an oxTriMesh when it is null (see oxObject::Clone).
    bool Clone(oxObject*& target) const override;

    /// Factory for oxLoadObject: a new mesh loaded from `stream`, or null.
    static oxObject* Factory(oxBaseStream& stream);
};

}  // namespace ox
