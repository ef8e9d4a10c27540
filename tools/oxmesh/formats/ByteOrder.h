// Byte order of the machine and byte reversal, for binary file formats.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace oxmesh {

/// True on little-endian machines. O(1).
inline bool hostIsLittleEndian()
{
    const std::uint16_t probe = 1;
    unsigned char first = 0;
    std::memcpy(&first, &probe, 1);
    return first == 1;
}

/// Reverses the order of `n` bytes in place. O(n).
inline void reverseBytes(unsigned char* bytes, std::size_t n)
{
    for (std::size_t i = 0; i < n / 2; ++i) {
        const unsigned char t = bytes[i];
        bytes[i] = bytes[n - 1 - i];
        bytes[n - 1 - i] = t;
    }
}

}  // namespace oxmesh
