#pragma once

#include <sys/types.h>

#include <vector>

namespace bench {

// Percent of one core that each of two threads of this process used, window by window over
// the same windows, while the main thread runs its event loop.
struct CpuShares {
    std::vector<double> ours;
    std::vector<double> peer;
};

void sample_cpu_shares(pid_t ours, pid_t peer, int windows, int window_ms, CpuShares& into);

}  // namespace bench
