#pragma once

#include <cstdint>

#include "platform/tick_source.h"

namespace platform {

// The polling thread's wake-up: a periodic high-resolution timer in whole milliseconds and an
// auto-reset event, waited on together. All but set_event belong to the polling thread; the
// threads meet only in the kernel objects, so nothing here locks.
class TickTimer final : public TickSource {
public:
    // Any thread, before the polling thread starts. The timer is not armed, the event not set.
    TickTimer();
    // Any thread, once the polling thread has ended.
    ~TickTimer() override;

    TickTimer(const TickTimer&) = delete;
    TickTimer& operator=(const TickTimer&) = delete;

    bool ready() const override;

    // Polling thread; never blocks. An expiry every `period_ms` (below 1 counts as 1), the first
    // one period from now. Replaces any earlier arming, and an expiry it left pending.
    void arm(std::int32_t period_ms) override;

    // Polling thread; never blocks. No timer wake-up, not even a pending one, until the next arm.
    void cancel() override;

    // Polling thread; blocks until the timer has expired or the event is set, and consumes that
    // one. When both are ready only the timer is consumed: the event stays set for the next wait.
    void wait_timer_or_event() override;

    // Polling thread; blocks on the event alone and consumes it. Timer expiries stay pending.
    void wait_event() override;

    // Any thread, also while the polling thread waits; never blocks. Sets the event; two sets
    // before a wait are one wake-up, and none is lost.
    void set_event() override;

private:
#ifdef _WIN32
    void* timer_;  // HANDLEs, spelled so that this header needs no <windows.h>
    void* event_;
#else
    int timer_fd_;
    int event_fd_;
#endif
};

}  // namespace platform
