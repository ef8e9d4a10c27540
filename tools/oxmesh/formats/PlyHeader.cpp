#include "formats/PlyHeader.h"

#include "formats/FileError.h"
#include "formats/MessageQuote.h"

#include <cstring>

namespace oxmesh::ply {
namespace {

struct TypeName {
    const char* name;
    ScalarType type;
};

constexpr TypeName kTypeNames[] = {
    {"char", ScalarType::Int8},       {"int8", ScalarType::Int8},       {"uchar", ScalarType::UInt8},
    {"uint8", ScalarType::UInt8},     {"short", ScalarType::Int16},     {"int16", ScalarType::Int16},
    {"ushort", ScalarType::UInt16},   {"uint16", ScalarType::UInt16},   {"int", ScalarType::Int32},
    {"int32", ScalarType::Int32},     {"uint", ScalarType::UInt32},     {"uint32", ScalarType::UInt32},
    {"float", ScalarType::Float32},   {"float32", ScalarType::Float32}, {"double", ScalarType::Float64},
    {"float64", ScalarType::Float64},
};

// A header line split into whitespace-separated tokens.
struct HeaderLine {
    std::size_t number = 0;
    std::string text;  // without the line break
    std::vector<std::string> tokens;
    bool hasControlBytes = false;
};

HeaderLine splitLine(const char* begin, const char* end, std::size_t number)
{
    HeaderLine line;
    line.number = number;
    if (end > begin && end[-1] == '\r')
        --end;
    line.text.assign(begin, end);
    const char* p = begin;
    while (p < end) {
        while (p < end && (*p == ' ' || *p == '\t'))
            ++p;
        const char* start = p;
        while (p < end && *p != ' ' && *p != '\t') {
            const unsigned char c = static_cast<unsigned char>(*p);
            if (c < 0x20 || c == 0x7f)
                line.hasControlBytes = true;
            ++p;
        }
        if (p > start)
            line.tokens.emplace_back(start, p);
    }
    return line;
}

class HeaderParser {
public:
    HeaderParser(const char* data, std::size_t size, const std::string& name)
        : m_data(data), m_size(size), m_name(name)
    {}

    Header parse()
    {
        if (m_size == 0)
            fail("empty file");
        checkMagic();
        bool sawFormat = false;
        for (;;) {
            const HeaderLine line = nextLine();
            if (line.tokens.empty())
                continue;
            const std::string& keyword = line.tokens[0];
            if (keyword == "comment" || keyword == "obj_info")
                continue;
            if (line.hasControlBytes)
                malformed(line);
            if (keyword == "format") {
                if (sawFormat)
                    malformed(line, "second format line");
                parseFormat(line);
                sawFormat = true;
            } else if (keyword == "element") {
                parseElement(line);
            } else if (keyword == "property") {
                parseProperty(line);
            } else if (keyword == "end_header") {
                if (line.tokens.size() != 1)
                    malformed(line);
                break;
            } else {
                malformed(line);
            }
        }
        if (!sawFormat)
            fail("the header has no format line");
        m_header.bodyOffset = m_pos;
        m_header.lineCount = m_lineNumber;
        return std::move(m_header);
    }

private:
    [[noreturn]] void fail(const std::string& problem) const { throw FileError(m_name, problem); }

    [[noreturn]] void malformed(const HeaderLine& line, const char* why = nullptr) const
    {
        std::string problem = "malformed header line " + std::to_string(line.number);
        if (why)
            problem += std::string(" (") + why + ")";
        fail(problem + ": " + quoteForMessage(line.text, 60));
    }

    void checkMagic()
    {
        const char* end = m_data + m_size;
        const char* lineEnd = static_cast<const char*>(std::memchr(m_data, '\n', m_size));
        const char* textEnd = lineEnd ? lineEnd : end;
        while (textEnd > m_data && (textEnd[-1] == '\r' || textEnd[-1] == ' ' || textEnd[-1] == '\t'))
            --textEnd;
        if (textEnd - m_data != 3 || std::memcmp(m_data, "ply", 3) != 0)
            fail("not a PLY file (the first line is not 'ply')");
        if (!lineEnd)
            fail("file ends inside the header (no end_header line)");
        m_pos = static_cast<std::size_t>(lineEnd - m_data) + 1;
        m_lineNumber = 1;
    }

    HeaderLine nextLine()
    {
        const char* begin = m_data + m_pos;
        const char* lineEnd = static_cast<const char*>(std::memchr(begin, '\n', m_size - m_pos));
        if (!lineEnd)
            fail("file ends inside the header (no end_header line)");
        m_pos = static_cast<std::size_t>(lineEnd - m_data) + 1;
        return splitLine(begin, lineEnd, ++m_lineNumber);
    }

