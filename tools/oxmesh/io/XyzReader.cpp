#include "io/XyzReader.h"

#include "io/InputError.h"
#include "io/MappedFile.h"
#include "io/MessageQuote.h"
#include "io/ProgressReporter.h"
#include "io/TextNumbers.h"

#include <algorithm>
#include <cstring>

namespace oxmesh {
namespace {

class XyzParser {
public:
    XyzParser(const char* data, std::size_t size, const std::string& name, const ProgressFn& progress)
        : data_(data), end_(data + size), name_(name), progress_(progress, size)
    {}

    MeshData parse()
    {
        progress_.at(0);
        if (data_ == end_)
            fail("empty file");
        mesh_.format = "xyz";
        // A point takes a line of at least 6 bytes ("1 2 3\n"), so this bound keeps the
        // reservation proportional to the file even for files of blank lines.
        const std::size_t size = static_cast<std::size_t>(end_ - data_);
        maxPoints_ = std::min(static_cast<std::size_t>(std::count(data_, end_, '\n')) + 1, size / 6 + 1);
        mesh_.positions.reserve(3 * maxPoints_);
        std::size_t lineNumber = 0;
        for (const char* p = data_; p < end_;) {
            const void* newline = std::memchr(p, '\n', static_cast<std::size_t>(end_ - p));
            const char* lineEnd = newline ? static_cast<const char*>(newline) : end_;
            ++lineNumber;
            parseLine(p, lineEnd, lineNumber);
            p = newline ? lineEnd + 1 : end_;
            progress_.at(static_cast<std::size_t>(p - data_));
        }
        if (columns_ == 0)
            fail("no points in the file (only blank or comment lines)");
        progress_.finish();
        return std::move(mesh_);
    }

private:
    [[noreturn]] void fail(const std::string& problem) const { throw InputError(name_, problem); }

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
        if (columns_ == 0) {
            if (count != 3 && count != 6)
                failLine(line,
                         "expected 3 or 6 columns (x y z or x y z nx ny nz), found " + std::to_string(count));
            columns_ = count;
            firstLine_ = line;
            if (columns_ == 6)
                mesh_.normals.reserve(3 * maxPoints_);
        } else if (count != columns_) {
            failLine(line, std::to_string(count) + " columns, but line " + std::to_string(firstLine_) +
                               " has " + std::to_string(columns_));
        }
        mesh_.positions.insert(mesh_.positions.end(), values, values + 3);
        if (columns_ == 6)
            mesh_.normals.insert(mesh_.normals.end(), values + 3, values + 6);
    }

    const char* data_;
    const char* end_;
    const std::string& name_;
    ProgressReporter progress_;
    MeshData mesh_;
    std::size_t maxPoints_ = 0;  // points the data can hold at most (for reserving)
    std::size_t columns_ = 0;    // columns of the first point, 0 before it
    std::size_t firstLine_ = 0;  // line of the first point
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
