// The set-up message both edge-collapse drivers print when they refuse a mesh.
#pragma once

namespace ox {
namespace detail {

constexpr const char* NOT_MANIFOLD_MESSAGE =
    "Error while initializing edge collapse: input mesh is not manifold";

}  // namespace detail
}  // namespace ox
