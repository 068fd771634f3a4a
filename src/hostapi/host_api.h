#pragma once

// The contract between zestdeck and this plug-in: the records that cross it, the per-node
// callbacks, the eight exports and the 31 functions imported from the host. Every host object
// is opaque and pointer-sized.

#include <cstddef>
#include <cstdint>

// The plug-in's exports. The library is built with hidden visibility, so these eight are marked
// visible; on Windows a .def file names them instead.
#if defined(_WIN32)
#define ZPLUGIN_EXPORT
#else
#define ZPLUGIN_EXPORT __attribute__((visibility("default")))
#endif

extern "C" {

using ZestHost = struct ZestHostTag*;
using ZestRegistry = struct ZestRegistryTag*;
using ZestNode = struct ZestNodeTag*;
using ZestPanel = struct ZestPanelTag*;
using ZestStore = struct ZestStoreTag*;
using ZestSink = struct ZestSinkTag*;
using ZestEvent = struct ZestEventTag*;
using ZestTrBuilder = struct ZestTrBuilderTag*;

struct PluginIcon {
    std::uint32_t kind;  // 0: PNG
    const char* data;
    std::int64_t size;
};

struct PluginInfo {
    const char* id;
    const char* name;
    const char* version;
    const char* vendor;
    const char* contact;
    const char* description;
    const void* reserved;
    const PluginIcon* icon;
};

using NodeCreateFn = void* (*)(ZestNode node);
using NodeDestroyFn = void (*)(void* instance);
using NodeGetNameFn = void (*)(void* instance, char* buffer);  // buffer holds 256 bytes
using NodeTypeCodeFn = int (*)(void* instance);
using NodeBuildPropertiesFn = void (*)(void* instance, ZestPanel panel);
using NodeEventFn = void (*)(void* instance, ZestEvent event);
using NodeStoreFn = void (*)(void* instance, ZestStore store);

struct NodeTypeDescriptor {
    const char* id;
    const char* name;
    const char* category;
    const void* reserved;
    NodeCreateFn create;
    NodeDestroyFn destroy;
    NodeGetNameFn get_name;
    NodeTypeCodeFn type_code;
    NodeBuildPropertiesFn build_properties;
    NodeEventFn receive_event;
    NodeEventFn forward_event;
    NodeStoreFn after_load;
    NodeStoreFn before_save;
};

// Exported by the plug-in.
ZPLUGIN_EXPORT int zplugin_sdk_version(void);
ZPLUGIN_EXPORT void zplugin_set_handle(ZestHost host);
ZPLUGIN_EXPORT void zplugin_get_info(PluginInfo* info);
ZPLUGIN_EXPORT int zplugin_load(ZestRegistry registry);
ZPLUGIN_EXPORT void zplugin_unload(void);
ZPLUGIN_EXPORT void zplugin_build_preferences(ZestPanel panel);
ZPLUGIN_EXPORT void zplugin_confirm_preferences(ZestStore store);
ZPLUGIN_EXPORT void zplugin_migrate_load_preferences(ZestStore store);

// Imported from the host: translation and strings. zest_plugin_tr, zest_plugin_tr_arg,
// zest_tr_int, zest_tr_end and zest_string_destroy are also called on the polling thread, with
// no lock of the plug-in's around them: the host makes those five safe from any thread.
const char* zest_plugin_tr(ZestHost host, const char* key);
ZestTrBuilder zest_plugin_tr_arg(ZestHost host, const char* key);
void zest_tr_str(ZestTrBuilder builder, const char* value);
void zest_tr_int(ZestTrBuilder builder, std::int32_t value);
char* zest_tr_end(ZestTrBuilder builder);                   // caller frees with zest_string_destroy
void zest_tr_end_str(ZestTrBuilder builder, char* buffer);  // buffer holds 256 bytes
void zest_string_destroy(char* text);

// Imported: key-value stores. Test `has` before every `get`.
bool zest_store_has_int(ZestStore store, const char* key);
std::int32_t zest_store_get_int(ZestStore store, const char* key);
void zest_store_set_int(ZestStore store, const char* key, std::int32_t value);
bool zest_store_has_string(ZestStore store, const char* key);
const char* zest_store_get_string(ZestStore store, const char* key);  // host-owned; copy at once
void zest_store_set_string(ZestStore store, const char* key, const char* value);

// Imported: events, sinks, invalidation, registration.
ZestEvent zest_event_create(void);
void zest_event_post(ZestSink sink, ZestEvent event);  // the caller still owns the event
void zest_event_destroy(ZestEvent event);
ZestSink zest_node_child_sink(ZestNode node);
ZestSink zest_node_parent_sink(ZestNode node);
void zest_node_invalidate_name(ZestNode node);
void zest_node_invalidate_properties(ZestNode node);
void zest_plugin_invalidate_preferences(ZestHost host);
void zest_register_node(ZestRegistry registry, const NodeTypeDescriptor* descriptor);

// Imported: the panel builder. Each control call declares the control for this pass and
// returns its current value. List arrays are valid during the call only.
void zui_start_group(ZestPanel panel, const char* title);
void zui_end_group(ZestPanel panel);
void zui_label(ZestPanel panel, const char* key, const char* text);
bool zui_button(ZestPanel panel, const char* key, const char* label);
bool zui_checkbox(ZestPanel panel, const char* key, const char* label, bool default_value);
int zui_int(ZestPanel panel, const char* key, const char* label, int default_value, int minimum,
            int maximum);
int zui_slider(ZestPanel panel, const char* key, const char* label, int default_value, int minimum,
               int maximum, int step);
double zui_float(ZestPanel panel, const char* key, const char* label, double default_value,
                 double minimum, double maximum);
int zui_list(ZestPanel panel, const char* key, const char* label, const char* reserved,
             const char* const* labels, const int* values, std::size_t count, int default_value);

}  // extern "C"

