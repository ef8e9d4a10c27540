// Reads the values of a binary PLY body, little- or big-endian, with a bounds
// check on every access. Used as the value source of the PLY body decoder.
#pragma once

#include "formats/ByteOrder.h"
#include "formats/PlyHeader.h"
#include "formats/PlyRowContext.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace oxmesh::ply {

template <bool SwapBytes>
class BinarySource {
public:
    /// Reads from [begin, end); `fileStart` is the start of the whole file (for offsets).
    BinarySource(const char* fileStart, const char* begin, const char* end, RowContext& context)
        : m_fileStart(fileStart), m_pos(begin), m_end(end), m_context(context)
    {}

    std::size_t offset() const { return static_cast<std::size_t>(m_pos - m_fileStart); }
    std::size_t remaining() const { return static_cast<std::size_t>(m_end - m_pos); }

    /// Smallest number of bytes any row of `element` occupies (lists of length zero).
    static std::uint64_t minRowBytes(const Element& element)
    {
        std::uint64_t bytes = 0;
        for (const Property& p : element.properties)
            bytes += scalarSize(p.isList ? p.countType : p.type);
        return bytes;
    }

    /// True when every row of `element` has the same size (no lists).
    static bool fixedRowSize(const Element& element)
    {
        for (const Property& p : element.properties)
            if (p.isList)
                return false;
        return true;
    }

    // Binary rows carry no framing.
    bool beginRow() { return m_pos < m_end; }
    void endRow() {}
    /// Bytes after the last element are ignored in binary files.
    void finish() {}

    /// Skips `rows` rows of `rowBytes` bytes each in one step (fixed-size rows only).
    void skipFixedRows(std::uint64_t rows, std::uint64_t rowBytes)
    {
        if (rowBytes != 0 && rows > remaining() / rowBytes) {
            m_context.row = remaining() / rowBytes;
            m_context.truncated();
        }
        m_pos += rows * rowBytes;
    }

    /// One value of `type`, converted to double (exact for every PLY type).
    double readNumber(ScalarType type)
    {
        switch (type) {
        case ScalarType::Int8:
            return load<std::int8_t>();
        case ScalarType::UInt8:
            return load<std::uint8_t>();
        case ScalarType::Int16:
            return load<std::int16_t>();
        case ScalarType::UInt16:
            return load<std::uint16_t>();
        case ScalarType::Int32:
            return load<std::int32_t>();
        case ScalarType::UInt32:
            return load<std::uint32_t>();
        case ScalarType::Float32:
            return load<float>();
        case ScalarType::Float64:
            return load<double>();
        }
        return 0.0;
    }

    /// One value of integer `type` (counts and indices).
    std::int64_t readInteger(ScalarType type)
    {
        switch (type) {
        case ScalarType::Int8:
            return load<std::int8_t>();
        case ScalarType::UInt8:
            return load<std::uint8_t>();
        case ScalarType::Int16:
            return load<std::int16_t>();
        case ScalarType::UInt16:
            return load<std::uint16_t>();
        case ScalarType::Int32:
            return load<std::int32_t>();
        case ScalarType::UInt32:
            return load<std::uint32_t>();
        case ScalarType::Float32:
        case ScalarType::Float64:
            break;  // the header check keeps these out
        }
        return 0;
    }

    void skip(ScalarType type) { advance(scalarSize(type)); }

    /// Reads `n` integer values of `type` into `out` (resized to n).
    void readList(std::uint64_t n, ScalarType type, std::vector<std::int64_t>& out)
    {
        const std::size_t size = scalarSize(type);
        if (n > remaining() / size)
            m_context.truncated();
        out.resize(static_cast<std::size_t>(n));
        switch (type) {
        case ScalarType::Int8:
            loadArray<std::int8_t>(out);
            break;
        case ScalarType::UInt8:
            loadArray<std::uint8_t>(out);
            break;
        case ScalarType::Int16:
            loadArray<std::int16_t>(out);
            break;
        case ScalarType::UInt16:
            loadArray<std::uint16_t>(out);
            break;
        case ScalarType::Int32:
            loadArray<std::int32_t>(out);
            break;
        case ScalarType::UInt32:
            loadArray<std::uint32_t>(out);
            break;
        case ScalarType::Float32:
        case ScalarType::Float64:
            break;  // the header check keeps these out
        }
    }

    void skipList(std::uint64_t n, ScalarType type)
    {
        const std::size_t size = scalarSize(type);
        if (n > remaining() / size)
            m_context.truncated();
        m_pos += n * size;
    }

private:
    void advance(std::size_t bytes)
    {
        if (bytes > remaining())
            m_context.truncated();
        m_pos += bytes;
    }

    template <class T>
    static T decode(const char* p)
    {
        unsigned char bytes[sizeof(T)];
        std::memcpy(bytes, p, sizeof(T));
        if constexpr (SwapBytes)
            reverseBytes(bytes, sizeof(T));
        T value;
        std::memcpy(&value, bytes, sizeof(T));
        return value;
    }

    template <class T>
    T load()
    {
        if (sizeof(T) > remaining())
            m_context.truncated();
        const T value = decode<T>(m_pos);
        m_pos += sizeof(T);
        return value;
    }

    template <class T>
    void loadArray(std::vector<std::int64_t>& out)
    {
        for (std::size_t i = 0; i < out.size(); ++i, m_pos += sizeof(T))
            out[i] = decode<T>(m_pos);
    }

    const char* m_fileStart;
    const char* m_pos;
    const char* m_end;
    RowContext& m_context;
};

}  // namespace oxmesh::ply
