#pragma once

#include <string>

#include "hostapi/host_api.h"

namespace hostkit {

// A plug-in's eight entry points, found by name as a host finds them.
struct PluginExports {
    decltype(&zplugin_sdk_version) sdk_version;
    decltype(&zplugin_set_handle) set_handle;
    decltype(&zplugin_get_info) get_info;
    decltype(&zplugin_load) load;
    decltype(&zplugin_unload) unload;
    decltype(&zplugin_build_preferences) build_preferences;
    decltype(&zplugin_confirm_preferences) confirm_preferences;
    decltype(&zplugin_migrate_load_preferences) migrate_load_preferences;
};

// Loads the library (dlopen; LoadLibrary on Windows) and binds its entry points. The library stays
// loaded for the life of the process. Throws std::runtime_error, with the loader's words, when the
// file can't be loaded or lacks an entry point.
PluginExports open_plugin(const std::string& path);

}  // namespace hostkit
