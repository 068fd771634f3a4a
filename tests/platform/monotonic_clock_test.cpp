#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <thread>

#include "platform/monotonic_clock.h"

namespace {

using platform::counter_to_ns;
using platform::monotonic_now_ns;

constexpr std::int64_t ns_per_second = 1'000'000'000;

TEST(CounterToNs, ScalesExactlyAtEveryFrequency) {
    EXPECT_EQ(counter_to_ns(1, 10'000'000), 100);
    EXPECT_EQ(counter_to_ns(0, 10'000'000), 0);
    // Frequencies that divide a second evenly, and ones that do not (the ACPI and HPET rates).
    constexpr std::int64_t frequencies[] = {1'000, 1'000'000, 3'579'546, 14'318'180, 3'200'000'000};
    for (std::int64_t frequency : frequencies) {
        SCOPED_TRACE(frequency);
        EXPECT_EQ(counter_to_ns(frequency * 3 / 2, frequency), ns_per_second * 3 / 2);
    }
}

TEST(CounterToNs, LongUptimesDoNotOverflow) {
    // About 95 years of uptime: ticks * 1e9 is far beyond 64 bits, the result is not.
    constexpr std::int64_t seconds = 3'000'000'000;
    constexpr std::int64_t frequency = 3'579'546;
    EXPECT_EQ(counter_to_ns(seconds * frequency + frequency / 2, frequency),
              seconds * ns_per_second + ns_per_second / 2);
    EXPECT_EQ(counter_to_ns(seconds * 10'000'000, 10'000'000), seconds * ns_per_second);
}

TEST(MonotonicNowNs, NeverGoesBackAndCountsNanoseconds) {
    std::int64_t previous = monotonic_now_ns();
    for (int i = 0; i < 100'000; ++i) {
        const std::int64_t now = monotonic_now_ns();
        ASSERT_GE(now, previous);
        previous = now;
    }

    // Bracketed by the standard steady clock, so the unit is checked without any timing guess.
    const auto steady_before = std::chrono::steady_clock::now();
    const std::int64_t before = monotonic_now_ns();
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    const std::int64_t after = monotonic_now_ns();
    const auto steady_after = std::chrono::steady_clock::now();
    EXPECT_GE(after - before, 20'000'000);
    EXPECT_LE(
        after - before,
        std::chrono::duration_cast<std::chrono::nanoseconds>(steady_after - steady_before).count());
}

}  // namespace
