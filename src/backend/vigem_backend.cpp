#include "backend/vigem_backend.h"

#include <QElapsedTimer>
#include <QHash>
#include <QMessageLogger>
#include <QThread>

#include <algorithm>
#include <cmath>

#include "backend/attribute_labels.h"
#include "backend/attribute_table.h"
#include "hostapi/translated_text.h"
#include "platform/win32.h"

namespace gamepad {

namespace {

constexpr std::size_t none = static_cast<std::size_t>(-1);
constexpr int longest_unplug_pause = 16;  // refreshes, about a second apart while polling
constexpr std::int16_t sentinel_lx = 0x70D8;
constexpr std::int16_t sentinel_ly = static_cast<std::int16_t>(0xBBE5);

// No file, line or function in the messages.
QMessageLogger logger() {
    return QMessageLogger();
}

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

ViGEmBackend::~ViGEmBackend() {
    if (virtual_pad_.target != nullptr) take_down_target();
    // The bus takes back what a connection still holds as the connection closes.
    for (BusTarget* target : unplugs_)
        bus_target_free(target);
    bus_client_free(client_);
}

QByteArray ViGEmBackend::virtual_gamepad_name(std::size_t) {
    return translated_text("VirtualGamepad.Xbox360");
}

QByteArray ViGEmBackend::attach_error_text(std::size_t, std::uint32_t code) {
    switch (code) {
        case 2:
            return translated_text("VirtualGamepad.ErrorNoDriver");
        case 3:
            return translated_text("VirtualGamepad.ErrorNoFreeSlot");
        default:
            return translated_text("VirtualGamepad.ErrorUnknown");
    }
}

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

std::uint32_t ViGEmBackend::attach_virtual_gamepad(std::size_t kind, std::size_t& pad) {
    // A second attach before the detach of the first: the old target goes first, so that
    // none stays plugged without an owner.
    if (virtual_pad_.target != nullptr) detach_virtual_gamepad(virtual_pad_.user_index);
    if (!unplugs_.empty()) {  // one the bus kept: taken up again rather than a second one
        logger().info("Gamepad: attaching ViGEm target");
        BusTarget* target = unplugs_.back();
        unplugs_.pop_back();
        return listen_and_set_up(kind, pad, target);
    }
    if (client_ == nullptr) {
        logger().info("Gamepad: connecting to ViGEm");
        BusClient* client = bus_client_alloc();
        if (client == nullptr) {
            logger().warning("Gamepad: could not allocate ViGEm driver connection");
            return 1;
        }
        if (const BusStatus status = bus_client_connect(client); status != BUS_OK) {
            logger().warning("Gamepad: could not connect to ViGEm driver - error %#x", status);
            bus_client_free(client);
            return 2;
        }
        client_ = client;
    }
    return attach_target(kind, pad);
}

std::uint32_t ViGEmBackend::attach_target(std::size_t kind, std::size_t& pad) {
    logger().info("Gamepad: attaching ViGEm target");
    BusTarget* target = bus_target_alloc_x360();
    if (target == nullptr) {
        logger().warning("Gamepad: could not allocate ViGEm target");
        return 1;
    }
    if (const BusStatus status = bus_target_add(client_, target); status != BUS_OK) {
        logger().warning("Gamepad: could not add ViGEm target - error %#x", status);
        free_or_keep(target);
        return 3;
    }
    return listen_and_set_up(kind, pad, target);
}

std::uint32_t ViGEmBackend::listen_and_set_up(std::size_t kind, std::size_t& pad,
                                              BusTarget* target) {
    const BusStatus status = bus_target_register_notification(client_, target, on_rumble, this);
    if (status != BUS_OK && status != BUS_ERROR_CALLBACK_REGISTERED) {
        logger().warning("Gamepad: could not register listener to ViGEm target - error %#x",
                         status);
        bus_target_remove(client_, target);
        free_or_keep(target);
        return 1;
    }
    rumble_target_.store(target, std::memory_order_release);  // a rumble during discovery counts
    logger().info("Gamepad: discovering ViGEm target");
    bool update_failed = false;
    const int user = discover(target, update_failed);
    if (!update_failed) bus_target_update_x360(client_, target, BusX360Report{});
    if (user < 0) {
        logger().warning("Gamepad: could not discover ViGEm target: timed out");
        bus_target_remove(client_, target);
        reset_virtual_pad();
        free_or_keep(target);
        return 1;
    }
    logger().info("Gamepad: ViGEm target set up successfully as user %i", user);
    // No target was attached, so the record is in its zero state but for the motors, which keep
    // what came during discovery.
    virtual_pad_.kind = kind;
    virtual_pad_.target = target;
    virtual_pad_.user_index = static_cast<std::uint32_t>(user);
    pad = static_cast<std::size_t>(user);
    XInputBackend::refresh_gamepads();
    return 0;
}

int ViGEmBackend::discover(BusTarget* target, bool& update_failed) {
    BusX360Report sentinel{};
    sentinel.thumb_lx = sentinel_lx;
    sentinel.thumb_ly = sentinel_ly;
    QElapsedTimer timer;
    timer.start();
    while (!timer.hasExpired(1000)) {
        if (const BusStatus status = bus_target_update_x360(client_, target, sentinel);
            status != BUS_OK) {
            logger().warning("Gamepad: could not update ViGEm target - error %#x", status);
            update_failed = true;
            return -1;
        }
        for (DWORD user = 0; user < xinput_pad_count; ++user) {
            XINPUT_STATE state{};
            if (XInputGetState(user, &state) == ERROR_SUCCESS &&
                state.Gamepad.sThumbLX == sentinel_lx && state.Gamepad.sThumbLY == sentinel_ly) {
                return static_cast<int>(user);
            }
        }
        QThread::msleep(10);
    }
    return -1;
}

void ViGEmBackend::detach_virtual_gamepad(std::size_t) {
    detached_pad_ = static_cast<std::int32_t>(virtual_pad_.user_index);
    take_down_target();
}

void ViGEmBackend::take_down_target() {
    BusTarget* target = virtual_pad_.target;
    if (const BusStatus status = bus_target_remove(client_, target); status != BUS_OK) {
        logger().warning("Gamepad: could not remove ViGEm target - error %#x", status);
    }
    reset_virtual_pad();
    if (target != nullptr) free_or_keep(target);
}

void ViGEmBackend::free_or_keep(BusTarget* target) {
    if (target->state != BusTargetState::Plugged) {
        bus_target_free(target);  // waits for its notification thread
        return;
    }
    unplugs_.push_back(target);
    unplug_pause_ = 1;
    unplug_countdown_ = 1;
}

void ViGEmBackend::refresh_gamepads() {
    XInputBackend::refresh_gamepads();
    retry_unplugs();
}

void ViGEmBackend::retry_unplugs() {
    if (unplugs_.empty() || --unplug_countdown_ > 0) return;
    std::erase_if(unplugs_, [this](BusTarget* target) {
        if (bus_target_remove(client_, target) != BUS_OK) return false;
        bus_target_free(target);
        return true;
    });
    unplug_pause_ = std::min(unplug_pause_ * 2, longest_unplug_pause);
    unplug_countdown_ = unplug_pause_;
}

void ViGEmBackend::reset_virtual_pad() {
    rumble_target_.store(nullptr, std::memory_order_release);
    virtual_pad_.target = nullptr;
    virtual_pad_.metadata_sent = false;
    virtual_pad_.kind = 0;
    virtual_pad_.user_index = 0;
    virtual_pad_.motor_large.store(0, std::memory_order_relaxed);
    virtual_pad_.motor_small.store(0, std::memory_order_relaxed);
    virtual_pad_.last_report = BusX360Report{};
    virtual_pad_.attribute_map.clear();
    virtual_pad_.physical_state = GamepadState();
}

void ViGEmBackend::on_rumble(BusClient*, BusTarget* target, std::uint8_t large, std::uint8_t small,
                             std::uint8_t, void* user_data) {
    auto* self = static_cast<ViGEmBackend*>(user_data);
    if (target != self->rumble_target_.load(std::memory_order_acquire)) return;
    self->virtual_pad_.motor_large.store(static_cast<std::uint16_t>(large * 257),
                                         std::memory_order_relaxed);
    self->virtual_pad_.motor_small.store(static_cast<std::uint16_t>(small * 257),
                                         std::memory_order_relaxed);
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
        if (static_cast<std::int32_t>(pad) != detached_pad_) {
            return XInputBackend::read_gamepad(pad, state);
        }
        detached_pad_ = -1;
        state.values.resize(slot_size(pad));
        return XInputBackend::read_gamepad(pad, state) | ReadFlag::MetadataChanged;
    }
    ReadFlags flags;
    if (!virtual_pad_.metadata_sent) {
        state.values.resize(attribute_row_count);
        flags |= ReadFlag::MetadataChanged;
        virtual_pad_.metadata_sent = true;
    }
    GamepadState& physical = virtual_pad_.physical_state;
    physical.values.clear();
    physical.values.resize(slot_size(pad));
    flags |= XInputBackend::read_gamepad(pad, physical);
    state.is_connected = physical.is_connected;
    if (flags.testFlag(ReadFlag::MetadataChanged)) rebuild_attribute_map(pad);
    const std::size_t rows = std::min(state.values.size(), attribute_row_count);
    for (std::size_t row = 0; row < rows; ++row) {
        if (row == row_motor_left || row == row_motor_right) {
            const auto& motor =
                row == row_motor_left ? virtual_pad_.motor_large : virtual_pad_.motor_small;
            state.values[row] =
                AttributeValue::make_motor(motor.load(std::memory_order_relaxed) / motor_scale);
            continue;
        }
        const std::size_t j = virtual_pad_.attribute_map[row];
        if (j != none && j < physical.values.size()) state.values[row] = physical.values[j];
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
        logger().warning("Gamepad: could not update ViGEM target - error %#x", status);
    }
    virtual_pad_.last_report = report;
}

std::unique_ptr<Backend> create_backend() {
    return std::make_unique<ViGEmBackend>();
}

}  // namespace gamepad
