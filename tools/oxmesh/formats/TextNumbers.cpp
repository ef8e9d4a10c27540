#include "formats/TextNumbers.h"

#include "formats/NarrowToFloat.h"

#include <charconv>
#include <cstdlib>
#include <string>
#include <system_error>
#include <type_traits>

namespace oxmesh::text {
namespace {

// std::from_chars rejects a leading '+', which text files do use.
const char* skipPlus(const char* begin, const char* end)
{
    if (end - begin >= 2 && begin[0] == '+' && begin[1] != '-' && begin[1] != '+')
        return begin + 1;
    return begin;
}

// Slow path for magnitudes outside the double range: the C library saturates to
// infinity or flushes to zero where std::from_chars only reports the overflow.
bool parseOutOfRange(const char* begin, const char* end, double& out)
{
    const std::string copy(begin, end);
    char* stop = nullptr;
    out = std::strtod(copy.c_str(), &stop);
    return stop == copy.c_str() + copy.size();
}

template <class T>
bool parseReal(const char* begin, const char* end, T& out)
{
    begin = skipPlus(begin, end);
    if (begin == end)
        return false;
    const auto result = std::from_chars(begin, end, out);
    if (result.ptr != end)
        return false;
    if (result.ec == std::errc())
        return true;
    if (result.ec != std::errc::result_out_of_range)
        return false;
    double wide = 0.0;
    if (!parseOutOfRange(begin, end, wide))
        return false;
    if constexpr (std::is_same_v<T, float>)
        out = narrowToFloat(wide);
    else
        out = wide;
    return true;
}

}  // namespace

bool parseFloat(const char* begin, const char* end, float& out)
{
    return parseReal(begin, end, out);
}

bool parseDouble(const char* begin, const char* end, double& out)
{
    return parseReal(begin, end, out);
}

void appendFloat(std::string& out, float value)
{
    char buffer[32];
    const auto result = std::to_chars(buffer, buffer + sizeof(buffer), value);
    out.append(buffer, result.ptr);
}

bool parseInt(const char* begin, const char* end, std::int64_t& out)
{
    begin = skipPlus(begin, end);
    if (begin == end)
        return false;
    const auto result = std::from_chars(begin, end, out, 10);
    return result.ec == std::errc() && result.ptr == end;
}

}  // namespace oxmesh::text
