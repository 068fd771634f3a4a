#pragma once

#include "hostapi/host_api.h"

// Registers the plug-in's node types with the host, in their fixed order. Main thread, with a
// plugin_state.
void register_node_types(ZestRegistry registry);
