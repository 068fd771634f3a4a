#pragma once

#include <vector>

#include "gamepad/gamepad.h"
#include "gamepad/gamepads.h"
#include "hostapi/host_api.h"
#include "records/attribute_type.h"

// The lists through which panels choose a pad or an attribute. Each offers what fits its
// purpose, calls zui_list and gives back what the user selected. Main thread, during a pass.

// A list's labels and values, in step; the caller may put its own entries first ("None", -1).
using PickerLabels = std::vector<const char*>;
using PickerValues = std::vector<int>;

// The gamepad pickers append the pads on offer to what the caller put in the lists, with their
// positions as values, and return what zui_list returned, unchecked: Gamepads::gamepad looks it
// up. Labels that a picker owned are dead after the call.

// Pads that can feed the virtual pad, except the one at `leave_out`. Key "feedgamepad".
int pick_feed_gamepad(ZestPanel panel, PickerLabels& labels, PickerValues& values,
                      const gamepad::Gamepads& gamepads, int leave_out);
// Pads with a readable, or a writable, attribute of `type`. Key "!gamepad".
int pick_readable_gamepad(ZestPanel panel, PickerLabels& labels, PickerValues& values,
                          const gamepad::Gamepads& gamepads, gamepad::AttributeType type);
int pick_writable_gamepad(ZestPanel panel, PickerLabels& labels, PickerValues& values,
                          const gamepad::Gamepads& gamepads, gamepad::AttributeType type);

struct AttributeQuery {
    const gamepad::Gamepad* gamepad;
    gamepad::AttributeType type;
    gamepad::GamepadCapabilities capabilities;  // the pad's; none before its first metadata
};

// A pad's capabilities; none before its first metadata.
gamepad::GamepadCapabilities capabilities_of(const gamepad::Gamepad& pad);

// The readable, or writable, attributes of the query's pad and type, by their interned ids. Key
// "!attribute". Returns the chosen attribute's position in the pad's metadata, or -1.
int pick_readable_attribute(ZestPanel panel, const AttributeQuery& query);
int pick_writable_attribute(ZestPanel panel, const AttributeQuery& query);
