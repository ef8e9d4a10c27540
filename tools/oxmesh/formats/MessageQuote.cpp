#include "formats/MessageQuote.h"

namespace oxmesh {

std::string quoteForMessage(std::string_view text, std::size_t limit)
{
    std::string out = "'";
    for (std::size_t i = 0; i < text.size() && i < limit; ++i) {
        const unsigned char c = static_cast<unsigned char>(text[i]);
        out += (c < 0x20 || c >= 0x7f) ? '?' : static_cast<char>(c);
    }
    if (text.size() > limit)
        out += "...";
    return out + "'";
}

}  // namespace oxmesh
