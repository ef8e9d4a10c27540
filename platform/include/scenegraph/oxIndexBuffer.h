#pragma once

#include "scenegraph/oxObject.h"

#include <vector>

namespace ox {

/// An array of unsigned 32-bit vertex indices with the kind of primitive they describe.
class oxIndexBuffer : public oxObject {
public:
    static const oxRtti TYPE;

    enum Type { IBT_UNKNOWN = 0, IBT_TRIANGLES = 1, IBT_QUADS = 2, IBT_LINES = 3, IBT_POINTS = 4 };

    /// An empty buffer of triangles (for factories).
    oxIndexBuffer() = default;

    /// `indexQuantity` zero indices (a negative count is taken as 0) of primitive `type`.
    explicit oxIndexBuffer(int indexQuantity, int type = IBT_TRIANGLES);

    /// The run-time type record (see GetIndexBufferType for the primitive kind).
    const oxRtti& GetType() const override { return TYPE; }

    /// Number of indices.
    int GetIndexQuantity() const { return static_cast<int>(m_indices.size()); }

    /// Changes the index count, keeping the first min(old, new) indices; new ones are 0.
    /// A negative count is taken as 0. Cost O(new count) at worst.
    void SetIndexQuantity(int indexQuantity);

    /// The primitive kind (an IBT_* value).
    int GetIndexBufferType() const { return m_type; }
    /// Changes the primitive kind; the indices are kept.
    void SetIndexBufferType(int type) { m_type = type; }

    /// Index `i`. Precondition: 0 <= i < GetIndexQuantity() (checked by assert in debug builds).
    unsigned int& operator[](int i);
    unsigned int operator[](int i) const;

    /// The contiguous index array (null when empty).
    unsigned int* GetData() { return m_indices.empty() ? nullptr : m_indices.data(); }
    const unsigned int* GetData() const { return m_indices.empty() ? nullptr : m_indices.data(); }

    /// Reads type, count and indices. Returns false on a short stream.
    bool Load(oxBaseStream& stream) override;
    /// Writes type, count and indices (uint32 little-endian).
    bool Save(oxBaseStream& stream) const override;
    /// Same type, same primitive kind and same indices.
    bool Equals(const oxObject* other) const override;
    /// Copies primitive kind and indices.
    bool Clone(oxObject*& target) const override;

    /// Factory for oxLoadObject: a new buffer loaded from `stream`, or null.
    static oxObject* Factory(oxBaseStream& stream);

private:
    int m_type = IBT_TRIANGLES;
    std::vector<unsigned int> m_indices;
};

}  // namespace ox
