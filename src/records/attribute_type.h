#pragma once

#include <cstdint>

namespace gamepad {

enum class AttributeType : std::uint32_t { Button = 0, Trigger = 1, Stick = 2, Motor = 3 };

// Input: the pad reports it. Output: the pad is told it (the motors).
enum class AttributeDirection : std::uint32_t { Input = 0, Output = 1 };

}  // namespace gamepad
