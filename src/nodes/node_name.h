#pragma once

#include <cstdint>

#include "gamepad/gamepads.h"

// The two translation keys of a node type's display name.
struct NodeNameKeys {
    const char* plain;
    const char* with_arguments;  // %1 the attribute's label, %2 the pad's name
};

// The display name of a node into the host's 256-byte buffer: with a selected pad and attribute,
// the key with arguments; otherwise the plain key's text, cut to fit. Main thread.
void write_node_name(char* buffer, const gamepad::Gamepads& gamepads, std::int32_t gamepad_index,
                     std::int32_t attribute_index, NodeNameKeys keys);
