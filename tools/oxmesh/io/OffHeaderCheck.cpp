#include "io/OffHeaderCheck.h"

#include <cstdint>

#include "io/InputError.h"

namespace oxmesh {
namespace {

/// Walks the header like Assimp's OFF importer.
class HeaderCursor {
public:
    HeaderCursor(const char* data, std::size_t size) : p_(data), end_(data + size) {}

    /// Skips blanks, line ends and whole comment lines.
    void nextToken()
    {
        for (;;) {
            while (p_ < end_ && (*p_ == ' ' || *p_ == '\t' || *p_ == '\n' || *p_ == '\r' || *p_ == '\f'))
                ++p_;
            if (p_ < end_ && *p_ == '#') {
                while (p_ < end_ && *p_ != '\n' && *p_ != '\r')
                    ++p_;
                continue;
            }
            return;
        }
    }

    /// Consumes `text` when it comes next.
    bool accept(const char* text)
    {
        const char* q = p_;
        for (; *text; ++text, ++q)
            if (q >= end_ || *q != *text)
                return false;
        p_ = q;
        return true;
    }

    /// Reads a run of digits as a saturating count (Assimp wraps around; any huge value is
    /// implausible either way). Returns false when no digit comes next.
    bool count(std::uint64_t& value)
    {
        if (p_ >= end_ || *p_ < '0' || *p_ > '9')
            return false;
        value = 0;
        for (; p_ < end_ && *p_ >= '0' && *p_ <= '9'; ++p_)
            value = value > (UINT64_MAX - 9) / 10 ? UINT64_MAX : value * 10 + std::uint64_t(*p_ - '0');
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

    std::size_t remaining() const { return std::size_t(end_ - p_); }

private:
    const char* p_;
    const char* end_;
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
    throw InputError(nameForErrors, "OFF header announces " + std::to_string(vertices) + " vertices and " +
                                        std::to_string(faces) + " faces, more than the " +
                                        std::to_string(cursor.remaining()) + " bytes after it can hold");
}

}  // namespace oxmesh
