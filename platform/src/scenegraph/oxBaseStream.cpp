#include "scenegraph/oxBaseStream.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>

namespace ox {

namespace {

#if defined(__BYTE_ORDER__) && defined(__ORDER_BIG_ENDIAN__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
constexpr bool kHostIsBigEndian = true;
#else
constexpr bool kHostIsBigEndian = false;
#endif

bool isSupportedElementSize(std::size_t elemSize)
{
    return elemSize == 1 || elemSize == 2 || elemSize == 4 || elemSize == 8;
}

/// Reverses the bytes of each of the `count` elements of `elemSize` bytes at `data`.
void swapElements(unsigned char* data, std::size_t count, std::size_t elemSize)
{
    for (std::size_t i = 0; i < count; ++i) {
        std::reverse(data + i * elemSize, data + (i + 1) * elemSize);
    }
}

/// True when count * elemSize overflows size_t.
bool byteCountOverflows(std::size_t count, std::size_t elemSize)
{
    return elemSize != 0 && count > std::numeric_limits<std::size_t>::max() / elemSize;
}

}  // namespace

void oxBaseStream::FileCloser::operator()(std::FILE* file) const
{
    if (file != nullptr) {
        std::fclose(file);
    }
}

oxBaseStream::oxBaseStream(bool reading, bool good) : m_reading(reading), m_good(good) {}

oxBaseStream::oxBaseStream(oxBaseStream&&) noexcept = default;
oxBaseStream& oxBaseStream::operator=(oxBaseStream&&) noexcept = default;
oxBaseStream::~oxBaseStream() = default;

oxBaseStream oxBaseStream::openFileRead(const std::string& path)
{
    oxBaseStream stream(true, false);
    stream.m_file.reset(std::fopen(path.c_str(), "rb"));
    stream.m_good = stream.m_file != nullptr;
    return stream;
}

oxBaseStream oxBaseStream::openFileWrite(const std::string& path)
{
    oxBaseStream stream(false, false);
    stream.m_file.reset(std::fopen(path.c_str(), "wb"));
    stream.m_good = stream.m_file != nullptr;
    return stream;
}

oxBaseStream oxBaseStream::openMemoryRead(const void* data, std::size_t size)
{
    oxBaseStream stream(true, data != nullptr || size == 0);
    stream.m_readData = static_cast<const unsigned char*>(data);
    stream.m_readSize = data != nullptr ? size : 0;
    return stream;
}

oxBaseStream oxBaseStream::openMemoryRead(std::vector<unsigned char> bytes)
{
    oxBaseStream stream(true, true);
    stream.m_buffer = std::move(bytes);
    stream.m_readData = stream.m_buffer.data();
    stream.m_readSize = stream.m_buffer.size();
    return stream;
}

oxBaseStream oxBaseStream::openMemoryWrite()
{
    return oxBaseStream(false, true);
}

bool oxBaseStream::fail()
{
    m_good = false;
    return false;
}

bool oxBaseStream::readBytes(std::size_t size, unsigned char* dst)
{
    if (m_file) {
        if (std::fread(dst, 1, size, m_file.get()) != size) {
            return fail();
        }
    } else {
        if (size > m_readSize - m_position) {
            return fail();
        }
        if (size > 0) {
            std::memcpy(dst, m_readData + m_position, size);
        }
    }
    m_position += size;
    return true;
}

bool oxBaseStream::writeBytes(std::size_t size, const unsigned char* src)
{
    if (m_file) {
        if (std::fwrite(src, 1, size, m_file.get()) != size) {
            return fail();
        }
    } else {
        m_buffer.insert(m_buffer.end(), src, src + size);
    }
    m_position += size;
    return true;
}

bool oxBaseStream::readle(std::size_t count, std::size_t elemSize, void* dst)
{
    if (!m_good || !m_reading || !isSupportedElementSize(elemSize) || byteCountOverflows(count, elemSize)) {
        return fail();
    }
    if (count == 0) {
        return true;
    }
    unsigned char* bytes = static_cast<unsigned char*>(dst);
    if (!readBytes(count * elemSize, bytes)) {
        return false;
    }
    if (kHostIsBigEndian && elemSize > 1) {
        swapElements(bytes, count, elemSize);
    }
    return true;
}

bool oxBaseStream::writele(std::size_t count, std::size_t elemSize, const void* src)
{
    if (!m_good || m_reading || !isSupportedElementSize(elemSize) || byteCountOverflows(count, elemSize)) {
        return fail();
    }
    if (count == 0) {
        return true;
    }
    const unsigned char* bytes = static_cast<const unsigned char*>(src);
    if (!kHostIsBigEndian || elemSize == 1) {
        return writeBytes(count * elemSize, bytes);
    }
    // Big-endian host: swap through a bounded scratch buffer, chunk by chunk.
    constexpr std::size_t kChunkBytes = 4096;
    unsigned char scratch[kChunkBytes];
    const std::size_t perChunk = kChunkBytes / elemSize;
    for (std::size_t done = 0; done < count; done += perChunk) {
        const std::size_t n = std::min(perChunk, count - done);
        std::memcpy(scratch, bytes + done * elemSize, n * elemSize);
        swapElements(scratch, n, elemSize);
        if (!writeBytes(n * elemSize, scratch)) {
            return false;
        }
    }
    return true;
}

bool oxBaseStream::readString(std::string& value)
{
    std::uint32_t length = 0;
    if (!readValue(length)) {
        return false;
    }
    // Read in bounded pieces so that a corrupt length cannot trigger a huge allocation up front.
    std::string result;
    constexpr std::size_t kPiece = 4096;
    char piece[kPiece];
    for (std::size_t remaining = length; remaining > 0;) {
        const std::size_t n = std::min(kPiece, remaining);
        if (!readle(n, 1, piece)) {
            return false;
        }
        result.append(piece, n);
        remaining -= n;
    }
    value = std::move(result);
    return true;
}

bool oxBaseStream::writeString(const std::string& value)
{
    if (value.size() > std::numeric_limits<std::uint32_t>::max()) {
        return fail();
    }
    const std::uint32_t length = static_cast<std::uint32_t>(value.size());
    return writeValue(length) && writele(value.size(), 1, value.data());
}

bool oxBaseStream::close()
{
    if (!m_file) {
        return m_good;
    }
    const bool flushed = std::fflush(m_file.get()) == 0;
    const bool closed = std::fclose(m_file.release()) == 0;
    const bool ok = m_good && flushed && closed;
    m_good = false;
    return ok;
}

}  // namespace ox
