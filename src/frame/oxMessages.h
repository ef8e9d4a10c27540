// Where the library's progress and diagnostic lines go: std::cout unless the host chose
// another stream (or none) with oxMeshLib::SetMessageStream.
#pragma once

#include <ostream>

namespace ox {
namespace detail {

/// The stream for the library's lines; a stream that drops everything when the host silenced
/// them.
std::ostream& messages();

}  // namespace detail
}  // namespace ox
