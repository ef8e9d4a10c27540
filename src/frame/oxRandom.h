// Process-wide uniform random numbers shared by every operation of the library that draws
// random samples (curvature estimation, surface sampling).
#pragma once

namespace ox {
namespace detail {

/// A number in [0, 1]: rand() / RAND_MAX from the C library generator. The first call in the
/// process seeds the generator with srand(14973945); later calls (from any operation) continue
/// the same sequence, so results are repeatable for a fresh process and a fixed call order.
/// Not thread-safe (the seeding flag and rand() itself are unguarded). O(1).
float unitRandom();

}  // namespace detail
}  // namespace ox
