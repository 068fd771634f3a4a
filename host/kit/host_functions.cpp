// The 31 functions that a plug-in imports from its host. Each checks what it is given, records
// a violation for what breaks the contract, and answers as harmlessly as it can.

#include <cstdint>
#include <string>

#include "hostapi/host_api.h"
#include "kit/kit.h"
#include "kit/kit_state.h"
#include "kit/node.h"
#include "kit/panel.h"
#include "kit/registry.h"
#include "kit/store.h"
#include "kit/violations.h"

namespace {

using hostkit::Node;
using hostkit::Panel;
using hostkit::Registry;
using hostkit::Sink;
using hostkit::Store;
using hostkit::detail::kit;
using hostkit::detail::record_violation;

// A wrong host handle is reported; the call is served all the same.
void check_host(ZestHost host, const char* function) {
    if (host != hostkit::host_handle()) record_violation(function, "wrong host handle");
}

Store* store_for_key(ZestStore store, const char* key, const char* function) {
    Store* found = Store::resolve(store, function);
    if (found != nullptr && key == nullptr) {
        record_violation(function, "null key");
        return nullptr;
    }
    return found;
}

// The value under a key if it has type T. A get names the type that it requires: the plug-in
// must have tested with has first, so a get that finds none is a violation.
template <typename T>
const T* stored(ZestStore store, const char* key, const char* function,
                const char* required_type = nullptr) {
    Store* found = store_for_key(store, key, function);
    if (found == nullptr) return nullptr;
    const T* value = found->find<T>(key);
    if (value == nullptr && required_type != nullptr) {
        record_violation(function, hostkit::detail::quoted(key) + " holds no " + required_type);
    }
    return value;
}

Panel* panel_in_pass(ZestPanel panel, const char* function) {
    Panel* found = Panel::resolve(panel, function);
    if (found != nullptr && !found->in_pass()) {
        record_violation(function, "called outside a panel pass");
        return nullptr;
    }
    return found;
}

}  // namespace

extern "C" {

const char* zest_plugin_tr(ZestHost host, const char* key) {
    check_host(host, __func__);
    return kit().translator.translate(key);
}

ZestTrBuilder zest_plugin_tr_arg(ZestHost host, const char* key) {
    check_host(host, __func__);
    return kit().translator.begin(key, __func__);
}

void zest_tr_str(ZestTrBuilder builder, const char* value) {
    kit().translator.append(builder, value == nullptr ? std::string() : value, __func__);
}

void zest_tr_int(ZestTrBuilder builder, std::int32_t value) {
    kit().translator.append(builder, std::to_string(value), __func__);
}

char* zest_tr_end(ZestTrBuilder builder) {
    return kit().translator.end(builder, __func__);
}

void zest_tr_end_str(ZestTrBuilder builder, char* buffer) {
    kit().translator.end_into(builder, buffer, __func__);
}

void zest_string_destroy(char* text) {
    kit().translator.destroy(text, __func__);
}

bool zest_store_has_int(ZestStore store, const char* key) {
    return stored<std::int32_t>(store, key, __func__) != nullptr;
}

std::int32_t zest_store_get_int(ZestStore store, const char* key) {
    const std::int32_t* value = stored<std::int32_t>(store, key, __func__, "int");
    return value == nullptr ? 0 : *value;
}

void zest_store_set_int(ZestStore store, const char* key, std::int32_t value) {
    if (Store* found = store_for_key(store, key, __func__)) found->set(key, value);
}

bool zest_store_has_string(ZestStore store, const char* key) {
    return stored<std::string>(store, key, __func__) != nullptr;
}

const char* zest_store_get_string(ZestStore store, const char* key) {
    const std::string* value = stored<std::string>(store, key, __func__, "string");
    return value == nullptr ? nullptr : value->c_str();
}

void zest_store_set_string(ZestStore store, const char* key, const char* value) {
    Store* found = store_for_key(store, key, __func__);
    if (found == nullptr) return;
    if (value == nullptr) record_violation(__func__, "null value");
    found->set(key, std::string(value == nullptr ? "" : value));
}

ZestEvent zest_event_create(void) {
    return kit().events.create();
}

void zest_event_post(ZestSink sink, ZestEvent event) {
    Sink* target = Sink::resolve(sink, __func__);
    std::optional<std::uint64_t> id = kit().events.use(event, __func__);
    if (target != nullptr && id) target->record(*id);
}

void zest_event_destroy(ZestEvent event) {
    kit().events.destroy(event, __func__);
}

ZestSink zest_node_child_sink(ZestNode node) {
    Node* found = Node::resolve(node, __func__);
    return found == nullptr ? nullptr : found->child_sink().handle();
}

ZestSink zest_node_parent_sink(ZestNode node) {
    Node* found = Node::resolve(node, __func__);
    return found == nullptr ? nullptr : found->parent_sink().handle();
}

void zest_node_invalidate_name(ZestNode node) {
    if (Node* found = Node::resolve(node, __func__)) found->invalidate_name();
}

void zest_node_invalidate_properties(ZestNode node) {
    if (Node* found = Node::resolve(node, __func__)) found->invalidate_properties();
}

void zest_plugin_invalidate_preferences(ZestHost host) {
    check_host(host, __func__);
    hostkit::detail::count_invalidation(kit().preferences_invalidations);
}

void zest_register_node(ZestRegistry registry, const NodeTypeDescriptor* descriptor) {
    if (Registry* found = Registry::resolve(registry, __func__)) found->add(descriptor, __func__);
}

void zui_start_group(ZestPanel panel, const char* title) {
    if (Panel* found = panel_in_pass(panel, __func__)) found->start_group(title);
}

void zui_end_group(ZestPanel panel) {
    if (Panel* found = panel_in_pass(panel, __func__)) found->end_group();
}

void zui_label(ZestPanel panel, const char* key, const char* text) {
    if (Panel* found = panel_in_pass(panel, __func__)) found->label(key, text);
}

bool zui_button(ZestPanel panel, const char* key, const char* label) {
    Panel* found = panel_in_pass(panel, __func__);
    return found != nullptr && found->button(key, label);
}

bool zui_checkbox(ZestPanel panel, const char* key, const char* label, bool default_value) {
    Panel* found = panel_in_pass(panel, __func__);
    return found == nullptr ? default_value : found->checkbox(key, label, default_value);
}

int zui_int(ZestPanel panel, const char* key, const char* label, int default_value, int minimum,
            int maximum) {
    Panel* found = panel_in_pass(panel, __func__);
    return found == nullptr ? default_value
                            : found->int_field(key, label, default_value, minimum, maximum);
}

int zui_slider(ZestPanel panel, const char* key, const char* label, int default_value, int minimum,
               int maximum, int step) {
    Panel* found = panel_in_pass(panel, __func__);
    return found == nullptr ? default_value
                            : found->slider(key, label, default_value, minimum, maximum, step);
}

double zui_float(ZestPanel panel, const char* key, const char* label, double default_value,
                 double minimum, double maximum) {
    Panel* found = panel_in_pass(panel, __func__);
    return found == nullptr ? default_value
                            : found->float_field(key, label, default_value, minimum, maximum);
}

int zui_list(ZestPanel panel, const char* key, const char* label, const char* reserved,
             const char* const* labels, const int* values, std::size_t count, int default_value) {
    Panel* found = panel_in_pass(panel, __func__);
    if (reserved != nullptr) record_violation(__func__, "reserved is not null");
    return found == nullptr ? default_value
                            : found->list(key, label, labels, values, count, default_value);
}

}  // extern "C"
