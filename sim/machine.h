#pragma once

#include <array>
#include <cstdint>

#include "zestsim/zestsim.h"

namespace zestsim::detail {

// One XInput user index.
struct PadSlot {
    bool plugged = false;
    Capabilities capabilities;
    PadState state;
    Vibration vibration;
    std::uint32_t packet = 0;  // counts changes of state, as dwPacketNumber does
};

// Everything the machine holds besides kernel objects. Guarded by the kernel lock.
struct Machine {
    std::array<PadSlot, user_count> pads;
    bool fail_capabilities = false;

    static Machine& get();
};

}  // namespace zestsim::detail
