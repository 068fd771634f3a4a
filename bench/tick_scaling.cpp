#include "tick_scaling.h"

#include <algorithm>
#include <cstdint>
#include <memory>

#include "backend/backend.h"
#include "batch_ticks.h"
#include "bench_stats.h"
#include "gamepad/constant_writer.h"
#include "gamepad/feed_writer.h"
#include "gamepad/noise_writer.h"
#include "gamepad/read_thread.h"
#include "platform/monotonic_clock.h"
#include "zestsim/zestsim.h"

namespace bench {
namespace {

using gamepad::AttributeValue;

constexpr std::uint16_t button_a = 0x1000;
constexpr int warm_ticks = 500;
const std::vector<int> writer_counts{0, 4, 16, 64};

// Writers that change nothing a device sees after their first tick, so that a tick costs the
// same whatever time it is: constants and noise held at full press. Over the pads in turn, on
// what each can take: the virtual pad's buttons, the physical pads' motors and buttons.
std::unique_ptr<gamepad::Writer> idle_writer(int number, std::size_t pads,
                                             std::size_t virtual_pad) {
    const auto pad = static_cast<std::size_t>(number) % pads;
    const std::int64_t later = platform::monotonic_now_ns() + 3'600'000'000'000;
    if (number % 2 == 0) {
        if (pad == virtual_pad) {
            return std::make_unique<gamepad::ConstantWriter>(
                pad, "button_b", AttributeValue::make_button(true), later);
        }
        return std::make_unique<gamepad::ConstantWriter>(pad, "motor_left",
                                                         AttributeValue::make_motor(0.5), later);
    }
    return std::make_unique<gamepad::NoiseWriter>(pad, "button_a", 2.0, 1.0,
                                                  gamepad::draw_noise_seed(), later);
}

// One machine and one polling thread, ticking in batches.
class TickRig {
public:
    TickRig(std::size_t physical_pads, bool with_virtual_pad) {
        zestsim::reset();
        for (std::size_t pad = 0; pad < physical_pads; ++pad)
            zestsim::plug_pad(pad, zestsim::Subtype::Gamepad);
        auto owned = std::make_unique<BatchTicks>();
        ticks_ = owned.get();
        thread_ = std::make_unique<gamepad::ReadThread>(backend_.get(), std::move(owned));
        pads_ = physical_pads;
        if (with_virtual_pad) {
            thread_->push_command(gamepad::AttachVirtualGamepad{0, 1});
            virtual_pad_ = physical_pads;  // the lowest free user index
            ++pads_;
        }
        thread_->control().rate.store(1000);
        thread_->start();
    }

    // Pad 0 feeds the virtual pad from now on.
    void feed() { thread_->add_writer(std::make_unique<gamepad::FeedWriter>(0, virtual_pad_)); }

    // Adds or removes writers, then runs a batch.
    BatchTicks::Figures run(int writers, int measured, std::function<void()> between = {}) {
        while (static_cast<int>(ids_.size()) < writers) {
            ids_.push_back(thread_->add_writer(
                idle_writer(static_cast<int>(ids_.size()), pads_, virtual_pad_)));
        }
        while (static_cast<int>(ids_.size()) > writers) {
            thread_->push_command(gamepad::RemoveWriter{ids_.back()});
            ids_.pop_back();
        }
        return ticks_->run(warm_ticks, measured, std::move(between));
    }

private:
    std::unique_ptr<gamepad::Backend> backend_ = gamepad::create_backend();
    BatchTicks* ticks_ = nullptr;
    std::unique_ptr<gamepad::ReadThread> thread_;
    std::size_t pads_ = 0;
    std::size_t virtual_pad_ = static_cast<std::size_t>(-1);
    std::vector<std::uint64_t> ids_;
};

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
