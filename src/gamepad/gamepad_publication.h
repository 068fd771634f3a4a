#pragma once

#include <cstdint>

#include "gamepad/button_transitions.h"
#include "records/gamepad_records.h"

namespace gamepad {

// What one publication of a pad carries to the main thread: the state, the metadata it was
// read with, and the button transitions that led to it. The metadata is copied into a record
// only when the record holds an older one, so an unchanged pad costs no copy of it.
struct GamepadPublication {
    std::uint64_t metadata_generation = 0;  // 0: no metadata yet
    GamepadMetadata metadata;
    GamepadState state;
    ButtonTransitions transitions;
};

}  // namespace gamepad
