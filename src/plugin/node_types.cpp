#include "plugin/node_types.h"

#include <QObject>

#include <cstddef>
#include <type_traits>
#include <utility>
#include <variant>

#include "hostapi/host_wrappers.h"
#include "nodes/action_node.h"
#include "nodes/button_event_node.h"
#include "nodes/node_events.h"
#include "nodes/node_type_table.h"
#include "pluginstate/attribute_ids.h"

namespace {

// Every node is handed out as its QObject, so one destroy serves all types.
void destroy_node(void* instance) {
    if (instance == nullptr) return;
    delete static_cast<QObject*>(instance);
}

template <typename Node, std::size_t row>
void* create_node(ZestNode node) {
    return static_cast<QObject*>(new Node(node, node_type_table[row]));
}

// The callbacks of a node class, over the QObject that create handed out.
template <typename Node>
Node& node_of(void* instance) {
    return *static_cast<Node*>(static_cast<QObject*>(instance));
}

template <typename Node>
void node_name(void* instance, char* buffer) {
    node_of<Node>(instance).get_name(buffer);
}

template <std::size_t row>
int type_code(void*) {
    return node_type_table[row].type_code;
}

template <typename Node>
void node_properties(void* instance, ZestPanel panel) {
    node_of<Node>(instance).build_properties(panel);
}

template <typename Node>
void node_pass_on(void* instance, ZestEvent event) {
    pass_event_on(node_of<Node>(instance).node(), event);
}

// The event goes on whether the node could fire or not.
void action_node_receive(void* instance, ZestEvent event) {
    node_of<ActionNode>(instance).fire();
    node_pass_on<ActionNode>(instance, event);
}

// One descriptor serves each registration: the host copies what it keeps during the call.
template <std::size_t row>
void register_node_type(ZestRegistry registry) {
    constexpr const NodeTypeRow& type = node_type_table[row];
    constexpr bool is_action = std::holds_alternative<ActionKind>(type.kind);
    using Node = std::conditional_t<is_action, ActionNode, ButtonEventNode>;
    const NodeTypeDescriptor descriptor{
        .id = type.id,
        .name = plugin_tr(type.name_keys.plain),
        .category = plugin_tr(type.category_key),
        .reserved = nullptr,
        .create = create_node<Node, row>,
        .destroy = destroy_node,
        .get_name = node_name<Node>,
        .type_code = type_code<row>,
        .build_properties = node_properties<Node>,
        .receive_event = is_action ? action_node_receive : node_pass_on<Node>,
        .forward_event = node_pass_on<Node>,
        .after_load = after_load,
        .before_save = before_save};
    zest_register_node(registry, &descriptor);
}

template <std::size_t... rows>
void register_rows(ZestRegistry registry, std::index_sequence<rows...>) {
    (register_node_type<rows>(registry), ...);
}

}  // namespace

void register_node_types(ZestRegistry registry) {
    register_rows(registry, std::make_index_sequence<std::size(node_type_table)>());
}
