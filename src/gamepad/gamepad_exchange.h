#pragma once

#include <cstdint>

#include "gamepad/button_transitions.h"
#include "gamepad/gamepad_delivery.h"
#include "gamepad/gamepad_publication.h"
#include "gamepad/publication_channel.h"
#include "records/gamepad_records.h"

namespace gamepad {

// Per pad: what the polling thread works on, the channel towards the main thread, and what the
// main thread has told its users. Each plain field belongs to the one side named beside it.
struct GamepadExchange {
    bool metadata_changed = false;          // polling thread
    bool read_unchanged = false;            // polling thread: this tick's read wrote nothing
    std::uint64_t metadata_generation = 0;  // polling thread: counts the metadata changes
    GamepadMetadata metadata;               // polling thread: the working copy
    GamepadState state;                     // polling thread: as of the last publish step
    ButtonTransitions transitions;          // polling thread
    PublicationChannel<GamepadPublication> channel;
    GamepadDelivery delivery;  // main thread

    // Main thread: the views, null before the first delivery.
    const GamepadMetadata* metadata_view() const {
        const GamepadPublication* view = channel.view();
        return view != nullptr ? &view->metadata : nullptr;
    }
    const GamepadState* state_view() const {
        const GamepadPublication* view = channel.view();
        return view != nullptr ? &view->state : nullptr;
    }
};

}  // namespace gamepad
