#pragma once

#include <QObject>

#include <sys/types.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <thread>

#include "platform/tick_timer.h"
#include "platform/win32.h"

namespace bench {

// The peer of the plug-in's polling thread, in its barest form: a thread on the same periodic
// timer at 1 kHz that compares one atomic and, when it changed, posts a queued call to the main
// thread. No records, no exchange, no signals. A reading poller also pays for what any poller
// pays for: before its atomic, each poll reads the four user indexes with XInputGetState and
// compares each pad with its last read.
class BarePoller {
public:
    enum class Pads { Unread, Read };

    // Main thread; starts polling. `changed(pressed)` runs on the main thread's event loop.
    explicit BarePoller(std::function<void(bool)> changed, Pads pads = Pads::Unread);
    ~BarePoller();
    BarePoller(const BarePoller&) = delete;
    BarePoller& operator=(const BarePoller&) = delete;

    // Any thread: what the next poll finds.
    void set(bool pressed) { value_.store(pressed, std::memory_order_relaxed); }
    // Any thread: polls so far, counted as each begins.
    std::uint64_t reads() const { return reads_.load(std::memory_order_relaxed); }
    // Any thread: this poller's XInputGetState calls for user 0 that have returned, so that
    // another reader of the simulated machine's count can take them out of it.
    std::uint64_t first_user_reads() const {
        return first_user_reads_.load(std::memory_order_acquire);
    }
    // The polling thread's kernel id; 0 until it runs.
    pid_t thread_id() const { return thread_id_.load(); }

private:
    void run();
    void read_pads();

    std::function<void(bool)> changed_;
    const Pads pads_;
    QObject receiver_;  // on the main thread, so that the calls run there
    std::atomic<bool> value_{false};
    std::atomic<bool> stop_{false};
    std::atomic<std::uint64_t> reads_{0};
    std::atomic<std::uint64_t> first_user_reads_{0};
    std::atomic<pid_t> thread_id_{0};
    // Polling thread only.
    std::array<XINPUT_GAMEPAD, XUSER_MAX_COUNT> last_{};
    std::uint64_t pad_changes_ = 0;
    platform::TickTimer timer_;
    std::thread thread_;
};

}  // namespace bench
