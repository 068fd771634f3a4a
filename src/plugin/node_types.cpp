#include "plugin/node_types.h"

#include <QObject>

#include "hostapi/host_wrappers.h"
#include "nodes/action_node.h"
#include "nodes/button_event_node.h"
#include "nodes/node_events.h"
#include "nodes/node_kinds.h"
#include "pluginstate/attribute_ids.h"

namespace {

// Every node is handed out as its QObject, so one destroy serves all types.
void destroy_node(void* instance) {
    if (instance == nullptr) return;
    delete static_cast<QObject*>(instance);
}

using gamepad::AttributeType;

template <ButtonEventKind kind>
void* create_button_event_node(ZestNode node) {
    return static_cast<QObject*>(new ButtonEventNode(node, kind));
}

template <AttributeType kind, ActionMode mode>
void* create_action_node(ZestNode node) {
    return static_cast<QObject*>(new ActionNode(node, kind, mode));
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

template <int code>
int type_code(void*) {
    return code;
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
            node_name<ButtonEventNode>,
            type_code<41>,
            node_properties<ButtonEventNode>,
            node_pass_on<ButtonEventNode>,
            node_pass_on<ButtonEventNode>};
}

template <AttributeType kind, ActionMode mode>
constexpr NodeType action_type(const char* id, const char* name_key) {
    return {id,
            name_key,
            "NodeCategory.Actions",
            create_action_node<kind, mode>,
            node_name<ActionNode>,
            type_code<35>,
            node_properties<ActionNode>,
            action_node_receive,
            node_pass_on<ActionNode>};
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
        descriptor.after_load = after_load;
        descriptor.before_save = before_save;
        zest_register_node(registry, &descriptor);
    }
}
