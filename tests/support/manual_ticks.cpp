#include "support/manual_ticks.h"

#include <chrono>

namespace testsupport {

// Only the test fires the timer, so the thread still waits once the lock is taken again.
bool ManualTicks::step() {
    if (!wait_until(Waiting::TimerOrEvent)) return false;
    std::unique_lock lock(mutex_);
    const std::uint64_t before = wakeups_;
    fired_ = true;
    changed_.notify_all();
    return changed_.wait_for(lock, std::chrono::seconds(10),
                             [&] { return wakeups_ > before && waiting_ != Waiting::Nothing; });
}

bool ManualTicks::wait_until(Waiting what) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, std::chrono::seconds(10), [&] { return waiting_ == what; });
}

void ManualTicks::cancel() {
    std::lock_guard lock(mutex_);
    fired_ = false;
}

// As on Windows, a timer and an event that are both ready wake the thread twice.
void ManualTicks::sleep(Waiting what) {
    std::unique_lock lock(mutex_);
    waiting_ = what;
    changed_.notify_all();
    const auto timer = [&] { return what == Waiting::TimerOrEvent && fired_; };
    changed_.wait(lock, [&] { return timer() || event_; });
    (timer() ? fired_ : event_) = false;
    waiting_ = Waiting::Nothing;
    ++wakeups_;
    changed_.notify_all();
}

void ManualTicks::set_event() {
    std::lock_guard lock(mutex_);
    event_ = true;
    changed_.notify_all();
}

}  // namespace testsupport
