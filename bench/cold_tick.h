#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace bench {

// The polling thread's tick as it runs at rate 1000 on a user's machine, after the thread has
// slept: the real backend over the simulated machine with idle pads, each measured tick on its
// own, right around it, in wall-clock nanoseconds and, where the kernel lets the thread count
// them, in cache misses. Each figure is the median over batches of each batch's median tick.
struct ColdTick {
    std::string pads;
    std::string before;  // what came before each tick
    double ns = 0.0;
    double last_level_misses = 0.0;
    double first_level_misses = 0.0;
};

struct ColdTicks {
    // By pads: back to back first, for the same tick with warm caches, then the cold ones.
    std::vector<ColdTick> ticks;
    double allocations_per_tick = 0.0;  // the most of any batch
    bool misses_counted = false;
    bool first_level_counted = false;
    std::string why_not_counted;  // the kernel's refusal, if it refused
};

// Main thread, with no other user of the simulated machine.
ColdTicks measure_cold_ticks(int batches, int ticks_per_batch);

}  // namespace bench
