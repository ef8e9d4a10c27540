#pragma once

#include "Wm4/Wm4Box3.h"
#include "addons/oxBBox.h"
#include "scenegraph/oxIndexBuffer.h"
#include "scenegraph/oxPointer.h"
#include "scenegraph/oxSpatial.h"
#include "scenegraph/oxVertexBuffer.h"

namespace ox {

/// Base of triangle geometry: a vertex buffer and an index buffer, both shared through
/// oxPointer. Derived classes define how the indices form triangles.
class oxTriangles : public oxSpatial {
public:
    static const oxRtti TYPE;

    const oxRtti& GetType() const override { return TYPE; }

    /// The shared buffers (null when unset).
    oxVertexBuffer* GetVertexBuffer() const { return m_vertexBuffer.get(); }
    oxIndexBuffer* GetIndexBuffer() const { return m_indexBuffer.get(); }

    /// Shares `buffer` (may be null); the previous buffer loses this reference.
    void SetVertexBuffer(oxVertexBuffer* buffer) { m_vertexBuffer = buffer; }
    /// Shares `buffer` (may be null); the previous buffer loses this reference.
    void SetIndexBuffer(oxIndexBuffer* buffer) { m_indexBuffer = buffer; }

    /// Number of triangles described by the index buffer.
    virtual int GetTriangleQuantity() const = 0;

    /// Vertex indices of triangle `i`. Returns false (outputs unchanged) when i is out of range.
    virtual bool GetTriangle(int i, int& a, int& b, int& c) const = 0;

    /// Recomputes the vertex normals as the normalised sum of the area-weighted normals of the
    /// triangles around each vertex (zero where that sum is zero). Triangles referring to
    /// vertices out of range are skipped. Does nothing without a normal channel.
    /// Cost O(vertices + triangles).
    void GenerateNormals();

    /// Oriented bounding box of all vertex positions along their principal axes: axes are the
    /// covariance eigenvectors by decreasing eigenvalue, extents the half ranges of the
    /// projections, the centre the middle of those ranges. Without positions: the default box
    /// (origin, coordinate axes, zero extents). Cost O(vertices).
    Wm4::Box3<float> ComputePCA() const;

    /// Axis-aligned box of all vertex positions (the empty box when there are none).
    oxBBox computeBBox() const;

    /// Reads the spatial fields, then the vertex and index buffers. Returns false on a short or
    /// invalid stream.
    bool Load(oxBaseStream& stream) override;
    /// Writes the spatial fields, then the vertex and index buffers (each with a presence flag).
    bool Save(oxBaseStream& stream) const override;
    /// Same type, spatial fields and buffer contents.
    bool Equals(const oxObject* other) const override;
    /// Copies the spatial fields and deep copies of the buffers.
    bool Clone(oxObject*& target) const override;

protected:
    oxTriangles() = default;
    oxTriangles(oxVertexBuffer* vertexBuffer, oxIndexBuffer* indexBuffer);

private:
    oxPointer<oxVertexBuffer> m_vertexBuffer;
    oxPointer<oxIndexBuffer> m_indexBuffer;
};

}  // namespace ox
