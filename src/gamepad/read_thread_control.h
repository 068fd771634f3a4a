#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "platform/tick_source.h"

namespace gamepad {

enum class ReadThreadState : std::uint8_t { Stop = 0, Run = 1, Pause = 2 };

// What the main thread and the polling thread share besides the command queue and the
// publication channels.
struct ReadThreadControl {
    // Main thread stores; the polling thread loads it at the top of its loop, after each tick.
    std::atomic<std::int32_t> rate{0};
    // Main thread: compare-exchange Run <-> Pause, store Stop, then set the event. Polling thread
    // loads it after every wake-up. So neither a pause nor a resume can overwrite a Stop.
    std::atomic<ReadThreadState> state{ReadThreadState::Run};
    // The periodic timer and the wake-up event.
    std::unique_ptr<platform::TickSource> ticks;
    // Polling thread only: the rate the timer is armed for; 0 while it is not armed.
    std::int32_t armed_rate = 0;
};

// The rate the timer gets armed for. A 0, which the panel never offers but a store can hold,
// ticks like a 1: the thread neither divides by zero nor stalls, and 0 keeps meaning "not
// armed" in armed_rate.
std::int32_t armable_rate(std::int32_t rate) noexcept;

// The timer period for a rate in ticks per second, in whole milliseconds: 1000 / rate, at least
// 1, so that rates above 1000 and below 0 tick every millisecond.
std::int32_t tick_period_ms(std::int32_t rate) noexcept;

}  // namespace gamepad
