#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "backend/bus/bus_client.h"
#include "backend/xinput_backend.h"

namespace gamepad {

// The virtual pad's record; reset to its zero state by every attach and detach. The polling
// thread's, but for the motors.
struct VirtualPad {
    bool metadata_sent = false;
    std::size_t kind = 0;
    BusTarget* target = nullptr;  // owned; attached while non-null
    std::uint32_t user_index = 0;
    // Written by the bus client's notification thread, read by the polling thread; nothing is
    // ordered by them, so relaxed.
    std::atomic<std::uint16_t> motor_large{0};
    std::atomic<std::uint16_t> motor_small{0};
    struct {
        std::uint16_t large = 0;
        std::uint16_t small = 0;
    } motors_read;  // as the last read that wrote the state found them
    BusX360Report last_report{};
    std::vector<std::size_t> attribute_map;  // per row, its position in the XInput view
    GamepadState physical_state;             // the XInput view of the slot
};

// XInput plus one virtual Xbox 360 pad, plugged into the bus driver. Outwardly the virtual pad
// has all 23 attributes in fixed positions; inwardly its XInput slot reads it back. Attaching
// and taking down the target is in vigem_attach.cpp, the per-tick mapping between the two
// views in vigem_mapping.cpp.
class ViGEmBackend final : public XInputBackend {
public:
    ViGEmBackend() = default;
    // Main thread, after the polling thread has ended: takes down a pad still attached.
    ~ViGEmBackend() override;

    bool can_hide_feed_gamepad() override { return false; }
    void hide_feed_gamepad() override {}

    std::size_t virtual_gamepad_count() override { return 1; }
    QByteArray virtual_gamepad_name(std::size_t kind) override;
    AttachResult attach_virtual_gamepad(std::size_t kind, std::size_t& pad) override;
    QByteArray attach_error_text(std::size_t kind, AttachResult result) override;
    void detach_virtual_gamepad(std::size_t pad) override;
    // Also asks the bus again to take back the targets it refused to, now and then.
    void refresh_gamepads() override;

    // The virtual pad's own; any other pad is XInputBackend's.
    GamepadCapabilities gamepad_capabilities(std::size_t pad) override;
    std::size_t attribute_count(std::size_t pad) override;
    const AttributeInfo& attribute_info(std::size_t pad, std::size_t position) override;
    QByteArray attribute_label(std::size_t pad, std::size_t position) override;
    ReadFlags read_gamepad(std::size_t pad, GamepadState& state) override;
    void write_gamepad(std::size_t pad, const GamepadState& state) override;

    // The report that the values of the 23 rows make; clamped, NaN as 0.
    static BusX360Report build_report(const GamepadState& state);

private:
    // Notification thread: keeps the motor speeds of the target whose rumble counts.
    static void on_rumble(BusClient* client, BusTarget* target, std::uint8_t large,
                          std::uint8_t small, std::uint8_t third, void* user_data);
    // Attach, after the client is connected: Success, SetUpFailed or TargetRefused.
    AttachResult attach_target(std::size_t kind, std::size_t& pad);
    // Listens to `target`, plugged, unless it is listened to already, finds where it shows and
    // makes it the virtual pad: Success or SetUpFailed.
    AttachResult listen_and_set_up(std::size_t kind, std::size_t& pad, BusTarget* target);
    // Looks for the sentinel in XInput for about a second; the user index, or -1.
    int discover(BusTarget* target, bool& update_failed);
    // Removes the attached target, with a warning when the bus refuses, and resets the record.
    void take_down_target();
    // The record back to its zero state, and no rumble counts; the target is the caller's.
    void reset_virtual_pad();
    // Frees a target that is off the bus; one that the bus refused to take back is kept.
    void free_or_keep(BusTarget* target);
    // At a refresh: asks the bus again to take back the kept targets once the pause is over.
    void retry_unplugs();

    bool is_virtual(std::size_t pad) const;
    // The length of the pad's XInput view.
    std::size_t slot_size(std::size_t pad) const;
    // After MetadataChanged: where each of the 23 rows sits in the XInput view.
    void rebuild_attribute_map(std::size_t pad);

    BusClient* client_ = nullptr;  // owned; connected from the first attach on
    VirtualPad virtual_pad_;
    // One bit per pad detached and not read since, whose next read reports MetadataChanged: two
    // detaches may come before either pad is read again.
    std::uint32_t detached_pads_ = 0;
    // The target whose rumble counts; the notification thread compares, the polling thread sets.
    std::atomic<BusTarget*> rumble_target_{nullptr};
    // Targets that the bus refused to take back, still plugged and owned; the next attach takes
    // one up again. Refreshes ask the bus again every `unplug_pause_` refreshes, doubling, as
    // `unplug_countdown_` runs out.
    std::vector<BusTarget*> unplugs_;
    int unplug_pause_ = 0;
    int unplug_countdown_ = 0;
};

}  // namespace gamepad
