#pragma once

#include <sys/types.h>

#include <vector>

namespace bench {

// Percent of one core that each of some threads of this process used, window by window over
// the same windows, while the main thread runs its event loop: into[t] gets threads[t]'s.
void sample_cpu_shares(const std::vector<pid_t>& threads, int windows, int window_ms,
                       std::vector<std::vector<double>>& into);

}  // namespace bench