static_assert(sizeof(void*) == 8, "the host contract is defined for 64-bit processes");
static_assert(sizeof(PluginIcon) == 24);
static_assert(offsetof(PluginIcon, kind) == 0);
static_assert(offsetof(PluginIcon, data) == 8);
static_assert(offsetof(PluginIcon, size) == 16);
static_assert(sizeof(PluginInfo) == 64);
static_assert(offsetof(PluginInfo, id) == 0);
static_assert(offsetof(PluginInfo, name) == 8);
static_assert(offsetof(PluginInfo, version) == 16);
static_assert(offsetof(PluginInfo, vendor) == 24);
static_assert(offsetof(PluginInfo, contact) == 32);
static_assert(offsetof(PluginInfo, description) == 40);
static_assert(offsetof(PluginInfo, reserved) == 48);
static_assert(offsetof(PluginInfo, icon) == 56);
static_assert(sizeof(NodeTypeDescriptor) == 104);
static_assert(offsetof(NodeTypeDescriptor, id) == 0);
static_assert(offsetof(NodeTypeDescriptor, name) == 8);
static_assert(offsetof(NodeTypeDescriptor, category) == 16);
static_assert(offsetof(NodeTypeDescriptor, reserved) == 24);
static_assert(offsetof(NodeTypeDescriptor, create) == 32);
static_assert(offsetof(NodeTypeDescriptor, destroy) == 40);
static_assert(offsetof(NodeTypeDescriptor, get_name) == 48);
static_assert(offsetof(NodeTypeDescriptor, type_code) == 56);
static_assert(offsetof(NodeTypeDescriptor, build_properties) == 64);
static_assert(offsetof(NodeTypeDescriptor, receive_event) == 72);
static_assert(offsetof(NodeTypeDescriptor, forward_event) == 80);
static_assert(offsetof(NodeTypeDescriptor, after_load) == 88);
static_assert(offsetof(NodeTypeDescriptor, before_save) == 96);
