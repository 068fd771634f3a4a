#include "platform/tick_timer.h"

#include "platform/win32.h"

namespace platform {
namespace {

// CREATE_WAITABLE_TIMER_HIGH_RESOLUTION, which older SDK headers (mingw-w64's too) do not name.
constexpr DWORD high_resolution_timer = 0x00000002;

}  // namespace

TickTimer::TickTimer()
    : timer_(CreateWaitableTimerExW(nullptr, nullptr, high_resolution_timer, TIMER_ALL_ACCESS)),
      event_(CreateEventW(nullptr, FALSE, FALSE, nullptr)) {}

TickTimer::~TickTimer() {
    if (timer_ != nullptr) CloseHandle(timer_);
    if (event_ != nullptr) CloseHandle(event_);
}

bool TickTimer::ready() const {
    return timer_ != nullptr && event_ != nullptr;
}

void TickTimer::arm(std::int32_t period_ms) {
    const LONG period = period_ms < 1 ? 1 : period_ms;
    LARGE_INTEGER due;
    due.QuadPart = period * -10'000LL;  // negative: relative, in units of 100 ns
    SetWaitableTimer(timer_, &due, period, nullptr, nullptr, FALSE);
    // An expiry of the earlier arming may still be signalled (Wine keeps it); the new period
    // starts clean, as a re-armed timerfd does. The first new expiry is a period away.
    WaitForSingleObject(timer_, 0);
}

void TickTimer::cancel() {
    CancelWaitableTimer(timer_);
    // Cancelling leaves an expiry that has signalled already; take it, as a disarmed timerfd does.
    WaitForSingleObject(timer_, 0);
}

void TickTimer::wait_timer_or_event() {
    const HANDLE handles[] = {timer_, event_};
    WaitForMultipleObjects(2, handles, FALSE, INFINITE);
}

void TickTimer::wait_event() {
    WaitForSingleObject(event_, INFINITE);
}

void TickTimer::set_event() {
    SetEvent(event_);
}

}  // namespace platform
