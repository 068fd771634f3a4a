#include "tick_scaling.h"

#include <algorithm>
#include <cstdint>

#include "bench_stats.h"
#include "tick_rig.h"
#include "zestsim/zestsim.h"

namespace bench {
namespace {

constexpr std::uint16_t button_a = 0x1000;
const std::vector<int> writer_counts{0, 4, 16, 64};

TickSeries measure_series(const char* name, std::size_t physical_pads, bool with_virtual_pad,
                          int rounds, int ticks_per_batch) {
    TickRig rig(physical_pads, with_virtual_pad);
    rig.run(0, ticks_per_batch);  // the attach, the first metadata, the first reports
    TickSeries series{name, writer_counts, {}, 0.0};
    std::vector<std::vector<double>> samples(writer_counts.size());
    for (int round = 0; round < rounds; ++round) {
        // Up, then down again: a drift of the machine's load shows in both directions.
        for (std::size_t step = 0; step < writer_counts.size(); ++step) {
            const std::size_t i = round % 2 == 0 ? step : writer_counts.size() - 1 - step;
            const BatchTicks::Figures figures = rig.run(writer_counts[i], ticks_per_batch);
            samples[i].push_back(figures.ns_per_tick);
            series.allocations_per_tick =
                std::max(series.allocations_per_tick, figures.allocations_per_tick);
        }
    }
    for (const std::vector<double>& point : samples)
        series.ns_per_tick.push_back(median(point));
    return series;
}

}  // namespace

TickScaling measure_tick_scaling(int rounds, int ticks_per_batch) {
    TickScaling scaling;
    scaling.series.push_back(measure_series("1 pad", 1, false, rounds, ticks_per_batch));
    scaling.series.push_back(
        measure_series("3 pads + virtual pad", 3, true, rounds, ticks_per_batch));

    // Pad 0 feeds the virtual pad, so that both publish on every tick; the first batch warms
    // every record of both.
    TickRig rig(3, true);
    rig.feed();
    bool down = false;
    const auto flip = [&] {
        down = !down;
        zestsim::press(0, button_a, down);
    };
    std::vector<double> ns;
    for (int round = 0; round <= rounds; ++round) {
        const BatchTicks::Figures figures = rig.run(16, ticks_per_batch / 4, flip);
        if (round == 0) continue;
        ns.push_back(figures.ns_per_tick);
        scaling.changing_allocations_per_tick =
            std::max(scaling.changing_allocations_per_tick, figures.allocations_per_tick);
    }
    scaling.changing_ns_per_tick = median(ns);
    return scaling;
}

}  // namespace bench
