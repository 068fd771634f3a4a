#pragma once

#include <cstdint>

namespace gamepad {

// How an attach of a virtual pad ended. The values are the codes the attach has always
// reported; only `Success` attaches.
enum class AttachResult : std::uint32_t {
    Success = 0,
    // No client or target could be allocated, the listener was not registered, or the pad never
    // showed in XInput; also the answer of a backend that offers no virtual pad.
    SetUpFailed = 1,
    DriverUnreachable = 2,  // the bus driver is not installed or refused the connection
    TargetRefused = 3,      // the bus would not plug another target
};

}  // namespace gamepad
