#include "formats/OffHeaderCheck.h"

#include <cstdint>

#include "formats/FileError.h"

namespace oxmesh {
namespace {

/// Walks the header like Assimp's OFF importer.
class HeaderCursor {
public:
    HeaderCursor(const char* data, std::size_t size) : m_p(data), m_end(data + size) {}

    /// Skips blanks, line ends and whole comment lines.
    void nextToken()
    {
        for (;;) {
            while (m_p < m_end &&
                   (*m_p == ' ' || *m_p == '\t' || *m_p == '\n' || *m_p == '\r' || *m_p == '\f'))
                ++m_p;
            if (m_p < m_end && *m_p == '#') {
                while (m_p < m_end && *m_p != '\n' && *m_p != '\r')
                    ++m_p;
                continue;
            }
            return;
        }
    }

    /// Consumes `text` when it comes next.
    bool accept(const char* text)
    {
        const char* q = m_p;
        for (; *text; ++text, ++q)
            if (q >= m_end || *q != *text)
                return false;
        m_p = q;
        return true;
    }

    /// Reads a run of digits as a saturating count (Assimp wraps around; any huge value is
    /// implausible either way). Returns false when no digit comes next.
    bool count(std::uint64_t& value)
    {
        if (m_p >= m_end || *m_p < '0' || *m_p > '9')
            return false;
        value = 0;
        for (; m_p < m_end && *m_p >= '0' && *m_p <= '9'; ++m_p)
            value = value > (UINT64_MAX - 9) / 10 ? UINT64_MAX : value * 10 + std::uint64_t(*m_p - '0');
        return true;
    }

    /// Skips what Assimp skips after the counts: the edge count and blanks.
    void skipEdgeCount()
    {
        std::uint64_t ignored = 0;
        nextToken();
        count(ignored);
        nextToken();
    }

    std::size_t remaining() const { return std::size_t(m_end - m_p); }

private:
    const char* m_p;
    const char* m_end;
};

}  // namespace

void checkOffHeader(const char* data, std::size_t size, const std::string& nameForErrors)
{
    HeaderCursor cursor(data, size);
    cursor.nextToken();
    cursor.accept("ST");
    cursor.accept("C");
    cursor.accept("N");
    cursor.accept("4");
    const bool hasDimension = cursor.accept("n");
    cursor.accept("OFF");
    cursor.nextToken();
    std::uint64_t dimension = 0, vertices = 0, faces = 0;
    if (hasDimension) {
        if (!cursor.count(dimension))
            return;
        cursor.nextToken();
    }
    if (!cursor.count(vertices))
        return;
    cursor.nextToken();
    if (!cursor.count(faces))
        return;
    cursor.skipEdgeCount();

    const std::uint64_t lines = vertices > UINT64_MAX - faces ? UINT64_MAX : vertices + faces;
    if (lines <= (std::uint64_t(cursor.remaining()) + 1) / 2)
        return;
    throw FileError(nameForErrors, "OFF header announces " + std::to_string(vertices) + " vertices and " +
                                       std::to_string(faces) + " faces, more than the " +
                                       std::to_string(cursor.remaining()) + " bytes after it can hold");
}

}  // namespace oxmesh
