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
    // The periodic timer and the wake-up event. The main thread only sets the event (and asks
    // ready()); arming, cancelling and waiting are the polling thread's.
    std::unique_ptr<platform::TickSource> ticks;
    // Polling thread only: the rate the timer is armed for; 0 while it is not armed.
    std::int32_t armed_rate = 0;
};

}  // namespace gamepad
