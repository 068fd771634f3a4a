#pragma once

#include <cstdint>

namespace gamepad {

enum class VirtualGamepadState : std::uint32_t {
    Disabled = 0,
    Connecting = 1,
    Connected = 2,
    Error = 3,
};

}  // namespace gamepad
