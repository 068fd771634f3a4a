#include "nodes/button_event_node.h"

#include "gamepad/game_impl.h"
#include "hostapi/host_wrappers.h"
#include "nodes/node_events.h"
#include "nodes/node_name.h"
#include "nodes/pickers.h"
#include "pluginstate/plugin_state.h"

using gamepad::AttributeType;

ButtonEventNode::ButtonEventNode(ZestNode node, const NodeTypeRow& type)
    : node_(node),
      type_(type),
      kind_(std::get<ButtonEventKind>(type.kind)),
      gamepads_(plugin_state->game.impl().use()) {
    // Any pad's new metadata can move or bring back the selection: the host rebuilds the panel.
    connect(
        gamepads_.get(), &gamepad::Gamepads::metadata_changed, this,
        [node] { zest_node_invalidate_properties(node); }, Qt::DirectConnection);
}

ButtonEventNode::~ButtonEventNode() = default;

void ButtonEventNode::get_name(char* buffer) const {
    write_node_name(buffer, *gamepads_, gamepad_index_, attribute_index_, type_.name_keys);
}

void ButtonEventNode::build_properties(ZestPanel panel) {
    zui_label(panel, nullptr, plugin_tr("OnGamepadButtonNode.Gamepad"));
    PickerLabels labels;
    PickerValues values;
    gamepad_index_ =
        pick_readable_gamepad(panel, labels, values, *gamepads_, AttributeType::Button);
    gamepad::Gamepad* pad = gamepads_->gamepad(gamepad_index_);
    if (pad != nullptr) {
        zui_label(panel, nullptr, plugin_tr(type_.attribute_label_key));
        attribute_index_ =
            pick_readable_attribute(panel, {pad, AttributeType::Button, capabilities_of(*pad)});
    }
    follow(pad);
    zest_node_invalidate_name(node_);
}

void ButtonEventNode::follow(gamepad::Gamepad* pad) {
    if (pad == connected_gamepad_) return;
    if (connected_gamepad_ != nullptr) {
        disconnect(connected_gamepad_, &gamepad::Gamepad::attribute_changed, this,
                   &ButtonEventNode::on_attribute_changed);
    }
    connected_gamepad_ = pad;
    if (pad != nullptr) {
        connect(pad, &gamepad::Gamepad::attribute_changed, this,
                &ButtonEventNode::on_attribute_changed);
    }
}

void ButtonEventNode::on_attribute_changed(std::size_t attribute) {
    if (attribute_index_ < 0 || attribute != static_cast<std::size_t>(attribute_index_)) return;
    const gamepad::Gamepad* pad = gamepads_->gamepad(gamepad_index_);
    if (pad == nullptr) return;
    // A value the state lacks reads like one of another kind: as released.
    const gamepad::GamepadState* state = pad->state();
    const bool pressed = state != nullptr && attribute < state->values.size() &&
                         state->values[attribute].as_button();
    if (pressed != (kind_ == ButtonEventKind::Press)) return;
    originate_event(node_);
}
