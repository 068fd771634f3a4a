#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <thread>

namespace testsupport {

// Ends the run with a message when a call on the main thread doesn't return within a few
// seconds. A loop that never ends in the code under test, say while it tells the users what a
// delivery brought, would otherwise hang the whole suite until ctest's timeout without a word
// of where. Calls may nest; the outermost one's deadline counts.
class Watchdog {
public:
    static constexpr std::chrono::seconds limit{10};

    // Runs `call`, which does `what`.
    template <typename Call>
    static void guard(const char* what, Call&& call) {
        Watchdog& dog = instance();
        dog.enter(what);
        call();
        const std::lock_guard lock(dog.mutex_);
        --dog.depth_;
    }

    ~Watchdog() {
        {
            const std::lock_guard lock(mutex_);
            stop_ = true;
        }
        changed_.notify_one();
        thread_.join();
    }

private:
    using Clock = std::chrono::steady_clock;

    Watchdog() : thread_([this] { watch(); }) {}

    static Watchdog& instance() {
        static Watchdog dog;
        return dog;
    }

    void enter(const char* what) {
        const ::testing::TestInfo* test = ::testing::UnitTest::GetInstance()->current_test_info();
        const std::lock_guard lock(mutex_);
        if (depth_++ != 0) return;
        ++calls_;
        what_ = what;
        test_ = test;
        deadline_ = Clock::now() + limit;
        changed_.notify_one();
    }

    void watch() {
        std::unique_lock lock(mutex_);
        while (!stop_) {
            if (depth_ == 0) {
                changed_.wait(lock, [&] { return stop_ || depth_ != 0; });
                continue;
            }
            const std::uint64_t call = calls_;
            if (changed_.wait_until(lock, deadline_,
                                    [&] { return stop_ || depth_ == 0 || calls_ != call; }))
                continue;
            std::fprintf(stderr, "[  FAILED  ] %s.%s: %s did not return within %lld s\n",
                         test_ ? test_->test_suite_name() : "?", test_ ? test_->name() : "?", what_,
                         static_cast<long long>(limit.count()));
            std::fflush(stderr);
            std::abort();
        }
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    bool stop_ = false;
    int depth_ = 0;
    std::uint64_t calls_ = 0;
    const char* what_ = "";
    const ::testing::TestInfo* test_ = nullptr;
    Clock::time_point deadline_;
    std::thread thread_;  // last, so that it starts with everything above made
};

}  // namespace testsupport
