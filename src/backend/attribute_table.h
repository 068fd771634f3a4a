#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "backend/attribute_info.h"
#include "backend/backend_constants.h"

namespace gamepad {

struct AttributeRow {
    AttributeInfo info;
    std::uint16_t button_mask;  // XInput wButtons bit; 0 where the row has none
    const char* generic_label_key;
};

// Rows whose handling differs from the plain mask rule.
inline constexpr std::size_t row_button_left_trigger = 10;
inline constexpr std::size_t row_button_right_trigger = 11;
inline constexpr std::size_t row_trigger_left = 17;
inline constexpr std::size_t row_trigger_right = 18;
inline constexpr std::size_t row_stick_left = 19;
inline constexpr std::size_t row_stick_right = 20;
inline constexpr std::size_t row_motor_left = 21;   // large motor
inline constexpr std::size_t row_motor_right = 22;  // small motor

namespace detail {
using enum AttributeType;
using enum AttributeDirection;
}  // namespace detail

// The 23 attributes any pad here can have, in their fixed order. Rows 10 and 11 are the digital
// view of the triggers and share their label keys with rows 17 and 18.
inline constexpr std::array<AttributeRow, attribute_row_count> attribute_rows{{
    {{"button_dpad_up", detail::Button, detail::Input}, 0x0001, "GenericGamepad.ButtonDPadUp"},
    {{"button_dpad_down", detail::Button, detail::Input}, 0x0002, "GenericGamepad.ButtonDPadDown"},
    {{"button_dpad_left", detail::Button, detail::Input}, 0x0004, "GenericGamepad.ButtonDPadLeft"},
    {{"button_dpad_right", detail::Button, detail::Input},
     0x0008,
     "GenericGamepad.ButtonDPadRight"},
    {{"button_start", detail::Button, detail::Input}, 0x0010, "GenericGamepad.ButtonStart"},
    {{"button_back", detail::Button, detail::Input}, 0x0020, "GenericGamepad.ButtonBack"},
    {{"button_left_thumb", detail::Button, detail::Input},
     0x0040,
     "GenericGamepad.ButtonLeftThumb"},
    {{"button_right_thumb", detail::Button, detail::Input},
     0x0080,
     "GenericGamepad.ButtonRightThumb"},
    {{"button_left_shoulder", detail::Button, detail::Input},
     0x0100,
     "GenericGamepad.ButtonLeftShoulder"},
    {{"button_right_shoulder", detail::Button, detail::Input},
     0x0200,
     "GenericGamepad.ButtonRightShoulder"},
    {{"button_left_trigger", detail::Button, detail::Input}, 0, "GenericGamepad.TriggerLeft"},
    {{"button_right_trigger", detail::Button, detail::Input}, 0, "GenericGamepad.TriggerRight"},
    {{"button_guide", detail::Button, detail::Input}, 0x0400, "GenericGamepad.ButtonGuide"},
    {{"button_a", detail::Button, detail::Input}, 0x1000, "GenericGamepad.ButtonA"},
    {{"button_b", detail::Button, detail::Input}, 0x2000, "GenericGamepad.ButtonB"},
    {{"button_x", detail::Button, detail::Input}, 0x4000, "GenericGamepad.ButtonX"},
    {{"button_y", detail::Button, detail::Input}, 0x8000, "GenericGamepad.ButtonY"},
    {{"trigger_left", detail::Trigger, detail::Input}, 0, "GenericGamepad.TriggerLeft"},
    {{"trigger_right", detail::Trigger, detail::Input}, 0, "GenericGamepad.TriggerRight"},
    {{"stick_left", detail::Stick, detail::Input}, 0, "GenericGamepad.StickLeft"},
    {{"stick_right", detail::Stick, detail::Input}, 0, "GenericGamepad.StickRight"},
    {{"motor_left", detail::Motor, detail::Output}, 0, "GenericGamepad.MotorLarge"},
    {{"motor_right", detail::Motor, detail::Output}, 0, "GenericGamepad.MotorSmall"},
}};

}  // namespace gamepad
