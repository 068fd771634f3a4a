#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <thread>

#include "platform/monotonic_clock.h"

namespace {

using platform::counter_to_ns;
using platform::monotonic_now_ns;

// The counter's scaling is exact at frequencies that divide a second evenly and at ones that do
// not (the ACPI and HPET rates), also after about 88 years of uptime, where ticks * 1e9 is far
// beyond 64 bits. The clock's unit is checked against the standard steady clock, bracketing it,
// without any timing guess.
TEST(MonotonicClock, ScalesTheCounterExactlyAndCountsNanoseconds) {
    constexpr std::int64_t second = 1'000'000'000;
    constexpr std::int64_t uptime = 2'800'000'000;
    EXPECT_EQ(counter_to_ns(1, 10'000'000), 100);
    for (std::int64_t frequency :
         {1'000LL, 1'000'000LL, 3'579'546LL, 10'000'000LL, 14'318'180LL, 3'200'000'000LL}) {
        SCOPED_TRACE(frequency);
        EXPECT_EQ(counter_to_ns(frequency * 3 / 2, frequency), second * 3 / 2);
        EXPECT_EQ(counter_to_ns(uptime * frequency + frequency / 2, frequency),
                  uptime * second + second / 2);
    }

    const auto steady_before = std::chrono::steady_clock::now();
    const std::int64_t before = monotonic_now_ns();
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    const std::int64_t waited = monotonic_now_ns() - before;
    EXPECT_GE(waited, 20'000'000);
    EXPECT_LE(waited,
              std::chrono::nanoseconds(std::chrono::steady_clock::now() - steady_before).count());
}

}  // namespace
