#include <gtest/gtest.h>

#include <chrono>
#include <optional>
#include <thread>

#include "platform/tick_timer.h"

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using platform::TickTimer;

// Lower bounds are exact (neither a timer nor a sleep ends early); upper bounds leave room for a
// loaded, sanitised CI machine.
constexpr auto prompt = 2s;

// How long `waits` waits take, from before arming the timer with `arm` if given; with
// `event_after`, another thread sets the event that long after the start. That thread always runs
// to its end: a std::jthread cancelled in its stop_token wait can hang in the join under
// mingw-w64's libstdc++, whose semaphores lose wake-ups where there is no futex.
Clock::duration time_waits(TickTimer& timer, int waits, std::optional<int> arm = {},
                           Clock::duration event_after = {},
                           void (TickTimer::*wait)() = &TickTimer::wait_timer_or_event) {
    const auto start = Clock::now();
    if (arm) timer.arm(*arm);
    std::thread setter([&timer, event_after] {
        if (event_after == Clock::duration{}) return;
        std::this_thread::sleep_for(event_after);
        timer.set_event();
    });
    for (int i = 0; i < waits; ++i)
        (timer.*wait)();
    const auto waited = Clock::now() - start;
    setter.join();
    return waited;
}

// A period below 1 ms counts as 1 ms rather than disarming the timer. Arming replaces the earlier
// arming, and the expiries it left pending: the first wake-up comes a new period on. Cancelling
// stops the timer and drops a pending expiry: only the event ends the next wait.
TEST(TickTimer, PeriodCancelAndEvent) {
    TickTimer timer;
    const auto ticks = time_waits(timer, 20, 10);
    EXPECT_GE(ticks, 19 * 10ms);
    EXPECT_LT(ticks, 1500ms);
    for (int period : {0, -7})
        EXPECT_LT(time_waits(timer, 5, period), prompt) << period;

    timer.arm(10'000);
    EXPECT_LT(time_waits(timer, 1, 5), prompt);
    std::this_thread::sleep_for(30ms);
    EXPECT_GE(time_waits(timer, 1, 300), 300ms);

    timer.arm(5);
    timer.wait_timer_or_event();
    std::this_thread::sleep_for(30ms);
    timer.cancel();
    EXPECT_GE(time_waits(timer, 1, {}, 100ms), 100ms);

    // Two sets before a wait are one wake-up. The event, set from another thread, ends a wait; a
    // wait on the event alone ignores the timer. When the timer and the event are both ready,
    // the timer goes first and the event stays set, through a cancel, for the next wait.
    timer.set_event();
    timer.set_event();
    EXPECT_LT(time_waits(timer, 1), prompt);
    EXPECT_GE(time_waits(timer, 1, 50), 50ms);

    const auto waited = time_waits(timer, 1, 10'000, 50ms);
    EXPECT_GE(waited, 50ms);
    EXPECT_LT(waited, prompt);
    EXPECT_GE(time_waits(timer, 1, 5, 100ms, &TickTimer::wait_event), 100ms);

    timer.arm(1);
    timer.set_event();
    std::this_thread::sleep_for(50ms);
    timer.wait_timer_or_event();
    timer.cancel();
    // Re-armed so that the wait ends, too late, should the event be lost.
    EXPECT_LT(time_waits(timer, 1, 10'000), prompt);
}

}  // namespace
