#pragma once

#include <cstdint>

namespace platform {

// What the polling thread needs of a clock to tick by: a periodic wake-up in whole milliseconds
// that can be re-armed and cancelled, and an event that ends the same wait. TickTimer is the
// real one; tests step the thread with a manual one.
class TickSource {
public:
    virtual ~TickSource() = default;

    // Any thread. False if the timer or the event could not be made: nothing may wait on it then,
    // since a wait would never end or never block.
    virtual bool ready() const = 0;

    // Polling thread; never blocks. An expiry every `period_ms`, the first one period from now.
    virtual void arm(std::int32_t period_ms) = 0;
    // Polling thread; never blocks. No timer wake-up until the next arm.
    virtual void cancel() = 0;
    // Polling thread; blocks until the timer has expired or the event is set.
    virtual void wait_timer_or_event() = 0;
    // Polling thread; blocks until the event is set.
    virtual void wait_event() = 0;
    // Any thread; never blocks. No set is lost.
    virtual void set_event() = 0;
};

}  // namespace platform
