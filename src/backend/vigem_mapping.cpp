#include "backend/vigem_backend.h"

#include <QHash>
#include <QMessageLogger>

#include <algorithm>
#include <cmath>

#include "backend/attribute_labels.h"
#include "backend/attribute_table.h"
#include "hostapi/translated_text.h"

namespace gamepad {

namespace {

constexpr std::size_t none = static_cast<std::size_t>(-1);

double clamped(double value, double low, double high) {
    if (std::isnan(value)) return 0.0;
    return std::min(std::max(value, low), high);
}

std::uint8_t trigger_byte(const AttributeValue& value) {
    return static_cast<std::uint8_t>(clamped(value.as_trigger(), 0.0, 1.0) * trigger_scale);
}

std::int16_t axis_word(double axis) {
    const double a = clamped(axis, -1.0, 1.0);
    return static_cast<std::int16_t>(a < 0.0 ? a * stick_scale_negative : a * stick_scale_positive);
}

}  // namespace

bool ViGEmBackend::is_virtual(std::size_t pad) const {
    return virtual_pad_.target != nullptr && pad == virtual_pad_.user_index;
}

std::size_t ViGEmBackend::slot_size(std::size_t pad) const {
    return slot(pad).connected ? slot(pad).attributes.size() : attribute_row_count;
}

GamepadCapabilities ViGEmBackend::gamepad_capabilities(std::size_t pad) {
    if (!is_virtual(pad)) return XInputBackend::gamepad_capabilities(pad);
    return GamepadCapability::InputRead | GamepadCapability::InputWrite |
           GamepadCapability::OutputRead | GamepadCapability::OutputWrite;
}

std::size_t ViGEmBackend::attribute_count(std::size_t pad) {
    return is_virtual(pad) ? attribute_row_count : XInputBackend::attribute_count(pad);
}

const AttributeInfo& ViGEmBackend::attribute_info(std::size_t pad, std::size_t position) {
    if (!is_virtual(pad)) return XInputBackend::attribute_info(pad, position);
    return attribute_rows[position].info;
}

QByteArray ViGEmBackend::attribute_label(std::size_t pad, std::size_t position) {
    if (!is_virtual(pad)) return XInputBackend::attribute_label(pad, position);
    const std::vector<std::size_t>& map = virtual_pad_.attribute_map;
    if (position >= map.size() || map[position] == none) {
        return translated_text(attribute_rows[position].generic_label_key);
    }
    return translated_text(attribute_label_key(slot(pad).subtype, position));
}

void ViGEmBackend::rebuild_attribute_map(std::size_t pad) {
    const GamepadSlot& s = slot(pad);
    QHash<QByteArray, std::size_t> positions;
    for (std::size_t p = 0; p < slot_size(pad); ++p) {
        const std::size_t row = s.connected ? s.attributes[p] : p;
        if (!positions.contains(attribute_rows[row].info.id)) {
            positions.insert(attribute_rows[row].info.id, p);
        }
    }
    virtual_pad_.attribute_map.clear();
    for (const AttributeRow& row : attribute_rows) {
        virtual_pad_.attribute_map.push_back(positions.value(row.info.id, none));
    }
}

ReadFlags ViGEmBackend::read_gamepad(std::size_t pad, GamepadState& state) {
    if (!is_virtual(pad)) {
        if ((detached_pads_ & (1u << pad)) == 0) {
            return XInputBackend::read_gamepad(pad, state);
        }
        // The caller's state still holds the virtual pad's view: the slot's is written afresh.
        detached_pads_ &= ~(1u << pad);
        forget_last_read(pad);
        return XInputBackend::read_gamepad(pad, state) | ReadFlag::MetadataChanged;
    }
    ReadFlags flags;
    if (!virtual_pad_.metadata_sent) {
        state.values.resize(attribute_row_count);
        flags |= ReadFlag::MetadataChanged;
        virtual_pad_.metadata_sent = true;
        forget_last_read(pad);  // the slot's view starts afresh in physical_state
    }
    GamepadState& physical = virtual_pad_.physical_state;
    const ReadFlags physical_flags = XInputBackend::read_gamepad(pad, physical);
    const std::uint16_t large = virtual_pad_.motor_large.load(std::memory_order_relaxed);
    const std::uint16_t small = virtual_pad_.motor_small.load(std::memory_order_relaxed);
    if (physical_flags.testFlag(ReadFlag::Unchanged)) {
        if (!flags && large == virtual_pad_.motors_read.large &&
            small == virtual_pad_.motors_read.small) {
            return ReadFlag::Unchanged;
        }
    } else {
        flags |= physical_flags;
    }
    virtual_pad_.motors_read = {large, small};
    state.is_connected = physical.is_connected;
    if (flags.testFlag(ReadFlag::MetadataChanged)) rebuild_attribute_map(pad);
    const std::size_t rows = std::min(state.values.size(), attribute_row_count);
    for (std::size_t row = 0; row < rows; ++row) {
        if (row == row_motor_left || row == row_motor_right) {
            state.values[row] =
                AttributeValue::make_motor((row == row_motor_left ? large : small) / motor_scale);
            continue;
        }
        const std::size_t j = virtual_pad_.attribute_map[row];
        state.values[row] =
            j != none && j < physical.values.size() ? physical.values[j] : AttributeValue();
    }
    return flags;
}

BusX360Report ViGEmBackend::build_report(const GamepadState& state) {
    BusX360Report report{};
    const auto value = [&](std::size_t row) {
        return row < state.values.size() ? state.values[row] : AttributeValue();
    };
    for (std::size_t row = 0; row < row_trigger_left; ++row) {  // the buttons
        if (value(row).as_button()) report.buttons |= attribute_rows[row].button_mask;
    }
    // A digital trigger pressed alone pulls the trigger fully; an analogue value beside it wins.
    const auto trigger = [&](std::size_t button, std::size_t analogue) -> std::uint8_t {
        if (value(analogue).kind == AttributeValue::Kind::Trigger)
            return trigger_byte(value(analogue));
        return value(button).as_button() ? 255 : 0;
    };
    report.left_trigger = trigger(row_button_left_trigger, row_trigger_left);
    report.right_trigger = trigger(row_button_right_trigger, row_trigger_right);
    const StickValue left = value(row_stick_left).as_stick();
    const StickValue right = value(row_stick_right).as_stick();
    report.thumb_lx = axis_word(left.x);
    report.thumb_ly = axis_word(left.y);
    report.thumb_rx = axis_word(right.x);
    report.thumb_ry = axis_word(right.y);
    return report;
}

void ViGEmBackend::write_gamepad(std::size_t pad, const GamepadState& state) {
    if (!is_virtual(pad)) {
        XInputBackend::write_gamepad(pad, state);
        return;
    }
    const BusX360Report report = build_report(state);
    // The slot view's motor positions belong to this write; no read takes anything from them.
    for (const std::size_t row : {row_motor_left, row_motor_right}) {
        const std::size_t j =
            virtual_pad_.attribute_map.size() > row ? virtual_pad_.attribute_map[row] : none;
        if (j != none && j < virtual_pad_.physical_state.values.size() &&
            row < state.values.size()) {
            virtual_pad_.physical_state.values[j] = state.values[row];
        }
    }
    XInputBackend::write_gamepad(pad, virtual_pad_.physical_state);
    const BusX360Report& last = virtual_pad_.last_report;
    if (report.buttons == last.buttons && report.left_trigger == last.left_trigger &&
        report.right_trigger == last.right_trigger && report.thumb_lx == last.thumb_lx &&
        report.thumb_ly == last.thumb_ly && report.thumb_rx == last.thumb_rx &&
        report.thumb_ry == last.thumb_ry) {
        return;
    }
    if (const BusStatus status = bus_target_update_x360(client_, virtual_pad_.target, report);
        status != BUS_OK) {
        QMessageLogger().warning("Gamepad: could not update ViGEM target - error %#x", status);
    }
    virtual_pad_.last_report = report;
}

}  // namespace gamepad
