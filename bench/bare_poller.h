#pragma once

#include <QObject>

#include <sys/types.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <thread>

#include "platform/tick_timer.h"

namespace bench {

// The peer of the plug-in's polling thread, in its barest form: a thread on the same periodic
// timer at 1 kHz that compares one atomic and, when it changed, posts a queued call to the main
// thread. No records, no exchange, no signals.
class BarePoller {
public:
    // Main thread; starts polling. `changed(pressed)` runs on the main thread's event loop.
    explicit BarePoller(std::function<void(bool)> changed);
    ~BarePoller();
    BarePoller(const BarePoller&) = delete;
    BarePoller& operator=(const BarePoller&) = delete;

    // Any thread: what the next poll finds.
    void set(bool pressed) { value_.store(pressed, std::memory_order_relaxed); }
    // Any thread: polls so far.
    std::uint64_t reads() const { return reads_.load(std::memory_order_relaxed); }
    // The polling thread's kernel id; 0 until it runs.
    pid_t thread_id() const { return thread_id_.load(); }

private:
    void run();

    std::function<void(bool)> changed_;
    QObject receiver_;  // on the main thread, so that the calls run there
    std::atomic<bool> value_{false};
    std::atomic<bool> stop_{false};
    std::atomic<std::uint64_t> reads_{0};
    std::atomic<pid_t> thread_id_{0};
    platform::TickTimer timer_;
    std::thread thread_;
};

}  // namespace bench
