#include "platform/monotonic_clock.h"

#ifdef _WIN32
#include "platform/win32.h"
#else
#include <time.h>
#endif

namespace platform {

std::int64_t counter_to_ns(std::int64_t ticks, std::int64_t frequency) noexcept {
    constexpr std::int64_t ns_per_second = 1'000'000'000;
    if (frequency == 10'000'000) return ticks * 100;
    // Seconds and remainder are scaled apart: ticks * 1e9 overflows after minutes of uptime.
    return (ticks / frequency) * ns_per_second + ((ticks % frequency) * ns_per_second) / frequency;
}

std::int64_t monotonic_now_ns() noexcept {
#ifdef _WIN32
    // The frequency is read at every call too: nothing is cached.
    LARGE_INTEGER frequency;
    LARGE_INTEGER counter;
    QueryPerformanceFrequency(&frequency);
    QueryPerformanceCounter(&counter);
    return counter_to_ns(counter.QuadPart, frequency.QuadPart);
#else
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::int64_t>(now.tv_sec) * 1'000'000'000 + now.tv_nsec;
#endif
}

}  // namespace platform
