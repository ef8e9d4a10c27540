#pragma once

#include "Wm4/Wm4ColorRGB.h"
#include "Wm4/Wm4Vector2.h"
#include "Wm4/Wm4Vector3.h"
#include "scenegraph/oxAttributes.h"
#include "scenegraph/oxObject.h"

#include <cassert>
#include <vector>

namespace ox {

/// An array of vertices stored as contiguous interleaved records of
/// GetChannelQuantity() floats, laid out as described by oxAttributes (position first). Point
/// code may work on GetData() directly as an interleaved float array with that stride. The
/// typed accessors return references that alias the records.
class oxVertexBuffer : public oxObject {
public:
    static const oxRtti TYPE;

    /// An empty buffer with an empty layout (for factories).
    oxVertexBuffer() = default;

    /// `vertexQuantity` records (a negative count is taken as 0) of layout `attributes`, every
    /// float zero. Cost O(vertexQuantity * stride).
    oxVertexBuffer(const oxAttributes& attributes, int vertexQuantity);

    const oxRtti& GetType() const override { return TYPE; }

    /// The vertex layout.
    const oxAttributes& GetAttributes() const { return m_attributes; }
    /// Number of vertex records.
    int GetVertexQuantity() const { return m_vertexQuantity; }
    /// Floats per record (the stride of GetData()).
    int GetChannelQuantity() const { return m_stride; }

    /// The interleaved records (null when there are none).
    float* GetData() { return m_data.empty() ? nullptr : m_data.data(); }
    const float* GetData() const { return m_data.empty() ? nullptr : m_data.data(); }

    /// First float of record `i`. Precondition: 0 <= i < GetVertexQuantity().
    float* GetVertexData(int i) { return m_data.data() + recordStart(i); }
    const float* GetVertexData(int i) const { return m_data.data() + recordStart(i); }

    /// Changes the vertex count, keeping the records of the first min(old, new) vertices; new
    /// records are zero. Capacity may be kept. A negative count is taken as 0.
    void SetVertexQuantity(int vertexQuantity);

    /// Reallocates to exactly `vertexQuantity` records, keeping the first min(old, new); new
    /// records are zero. A negative count is taken as 0.
    void resizeVertexBuffer(int vertexQuantity);

    // Per-vertex accessors. Each asserts in debug builds that the index is in range and that the
    // channel exists with at least as many floats as the returned type.
    Wm4::Vector3<float>& Position3(int i)
    {
        return channel<Wm4::Vector3<float>>(m_attributes.GetPositionOffset(),
                                            m_attributes.GetPositionChannels(), i);
    }
    const Wm4::Vector3<float>& Position3(int i) const
    {
        return channel<Wm4::Vector3<float>>(m_attributes.GetPositionOffset(),
                                            m_attributes.GetPositionChannels(), i);
    }
    Wm4::Vector3<float>& Normal3(int i)
    {
        return channel<Wm4::Vector3<float>>(m_attributes.GetNormalOffset(), m_attributes.GetNormalChannels(),
                                            i);
    }
    const Wm4::Vector3<float>& Normal3(int i) const
    {
        return channel<Wm4::Vector3<float>>(m_attributes.GetNormalOffset(), m_attributes.GetNormalChannels(),
                                            i);
    }
    /// Colour of `unit` (the unit comes first) at vertex `i`: the first three channels.
    Wm4::ColorRGB& Color3(int unit, int i)
    {
        return channel<Wm4::ColorRGB>(m_attributes.GetColorOffset(unit), m_attributes.GetColorChannels(unit),
                                      i);
    }
    const Wm4::ColorRGB& Color3(int unit, int i) const
    {
        return channel<Wm4::ColorRGB>(m_attributes.GetColorOffset(unit), m_attributes.GetColorChannels(unit),
                                      i);
    }
    Wm4::ColorRGBA& Color4(int unit, int i)
    {
        return channel<Wm4::ColorRGBA>(m_attributes.GetColorOffset(unit), m_attributes.GetColorChannels(unit),
                                       i);
    }
    const Wm4::ColorRGBA& Color4(int unit, int i) const
    {
        return channel<Wm4::ColorRGBA>(m_attributes.GetColorOffset(unit), m_attributes.GetColorChannels(unit),
                                       i);
    }
    Wm4::Vector2<float>& TCoord2(int unit, int i)
    {
        return channel<Wm4::Vector2<float>>(m_attributes.GetTCoordOffset(unit),
                                            m_attributes.GetTCoordChannels(unit), i);
    }
    const Wm4::Vector2<float>& TCoord2(int unit, int i) const
    {
        return channel<Wm4::Vector2<float>>(m_attributes.GetTCoordOffset(unit),
                                            m_attributes.GetTCoordChannels(unit), i);
    }
    Wm4::Vector3<float>& TCoord3(int unit, int i)
    {
        return channel<Wm4::Vector3<float>>(m_attributes.GetTCoordOffset(unit),
                                            m_attributes.GetTCoordChannels(unit), i);
    }
    const Wm4::Vector3<float>& TCoord3(int unit, int i) const
    {
        return channel<Wm4::Vector3<float>>(m_attributes.GetTCoordOffset(unit),
                                            m_attributes.GetTCoordChannels(unit), i);
    }
    Wm4::Vector3<float>& Tangent3(int i)
    {
        return channel<Wm4::Vector3<float>>(m_attributes.GetTangentOffset(),
                                            m_attributes.GetTangentChannels(), i);
    }
    const Wm4::Vector3<float>& Tangent3(int i) const
    {
        return channel<Wm4::Vector3<float>>(m_attributes.GetTangentOffset(),
                                            m_attributes.GetTangentChannels(), i);
    }
    float& PSize1(int i)
    {
        return channel<float>(m_attributes.GetPSizeOffset(), m_attributes.GetPSizeChannels(), i);
    }
    float PSize1(int i) const
    {
        return channel<float>(m_attributes.GetPSizeOffset(), m_attributes.GetPSizeChannels(), i);
    }

    /// Reads layout, count and records. Returns false (buffer unchanged) on a short or invalid
    /// stream.
    bool Load(oxBaseStream& stream) override;
    /// Writes layout, vertex count and the records (float32 little-endian).
    bool Save(oxBaseStream& stream) const override;
    /// Same type, layout, count and float values.
    bool Equals(const oxObject* other) const override;
    /// Copies layout and records.
    bool Clone(oxObject*& target) const override;

    /// Factory for oxLoadObject: a new buffer loaded from `stream`, or null.
    static oxObject* Factory(oxBaseStream& stream);

private:
    std::size_t recordStart(int i) const
    {
        assert(i >= 0 && i < m_vertexQuantity);
        return static_cast<std::size_t>(i) * static_cast<std::size_t>(m_stride);
    }

    /// The `V` stored at float `offset` of record `i`; `channels` is the count of that kind.
    template <class V>
    V& channel(int offset, int channels, int i)
    {
        assert(offset >= 0 && channels * sizeof(float) >= sizeof(V) && "vertex channel missing");
        (void)channels;
        return *reinterpret_cast<V*>(m_data.data() + recordStart(i) + offset);
    }
    template <class V>
    const V& channel(int offset, int channels, int i) const
    {
        assert(offset >= 0 && channels * sizeof(float) >= sizeof(V) && "vertex channel missing");
        (void)channels;
        return *reinterpret_cast<const V*>(m_data.data() + recordStart(i) + offset);
    }

    oxAttributes m_attributes;
    int m_stride = 0;
    int m_vertexQuantity = 0;
    std::vector<float> m_data;
};

}  // namespace ox
