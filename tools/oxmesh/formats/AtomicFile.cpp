#include "formats/AtomicFile.h"

#include "formats/FileError.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

namespace oxmesh {
namespace {

constexpr std::size_t kBufferSize = 1 << 20;

}  // namespace

AtomicFile::AtomicFile(const std::string& path)
    : m_path(path), m_tempPath(path + ".tmp-" + std::to_string(::getpid()))
{
    m_fd = ::open(m_tempPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (m_fd < 0)
        throw FileError(m_path, std::string("cannot write: ") + std::strerror(errno));
    m_buffer.reserve(kBufferSize);
}

AtomicFile::~AtomicFile()
{
    if (m_committed)
        return;
    if (m_fd >= 0)
        ::close(m_fd);
    ::unlink(m_tempPath.c_str());
}

void AtomicFile::fail(int error)
{
    if (m_fd >= 0) {
        ::close(m_fd);
        m_fd = -1;
    }
    ::unlink(m_tempPath.c_str());
    throw FileError(m_path, std::string("cannot write: ") + std::strerror(error));
}

void AtomicFile::writeAll(const char* p, std::size_t left)
{
    while (left > 0) {
        const ssize_t written = ::write(m_fd, p, left);
        if (written < 0) {
            if (errno == EINTR)
                continue;
            fail(errno);
        }
        p += written;
        left -= static_cast<std::size_t>(written);
    }
}

void AtomicFile::flush()
{
    writeAll(m_buffer.data(), m_buffer.size());
    m_buffer.clear();
}

void AtomicFile::write(const void* data, std::size_t size)
{
    if (m_fd < 0)
        throw FileError(m_path, "cannot write: the file is already closed");
    const char* bytes = static_cast<const char*>(data);
    if (m_buffer.size() + size > kBufferSize)
        flush();
    if (size >= kBufferSize) {
        writeAll(bytes, size);
        return;
    }
    m_buffer.insert(m_buffer.end(), bytes, bytes + size);
}

void AtomicFile::commit()
{
    if (m_fd < 0)
        throw FileError(m_path, "cannot write: the file is already closed");
    flush();
    const int fd = m_fd;
    m_fd = -1;
    if (::close(fd) != 0)
        fail(errno);
    if (std::rename(m_tempPath.c_str(), m_path.c_str()) != 0)
        fail(errno);
    m_committed = true;
}

}  // namespace oxmesh
