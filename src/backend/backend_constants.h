#pragma once

#include <cstddef>
#include <cstdint>

namespace gamepad {

inline constexpr std::size_t attribute_row_count = 23;  // also the attribute count of an empty slot
inline constexpr std::size_t xinput_pad_count = 4;      // user indices 0 to 3

// A trigger byte counts as pressed when strictly greater than this.
inline constexpr std::uint8_t trigger_press_threshold = 30;

// Carried as the first field of every stick value of the left and right stick.
inline constexpr double left_stick_deadzone = 7849.0 / 32767.0;
inline constexpr double right_stick_deadzone = 8689.0 / 32767.0;

inline constexpr double trigger_scale = 255.0;           // byte to 0.0 .. 1.0
inline constexpr double stick_scale_positive = 32767.0;  // axis at or above 0
inline constexpr double stick_scale_negative = 32768.0;  // axis below 0
inline constexpr double motor_scale = 65535.0;           // 16-bit speed to 0.0 .. 1.0

}  // namespace gamepad
