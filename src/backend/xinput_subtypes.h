#pragma once

#include <cstdint>

namespace gamepad {

// XInput device subtypes that get labels and names of their own; any other subtype is shown as
// a generic gamepad.
inline constexpr std::uint8_t subtype_wheel = 2;
inline constexpr std::uint8_t subtype_flight_stick = 4;
inline constexpr std::uint8_t subtype_guitar = 6;
inline constexpr std::uint8_t subtype_drum_kit = 8;

}  // namespace gamepad
