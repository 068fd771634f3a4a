#pragma once

#include <cstdint>

#include "gamepad/gamepads.h"

// The display name of a node into the host's 256-byte buffer: with a selected pad and attribute,
// the key with arguments gets the attribute's label as %1 and the pad's name as %2; otherwise
// the plain key's text, cut to fit. Main thread.
void write_node_name(char* buffer, const gamepad::Gamepads& gamepads, std::int32_t gamepad_index,
                     std::int32_t attribute_index, const char* key_with_arguments,
                     const char* plain_key);
