// Morton (Z-order) codes of quantised 3D positions, shared by the point hierarchy and the
// neighbour search.
#pragma once

#include <cstdint>

namespace ox {
namespace morton {

/// Spreads the low 21 bits of v to every third bit (bit j -> bit 3j).
inline std::uint64_t spreadBits64(std::uint64_t v)
{
    v &= 0x1FFFFFull;
    v = (v | (v << 32)) & 0x1F00000000FFFFull;
    v = (v | (v << 16)) & 0x1F0000FF0000FFull;
    v = (v | (v << 8)) & 0x100F00F00F00F00Full;
    v = (v | (v << 4)) & 0x10C30C30C30C30C3ull;
    v = (v | (v << 2)) & 0x1249249249249249ull;
    return v;
}

/// Spreads the low 10 bits of v to every third bit.
inline std::uint32_t spreadBits32(std::uint32_t v)
{
    v &= 0x3FFu;
    v = (v | (v << 16)) & 0x030000FFu;
    v = (v | (v << 8)) & 0x0300F00Fu;
    v = (v | (v << 4)) & 0x030C30C3u;
    v = (v | (v << 2)) & 0x09249249u;
    return v;
}

/// Inverse of spreadBits64: gathers every third bit back into 21 bits.
inline std::uint64_t compactBits64(std::uint64_t v)
{
    v &= 0x1249249249249249ull;
    v = (v ^ (v >> 2)) & 0x10C30C30C30C30C3ull;
    v = (v ^ (v >> 4)) & 0x100F00F00F00F00Full;
    v = (v ^ (v >> 8)) & 0x1F0000FF0000FFull;
    v = (v ^ (v >> 16)) & 0x1F00000000FFFFull;
    v = (v ^ (v >> 32)) & 0x1FFFFFull;
    return v;
}

/// Quantises (p - origin) * scale toward zero and clamps it to mask. A NaN or infinite
/// product (a cloud of identical points has an infinite scale) clamps to the mask too.
inline std::uint64_t quantize(float p, float origin, float scale, std::uint64_t mask)
{
    const float v = (p - origin) * scale;
    if (!(v < static_cast<float>(mask)))
        return mask;
    if (!(v > 0.0f))
        return 0;
    return static_cast<std::uint64_t>(v);
}

/// Index (0..63) of the highest set bit of a non-zero value: bits smeared to the right,
/// then a De Bruijn multiply on the 32-bit half that holds the bit.
inline unsigned highestBit32(std::uint32_t v)
{
    static const unsigned char kTable[32] = {0, 9,  1,  10, 13, 21, 2,  29, 11, 14, 16, 18, 22, 25, 3, 30,
                                             8, 12, 20, 28, 15, 17, 24, 7,  19, 27, 23, 6,  26, 5,  4, 31};
    v |= v >> 1;
    v |= v >> 2;
    v |= v >> 4;
    v |= v >> 8;
    v |= v >> 16;
    return kTable[static_cast<std::uint32_t>(v * 0x07C4ACDDu) >> 27];
}
inline unsigned highestBit64(std::uint64_t v)
{
#if defined(__GNUC__) || defined(__clang__)
    // The same answer in one instruction where the compiler offers it.
    return 63u - static_cast<unsigned>(__builtin_clzll(v));
#else
    const std::uint32_t hi = static_cast<std::uint32_t>(v >> 32);
    return hi ? 32 + highestBit32(hi) : highestBit32(static_cast<std::uint32_t>(v));
#endif
}

}  // namespace morton
}  // namespace ox
