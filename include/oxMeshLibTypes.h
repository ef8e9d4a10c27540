// Names shared by every part of the library: the 3-vector of our own code and the index that
// stands for "no index" in every index field (edge slots, parents, nearest-neighbour answers).
#pragma once

#include "Wm4/Wm4Vector3.h"

namespace ox {

/// The 3-vector the library computes with.
using Vec3 = Wm4::Vector3<float>;

/// The index value that means "no index" in every index field of the library.
constexpr unsigned int kNoIndex = 0xFFFFFFFFu;

}  // namespace ox
