#pragma once

#include <cstdint>

namespace gamepad {

// Rates are in ticks per second, as the "updatems" preference holds them despite its name.
// With nothing stored the core polls at the default.
inline constexpr std::int32_t default_update_rate = 240;
// The range the panel offers. The core takes any rate a store holds: see armable_rate.
inline constexpr std::int32_t min_update_rate = 1;
inline constexpr std::int32_t max_update_rate = 1000;

// The rate the timer gets armed for. A 0, which the panel never offers but a store can hold,
// ticks like the lowest rate: the thread neither divides by zero nor stalls, and 0 keeps meaning
// "not armed" in armed_rate.
std::int32_t armable_rate(std::int32_t rate) noexcept;

// The timer period for a rate, in whole milliseconds: 1000 / rate, but never shorter than the
// highest rate's, so that rates above it and below 0 tick every millisecond.
std::int32_t tick_period_ms(std::int32_t rate) noexcept;

}  // namespace gamepad
