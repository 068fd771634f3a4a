#include "plugin/node_types.h"

#include <QObject>

#include "nodes/button_event_node.h"
#include "nodes/node_events.h"
#include "nodes/node_kinds.h"
#include "plugin/attribute_ids.h"
#include "plugin/host_wrappers.h"

namespace {

// Every node is handed out as its QObject, so one destroy serves all types.
void destroy_node(void* instance) {
    if (instance == nullptr) return;
    delete static_cast<QObject*>(instance);
}

template <ButtonEventKind kind>
void* create_button_event_node(ZestNode node) {
    return static_cast<QObject*>(new ButtonEventNode(node, kind));
}

ButtonEventNode& event_node(void* instance) {
    return *static_cast<ButtonEventNode*>(static_cast<QObject*>(instance));
}

void event_node_name(void* instance, char* buffer) {
    event_node(instance).get_name(buffer);
}

int event_node_type_code(void*) {
    return 41;
}

void event_node_properties(void* instance, ZestPanel panel) {
    event_node(instance).build_properties(panel);
}

void event_node_pass_on(void* instance, ZestEvent event) {
    pass_event_on(event_node(instance).node(), event);
}

struct NodeType {
    const char* id;
    const char* name_key;
    const char* category_key;
    NodeCreateFn create;
    NodeGetNameFn get_name;
    NodeTypeCodeFn type_code;
    NodeBuildPropertiesFn build_properties;
    NodeEventFn receive_event;
    NodeEventFn forward_event;
};

constexpr NodeType node_types[] = {
    {"io.zestworks.gamepad.onbuttonpress", "OnGamepadButtonPressNode.Name", "NodeCategory.Sources",
     create_button_event_node<ButtonEventKind::Press>, event_node_name, event_node_type_code,
     event_node_properties, event_node_pass_on, event_node_pass_on},
    {"io.zestworks.gamepad.onbuttonrelease", "OnGamepadButtonReleaseNode.Name",
     "NodeCategory.Sources", create_button_event_node<ButtonEventKind::Release>, event_node_name,
     event_node_type_code, event_node_properties, event_node_pass_on, event_node_pass_on},
};

}  // namespace

// One descriptor serves every registration: the host copies what it keeps during the call.
void register_node_types(ZestRegistry registry) {
    NodeTypeDescriptor descriptor{};
    for (const NodeType& type : node_types) {
        descriptor.id = type.id;
        descriptor.name = plugin_tr(type.name_key);
        descriptor.category = plugin_tr(type.category_key);
        descriptor.reserved = nullptr;
        descriptor.create = type.create;
        descriptor.destroy = destroy_node;
        descriptor.get_name = type.get_name;
        descriptor.type_code = type.type_code;
        descriptor.build_properties = type.build_properties;
        descriptor.receive_event = type.receive_event;
        descriptor.forward_event = type.forward_event;
        descriptor.after_load = attribute_after_load;
        descriptor.before_save = attribute_before_save;
        zest_register_node(registry, &descriptor);
    }
}
