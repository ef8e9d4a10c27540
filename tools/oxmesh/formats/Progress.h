// Progress reporting shared by the file readers and the tool's progress bar.
#pragma once

#include <functional>

namespace oxmesh {

/// Receives the fraction of the work done, from 0 to 1. Readers call it at most about
/// a hundred times per file, so a callback may draw directly without throttling.
using ProgressFn = std::function<void(float)>;

}  // namespace oxmesh
