#pragma once

#include "hostapi/host_api.h"
#include "pluginstate/plugin_state.h"

// The feed list below the connected virtual pad, and what it selects. Main thread, during the
// preferences pass, with the virtual pad Connected.
void build_feed_gamepad_controls(PluginState& state, ZestPanel panel);
