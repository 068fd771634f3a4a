#include "bare_poller.h"

#include <QMetaObject>

#include "thread_clock.h"

namespace bench {

BarePoller::BarePoller(std::function<void(bool)> changed)
    : changed_(std::move(changed)), thread_([this] { run(); }) {}

BarePoller::~BarePoller() {
    stop_.store(true);
    timer_.set_event();
    thread_.join();
}

void BarePoller::run() {
    thread_id_.store(current_thread_id());
    timer_.arm(1);
    bool seen = false;
    for (;;) {
        timer_.wait_timer_or_event();
        if (stop_.load()) return;
        reads_.fetch_add(1, std::memory_order_relaxed);
        const bool now = value_.load(std::memory_order_relaxed);
        if (now == seen) continue;
        seen = now;
        QMetaObject::invokeMethod(
            &receiver_, [this, now] { changed_(now); }, Qt::QueuedConnection);
    }
}

}  // namespace bench
