#pragma once

#include <string>

namespace ox {

class oxImage;

/// Writes images to disk (debug dumps).
struct oxImageIOManager {
    /// Writes `image` as binary PPM (P6), or PGM (P5) for the luminance formats. Alpha is
    /// dropped; float channels are clamped to [0, 1] and scaled to 0..255. Returns false for an
    /// image without data or an I/O failure.
    static bool saveImage(const oxImage& image, const std::string& path);
};

}  // namespace ox
