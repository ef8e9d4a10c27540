#include "scenegraph/oxImageIOManager.h"

#include "scenegraph/oxBaseStream.h"
#include "scenegraph/oxImage.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

namespace ox {

namespace {

/// Number of colour channels of a format, and whether they are floats.
struct PixelLayout {
    int channels;
    bool isFloat;
};

PixelLayout layoutOf(int format)
{
    switch (format) {
    case oxImage::IT_RGBA8888:
        return {4, false};
    case oxImage::IT_L8:
        return {1, false};
    case oxImage::IT_RGB32F:
        return {3, true};
    case oxImage::IT_RGBA32F:
        return {4, true};
    case oxImage::IT_L32F:
        return {1, true};
    default:
        return {3, false};
    }
}

/// Channel `c` of pixel `p` as a byte.
unsigned char channelByte(const unsigned char* data, const PixelLayout& layout, std::size_t p, int c)
{
    const std::size_t index = p * static_cast<std::size_t>(layout.channels) + static_cast<std::size_t>(c);
    if (!layout.isFloat) {
        return data[index];
    }
    float value = 0.0f;
    std::memcpy(&value, data + index * sizeof(float), sizeof(float));
    const float clamped = std::isnan(value) ? 0.0f : std::min(1.0f, std::max(0.0f, value));
    return static_cast<unsigned char>(std::lround(clamped * 255.0f));
}

}  // namespace

bool oxImageIOManager::saveImage(const oxImage& image, const std::string& path)
{
    if (image.GetData() == nullptr) {
        return false;
    }
    const PixelLayout layout = layoutOf(image.GetFormat());
    const int written = layout.channels == 1 ? 1 : 3;
    const std::string header = std::string(written == 1 ? "P5\n" : "P6\n") +
                               std::to_string(image.GetWidth()) + " " + std::to_string(image.GetHeight()) +
                               "\n255\n";
    const std::size_t pixels = static_cast<std::size_t>(image.GetQuantity());
    std::vector<unsigned char> bytes;
    bytes.reserve(pixels * static_cast<std::size_t>(written));
    for (std::size_t p = 0; p < pixels; ++p) {
        for (int c = 0; c < written; ++c) {
            bytes.push_back(channelByte(image.GetData(), layout, p, c));
        }
    }
    oxBaseStream stream = oxBaseStream::openFileWrite(path);
    stream.writele(header.size(), 1, header.data());
    stream.writeArray(bytes);
    return stream.close();
}

}  // namespace ox
