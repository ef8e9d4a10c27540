// One line per benchmark run, human-readable and as CSV.
#pragma once

#include <chrono>
#include <string>

namespace oxbench {

/// Seconds since an arbitrary origin, steady clock.
inline double now()
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

/// Prints "job input size ours peer ratio quality" aligned, then the same as a CSV line
/// prefixed with "csv,". ratio = ours / peer (below 1: we are faster).
void report(const std::string& job, const std::string& input, std::size_t size, double ours,
            const std::string& peer, double peerSeconds, const std::string& quality);

}  // namespace oxbench
