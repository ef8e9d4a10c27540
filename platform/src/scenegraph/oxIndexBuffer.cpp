#include "scenegraph/oxIndexBuffer.h"

#include "scenegraph/oxBaseStream.h"

#include <algorithm>
#include <cassert>
#include <cstdint>

namespace ox {

const oxRtti oxIndexBuffer::TYPE("oxCore.oxIndexBuffer", &oxObject::TYPE);

oxIndexBuffer::oxIndexBuffer(int indexQuantity, int type)
    : m_type(type), m_indices(static_cast<std::size_t>(std::max(indexQuantity, 0)), 0u)
{}

void oxIndexBuffer::SetIndexQuantity(int indexQuantity)
{
    m_indices.resize(static_cast<std::size_t>(std::max(indexQuantity, 0)), 0u);
}

unsigned int& oxIndexBuffer::operator[](int i)
{
    assert(i >= 0 && i < GetIndexQuantity());
    return m_indices[static_cast<std::size_t>(i)];
}

unsigned int oxIndexBuffer::operator[](int i) const
{
    assert(i >= 0 && i < GetIndexQuantity());
    return m_indices[static_cast<std::size_t>(i)];
}

bool oxIndexBuffer::Load(oxBaseStream& stream)
{
    std::int32_t type = 0;
    std::uint32_t quantity = 0;
    if (!oxObject::Load(stream) || !stream.readValue(type) || !stream.readValue(quantity)) {
        return false;
    }
    static_assert(sizeof(unsigned int) == 4, "indices are stored as 32-bit values");
    std::vector<unsigned int> indices;
    if (!stream.readArray(quantity, indices)) {
        return false;
    }
    m_type = type;
    m_indices = std::move(indices);
    return true;
}

bool oxIndexBuffer::Save(oxBaseStream& stream) const
{
    return oxObject::Save(stream) && stream.writeValue(static_cast<std::int32_t>(m_type)) &&
           stream.writeValue(static_cast<std::uint32_t>(m_indices.size())) && stream.writeArray(m_indices);
}

bool oxIndexBuffer::Equals(const oxObject* other) const
{
    if (!oxObject::Equals(other)) {
        return false;
    }
    const oxIndexBuffer* buffer = static_cast<const oxIndexBuffer*>(other);
    return m_type == buffer->m_type && m_indices == buffer->m_indices;
}

bool oxIndexBuffer::Clone(oxObject*& target) const
{
    return CloneWith<oxIndexBuffer>(target, [this](oxObject*& copy) {
        if (!oxObject::Clone(copy)) {
            return false;
        }
        oxIndexBuffer* buffer = static_cast<oxIndexBuffer*>(copy);
        buffer->m_type = m_type;
        buffer->m_indices = m_indices;
        return true;
    });
}

oxObject* oxIndexBuffer::Factory(oxBaseStream& stream)
{
    return LoadNew<oxIndexBuffer>(stream);
}

}  // namespace ox
