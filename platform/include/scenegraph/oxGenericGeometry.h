#pragma once

#include "scenegraph/oxIndexBuffer.h"
#include "scenegraph/oxPointer.h"
#include "scenegraph/oxSpatial.h"
#include "scenegraph/oxTriMesh.h"
#include "scenegraph/oxVertexBuffer.h"

#include <vector>

namespace ox {

/// Geometry of mixed primitives: one vertex buffer shared by an ordered list of primitive sets,
/// each a kind (triangles or quads) and an index buffer (3 or 4 indices per primitive).
class oxGenericGeometry : public oxSpatial {
public:
    static const oxRtti TYPE;

    /// A geometry without vertices or primitive sets.
    oxGenericGeometry() = default;

    const oxRtti& GetType() const override { return TYPE; }

    /// Replaces the content by `vertexBuffer` and one set of triangles (none if `triangles` is
    /// null). Buffers are shared, not copied.
    void NewTriangles(oxVertexBuffer* vertexBuffer, oxIndexBuffer* triangles);

    /// Replaces the content by `vertexBuffer` and one set of quads (none if `quads` is null).
    void NewQuads(oxVertexBuffer* vertexBuffer, oxIndexBuffer* quads);

    /// Replaces the content by `vertexBuffer`, a set of triangles then a set of quads (null
    /// buffers give no set).
    void NewTrianglesAndQuads(oxVertexBuffer* vertexBuffer, oxIndexBuffer* triangles, oxIndexBuffer* quads);

    /// The shared vertex buffer (null when unset).
    oxVertexBuffer* GetVertexBuffer() const { return m_vertexBuffer.get(); }

    /// Number of primitive sets.
    int GetPrimitiveSetQuantity() const { return static_cast<int>(m_sets.size()); }

    /// Kind of set `i`: oxIndexBuffer::IBT_TRIANGLES or IBT_QUADS (IBT_UNKNOWN out of range).
    int GetPrimitiveType(int i) const;

    /// Index buffer of set `i` (null out of range).
    oxIndexBuffer* GetPrimitiveIndices(int i) const;

    /// Total number of triangles, and of quads, over all sets (incomplete tails ignored).
    int GetTriangleQuantity() const;
    int GetQuadQuantity() const;

    /// A triangle mesh (an oxGeometry) with a copy of the vertex buffer, this object's name and
    /// transforms, and every set's primitives in order, quads (a, b, c, d) split along their 0-2
    /// diagonal into (a, b, c) and (a, c, d). Cost O(vertices + indices).
    oxPointer<oxTriMesh> toTriMesh() const;

    /// Reads the spatial fields, the vertex buffer and the primitive sets. Returns false on a
    /// short or invalid stream.
    bool Load(oxBaseStream& stream) override;
    /// Writes the spatial fields, the vertex buffer and the primitive sets.
    bool Save(oxBaseStream& stream) const override;
    /// Same type, spatial fields, vertex buffer content and sets (kind and indices).
    bool Equals(const oxObject* other) const override;
    /// Copies the spatial fields and deep copies of all buffers.
    bool Clone(oxObject*& target) const override;

    /// Factory for oxLoadObject: a new geometry loaded from `stream`, or null.
    static oxObject* Factory(oxBaseStream& stream);

private:
    struct PrimitiveSet {
        int type = oxIndexBuffer::IBT_TRIANGLES;
        oxPointer<oxIndexBuffer> indices;
    };

    /// Number of primitives of `type` over all sets.
    int countPrimitives(int type) const;
    /// Replaces the content by `vertexBuffer` and the non-null sets given.
    void replace(oxVertexBuffer* vertexBuffer, oxIndexBuffer* triangles, oxIndexBuffer* quads);

    oxPointer<oxVertexBuffer> m_vertexBuffer;
    std::vector<PrimitiveSet> m_sets;
};

}  // namespace ox
