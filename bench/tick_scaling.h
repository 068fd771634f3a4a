#pragma once

#include <string>
#include <vector>

namespace bench {

// The polling thread's CPU time per tick on the real backend over the simulated machine, with
// all pads idle, as the writers grow; each figure the median of the rounds.
struct TickSeries {
    std::string pads;
    std::vector<int> writers;
    std::vector<double> ns_per_tick;
    double allocations_per_tick = 0.0;  // the most of any batch
};

struct TickScaling {
    std::vector<TickSeries> series;
    // With pad 0's A button going down or up before every tick and the main thread collecting.
    double changing_ns_per_tick = 0.0;
    double changing_allocations_per_tick = 0.0;
};

// Main thread, with no other user of the simulated machine.
TickScaling measure_tick_scaling(int rounds, int ticks_per_batch);

}  // namespace bench
