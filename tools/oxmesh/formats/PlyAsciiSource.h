// Reads the values of an ASCII PLY body: one row per line, values separated by
// blanks. Used as the value source of the PLY body decoder.
#pragma once

#include "formats/PlyHeader.h"
#include "formats/PlyRowContext.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace oxmesh::ply {

class AsciiSource {
public:
    /// Reads from [begin, end); `fileStart` is the start of the file, `firstLine` the
    /// 1-based line number at `begin` (for messages).
    AsciiSource(const char* fileStart, const char* begin, const char* end, std::size_t firstLine,
                RowContext& context)
        : m_fileStart(fileStart), m_pos(begin), m_lineEnd(begin), m_end(end), m_line(firstLine),
          m_context(context)
    {}

    std::size_t offset() const { return static_cast<std::size_t>(m_pos - m_fileStart); }
    std::size_t remaining() const { return static_cast<std::size_t>(m_end - m_pos); }

    /// Smallest number of bytes a row of `element` occupies: one digit and one
    /// separator per property (lists of length zero still need their count).
    static std::uint64_t minRowBytes(const Element& element) { return 2 * element.properties.size(); }

    /// ASCII rows never have a fixed size.
    static bool fixedRowSize(const Element&) { return false; }

    /// Moves to the next non-blank line; false at the end of the data.
    bool beginRow();

    /// Requires the rest of the row's line to be blank and moves past it.
    void endRow();

    /// Requires only blank lines after the last element.
    void finish();

    /// Never called: ASCII rows never have a fixed size.
    void skipFixedRows(std::uint64_t, std::uint64_t) {}

    /// The next token as a value of `type` (integers range-checked for the type).
    double readNumber(ScalarType type);

    /// The next token as an integer of integer `type`.
    std::int64_t readInteger(ScalarType type);

    /// Checks and skips one value.
    void skip(ScalarType type) { readNumber(type); }

    /// Reads `n` integer values of `type` into `out`.
    void readList(std::uint64_t n, ScalarType type, std::vector<std::int64_t>& out);

    /// Checks and skips `n` values.
    void skipList(std::uint64_t n, ScalarType type);

private:
    struct Token {
        const char* begin;
        const char* end;
    };

    Token nextToken();
    [[noreturn]] void badToken(Token token, const char* why, ScalarType type) const;

    const char* m_fileStart;
    const char* m_pos;
    const char* m_lineEnd;  // end of the current row's line
    const char* m_end;
    std::size_t m_line;  // 1-based number of the line at m_pos
    RowContext& m_context;
};

}  // namespace oxmesh::ply
