#pragma once

#include "gamepad/gamepad_records.h"
#include "gamepad/publication_channel.h"

namespace gamepad {

// Per pad: what the main thread reads, what the polling thread works on, and the two channels
// between them. Each plain field belongs to the one side named beside it.
struct GamepadExchange {
    RecordLease<GamepadMetadata> metadata_view;  // main thread
    RecordLease<GamepadState> state_view;        // main thread
    bool metadata_changed = false;               // polling thread
    GamepadMetadata metadata;                    // polling thread: the working copy
    GamepadState state;                          // polling thread: as of the last publish step
    PublicationChannel<GamepadMetadata> metadata_channel;
    PublicationChannel<GamepadState> state_channel;
};

}  // namespace gamepad
