#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <stop_token>
#include <thread>

#include "platform/tick_timer.h"

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using platform::TickTimer;

// Lower bounds are exact (a timer never fires early); upper bounds leave room for a loaded,
// sanitised CI machine.
constexpr auto prompt = 2s;

Clock::duration time_waits(TickTimer& timer, int waits) {
    const auto start = Clock::now();
    for (int i = 0; i < waits; ++i)
        timer.wait_timer_or_event();
    return Clock::now() - start;
}

// Sets the event from another thread after `delay`, unless destroyed first; sent() turns true
// just before.
class DelayedEvent {
public:
    DelayedEvent(TickTimer& timer, Clock::duration delay)
        : thread_([this, &timer, delay](std::stop_token stop) {
              std::mutex mutex;
              std::unique_lock lock(mutex);
              std::condition_variable_any().wait_for(lock, stop, delay, [] { return false; });
              if (stop.stop_requested()) return;
              sent_.store(true);
              timer.set_event();
          }) {}
    bool sent() const { return sent_.load(); }

private:
    std::atomic<bool> sent_{false};
    std::jthread thread_;
};

TEST(TickTimer, WakesOncePerPeriod) {
    TickTimer timer;
    const auto start = Clock::now();
    timer.arm(10);
    const auto elapsed = time_waits(timer, 20);
    EXPECT_GE(elapsed, 19 * 10ms);
    EXPECT_LT(Clock::now() - start, 1500ms);

    // A period below 1 ms counts as 1 ms rather than disarming the timer.
    timer.arm(0);
    EXPECT_LT(time_waits(timer, 5), prompt);
    timer.arm(-7);
    EXPECT_LT(time_waits(timer, 5), prompt);
}

TEST(TickTimer, ArmingReplacesTheEarlierArming) {
    TickTimer timer;
    timer.arm(10'000);
    timer.arm(5);
    EXPECT_LT(time_waits(timer, 1), prompt);

    // Expiries left pending by the old arming give no wake-up: the first comes a new period on.
    std::this_thread::sleep_for(30ms);
    const auto start = Clock::now();
    timer.arm(300);
    timer.wait_timer_or_event();
    EXPECT_GE(Clock::now() - start, 300ms);
}

TEST(TickTimer, CancelStopsTheTimerAndDropsAPendingExpiry) {
    TickTimer timer;
    timer.arm(5);
    timer.wait_timer_or_event();
    std::this_thread::sleep_for(30ms);
    timer.cancel();

    DelayedEvent event(timer, 100ms);
    timer.wait_timer_or_event();
    EXPECT_TRUE(event.sent());
}

TEST(TickTimer, EventEndsTheWaitFromAnotherThread) {
    TickTimer timer;
    timer.arm(10'000);
    DelayedEvent event(timer, 50ms);
    EXPECT_LT(time_waits(timer, 1), prompt);
    EXPECT_TRUE(event.sent());
}

TEST(TickTimer, EventSetBeforeTheWaitIsOneWakeUp) {
    TickTimer timer;
    timer.set_event();
    timer.set_event();
    EXPECT_LT(time_waits(timer, 1), prompt);

    // Both sets were consumed by that one wait: the next one sleeps until the timer.
    const auto start = Clock::now();
    timer.arm(50);
    timer.wait_timer_or_event();
    EXPECT_GE(Clock::now() - start, 50ms);

    timer.set_event();
    timer.wait_event();
}

TEST(TickTimer, WaitEventIgnoresTheTimer) {
    TickTimer timer;
    timer.arm(5);
    DelayedEvent event(timer, 100ms);
    timer.wait_event();
    EXPECT_TRUE(event.sent());
}

TEST(TickTimer, TimerGoesFirstAndTheEventIsKept) {
    TickTimer timer;
    timer.arm(1);
    timer.set_event();
    std::this_thread::sleep_for(50ms);

    // Both are ready: the first wait takes the timer only, so the event, still set, ends the
    // next wait although the timer is cancelled in between.
    timer.wait_timer_or_event();
    timer.cancel();
    DelayedEvent fallback(timer, 5s);
    timer.wait_timer_or_event();
    EXPECT_FALSE(fallback.sent());
}

}  // namespace
