#include "BenchReport.h"

#include <cstdio>

namespace oxbench {

void report(const std::string& job, const std::string& input, std::size_t size, double ours,
            const std::string& peer, double peerSeconds, const std::string& quality)
{
    const double ratio = peerSeconds > 0 ? ours / peerSeconds : 0.0;
    std::printf("%-28s %-34s %9zu  ours %8.4f s  %-22s %8.4f s  ratio %6.3f  %s\n", job.c_str(),
                input.c_str(), size, ours, peer.c_str(), peerSeconds, ratio, quality.c_str());
    std::printf("csv,%s,%s,%zu,%.6f,%s,%.6f,%.4f,\"%s\"\n", job.c_str(), input.c_str(), size, ours,
                peer.c_str(), peerSeconds, ratio, quality.c_str());
    std::fflush(stdout);
}

}  // namespace oxbench
