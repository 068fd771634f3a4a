#pragma once

#include <QByteArray>
#include <QHash>

#include <cstdint>
#include <memory>
#include <vector>

#include "gamepad/game.h"
#include "gamepad/gamepads.h"
#include "hostapi/host_api.h"

// The plug-in's one piece of global state, from zplugin_get_info to zplugin_unload. Main thread.
// The fields are destroyed in reverse order, so the panel's view of the pads goes before the
// core it uses.
struct PluginState {
    PluginState() = default;
    // The core over other seams, for programs that bring their own backend.
    explicit PluginState(gamepad::CoreSeams seams) : game(std::move(seams)) {}

    PluginIcon icon{};  // first, so that its address is the state's
    QByteArray icon_bytes;
    gamepad::Game game;
    // Non-null while the last preferences pass found the virtual pad switched on.
    std::unique_ptr<gamepad::Gamepads> virtual_gamepads;
    // Attribute ids of this run: attribute_names[id] is the name, attribute_ids[name] the id.
    std::vector<QByteArray> attribute_names;
    QHash<QByteArray, std::int32_t> attribute_ids;
};

// Null before zplugin_get_info and after zplugin_unload.
extern PluginState* plugin_state;
