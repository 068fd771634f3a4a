#include "support/manual_ticks.h"

#include <chrono>

namespace testsupport {

template <typename Ready>
bool ManualTicks::wait_for(std::unique_lock<std::mutex>& lock, Ready ready) {
    return changed_.wait_for(lock, std::chrono::seconds(10), ready);
}

bool ManualTicks::step() {
    std::unique_lock lock(mutex_);
    if (!wait_for(lock, [&] { return waiting_ == Waiting::TimerOrEvent; })) return false;
    const std::uint64_t before = wakeups_;
    fired_ = true;
    changed_.notify_all();
    return wait_for(lock, [&] { return wakeups_ > before && waiting_ != Waiting::Nothing; });
}

bool ManualTicks::wait_until(Waiting what) {
    std::unique_lock lock(mutex_);
    return wait_for(lock, [&] { return waiting_ == what; });
}

std::vector<std::int32_t> ManualTicks::armed() const {
    std::lock_guard lock(mutex_);
    return armed_;
}

int ManualTicks::cancels() const {
    std::lock_guard lock(mutex_);
    return cancels_;
}

void ManualTicks::arm(std::int32_t period_ms) {
    std::lock_guard lock(mutex_);
    armed_.push_back(period_ms);
}

void ManualTicks::cancel() {
    std::lock_guard lock(mutex_);
    ++cancels_;
    fired_ = false;
}

// As on Windows, a timer and an event that are both ready wake the thread twice.
void ManualTicks::wait_timer_or_event() {
    std::unique_lock lock(mutex_);
    waiting_ = Waiting::TimerOrEvent;
    changed_.notify_all();
    changed_.wait(lock, [&] { return fired_ || event_; });
    (fired_ ? fired_ : event_) = false;
    waiting_ = Waiting::Nothing;
    ++wakeups_;
    changed_.notify_all();
}

void ManualTicks::wait_event() {
    std::unique_lock lock(mutex_);
    waiting_ = Waiting::Event;
    changed_.notify_all();
    changed_.wait(lock, [&] { return event_; });
    event_ = false;
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
