#include "plugin/node_types.h"

#include <QObject>

#include "nodes/action_node.h"
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

using gamepad::AttributeType;

template <AttributeType kind, ActionMode mode>
void* create_action_node(ZestNode node) {
    return static_cast<QObject*>(new ActionNode(node, kind, mode));
}

ActionNode& action_node(void* instance) {
    return *static_cast<ActionNode*>(static_cast<QObject*>(instance));
}

void action_node_name(void* instance, char* buffer) {
    action_node(instance).get_name(buffer);
}

int action_node_type_code(void*) {
    return 35;
}

void action_node_properties(void* instance, ZestPanel panel) {
    action_node(instance).build_properties(panel);
}

// The event goes on whether the node could fire or not.
void action_node_receive(void* instance, ZestEvent event) {
    action_node(instance).fire();
    pass_event_on(action_node(instance).node(), event);
}

void action_node_pass_on(void* instance, ZestEvent event) {
    pass_event_on(action_node(instance).node(), event);
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

template <ButtonEventKind kind>
constexpr NodeType event_type(const char* id, const char* name_key) {
    return {id,
            name_key,
            "NodeCategory.Sources",
            create_button_event_node<kind>,
            event_node_name,
            event_node_type_code,
            event_node_properties,
            event_node_pass_on,
            event_node_pass_on};
}

template <AttributeType kind, ActionMode mode>
constexpr NodeType action_type(const char* id, const char* name_key) {
    return {id,
            name_key,
            "NodeCategory.Actions",
            create_action_node<kind, mode>,
            action_node_name,
            action_node_type_code,
            action_node_properties,
            action_node_receive,
            action_node_pass_on};
}

// In the order the host lists them.
constexpr NodeType node_types[] = {
    event_type<ButtonEventKind::Press>("io.zestworks.gamepad.onbuttonpress",
                                       "OnGamepadButtonPressNode.Name"),
    event_type<ButtonEventKind::Release>("io.zestworks.gamepad.onbuttonrelease",
                                         "OnGamepadButtonReleaseNode.Name"),
    action_type<AttributeType::Button, ActionMode::Constant>(
        "io.zestworks.gamepad.pressgamepadbutton", "PressGamepadButtonNode.Name"),
    action_type<AttributeType::Trigger, ActionMode::Constant>(
        "io.zestworks.gamepad.pressgamepadtrigger", "PressGamepadTriggerNode.Name"),
    action_type<AttributeType::Stick, ActionMode::Constant>("io.zestworks.gamepad.movegamepadstick",
                                                            "MoveGamepadStickNode.Name"),
    action_type<AttributeType::Motor, ActionMode::Constant>("io.zestworks.gamepad.rumblegamepad",
                                                            "RumbleGamepadNode.Name"),
    action_type<AttributeType::Button, ActionMode::Noise>(
        "io.zestworks.gamepad.randompressgamepadbutton", "RandomPressGamepadButtonNode.Name"),
    action_type<AttributeType::Trigger, ActionMode::Noise>(
        "io.zestworks.gamepad.randompressgamepadtrigger", "RandomPressGamepadTriggerNode.Name"),
    action_type<AttributeType::Stick, ActionMode::Noise>("io.zestworks.gamepad.wigglegamepadstick",
                                                         "WiggleGamepadStickNode.Name"),
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
