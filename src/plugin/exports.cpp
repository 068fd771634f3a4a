// The plug-in's entry points, apart from the preferences panel's.

#include <QFile>
#include <QtGlobal>

#include "hostapi/host_api.h"
#include "hostapi/host_wrappers.h"
#include "plugin/node_types.h"
#include "pluginstate/plugin_state.h"

// The library registered its resources when it was loaded; registering again is harmless and
// keeps the icon readable should a host have unregistered them. Outside any namespace, for the
// resource compiler's function is declared where the registration stands.
static void register_resources() {
    Q_INIT_RESOURCE(gamepad);
}

namespace {

constexpr const char* icon_path = ":/io.zestworks.gamepad/gamepad.png";

PluginState* make_plugin_state() {
    auto* state = new PluginState;
    register_resources();
    QFile file(QString::fromLatin1(icon_path));
    (void)file.open(QIODevice::ReadOnly);  // a missing icon is an icon of size 0
    QByteArray bytes = file.readAll();
    file.close();
    state->icon.kind = 0;
    state->icon.data = bytes.constData();
    state->icon.size = bytes.size();
    state->icon_bytes = std::move(bytes);  // keeps the buffer, and so icon.data
    return state;
}

}  // namespace

int zplugin_sdk_version(void) {
    return 1;
}

void zplugin_set_handle(ZestHost host) {
    plugin_host_handle = host;
}

// A second call describes the plug-in again with the state it has.
void zplugin_get_info(PluginInfo* info) {
    PluginState* state = plugin_state != nullptr ? plugin_state : make_plugin_state();
    if (info != nullptr) {
        info->id = "io.zestworks.gamepad";
        info->name = plugin_tr("Name");
        info->version = ZEST_PLUGIN_VERSION;
        info->vendor = "Zestworks";
        info->contact = "support@zestworks.io";
        info->description = plugin_tr("Description");
        info->reserved = nullptr;
        info->icon = &state->icon;
    }
    plugin_state = state;
}

int zplugin_load(ZestRegistry registry) {
    register_node_types(registry);
    return 0;
}

void zplugin_unload(void) {
    delete plugin_state;
    plugin_state = nullptr;
}
