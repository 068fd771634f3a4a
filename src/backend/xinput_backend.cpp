#include "backend/xinput_backend.h"

#include <algorithm>
#include <utility>

#include "backend/attribute_labels.h"
#include "backend/attribute_table.h"
#include "backend/gamepad_names.h"
#include "hostapi/translated_text.h"
#include "platform/win32.h"

namespace gamepad {

namespace {

bool trigger_pressed(BYTE trigger) {
    return trigger > trigger_press_threshold;
}

// Whether a pad whose capabilities read `caps` has `row`.
bool has_row(const XINPUT_CAPABILITIES& caps, std::size_t row) {
    const XINPUT_GAMEPAD& pad = caps.Gamepad;
    switch (row) {
        case row_button_left_trigger:
            return trigger_pressed(pad.bLeftTrigger);
        case row_button_right_trigger:
            return trigger_pressed(pad.bRightTrigger);
        case row_trigger_left:
            return pad.bLeftTrigger != 0;
        case row_trigger_right:
            return pad.bRightTrigger != 0;
        case row_stick_left:
            return pad.sThumbLX != 0 || pad.sThumbLY != 0;
        case row_stick_right:
            return pad.sThumbRX != 0 || pad.sThumbRY != 0;
        case row_motor_left:
            return caps.Vibration.wLeftMotorSpeed != 0;
        case row_motor_right:
            return caps.Vibration.wRightMotorSpeed != 0;
        default:
            return (attribute_rows[row].button_mask & pad.wButtons) != 0;
    }
}

// The rows that a pad with these capabilities has, and where its motors are. The capabilities
// are read once per connection.
void scan_features(const XINPUT_CAPABILITIES& capabilities, GamepadSlot& slot) {
    slot.attributes.clear();
    for (std::size_t row = 0; row < attribute_rows.size(); ++row) {
        if (has_row(capabilities, row)) slot.attributes.push_back(row);
    }
    const auto position_of = [&](std::size_t row) {
        const auto found = std::find(slot.attributes.begin(), slot.attributes.end(), row);
        return static_cast<std::size_t>(found - slot.attributes.begin());
    };
    slot.motor_left = position_of(row_motor_left);
    slot.motor_right = position_of(row_motor_right);
}

bool same_report(const XINPUT_GAMEPAD& a, const XINPUT_GAMEPAD& b) {
    return a.wButtons == b.wButtons && a.bLeftTrigger == b.bLeftTrigger &&
           a.bRightTrigger == b.bRightTrigger && a.sThumbLX == b.sThumbLX &&
           a.sThumbLY == b.sThumbLY && a.sThumbRX == b.sThumbRX && a.sThumbRY == b.sThumbRY;
}

AttributeValue decode(std::size_t row, const XINPUT_GAMEPAD& pad) {
    switch (row) {
        case row_button_left_trigger:
            return AttributeValue::make_button(trigger_pressed(pad.bLeftTrigger));
        case row_button_right_trigger:
            return AttributeValue::make_button(trigger_pressed(pad.bRightTrigger));
        case row_trigger_left:
            return AttributeValue::make_trigger(pad.bLeftTrigger / trigger_scale);
        case row_trigger_right:
            return AttributeValue::make_trigger(pad.bRightTrigger / trigger_scale);
        case row_stick_left:
            return AttributeValue::make_stick(
                {left_stick_deadzone, decode_axis(pad.sThumbLX), decode_axis(pad.sThumbLY)});
        case row_stick_right:
            return AttributeValue::make_stick(
                {right_stick_deadzone, decode_axis(pad.sThumbRX), decode_axis(pad.sThumbRY)});
        default:
            return AttributeValue::make_button((attribute_rows[row].button_mask & pad.wButtons) !=
                                               0);
    }
}

// A motor value as a 16-bit speed: clamped to 0..1 (NaN counts as 0), truncated.
std::uint16_t motor_speed(const AttributeValue& value) {
    double speed = value.as_motor();
    if (!(speed > 0.0)) speed = 0.0;
    if (speed > 1.0) speed = 1.0;
    return static_cast<std::uint16_t>(speed * motor_scale);
}

}  // namespace

double decode_axis(std::int16_t axis) noexcept {
    return axis < 0 ? axis / stick_scale_negative : axis / stick_scale_positive;
}

XInputBackend::~XInputBackend() = default;

QByteArray XInputBackend::gamepad_name(std::size_t pad) {
    return translated_gamepad_name(slots_[pad].subtype, pad);
}

GamepadCapabilities XInputBackend::gamepad_capabilities(std::size_t) {
    return GamepadCapability::InputRead | GamepadCapability::OutputWrite;
}

std::size_t XInputBackend::attribute_count(std::size_t pad) {
    const GamepadSlot& slot = slots_[pad];
    return slot.connected ? slot.attributes.size() : attribute_row_count;
}

std::size_t XInputBackend::row_at(std::size_t pad, std::size_t position) const {
    const GamepadSlot& slot = slots_[pad];
    return slot.connected ? slot.attributes[position] : position;
}

const AttributeInfo& XInputBackend::attribute_info(std::size_t pad, std::size_t position) {
    return attribute_rows[row_at(pad, position)].info;
}

QByteArray XInputBackend::attribute_label(std::size_t pad, std::size_t position) {
    return translated_text(attribute_label_key(slots_[pad].subtype, row_at(pad, position)));
}

void XInputBackend::refresh_gamepads() {
    for (GamepadSlot& slot : slots_)
        slot.needs_poll = true;
}

// The report is compared before anything is decoded, so a pad at rest costs its XInput call.
ReadFlags XInputBackend::read_gamepad(std::size_t pad, GamepadState& state) {
    GamepadSlot& slot = slots_[pad];
    const bool known = std::exchange(slot.report_known, true);
    if (!slot.connected && !slot.needs_poll && known) return ReadFlag::Unchanged;
    const bool poll = std::exchange(slot.needs_poll, false) || slot.connected;
    XINPUT_STATE raw{};
    if (!poll || XInputGetState(static_cast<DWORD>(pad), &raw) != ERROR_SUCCESS) {
        if (!slot.connected && known) return ReadFlag::Unchanged;
        const bool was_connected = std::exchange(slot.connected, false);
        slot.subtype = 0;
        slot.attributes.clear();
        state.is_connected = false;
        state.values.assign(attribute_row_count, AttributeValue());
        return was_connected ? ReadFlags(ReadFlag::MetadataChanged) : ReadFlags();
    }
    const bool first = !slot.connected;
    if (!first && known && same_report(raw.Gamepad, slot.report)) return ReadFlag::Unchanged;
    if (first) {
        slot.connected = true;
        XINPUT_CAPABILITIES capabilities{};
        XInputGetCapabilities(static_cast<DWORD>(pad), 0, &capabilities);
        slot.subtype = capabilities.SubType;
        scan_features(capabilities, slot);
    }
    slot.report = raw.Gamepad;
    state.is_connected = true;
    state.values.resize(slot.attributes.size());
    for (std::size_t position = 0; position < slot.attributes.size(); ++position) {
        const std::size_t row = slot.attributes[position];
        state.values[position] = attribute_rows[row].info.type == AttributeType::Motor
                                     ? AttributeValue()
                                     : decode(row, raw.Gamepad);
    }
    return first ? ReadFlags(ReadFlag::MetadataChanged) : ReadFlags();
}

void XInputBackend::write_gamepad(std::size_t pad, const GamepadState& state) {
    GamepadSlot& slot = slots_[pad];
    if (!slot.connected) return;
    const auto speed = [&](std::size_t position) -> std::uint16_t {
        return position < state.values.size() ? motor_speed(state.values[position]) : 0;
    };
    const std::uint16_t left = speed(slot.motor_left);
    const std::uint16_t right = speed(slot.motor_right);
    if (left == slot.vibration.left && right == slot.vibration.right) return;
    XINPUT_VIBRATION vibration{left, right};
    XInputSetState(static_cast<DWORD>(pad), &vibration);
    slot.vibration = {left, right};
}

}  // namespace gamepad