    void parseFormat(const HeaderLine& line)
    {
        if (line.tokens.size() != 3)
            malformed(line);
        const std::string& format = line.tokens[1];
        if (format == "ascii")
            m_header.encoding = Encoding::Ascii;
        else if (format == "binary_little_endian")
            m_header.encoding = Encoding::BinaryLittleEndian;
        else if (format == "binary_big_endian")
            m_header.encoding = Encoding::BinaryBigEndian;
        else
            fail("unknown format " + quoteForMessage(format) + " on header line " +
                 std::to_string(line.number));
        if (line.tokens[2] != "1.0")
            fail("unsupported PLY version " + quoteForMessage(line.tokens[2]) + " on header line " +
                 std::to_string(line.number));
    }

    void parseElement(const HeaderLine& line)
    {
        if (line.tokens.size() != 3)
            malformed(line);
        Element element;
        element.name = line.tokens[1];
        element.headerLine = line.number;
        element.count = parseCount(line, line.tokens[2]);
        m_header.elements.push_back(std::move(element));
    }

    std::uint64_t parseCount(const HeaderLine& line, const std::string& token) const
    {
        if (!token.empty() && token[0] == '-')
            fail("negative element count " + quoteForMessage(token) + " on header line " +
                 std::to_string(line.number));
        std::uint64_t count = 0;
        for (const char c : token) {
            if (c < '0' || c > '9')
                malformed(line, "element count is not a number");
            const std::uint64_t digit = static_cast<std::uint64_t>(c - '0');
            if (count > (UINT64_MAX - digit) / 10)
                fail("element count " + quoteForMessage(token) + " on header line " +
                     std::to_string(line.number) + " is absurdly large");
            count = count * 10 + digit;
        }
        return count;
    }

    ScalarType parseType(const HeaderLine& line, const std::string& token) const
    {
        ScalarType type;
        if (!scalarTypeFromName(token, type))
            fail("unknown property type " + quoteForMessage(token) + " on header line " +
                 std::to_string(line.number));
        return type;
    }

    void parseProperty(const HeaderLine& line)
    {
        if (m_header.elements.empty())
            malformed(line, "property before any element");
        Property property;
        if (line.tokens.size() >= 2 && line.tokens[1] == "list") {
            if (line.tokens.size() != 5)
                malformed(line);
            property.isList = true;
            property.countType = parseType(line, line.tokens[2]);
            property.type = parseType(line, line.tokens[3]);
            property.name = line.tokens[4];
            if (!isIntegerType(property.countType))
                fail("list count type " + quoteForMessage(line.tokens[2]) + " on header line " +
                     std::to_string(line.number) + " is not an integer type");
        } else {
            if (line.tokens.size() != 3)
                malformed(line);
            property.type = parseType(line, line.tokens[1]);
            property.name = line.tokens[2];
        }
        m_header.elements.back().properties.push_back(std::move(property));
    }

    const char* m_data;
    std::size_t m_size;
    const std::string& m_name;
    std::size_t m_pos = 0;
    std::size_t m_lineNumber = 0;
    Header m_header;
};

}  // namespace

std::size_t scalarSize(ScalarType type)
{
    switch (type) {
    case ScalarType::Int8:
    case ScalarType::UInt8:
        return 1;
    case ScalarType::Int16:
    case ScalarType::UInt16:
        return 2;
    case ScalarType::Int32:
    case ScalarType::UInt32:
    case ScalarType::Float32:
        return 4;
    case ScalarType::Float64:
        return 8;
    }
    return 0;
}

bool isIntegerType(ScalarType type)
{
    return type != ScalarType::Float32 && type != ScalarType::Float64;
}

bool scalarTypeFromName(const std::string& name, ScalarType& out)
{
    for (const TypeName& entry : kTypeNames) {
        if (name == entry.name) {
            out = entry.type;
            return true;
        }
    }
    return false;
}

const char* encodingName(Encoding encoding)
{
    switch (encoding) {
    case Encoding::Ascii:
        return "ascii";
    case Encoding::BinaryLittleEndian:
        return "binary_little_endian";
    case Encoding::BinaryBigEndian:
        return "binary_big_endian";
    }
    return "?";
}

int Element::find(const std::string& propertyName) const
{
    for (std::size_t i = 0; i < properties.size(); ++i)
        if (properties[i].name == propertyName)
            return static_cast<int>(i);
    return -1;
}

Header parseHeader(const char* data, std::size_t size, const std::string& nameForErrors)
{
    return HeaderParser(data, size, nameForErrors).parse();
}

}  // namespace oxmesh::ply
