#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>

#include "platform/tick_source.h"

namespace testsupport {

// A tick source that a test steps by hand: the timer fires only when the test says so, and the
// test learns when the thread is back at its wait, its tick done.
class ManualTicks : public platform::TickSource {
public:
    enum class Waiting { Nothing, TimerOrEvent, Event };

    // Test side. Fires the timer once and returns when that tick is over and the thread waits
    // again. False if the thread didn't get there within a few seconds.
    bool step();
    // Test side. Waits until the thread waits on `what`, for a few seconds at most.
    bool wait_until(Waiting what);
    // Test side, before the thread is made: as a timer or event the system refused to make.
    void refuse() { refused_ = true; }

    bool ready() const override { return !refused_; }

    void arm(std::int32_t) override {}
    void cancel() override;
    void wait_timer_or_event() override { sleep(Waiting::TimerOrEvent); }
    void wait_event() override { sleep(Waiting::Event); }
    void set_event() override;

private:
    void sleep(Waiting what);

    std::mutex mutex_;
    std::condition_variable changed_;
    bool fired_ = false;
    bool event_ = false;
    Waiting waiting_ = Waiting::Nothing;
    std::uint64_t wakeups_ = 0;
    bool refused_ = false;
};

}  // namespace testsupport
