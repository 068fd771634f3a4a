#pragma once

#include <QEventLoop>

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>

#include "platform/tick_source.h"
#include "support/allocation_counter.h"

namespace bench {

// Sees each measured tick of a batch from the polling thread, outside the batch's figures:
// called right before the tick and right after it, with nothing of the batch's own in between.
class TickProbe {
public:
    virtual ~TickProbe() = default;
    virtual void tick_starts() = 0;
    virtual void tick_ended() = 0;
};

// A tick source with no timer: the polling thread ticks back to back, in batches that the main
// thread asks for. A batch runs its warm-up ticks, then the measured ones, timed on the polling
// thread's own CPU clock and with its allocations counted; then the thread waits for the next.
class BatchTicks : public platform::TickSource {
public:
    struct Figures {
        double ns_per_tick = 0.0;
        double allocations_per_tick = 0.0;
    };

    // Main thread: runs one batch, with the main thread's event loop running meanwhile.
    // `between` runs on the polling thread before each measured tick, outside the figures, and
    // so does `probe`, closest to the tick.
    Figures run(int warm, int measured, std::function<void()> between = {},
                TickProbe* probe = nullptr);

    bool ready() const override { return true; }
    void arm(std::int32_t) override {}
    void cancel() override {}
    void wait_timer_or_event() override;
    void wait_event() override;
    void set_event() override;

private:
    // Polling thread, between two ticks of a batch.
    void count_tick();

    std::mutex mutex_;
    std::condition_variable changed_;
    bool event_ = false;  // under mutex_
    bool asked_ = false;  // under mutex_: a batch waits to start
    QEventLoop* waiting_ = nullptr;
    int warm_ = 0;
    int measured_ = 0;
    std::function<void()> between_;
    TickProbe* probe_ = nullptr;
    Figures figures_;

    // Polling thread only, while a batch runs.
    bool running_ = false;
    int ticks_ = 0;
    std::int64_t start_cpu_ = 0;
    std::int64_t excluded_cpu_ = 0;
    std::size_t excluded_allocations_ = 0;
    std::unique_ptr<testsupport::AllocationCounter> allocations_;
};

}  // namespace bench
