// An output file that appears under its final name only when complete: data goes
// to "<path>.tmp-<pid>" in the same folder, and commit() renames it over the target.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace oxmesh {

class AtomicFile {
public:
    /// Creates the temporary file next to `path`. O(1).
    /// Throws FileError(path, "cannot write: <reason>") when it cannot be created.
    explicit AtomicFile(const std::string& path);

    /// Removes the temporary file unless commit() succeeded; the target is untouched.
    ~AtomicFile();

    AtomicFile(const AtomicFile&) = delete;
    AtomicFile& operator=(const AtomicFile&) = delete;

    /// Appends `size` bytes (buffered). Throws FileError(path, "cannot write: ...")
    /// on a write error (disk full, file too large, ...).
    void write(const void* data, std::size_t size);
    void write(std::string_view text) { write(text.data(), text.size()); }

    /// Flushes, closes and renames the temporary file over the target, replacing
    /// any existing file. Throws FileError(path, "cannot write: ...") on failure,
    /// in which case the temporary file is removed and the target left as it was.
    void commit();

    /// The target path given to the constructor.
    const std::string& path() const { return m_path; }
    /// Where the data goes until commit(): "<path>.tmp-<pid>".
    const std::string& tempPath() const { return m_tempPath; }

private:
    void writeAll(const char* data, std::size_t size);
    void flush();
    [[noreturn]] void fail(int error);

    std::string m_path;
    std::string m_tempPath;
    int m_fd = -1;
    bool m_committed = false;
    std::vector<char> m_buffer;
};

}  // namespace oxmesh
