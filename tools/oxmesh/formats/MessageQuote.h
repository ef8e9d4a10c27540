// Quoting of file content inside one-line error messages.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace oxmesh {

/// `text` in single quotes, cut after `limit` bytes (with "..."), with every byte
/// that is not printable ASCII shown as '?', so binary junk cannot break the
/// message's single line. O(limit).
std::string quoteForMessage(std::string_view text, std::size_t limit = 40);

}  // namespace oxmesh
