#pragma once

#include "scenegraph/oxImageIOManager.h"
#include "scenegraph/oxObject.h"

#include <memory>
#include <string>

namespace ox {

/// A 2D image: width x height pixels of one format, stored row by row from the top.
class oxImage : public oxObject {
public:
    static const oxRtti TYPE;

    /// Pixel formats. 8-bit formats store unsigned bytes; 32F formats store floats.
    enum FormatMode { IT_RGB888, IT_RGBA8888, IT_L8, IT_RGB32F, IT_RGBA32F, IT_L32F, IT_QUANTITY };

    /// Bytes per pixel of each format, indexed by FormatMode.
    static const int ms_aiBytesPerPixel[IT_QUANTITY];

    /// An empty 0 x 0 RGB image.
    oxImage();

    /// An image of `width` x `height` pixels of `formatMode`, taking ownership of `data` (which
    /// must come from new[] and hold width * height * bytes-per-pixel bytes; may be null, see
    /// AllocateData). An invalid format is taken as IT_RGB888, negative sizes as 0. `name` may
    /// be null.
    oxImage(int formatMode, int width, int height, unsigned char* data, const char* name);

    const oxRtti& GetType() const override { return TYPE; }

    /// Replaces the pixel data by a new zero-filled array of the right size. O(size).
    void AllocateData();

    // Format (a FormatMode), size in pixels.
    int GetFormat() const { return m_format; }
    int GetWidth() const { return m_width; }
    int GetHeight() const { return m_height; }
    /// Number of pixels.
    int GetQuantity() const { return m_width * m_height; }
    int GetBytesPerPixel() const { return ms_aiBytesPerPixel[m_format]; }
    /// Size of the pixel data in bytes.
    std::size_t GetByteQuantity() const;
    /// The pixel data (null before AllocateData when none was given).
    unsigned char* GetData() { return m_data.get(); }
    const unsigned char* GetData() const { return m_data.get(); }
    /// The name given at construction.
    const std::string& GetName() const { return m_name; }

    /// Same type, format, size, name and pixel bytes.
    bool Equals(const oxObject* other) const override;
    /// Copies format, size, name and pixel bytes.
    bool Clone(oxObject*& target) const override;

private:
    int m_format = IT_RGB888;
    int m_width = 0;
    int m_height = 0;
    std::unique_ptr<unsigned char[]> m_data;
    std::string m_name;
};

}  // namespace ox
