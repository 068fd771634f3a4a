#include "nodes/action_node.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "gamepad/deadline.h"
#include "gamepad/game_impl.h"
#include "gamepad/gamepad.h"
#include "gamepad/gamepad_impl.h"
#include "gamepad/noise_writer.h"
#include "hostapi/host_wrappers.h"
#include "nodes/node_name.h"
#include "nodes/pickers.h"
#include "pluginstate/plugin_state.h"
#include "pluginstate/virtual_gamepad_status_label.h"

namespace {

using gamepad::AttributeType;
using gamepad::AttributeValue;

// A percent slider's value as a fraction.
double percent(ZestPanel panel, const char* key, const char* label_key, int default_value,
               int minimum, int step) {
    return zui_slider(panel, key, plugin_tr(label_key), default_value, minimum, 100, step) / 100.0;
}

}  // namespace

double noise_frequency(AttributeType kind, int slider) {
    double t = slider / 100.0;
    if (kind == AttributeType::Button) t += 1.0;  // buttons flip faster than axes move
    return std::exp2(t * 3.0 - 4.0);
}

ActionNode::ActionNode(ZestNode node, const NodeTypeRow& type)
    : node_(node),
      type_(type),
      kind_(std::get<ActionKind>(type.kind).attribute),
      mode_(std::get<ActionKind>(type.kind).mode),
      gamepads_(plugin_state->game.impl().use()) {
    test_timer_.setSingleShot(true);
    const auto invalidate = [node] { zest_node_invalidate_properties(node); };
    connect(gamepads_.get(), &gamepad::Gamepads::metadata_changed, this, invalidate);
    connect(&test_timer_, &QTimer::timeout, this, invalidate);
}

// What the node drives goes with it: no override outlives its maker, nor comes back when the
// core resumes.
ActionNode::~ActionNode() {
    clear_override();
}

void ActionNode::get_name(char* buffer) const {
    write_node_name(buffer, *gamepads_, gamepad_index_, attribute_index_, type_.name_keys);
}

void ActionNode::build_properties(ZestPanel panel) {
    std::int32_t new_pad = -1;
    std::int32_t new_attribute = -1;
    // Only the virtual pad takes button, trigger and stick writes; rumble goes to any pad.
    if (kind_ != AttributeType::Motor &&
        gamepads_->virtual_gamepad_state() != gamepad::VirtualGamepadState::Connected) {
        zui_start_group(panel, nullptr);
        virtual_gamepad_status_label(panel, *gamepads_);
        zui_end_group(panel);
    } else {
        build_selection(panel, new_pad, new_attribute);
    }
    if (new_pad != gamepad_index_ || new_attribute != attribute_index_) {
        change_selection(new_pad, new_attribute);
    }
    if (new_attribute == -1) return;
    build_value_controls(panel);
    seconds_ = zui_float(panel, "!seconds", plugin_tr("SetGamepadAttributeNode.Duration"),
                         mode_ == ActionMode::Constant ? 0.5 : 5.0, 0.001,
                         std::numeric_limits<double>::infinity());
    build_test_buttons(panel);
}

void ActionNode::build_selection(ZestPanel panel, std::int32_t& new_pad,
                                 std::int32_t& new_attribute) {
    zui_label(panel, nullptr, plugin_tr("SetGamepadAttributeNode.Gamepad"));
    PickerLabels labels;
    PickerValues values;
    new_pad = pick_writable_gamepad(panel, labels, values, *gamepads_, kind_);
    const gamepad::Gamepad* pad = gamepads_->gamepad(new_pad);
    if (pad == nullptr) return;
    zui_label(panel, nullptr, plugin_tr(type_.attribute_label_key));
    new_attribute = pick_writable_attribute(panel, {pad, kind_, capabilities_of(*pad)});
}

// The override follows its attribute's id: the same attribute at another place in a new list of
// the same pad keeps it.
void ActionNode::change_selection(std::int32_t new_pad, std::int32_t new_attribute) {
    const gamepad::GamepadAttribute* chosen = attribute_at(new_pad, new_attribute);
    if (new_pad != override_pad_ || chosen == nullptr || chosen->id != override_.attribute) {
        clear_override();
    }
    gamepad_index_ = new_pad;
    attribute_index_ = new_attribute;
    zest_node_invalidate_name(node_);
}

