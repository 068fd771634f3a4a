#include "plugin/plugin_state.h"

PluginState* plugin_state = nullptr;
