#include "pluginstate/virtual_gamepad_status_label.h"

#include "gamepad/gamepad.h"
#include "hostapi/host_wrappers.h"

namespace {

using gamepad::VirtualGamepadState;

void connected_label(ZestPanel panel, const gamepad::Gamepads& gamepads) {
    const gamepad::Gamepad* pad = gamepads.gamepad(gamepads.virtual_gamepad_index());
    const gamepad::GamepadMetadata* metadata = pad == nullptr ? nullptr : pad->metadata();
    char text[256] = {};
    ZestTrBuilder builder = plugin_tr_arg("VirtualGamepad.Connected.%1");
    zest_tr_str(builder, metadata == nullptr ? "" : metadata->name.constData());
    zest_tr_end_str(builder, text);
    zui_label(panel, nullptr, text);
}

}  // namespace

void virtual_gamepad_status_label(ZestPanel panel, const gamepad::Gamepads& gamepads) {
    switch (gamepads.virtual_gamepad_state()) {
        case VirtualGamepadState::Disabled:
            zui_label(panel, nullptr, plugin_tr("VirtualGamepad.Disabled"));
            return;
        case VirtualGamepadState::Connecting:
            zui_label(panel, nullptr, plugin_tr("VirtualGamepad.Connecting"));
            return;
        case VirtualGamepadState::Connected:
            connected_label(panel, gamepads);
            return;
        case VirtualGamepadState::Error:
            zui_label(panel, nullptr, gamepads.virtual_gamepad_error().constData());
            return;
    }
}
