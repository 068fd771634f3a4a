// The preferences panel. Its pass is where the virtual pad is switched on and off and where the
// feed is set: the host only keeps the values.

#include "plugin/preferences_panel.h"

#include "backend/backend.h"
#include "gamepad/game_impl.h"
#include "gamepad/gamepad_impl.h"
#include "gamepad/update_rate.h"
#include "hostapi/host_wrappers.h"
#include "nodes/pickers.h"
#include "pluginstate/virtual_gamepad_status_label.h"

namespace {

using gamepad::Gamepads;

// The panel's own use of the core, which keeps it running while the virtual pad is on. A state
// change or new metadata makes the host build the panel again.
void use_core_for_virtual_gamepad(PluginState& state) {
    state.virtual_gamepads = state.game.impl().use();
    Gamepads* pads = state.virtual_gamepads.get();
    QObject::connect(
        pads, &Gamepads::virtual_gamepad_state_changed, pads,
        [] { plugin_invalidate_preferences(); }, Qt::DirectConnection);
    QObject::connect(
        pads, &Gamepads::metadata_changed, pads, [] { plugin_invalidate_preferences(); },
        Qt::DirectConnection);
}

void build_virtual_gamepad_group(PluginState& state, ZestPanel panel) {
    zui_start_group(panel, plugin_tr("Preferences.VirtualGamepad"));
    const bool enabled =
        zui_checkbox(panel, "virtualenabled", plugin_tr("Preferences.Enabled"), false);
    if (enabled && state.virtual_gamepads == nullptr) use_core_for_virtual_gamepad(state);
    if (state.virtual_gamepads != nullptr) {
        state.game.impl().set_virtual_gamepad_enabled(enabled);
    }
    if (enabled) {
        virtual_gamepad_status_label(panel, *state.virtual_gamepads);
        if (state.virtual_gamepads->virtual_gamepad_state() ==
            gamepad::VirtualGamepadState::Connected) {
            build_feed_gamepad_controls(state, panel);
        }
    } else {
        state.virtual_gamepads.reset();
    }
    zui_end_group(panel);
}

}  // namespace

void build_feed_gamepad_controls(PluginState& state, ZestPanel panel) {
    const Gamepads& pads = *state.virtual_gamepads;
    const int virtual_index = pads.virtual_gamepad_index();
    zui_label(panel, nullptr, plugin_tr("Preferences.FeedGamepad"));
    PickerLabels labels{plugin_tr("None")};
    PickerValues values{-1};
    int source = pick_feed_gamepad(panel, labels, values, pads, virtual_index);
    // A stored position that no pad has, or the virtual pad's own (it may come up elsewhere
    // than last time), feeds nothing: the pad would mirror itself and hold every value.
    if (pads.gamepad(source) == nullptr || source == virtual_index) source = -1;
    if (gamepad::Gamepad* virtual_pad = pads.gamepad(virtual_index)) {
        virtual_pad->impl()->set_feed_source(source);
    }
    gamepad::Backend* backend = state.game.impl().backend();
    if (backend != nullptr && backend->can_hide_feed_gamepad() &&
        zui_button(panel, nullptr, plugin_tr("Preferences.HideFeedGamepad"))) {
        backend->hide_feed_gamepad();
    }
}

void zplugin_build_preferences(ZestPanel panel) {
    zui_int(panel, "updatems", plugin_tr("Preferences.UpdateRate"), gamepad::default_update_rate,
            gamepad::min_update_rate, gamepad::max_update_rate);
    zui_label(panel, " ", plugin_tr("Preferences.UpdateRateDescription"));
    build_virtual_gamepad_group(*plugin_state, panel);
}

void zplugin_confirm_preferences(ZestStore store) {
    if (zest_store_has_int(store, "updatems")) {
        plugin_state->game.impl().set_update_rate(zest_store_get_int(store, "updatems"));
    }
}

// The host calls this after loading stored preferences; they are applied as on confirmation.
void zplugin_migrate_load_preferences(ZestStore store) {
    zplugin_confirm_preferences(store);
}
