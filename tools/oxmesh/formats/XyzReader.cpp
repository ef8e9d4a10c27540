#include "formats/XyzReader.h"

#include "formats/FileError.h"
#include "formats/MappedFile.h"
#include "formats/MessageQuote.h"
#include "formats/ProgressReporter.h"
#include "formats/TextNumbers.h"

#include <algorithm>
#include <cstring>

namespace oxmesh {
namespace {

class XyzParser {
public:
    XyzParser(const char* data, std::size_t size, const std::string& name, const ProgressFn& progress)
        : m_data(data), m_end(data + size), m_name(name), m_progress(progress, size)
    {}

    MeshData parse()
    {
        m_progress.at(0);
        if (m_data == m_end)
            fail("empty file");
        m_mesh.format = "xyz";
        // A point takes a line of at least 6 bytes ("1 2 3\n"), so this bound keeps the
        // reservation proportional to the file even for files of blank lines.
        const std::size_t size = static_cast<std::size_t>(m_end - m_data);
        m_maxPoints = std::min(static_cast<std::size_t>(std::count(m_data, m_end, '\n')) + 1, size / 6 + 1);
        m_mesh.positions.reserve(3 * m_maxPoints);
        std::size_t lineNumber = 0;
        for (const char* p = m_data; p < m_end;) {
            const void* newline = std::memchr(p, '\n', static_cast<std::size_t>(m_end - p));
            const char* lineEnd = newline ? static_cast<const char*>(newline) : m_end;
            ++lineNumber;
            parseLine(p, lineEnd, lineNumber);
            p = newline ? lineEnd + 1 : m_end;
            m_progress.at(static_cast<std::size_t>(p - m_data));
        }
        if (m_columns == 0)
            fail("no points in the file (only blank or comment lines)");
        m_progress.finish();
        return std::move(m_mesh);
    }

private:
    [[noreturn]] void fail(const std::string& problem) const { throw FileError(m_name, problem); }

    [[noreturn]] void failLine(std::size_t line, const std::string& problem) const
    {
        fail("line " + std::to_string(line) + ": " + problem);
    }

    // Splits a line into columns (blanks, or a comma with optional blanks around it,
    // separate them) and stores the point.
    void parseLine(const char* p, const char* end, std::size_t line)
    {
        while (p < end && text::isBlank(*p))
            ++p;
        if (p == end || *p == '#')
            return;
        float values[6];
        std::size_t count = 0;
        bool afterComma = false;
        for (;;) {
            while (p < end && text::isBlank(*p))
                ++p;
            if (p == end || *p == ',') {
                if (afterComma || p != end)
                    failLine(line, "empty column");
                break;
            }
            const char* start = p;
            while (p < end && !text::isBlank(*p) && *p != ',')
                ++p;
            float value = 0.0f;
            if (!text::parseFloat(start, p, value))
                failLine(line, quoteForMessage(std::string_view(start, static_cast<std::size_t>(p - start))) +
                                   " is not a number");
            if (count < 6)
                values[count] = value;
            ++count;
            while (p < end && text::isBlank(*p))
                ++p;
            afterComma = p < end && *p == ',';
            if (afterComma)
                ++p;
            else if (p == end)
                break;
        }
        addPoint(values, count, line);
    }

    void addPoint(const float* values, std::size_t count, std::size_t line)
    {
        if (m_columns == 0) {
            if (count != 3 && count != 6)
                failLine(line,
                         "expected 3 or 6 columns (x y z or x y z nx ny nz), found " + std::to_string(count));
            m_columns = count;
            m_firstLine = line;
            if (m_columns == 6)
                m_mesh.normals.reserve(3 * m_maxPoints);
        } else if (count != m_columns) {
            failLine(line, std::to_string(count) + " columns, but line " + std::to_string(m_firstLine) +
                               " has " + std::to_string(m_columns));
        }
        m_mesh.positions.insert(m_mesh.positions.end(), values, values + 3);
        if (m_columns == 6)
            m_mesh.normals.insert(m_mesh.normals.end(), values + 3, values + 6);
    }

    const char* m_data;
    const char* m_end;
    const std::string& m_name;
    ProgressReporter m_progress;
    MeshData m_mesh;
    std::size_t m_maxPoints = 0;  // points the data can hold at most (for reserving)
    std::size_t m_columns = 0;    // columns of the first point, 0 before it
    std::size_t m_firstLine = 0;  // line of the first point
};

}  // namespace

MeshData parseXyz(const char* data, std::size_t size, const std::string& nameForErrors,
                  const ProgressFn& progress)
{
    return XyzParser(data, size, nameForErrors, progress).parse();
}

MeshData readXyz(const std::string& path, const ProgressFn& progress)
{
    const MappedFile file(path);
    return parseXyz(file.data(), file.size(), path, progress);
}

}  // namespace oxmesh
