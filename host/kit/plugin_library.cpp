#include "kit/plugin_library.h"

#include <dlfcn.h>

#include <stdexcept>

namespace hostkit {

namespace {

template <typename Function>
void bind(void* library, const std::string& path, const char* name, Function& function) {
    function = reinterpret_cast<Function>(dlsym(library, name));
    if (function == nullptr) throw std::runtime_error(path + " has no entry point " + name);
}

}  // namespace

PluginExports open_plugin(const std::string& path) {
    void* library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) throw std::runtime_error(dlerror());
    PluginExports exports{};
    bind(library, path, "zplugin_sdk_version", exports.sdk_version);
    bind(library, path, "zplugin_set_handle", exports.set_handle);
    bind(library, path, "zplugin_get_info", exports.get_info);
    bind(library, path, "zplugin_load", exports.load);
    bind(library, path, "zplugin_unload", exports.unload);
    bind(library, path, "zplugin_build_preferences", exports.build_preferences);
    bind(library, path, "zplugin_confirm_preferences", exports.confirm_preferences);
    bind(library, path, "zplugin_migrate_load_preferences", exports.migrate_load_preferences);
    return exports;
}

}  // namespace hostkit
