#include "cold_tick.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <functional>
#include <optional>
#include <thread>

#include "bench_stats.h"
#include "cache_misses.h"
#include "platform/monotonic_clock.h"
#include "report_table.h"
#include "tick_rig.h"

namespace bench {
namespace {

constexpr std::size_t cache_line = 64;

// The last level cache's size as the kernel describes cpu0's ("32768K"); 8 MiB if it doesn't.
std::size_t last_level_cache_bytes() {
    std::ifstream file("/sys/devices/system/cpu/cpu0/cache/index3/size");
    std::size_t size = 0;
    char unit = 'K';
    if (!(file >> size) || size == 0) return std::size_t{8} << 20;
    file >> unit;
    return unit == 'M' ? size << 20 : unit == 'K' ? size << 10 : size;
}

// Reads one byte of each line of a buffer half again as big as the last level cache, so that
// the next tick finds in no cache what the last one left there, as on a machine where other
// work ran while the polling thread slept. Written once, so that every page is its own.
class CacheSweep {
public:
    CacheSweep() : bytes_(last_level_cache_bytes() * 3 / 2, 1) {}

    void operator()() {
        unsigned sum = 0;
        for (std::size_t at = 0; at < bytes_.size(); at += cache_line)
            sum += bytes_[at];
        sink_ = sum;
    }

    std::size_t size() const { return bytes_.size(); }

private:
    std::vector<unsigned char> bytes_;
    volatile unsigned sink_ = 0;
};

// Each measured tick from right before it to right after it.
class TickMeter final : public TickProbe {
public:
    explicit TickMeter(int ticks_per_batch) {
        const auto capacity = static_cast<std::size_t>(ticks_per_batch);
        ns_.reserve(capacity);
        last_level_.reserve(capacity);
        first_level_.reserve(capacity);
    }

    void tick_starts() override {
        if (!misses_) misses_.emplace();  // on the polling thread, whose misses count
        start_misses_ = misses_->read();
        start_ns_ = platform::monotonic_now_ns();
    }

    void tick_ended() override {
        const std::int64_t end_ns = platform::monotonic_now_ns();
        const CacheMisses::Count end_misses = misses_->read();
        ns_.push_back(static_cast<double>(end_ns - start_ns_));
        last_level_.push_back(
            static_cast<double>(end_misses.last_level - start_misses_.last_level));
        first_level_.push_back(
            static_cast<double>(end_misses.first_level - start_misses_.first_level));
    }

    // Main thread, between batches: the last batch's medians, and a fresh start.
    void take_batch(std::vector<double>& ns, std::vector<double>& last_level,
                    std::vector<double>& first_level) {
        ns.push_back(median(ns_));
        last_level.push_back(median(last_level_));
        first_level.push_back(median(first_level_));
        ns_.clear();
        last_level_.clear();
        first_level_.clear();
    }

    const CacheMisses* misses() const { return misses_ ? &*misses_ : nullptr; }

private:
    std::optional<CacheMisses> misses_;
    CacheMisses::Count start_misses_;
    std::int64_t start_ns_ = 0;
    std::vector<double> ns_;
    std::vector<double> last_level_;
    std::vector<double> first_level_;
};

void measure_pads(const char* pads, TickRig& rig, int writers, int batches, int ticks_per_batch,
                  ColdTicks& into) {
    using namespace std::chrono_literals;
    CacheSweep sweep;
    const struct {
        std::string before;
        std::function<void()> between;
    } cases[] = {{"back to back", {}},
                 {"after a 1 ms sleep", [] { std::this_thread::sleep_for(1ms); }},
                 {format("after a 1 ms sleep and a read of %zu MiB", sweep.size() >> 20), [&sweep] {
                      std::this_thread::sleep_for(1ms);
                      sweep();
                  }}};
    constexpr std::size_t case_count = std::size(cases);
    TickMeter meter(ticks_per_batch);
    rig.run(writers, ticks_per_batch);  // the attach, the first metadata, the first reports
    std::vector<double> ns[case_count], last_level[case_count], first_level[case_count];
    for (int batch = 0; batch < batches; ++batch) {
        // There and back: a drift of the machine's load shows in every case alike.
        for (std::size_t step = 0; step < case_count; ++step) {
            const std::size_t i = batch % 2 == 0 ? step : case_count - 1 - step;
            const BatchTicks::Figures figures =
                rig.run(writers, ticks_per_batch, cases[i].between, &meter);
            meter.take_batch(ns[i], last_level[i], first_level[i]);
            into.allocations_per_tick =
                std::max(into.allocations_per_tick, figures.allocations_per_tick);
        }
    }
    for (std::size_t i = 0; i < case_count; ++i) {
        into.ticks.push_back(
            {pads, cases[i].before, median(ns[i]), median(last_level[i]), median(first_level[i])});
    }
    if (const CacheMisses* misses = meter.misses()) {
        into.misses_counted = misses->counted();
        into.first_level_counted = misses->first_level_counted();
        if (!misses->counted()) into.why_not_counted = std::strerror(misses->error());
    }
}

}  // namespace

ColdTicks measure_cold_ticks(int batches, int ticks_per_batch) {
    ColdTicks cold;
    {
        TickRig rig(4, false);
        measure_pads("4 pads idle", rig, 0, batches, ticks_per_batch, cold);
    }
    TickRig rig(3, true);
    rig.feed();
    measure_pads("3 pads + virtual pad fed by pad 0", rig, 0, batches, ticks_per_batch, cold);
    return cold;
}

}  // namespace bench
