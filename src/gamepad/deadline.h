#pragma once

#include <cstdint>

namespace gamepad {

// A duration in whole milliseconds as every timed writer and node timer counts it: seconds
// times 1000, truncated toward zero. Durations beyond the signed 32-bit range (about 24.8 days)
// saturate at its ends, and NaN counts as 0, so that no conversion is undefined.
std::int32_t duration_ms(double seconds) noexcept;

// The monotonic time `ms` milliseconds from now, in nanoseconds.
std::int64_t deadline_after(std::int32_t ms) noexcept;

}  // namespace gamepad
