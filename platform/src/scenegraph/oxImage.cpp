#include "scenegraph/oxImage.h"

#include <algorithm>
#include <cstring>

namespace ox {

const oxRtti oxImage::TYPE("oxCore.oxImage", &oxObject::TYPE);

const int oxImage::ms_aiBytesPerPixel[oxImage::IT_QUANTITY] = {3, 4, 1, 12, 16, 4};

oxImage::oxImage() = default;

oxImage::oxImage(int formatMode, int width, int height, unsigned char* data, const char* name)
    : m_format(formatMode >= 0 && formatMode < IT_QUANTITY ? formatMode : IT_RGB888),
      m_width(std::max(width, 0)), m_height(std::max(height, 0)), m_data(data),
      m_name(name != nullptr ? name : "")
{}

std::size_t oxImage::GetByteQuantity() const
{
    return static_cast<std::size_t>(m_width) * static_cast<std::size_t>(m_height) *
           static_cast<std::size_t>(GetBytesPerPixel());
}

void oxImage::AllocateData()
{
    m_data.reset(new unsigned char[GetByteQuantity()]());
}

bool oxImage::Equals(const oxObject* other) const
{
    if (!oxObject::Equals(other)) {
        return false;
    }
    const oxImage* image = static_cast<const oxImage*>(other);
    if (m_format != image->m_format || m_width != image->m_width || m_height != image->m_height ||
        m_name != image->m_name || (m_data == nullptr) != (image->m_data == nullptr)) {
        return false;
    }
    return m_data == nullptr || std::memcmp(m_data.get(), image->m_data.get(), GetByteQuantity()) == 0;
}

bool oxImage::Clone(oxObject*& target) const
{
    return CloneWith<oxImage>(target, [this](oxObject*& copy) {
        if (!oxObject::Clone(copy)) {
            return false;
        }
        oxImage* image = static_cast<oxImage*>(copy);
        image->m_format = m_format;
        image->m_width = m_width;
        image->m_height = m_height;
        image->m_name = m_name;
        image->m_data.reset();
        if (m_data != nullptr) {
            image->AllocateData();
            std::memcpy(image->m_data.get(), m_data.get(), GetByteQuantity());
        }
        return true;
    });
}

}  // namespace ox
