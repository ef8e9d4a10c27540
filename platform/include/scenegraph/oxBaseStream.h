#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace ox {

/// Persistence stream of the scene graph: reads or writes a file, reads a memory buffer or
/// writes into a growing memory buffer. Every multi-byte value is stored little-endian whatever
/// the byte order of the host. The first failed operation (short read, write error, wrong
/// direction, bad element size) leaves the stream failed: good() turns false and every later
/// read or write returns false. Streams are move-only; a file stream closes its file when
/// destroyed.
class oxBaseStream {
public:
    /// Opens `path` for reading. On failure the returned stream is not good().
    static oxBaseStream openFileRead(const std::string& path);

    /// Creates or truncates `path` for writing. On failure the returned stream is not good().
    static oxBaseStream openFileWrite(const std::string& path);

    /// Reads `size` bytes at `data` without copying them: the bytes must outlive the stream.
    static oxBaseStream openMemoryRead(const void* data, std::size_t size);

    /// Reads a copy of `bytes` (the stream owns it).
    static oxBaseStream openMemoryRead(std::vector<unsigned char> bytes);

    /// Writes into an internal buffer that grows as needed; read it back with getBuffer().
    static oxBaseStream openMemoryWrite();

    oxBaseStream(oxBaseStream&&) noexcept;
    oxBaseStream& operator=(oxBaseStream&&) noexcept;
    oxBaseStream(const oxBaseStream&) = delete;
    oxBaseStream& operator=(const oxBaseStream&) = delete;
    ~oxBaseStream();

    /// True while no operation has failed (and the file, if any, was opened).
    bool good() const { return m_good; }

    /// True for a stream opened for reading, false for one opened for writing.
    bool isReading() const { return m_reading; }

    /// Number of bytes read or written so far.
    std::size_t tell() const { return m_position; }

    /// Reads `count` elements of `elemSize` bytes (1, 2, 4 or 8) stored little-endian into `dst`,
    /// in host byte order. Cost O(count * elemSize). Returns false, and fails the stream, when
    /// fewer bytes remain, the element size is unsupported or the stream writes. A read of zero
    /// elements succeeds on a good stream.
    bool readle(std::size_t count, std::size_t elemSize, void* dst);

    /// Writes `count` elements of `elemSize` bytes (1, 2, 4 or 8) from `src` in little-endian
    /// order. Cost O(count * elemSize). Returns false, and fails the stream, on a write error,
    /// an unsupported element size or a stream that reads.
    bool writele(std::size_t count, std::size_t elemSize, const void* src);

    /// Reads one arithmetic value (bool is stored as one byte). Returns false on failure.
    template <class T>
    bool readValue(T& value)
    {
        static_assert(std::is_arithmetic<T>::value, "readValue takes arithmetic types");
        return readle(1, sizeof(T), &value);
    }

    /// Writes one arithmetic value. Returns false on failure.
    template <class T>
    bool writeValue(const T& value)
    {
        static_assert(std::is_arithmetic<T>::value, "writeValue takes arithmetic types");
        return writele(1, sizeof(T), &value);
    }

    /// Reads `count` arithmetic values into `values` (replaced on success, unchanged on
    /// failure). The vector grows while reading, so a corrupt count fails on the short stream
    /// instead of allocating its whole size up front. Cost O(count).
    template <class T>
    bool readArray(std::size_t count, std::vector<T>& values)
    {
        static_assert(std::is_arithmetic<T>::value, "readArray takes arithmetic types");
        constexpr std::size_t kChunk = std::size_t(1) << 16;
        std::vector<T> result;
        for (std::size_t done = 0; done < count;) {
            const std::size_t n = count - done < kChunk ? count - done : kChunk;
            result.resize(done + n);
            if (!readle(n, sizeof(T), result.data() + done)) {
                return false;
            }
            done += n;
        }
        values = std::move(result);
        return true;
    }

    /// Writes the values of `values` (no count). Returns false on failure.
    template <class T>
    bool writeArray(const std::vector<T>& values)
    {
        static_assert(std::is_arithmetic<T>::value, "writeArray takes arithmetic types");
        return writele(values.size(), sizeof(T), values.data());
    }

    /// Reads a string stored as a uint32 byte count followed by the bytes. Returns false (string
    /// unchanged) when the stream is too short.
    bool readString(std::string& value);

    /// Writes a string as a uint32 byte count followed by its bytes. Strings of 4 GiB or more
    /// are refused (returns false and fails the stream).
    bool writeString(const std::string& value);

    /// The bytes written so far by a memory write stream (empty for other streams).
    const std::vector<unsigned char>& getBuffer() const { return m_buffer; }

    /// Flushes and closes a file stream. Returns false when the stream had failed or the final
    /// flush failed. Later operations fail. Memory streams: returns good().
    bool close();

private:
    struct FileCloser {
        void operator()(std::FILE* file) const;
    };

    oxBaseStream(bool reading, bool good);

    bool readBytes(std::size_t size, unsigned char* dst);
    bool writeBytes(std::size_t size, const unsigned char* src);
    bool fail();

    std::unique_ptr<std::FILE, FileCloser> m_file;
    std::vector<unsigned char> m_buffer;        ///< owned bytes (memory write, or owned memory read)
    const unsigned char* m_readData = nullptr;  ///< bytes of a memory read stream
    std::size_t m_readSize = 0;
    std::size_t m_position = 0;
    bool m_reading = true;
    bool m_good = false;
};

}  // namespace ox
