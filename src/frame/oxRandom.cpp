// Process-wide uniform random numbers: the C library's rand(), seeded once per process with
// srand(14973945) at the first draw, so every operation that samples continues one sequence.
#include "frame/oxRandom.h"

#include <cstdlib>

namespace ox {
namespace detail {

namespace {
bool g_seeded = false;
}

float unitRandom()
{
    if (!g_seeded) {
        std::srand(14973945u);
        g_seeded = true;
    }
    return static_cast<float>(std::rand()) / static_cast<float>(RAND_MAX);
}

}  // namespace detail
}  // namespace ox