void ActionNode::build_value_controls(ZestPanel panel) {
    if (mode_ == ActionMode::Noise) {
        frequency_ = noise_frequency(
            kind_, zui_slider(panel, "!frequency", plugin_tr("SetGamepadAttributeNode.Frequency"),
                              100, 0, 200, 10));
        amplitude_ = percent(panel, "!amplitude", "SetGamepadAttributeNode.Amplitude",
                             kind_ == AttributeType::Button ? 50 : 100, 0, 5);
        return;
    }
    switch (kind_) {
        case AttributeType::Button:
            value_ = AttributeValue::make_button(true);
            return;
        case AttributeType::Trigger:
            value_ = AttributeValue::make_trigger(
                percent(panel, "!strength", "PressGamepadTriggerNode.Strength", 100, 0, 5));
            return;
        case AttributeType::Stick: {
            const double x = percent(panel, "!x", "MoveGamepadStickNode.X", 0, -100, 10);
            const double y = percent(panel, "!y", "MoveGamepadStickNode.Y", 0, -100, 10);
            value_ = AttributeValue::make_stick({0.0, x, y});
            return;
        }
        case AttributeType::Motor:
            value_ = AttributeValue::make_motor(
                percent(panel, "!strength", "RumbleGamepadNode.Strength", 100, 0, 5));
            return;
    }
}

void ActionNode::build_test_buttons(ZestPanel panel) {
    if (!test_timer_.isActive()) {
        if (!zui_button(panel, nullptr, plugin_tr("SetGamepadAttributeNode.Test"))) return;
        test_timer_.setInterval(firing_ms());
        test_timer_.start();
        fire();
        zest_node_invalidate_properties(node_);
        return;
    }
    if (!zui_button(panel, nullptr, plugin_tr("SetGamepadAttributeNode.StopTest"))) return;
    clear_override();
    test_timer_.stop();
    zest_node_invalidate_properties(node_);
}

const gamepad::GamepadAttribute* ActionNode::attribute_at(std::int32_t pad,
                                                          std::int32_t attribute) const {
    const gamepad::Gamepad* handle = gamepads_->gamepad(pad);
    const gamepad::GamepadMetadata* metadata = handle ? handle->metadata() : nullptr;
    if (metadata == nullptr || attribute < 0 ||
        static_cast<std::size_t>(attribute) >= metadata->attributes.size()) {
        return nullptr;
    }
    return &metadata->attributes[static_cast<std::size_t>(attribute)];
}

void ActionNode::clear_override() {
    gamepad::Gamepad* pad = gamepads_->gamepad(override_pad_);
    if (pad != nullptr && override_.writer != 0) pad->impl()->clear_placed_writer(override_);
    override_pad_ = -1;
    override_ = {};
}

// Seconds beyond the 32-bit range of milliseconds (about 24.8 days) hold for that long; a
// negative or NaN duration from an odd store lasts no time at all.
std::int32_t ActionNode::firing_ms() const {
    return std::max(0, gamepad::duration_ms(seconds_));
}

void ActionNode::fire() {
    gamepad::Gamepad* pad = gamepads_->gamepad(gamepad_index_);
    const gamepad::GamepadAttribute* target = attribute_at(gamepad_index_, attribute_index_);
    if (target == nullptr) return;
    // One override per node: a firing on another attribute than the last leaves none behind.
    clear_override();
    override_pad_ = gamepad_index_;
    const std::int64_t deadline = gamepad::deadline_after(firing_ms());
    if (mode_ == ActionMode::Constant) {
        override_ =
            pad->impl()->set_constant(static_cast<std::size_t>(attribute_index_), value_, deadline);
        return;
    }
    override_ = pad->impl()->set_writer(
        *target,
        std::make_unique<gamepad::NoiseWriter>(pad->impl()->gamepad_index(), target->id, frequency_,
                                               amplitude_, gamepad::draw_noise_seed(), deadline));
}
