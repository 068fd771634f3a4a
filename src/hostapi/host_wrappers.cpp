#include "hostapi/host_wrappers.h"

ZestHost plugin_host_handle = nullptr;

const char* plugin_tr(const char* key) {
    return zest_plugin_tr(plugin_host_handle, key);
}

ZestTrBuilder plugin_tr_arg(const char* key) {
    return zest_plugin_tr_arg(plugin_host_handle, key);
}

void plugin_invalidate_preferences() {
    zest_plugin_invalidate_preferences(plugin_host_handle);
}
