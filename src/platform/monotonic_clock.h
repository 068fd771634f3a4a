#pragma once

#include <cstdint>

namespace platform {

// The clock of all deadlines: signed nanoseconds that never go backwards. Only differences
// between readings mean anything. Any thread; never blocks.
std::int64_t monotonic_now_ns() noexcept;

// A performance-counter reading of `ticks` at `frequency` Hz (positive), in nanoseconds.
std::int64_t counter_to_ns(std::int64_t ticks, std::int64_t frequency) noexcept;

}  // namespace platform
