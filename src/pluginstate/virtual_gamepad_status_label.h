#pragma once

#include "gamepad/gamepads.h"
#include "hostapi/host_api.h"

// One label with the virtual pad's state, for the preferences and the action nodes' panels.
// Main thread, during a pass.
void virtual_gamepad_status_label(ZestPanel panel, const gamepad::Gamepads& gamepads);
