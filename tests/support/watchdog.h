#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
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
        // Never destroyed: its thread waits on it until the process ends.
        static Watchdog& dog = *new Watchdog;
        const ::testing::TestInfo* test = ::testing::UnitTest::GetInstance()->current_test_info();
        {
            const std::lock_guard lock(dog.mutex_);
            if (dog.depth_++ == 0) dog.watched_ = {what, test, Clock::now() + limit};
        }
        dog.changed_.notify_one();
        call();
        const std::lock_guard lock(dog.mutex_);
        --dog.depth_;
    }

private:
    using Clock = std::chrono::steady_clock;
    struct Watched {
        const char* what;
        const ::testing::TestInfo* test;
        Clock::time_point deadline;
    };

    Watchdog() {
        std::thread([this] { watch(); }).detach();
    }

    void watch() {
        std::unique_lock lock(mutex_);
        while (true) {
            changed_.wait(lock, [&] { return depth_ != 0; });
            const Clock::time_point deadline = watched_.deadline;
            if (changed_.wait_until(lock, deadline,
                                    [&] { return depth_ == 0 || watched_.deadline != deadline; }))
                continue;
            std::fprintf(stderr, "[  FAILED  ] %s.%s: %s did not return within %lld s\n",
                         watched_.test ? watched_.test->test_suite_name() : "?",
                         watched_.test ? watched_.test->name() : "?", watched_.what,
                         static_cast<long long>(limit.count()));
            std::abort();
        }
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    int depth_ = 0;
    Watched watched_{};
};

}  // namespace testsupport
