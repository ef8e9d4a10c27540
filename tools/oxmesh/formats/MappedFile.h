// Read-only view of a whole input file, memory-mapped so readers can parse it
// in place without copying.
#pragma once

#include <cstddef>
#include <string>

namespace oxmesh {

class MappedFile {
public:
    /// Maps the regular file at `path` read-only. O(1) (pages load on access).
    /// Throws FileError(path, "cannot open: <reason>") when the file is missing,
    /// unreadable or not a regular file. An empty file maps to size() == 0.
    explicit MappedFile(const std::string& path);
    ~MappedFile();

    MappedFile(const MappedFile&) = delete;
    MappedFile& operator=(const MappedFile&) = delete;

    /// The file's bytes (nullptr for an empty file); valid while this object lives.
    const char* data() const { return m_data; }
    /// The file's size in bytes.
    std::size_t size() const { return m_size; }

private:
    const char* m_data = nullptr;
    std::size_t m_size = 0;
};

}  // namespace oxmesh
