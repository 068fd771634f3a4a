#include "backend/vigem_backend.h"

#include <QElapsedTimer>
#include <QMessageLogger>
#include <QThread>

#include <algorithm>

#include "hostapi/translated_text.h"
#include "platform/win32.h"

namespace gamepad {

namespace {

constexpr int longest_unplug_pause = 16;  // refreshes, about a second apart while polling
constexpr std::int16_t sentinel_lx = 0x70D8;
constexpr std::int16_t sentinel_ly = static_cast<std::int16_t>(0xBBE5);

// No file, line or function in the messages.
QMessageLogger logger() {
    return QMessageLogger();
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

QByteArray ViGEmBackend::attach_error_text(std::size_t, AttachResult result) {
    switch (result) {
        case AttachResult::DriverUnreachable:
            return translated_text("VirtualGamepad.ErrorNoDriver");
        case AttachResult::TargetRefused:
            return translated_text("VirtualGamepad.ErrorNoFreeSlot");
        default:
            return translated_text("VirtualGamepad.ErrorUnknown");
    }
}

AttachResult ViGEmBackend::attach_virtual_gamepad(std::size_t kind, std::size_t& pad) {
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
            return AttachResult::SetUpFailed;
        }
        if (const BusStatus status = bus_client_connect(client); status != BUS_OK) {
            logger().warning("Gamepad: could not connect to ViGEm driver - error %#x", status);
            bus_client_free(client);
            return AttachResult::DriverUnreachable;
        }
        client_ = client;
    }
    return attach_target(kind, pad);
}

AttachResult ViGEmBackend::attach_target(std::size_t kind, std::size_t& pad) {
    logger().info("Gamepad: attaching ViGEm target");
    BusTarget* target = bus_target_alloc_x360();
    if (target == nullptr) {
        logger().warning("Gamepad: could not allocate ViGEm target");
        return AttachResult::SetUpFailed;
    }
    if (const BusStatus status = bus_target_add(client_, target); status != BUS_OK) {
        logger().warning("Gamepad: could not add ViGEm target - error %#x", status);
        free_or_keep(target);
        return AttachResult::TargetRefused;
    }
    return listen_and_set_up(kind, pad, target);
}

AttachResult ViGEmBackend::listen_and_set_up(std::size_t kind, std::size_t& pad,
                                             BusTarget* target) {
    const BusStatus status = bus_target_register_notification(client_, target, on_rumble, this);
    if (status != BUS_OK && status != BUS_ERROR_CALLBACK_REGISTERED) {
        logger().warning("Gamepad: could not register listener to ViGEm target - error %#x",
                         status);
        bus_target_remove(client_, target);
        free_or_keep(target);
        return AttachResult::SetUpFailed;
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
        return AttachResult::SetUpFailed;
    }
    logger().info("Gamepad: ViGEm target set up successfully as user %i", user);
    // No target was attached, so the record is in its zero state but for the motors, which keep
    // what came during discovery.
    virtual_pad_.kind = kind;
    virtual_pad_.target = target;
    virtual_pad_.user_index = static_cast<std::uint32_t>(user);
    pad = static_cast<std::size_t>(user);
    XInputBackend::refresh_gamepads();
    return AttachResult::Success;
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
    detached_pads_ |= 1u << virtual_pad_.user_index;
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
    virtual_pad_.motors_read = {};
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

}  // namespace gamepad
