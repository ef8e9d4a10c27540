// Locale-independent parsing of one number token, shared by the text readers
// (ASCII PLY, XYZ). A token is a byte range without surrounding whitespace.
#pragma once

#include <cstdint>
#include <string>

namespace oxmesh::text {

/// True for the blanks that separate values on a line (not the line break).
inline bool isBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\r' || c == '\v' || c == '\f';
}

/// Parses the whole token [begin, end) as a decimal floating-point number
/// ("1.5", "-2e-3", "+4", "inf", "nan"). Values beyond the float range become
/// +-infinity or zero, as a C library would give. O(token length).
/// Returns false when the token is not entirely a number.
bool parseFloat(const char* begin, const char* end, float& out);

/// As parseFloat, in double precision.
bool parseDouble(const char* begin, const char* end, double& out);

/// Parses the whole token as a decimal integer with optional sign. Returns false
/// when the token is not an integer or does not fit in 64 bits.
bool parseInt(const char* begin, const char* end, std::int64_t& out);

/// Appends the shortest decimal text that reads back as exactly `value`
/// ("0.1", "-3e-07", "inf", "nan"). O(1).
void appendFloat(std::string& out, float value);

}  // namespace oxmesh::text
