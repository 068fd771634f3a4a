#include "tick_rig.h"

#include "gamepad/constant_writer.h"
#include "gamepad/feed_writer.h"
#include "gamepad/noise_writer.h"
#include "platform/monotonic_clock.h"
#include "zestsim/zestsim.h"

namespace bench {
namespace {

using gamepad::AttributeValue;

constexpr int warm_ticks = 500;

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

}  // namespace

TickRig::TickRig(std::size_t physical_pads, bool with_virtual_pad) {
    zestsim::reset();
    for (std::size_t pad = 0; pad < physical_pads; ++pad)
        zestsim::plug_pad(pad, zestsim::Subtype::Gamepad);
    auto owned = std::make_unique<BatchTicks>();
    ticks_ = owned.get();
    thread_ = std::make_unique<gamepad::ReadThread>(backend_.get(), std::move(owned));
    pads_ = physical_pads;
    if (with_virtual_pad) {
        thread_->push_command(gamepad::AttachVirtualGamepad{0, 1});
        virtual_pad_ = physical_pads;
        ++pads_;
    }
    thread_->control().rate.store(1000);
    thread_->start();
}

void TickRig::feed() {
    thread_->add_writer(std::make_unique<gamepad::FeedWriter>(0, virtual_pad_));
}

BatchTicks::Figures TickRig::run(int writers, int measured, std::function<void()> between,
                                 TickProbe* probe) {
    while (static_cast<int>(ids_.size()) < writers) {
        ids_.push_back(
            thread_->add_writer(idle_writer(static_cast<int>(ids_.size()), pads_, virtual_pad_)));
    }
    while (static_cast<int>(ids_.size()) > writers) {
        thread_->push_command(gamepad::RemoveWriter{ids_.back()});
        ids_.pop_back();
    }
    return ticks_->run(warm_ticks, measured, std::move(between), probe);
}

}  // namespace bench
