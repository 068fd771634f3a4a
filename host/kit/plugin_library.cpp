#include "kit/plugin_library.h"

#include <stdexcept>

#ifdef _WIN32
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace hostkit {

namespace {

#ifdef _WIN32
using Library = HMODULE;

Library open_library(const std::string& path) {
    Library library = LoadLibraryA(path.c_str());
    if (library == nullptr) {
        throw std::runtime_error("can't load " + path + ": error " +
                                 std::to_string(GetLastError()));
    }
    return library;
}

// Through void(*)(), the one function type that casts to any other without a warning.
template <typename Function>
Function find_entry(Library library, const char* name) {
    return reinterpret_cast<Function>(reinterpret_cast<void (*)()>(GetProcAddress(library, name)));
}
#else
using Library = void*;

Library open_library(const std::string& path) {
    Library library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) throw std::runtime_error(dlerror());
    return library;
}

template <typename Function>
Function find_entry(Library library, const char* name) {
    return reinterpret_cast<Function>(dlsym(library, name));
}
#endif

template <typename Function>
void bind(Library library, const std::string& path, const char* name, Function& function) {
    function = find_entry<Function>(library, name);
    if (function == nullptr) throw std::runtime_error(path + " has no entry point " + name);
}

}  // namespace

PluginExports open_plugin(const std::string& path) {
    Library library = open_library(path);
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
