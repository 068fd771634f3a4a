#pragma once

#include "hostapi/host_api.h"

// The host handle from zplugin_set_handle. Written once, before any thread of the plug-in
// exists, and only read afterwards.
extern ZestHost plugin_host_handle;

// All code of the plug-in translates and invalidates through these, never through the imports.
const char* plugin_tr(const char* key);
ZestTrBuilder plugin_tr_arg(const char* key);
void plugin_invalidate_preferences();
