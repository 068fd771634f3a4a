#include "pluginstate/plugin_state.h"

PluginState* plugin_state = nullptr;
