#include "scenegraph/oxVertexBuffer.h"

#include "scenegraph/oxBaseStream.h"

#include <algorithm>
#include <cstdint>

namespace ox {

const oxRtti oxVertexBuffer::TYPE("oxCore.oxVertexBuffer", &oxObject::TYPE);

namespace {

std::size_t floatCount(int vertexQuantity, int stride)
{
    return static_cast<std::size_t>(std::max(vertexQuantity, 0)) * static_cast<std::size_t>(stride);
}

}  // namespace

oxVertexBuffer::oxVertexBuffer(const oxAttributes& attributes, int vertexQuantity)
    : m_attributes(attributes), m_stride(attributes.GetChannelQuantity()),
      m_vertexQuantity(std::max(vertexQuantity, 0)), m_data(floatCount(vertexQuantity, m_stride), 0.0f)
{}

void oxVertexBuffer::SetVertexQuantity(int vertexQuantity)
{
    m_vertexQuantity = std::max(vertexQuantity, 0);
    m_data.resize(floatCount(m_vertexQuantity, m_stride), 0.0f);
}

void oxVertexBuffer::resizeVertexBuffer(int vertexQuantity)
{
    SetVertexQuantity(vertexQuantity);
    m_data.shrink_to_fit();
}

bool oxVertexBuffer::Load(oxBaseStream& stream)
{
    oxAttributes attributes;
    std::int32_t quantity = 0;
    if (!oxObject::Load(stream) || !attributes.Load(stream) || !stream.readValue(quantity) || quantity < 0) {
        return false;
    }
    const int stride = attributes.GetChannelQuantity();
    std::vector<float> data;
    if (!stream.readArray(floatCount(quantity, stride), data)) {
        return false;
    }
    m_attributes = attributes;
    m_stride = stride;
    m_vertexQuantity = quantity;
    m_data = std::move(data);
    return true;
}

bool oxVertexBuffer::Save(oxBaseStream& stream) const
{
    static_assert(sizeof(float) == 4, "vertex data is stored as 32-bit floats");
    return oxObject::Save(stream) && m_attributes.Save(stream) &&
           stream.writeValue(static_cast<std::int32_t>(m_vertexQuantity)) && stream.writeArray(m_data);
}

bool oxVertexBuffer::Equals(const oxObject* other) const
{
    if (!oxObject::Equals(other)) {
        return false;
    }
    const oxVertexBuffer* buffer = static_cast<const oxVertexBuffer*>(other);
    return m_attributes == buffer->m_attributes && m_vertexQuantity == buffer->m_vertexQuantity &&
           m_data == buffer->m_data;
}

bool oxVertexBuffer::Clone(oxObject*& target) const
{
    return CloneWith<oxVertexBuffer>(target, [this](oxObject*& copy) {
        if (!oxObject::Clone(copy)) {
            return false;
        }
        oxVertexBuffer* buffer = static_cast<oxVertexBuffer*>(copy);
        buffer->m_attributes = m_attributes;
        buffer->m_stride = m_stride;
        buffer->m_vertexQuantity = m_vertexQuantity;
        buffer->m_data = m_data;
        return true;
    });
}

oxObject* oxVertexBuffer::Factory(oxBaseStream& stream)
{
    return LoadNew<oxVertexBuffer>(stream);
}

}  // namespace ox
