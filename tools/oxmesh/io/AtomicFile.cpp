#include "io/AtomicFile.h"

#include "io/InputError.h"

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
    : path_(path), tempPath_(path + ".tmp-" + std::to_string(::getpid()))
{
    fd_ = ::open(tempPath_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (fd_ < 0)
        throw InputError(path_, std::string("cannot write: ") + std::strerror(errno));
    buffer_.reserve(kBufferSize);
}

AtomicFile::~AtomicFile()
{
    if (committed_)
        return;
    if (fd_ >= 0)
        ::close(fd_);
    ::unlink(tempPath_.c_str());
}

void AtomicFile::fail(int error)
{
    if (fd_ >= 0) {
        ::close(fd_);
        fd_ = -1;
    }
    ::unlink(tempPath_.c_str());
    throw InputError(path_, std::string("cannot write: ") + std::strerror(error));
}

void AtomicFile::writeAll(const char* p, std::size_t left)
{
    while (left > 0) {
        const ssize_t written = ::write(fd_, p, left);
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
    writeAll(buffer_.data(), buffer_.size());
    buffer_.clear();
}

void AtomicFile::write(const void* data, std::size_t size)
{
    if (fd_ < 0)
        throw InputError(path_, "cannot write: the file is already closed");
    const char* bytes = static_cast<const char*>(data);
    if (buffer_.size() + size > kBufferSize)
        flush();
    if (size >= kBufferSize) {
        writeAll(bytes, size);
        return;
    }
    buffer_.insert(buffer_.end(), bytes, bytes + size);
}

void AtomicFile::commit()
{
    if (fd_ < 0)
        throw InputError(path_, "cannot write: the file is already closed");
    flush();
    const int fd = fd_;
    fd_ = -1;
    if (::close(fd) != 0)
        fail(errno);
    if (std::rename(tempPath_.c_str(), path_.c_str()) != 0)
        fail(errno);
    committed_ = true;
}

}  // namespace oxmesh
