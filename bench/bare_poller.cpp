#include "bare_poller.h"

#include <QMetaObject>

#include <cstring>

#include "thread_clock.h"

namespace bench {

BarePoller::BarePoller(std::function<void(bool)> changed, Pads pads)
    : changed_(std::move(changed)), pads_(pads), thread_([this] { run(); }) {}

BarePoller::~BarePoller() {
    stop_.store(true);
    timer_.set_event();
    thread_.join();
}

void BarePoller::read_pads() {
    for (DWORD user = 0; user < XUSER_MAX_COUNT; ++user) {
        XINPUT_STATE state{};
        const bool connected = XInputGetState(user, &state) == ERROR_SUCCESS;
        if (user == 0) first_user_reads_.fetch_add(1, std::memory_order_release);
        if (connected && std::memcmp(&state.Gamepad, &last_[user], sizeof state.Gamepad) != 0) {
            last_[user] = state.Gamepad;
            ++pad_changes_;  // what a plain poller would post; presses come through the atomic
        }
    }
}

void BarePoller::run() {
    thread_id_.store(current_thread_id());
    timer_.arm(1);
    bool seen = false;
    for (;;) {
        timer_.wait_timer_or_event();
        if (stop_.load()) return;
        reads_.fetch_add(1, std::memory_order_relaxed);
        if (pads_ == Pads::Read) read_pads();
        const bool now = value_.load(std::memory_order_relaxed);
        if (now == seen) continue;
        seen = now;
        QMetaObject::invokeMethod(
            &receiver_, [this, now] { changed_(now); }, Qt::QueuedConnection);
    }
}

}  // namespace bench
