#include "formats/PlyAsciiSource.h"

#include "formats/MessageQuote.h"
#include "formats/TextNumbers.h"

#include <cstdint>
#include <cstring>
#include <limits>
#include <string>

namespace oxmesh::ply {
namespace {

const char* typeName(ScalarType type)
{
    switch (type) {
    case ScalarType::Int8:
        return "char";
    case ScalarType::UInt8:
        return "uchar";
    case ScalarType::Int16:
        return "short";
    case ScalarType::UInt16:
        return "ushort";
    case ScalarType::Int32:
        return "int";
    case ScalarType::UInt32:
        return "uint";
    case ScalarType::Float32:
        return "float";
    case ScalarType::Float64:
        return "double";
    }
    return "?";
}

// Range of the integer types, as the values a token may hold.
void integerRange(ScalarType type, std::int64_t& lo, std::int64_t& hi)
{
    switch (type) {
    case ScalarType::Int8:
        lo = -128;
        hi = 127;
        return;
    case ScalarType::UInt8:
        lo = 0;
        hi = 255;
        return;
    case ScalarType::Int16:
        lo = -32768;
        hi = 32767;
        return;
    case ScalarType::UInt16:
        lo = 0;
        hi = 65535;
        return;
    case ScalarType::Int32:
        lo = INT32_MIN;
        hi = INT32_MAX;
        return;
    case ScalarType::UInt32:
        lo = 0;
        hi = UINT32_MAX;
        return;
    case ScalarType::Float32:
    case ScalarType::Float64:
        break;
    }
    lo = std::numeric_limits<std::int64_t>::min();
    hi = std::numeric_limits<std::int64_t>::max();
}

}  // namespace

bool AsciiSource::beginRow()
{
    for (; m_pos < m_end; ++m_pos) {
        if (*m_pos == '\n')
            ++m_line;
        else if (!text::isBlank(*m_pos))
            break;
    }
    if (m_pos == m_end)
        return false;
    const void* newline = std::memchr(m_pos, '\n', static_cast<std::size_t>(m_end - m_pos));
    m_lineEnd = newline ? static_cast<const char*>(newline) : m_end;
    return true;
}

void AsciiSource::endRow()
{
    while (m_pos < m_lineEnd && text::isBlank(*m_pos))
        ++m_pos;
    if (m_pos < m_lineEnd) {
        const char* tokenEnd = m_pos;
        while (tokenEnd < m_lineEnd && !text::isBlank(*tokenEnd))
            ++tokenEnd;
        const std::string_view extra(m_pos, static_cast<std::size_t>(tokenEnd - m_pos));
        m_context.fail("line " + std::to_string(m_line) + ": extra value " + quoteForMessage(extra) +
                       " after the end of " + m_context.where());
    }
    if (m_pos < m_end) {
        ++m_pos;  // the line break
        ++m_line;
    }
}

void AsciiSource::finish()
{
    for (; m_pos < m_end; ++m_pos) {
        if (*m_pos == '\n')
            ++m_line;
        else if (!text::isBlank(*m_pos))
            m_context.fail("line " + std::to_string(m_line) + ": unexpected data after the last element");
    }
}

AsciiSource::Token AsciiSource::nextToken()
{
    while (m_pos < m_lineEnd && text::isBlank(*m_pos))
        ++m_pos;
    if (m_pos == m_lineEnd) {
        if (m_lineEnd == m_end)
            m_context.truncated();
        m_context.fail("line " + std::to_string(m_line) + " ends inside " + m_context.where() +
                       " (too few values)");
    }
    Token token{m_pos, m_pos};
    while (token.end < m_lineEnd && !text::isBlank(*token.end))
        ++token.end;
    m_pos = token.end;
    return token;
}

void AsciiSource::badToken(Token token, const char* why, ScalarType type) const
{
    const std::string_view text(token.begin, static_cast<std::size_t>(token.end - token.begin));
    m_context.fail("line " + std::to_string(m_line) + ": " + quoteForMessage(text) + " " + why + " " +
                   typeName(type) + " (" + m_context.where() + ")");
}

double AsciiSource::readNumber(ScalarType type)
{
    if (isIntegerType(type))
        return static_cast<double>(readInteger(type));
    const Token token = nextToken();
    double value = 0.0;
    if (type == ScalarType::Float32) {
        float single = 0.0f;
        if (!text::parseFloat(token.begin, token.end, single))
            badToken(token, "is not a number of type", type);
        value = single;
    } else if (!text::parseDouble(token.begin, token.end, value)) {
        badToken(token, "is not a number of type", type);
    }
    return value;
}

std::int64_t AsciiSource::readInteger(ScalarType type)
{
    const Token token = nextToken();
    std::int64_t value = 0;
    if (!text::parseInt(token.begin, token.end, value))
        badToken(token, "is not a number of type", type);
    std::int64_t lo = 0, hi = 0;
    integerRange(type, lo, hi);
    if (value < lo || value > hi)
        badToken(token, "is out of range for", type);
    return value;
}

void AsciiSource::readList(std::uint64_t n, ScalarType type, std::vector<std::int64_t>& out)
{
    out.clear();
    for (std::uint64_t i = 0; i < n; ++i)
        out.push_back(readInteger(type));
}

void AsciiSource::skipList(std::uint64_t n, ScalarType type)
{
    for (std::uint64_t i = 0; i < n; ++i)
        readNumber(type);
}

}  // namespace oxmesh::ply
