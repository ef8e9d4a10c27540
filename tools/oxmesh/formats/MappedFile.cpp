#include "formats/MappedFile.h"

#include "formats/FileError.h"

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace oxmesh {
namespace {

// Closes the descriptor on every path out of the constructor; the mapping
// stays valid after close.
struct FdGuard {
    int fd;
    ~FdGuard()
    {
        if (fd >= 0)
            ::close(fd);
    }
};

[[noreturn]] void failOpen(const std::string& path, const char* reason)
{
    throw FileError(path, std::string("cannot open: ") + reason);
}

}  // namespace

MappedFile::MappedFile(const std::string& path)
{
    FdGuard guard{::open(path.c_str(), O_RDONLY | O_CLOEXEC)};
    if (guard.fd < 0)
        failOpen(path, std::strerror(errno));
    struct stat info {};
    if (::fstat(guard.fd, &info) != 0)
        failOpen(path, std::strerror(errno));
    if (S_ISDIR(info.st_mode))
        failOpen(path, "is a directory");
    if (!S_ISREG(info.st_mode))
        failOpen(path, "not a regular file");
    m_size = static_cast<std::size_t>(info.st_size);
    if (m_size == 0)
        return;
    void* mapped = ::mmap(nullptr, m_size, PROT_READ, MAP_PRIVATE, guard.fd, 0);
    if (mapped == MAP_FAILED)
        failOpen(path, std::strerror(errno));
    ::madvise(mapped, m_size, MADV_SEQUENTIAL);
    m_data = static_cast<const char*>(mapped);
}

MappedFile::~MappedFile()
{
    if (m_data)
        ::munmap(const_cast<char*>(m_data), m_size);
}

}  // namespace oxmesh
