#include "formats/ObjVertexScan.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "formats/FileError.h"

namespace oxmesh {
namespace {

bool isBlank(char c)
{
    return c == ' ' || c == '\t';
}

/// Checks one `v` line from just after the tag; returns the coordinates.
std::array<float, 3> parseVertexLine(const char* p, const char* end, std::size_t line,
                                     const std::string& name)
{
    std::array<float, 3> xyz{};
    int count = 0;
    for (;;) {
        while (p < end && isBlank(*p))
            ++p;
        if (p == end || *p == '#' || *p == '\0')
            break;
        const char* token = p;
        while (p < end && !isBlank(*p) && *p != '#' && *p != '\0')
            ++p;
        const char* start = token;
        if (*start == '+' && start + 1 < p && start[1] != '-' && start[1] != '+')
            ++start;
        float value = 0.0f;
        const std::from_chars_result result = std::from_chars(start, p, value);
        // Out-of-range values (1e99 in a float) come back as result_out_of_range: keep them as
        // infinities so validation reports them.
        const bool outOfRange = result.ec == std::errc::result_out_of_range && result.ptr == p;
        if ((result.ec != std::errc() && !outOfRange) || result.ptr != p) {
            const std::string text(token, std::size_t(std::min<std::ptrdiff_t>(p - token, 40)));
            throw FileError(name, "line " + std::to_string(line) + ": '" + text + "' is not a number");
        }
        if (outOfRange)
            value = *start == '-' ? -INFINITY : INFINITY;
        if (count < 3)
            xyz[std::size_t(count)] = value;
        if (++count > 7)
            throw FileError(name, "line " + std::to_string(line) + ": a vertex has more than 7 numbers");
    }
    if (count < 3)
        throw FileError(name, "line " + std::to_string(line) + ": a vertex needs 3 coordinates, found " +
                                  std::to_string(count));
    return xyz;
}

}  // namespace

ObjVertexScan scanObjVertices(const char* data, std::size_t size, const std::string& nameForErrors)
{
    ObjVertexScan scan;
    const char* p = data;
    const char* const end = data + size;
    for (std::size_t line = 1; p < end; ++line) {
        const char* lineEnd = p;
        while (lineEnd < end && *lineEnd != '\n' && *lineEnd != '\r')
            ++lineEnd;
        const char* q = p;
        while (q < lineEnd && isBlank(*q))
            ++q;
        if (lineEnd - q >= 2 && q[0] == 'v' && isBlank(q[1])) {
            const std::array<float, 3> xyz = parseVertexLine(q + 2, lineEnd, line, nameForErrors);
            if (!std::isfinite(xyz[0]) || !std::isfinite(xyz[1]) || !std::isfinite(xyz[2]))
                scan.nonFinite.emplace_back(scan.vertexLines, xyz);
            ++scan.vertexLines;
        }
        // One line break: \n, \r\n or a lone \r.
        p = lineEnd;
        if (p < end && *p++ == '\r' && p < end && *p == '\n')
            ++p;
    }
    return scan;
}

}  // namespace oxmesh
