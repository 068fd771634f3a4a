#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "backend/backend.h"
#include "backend/backend_constants.h"
#include "platform/win32.h"

namespace gamepad {

// One XInput user index as the backend last saw it. What an idle tick reads sits together at
// the front.
struct GamepadSlot {
    bool connected = false;
    bool needs_poll = false;    // poll at the next read although not connected
    bool report_known = false;  // the state handed in holds what this slot's last read wrote
    std::uint8_t subtype = 0;
    XINPUT_GAMEPAD report{};
    struct {
        std::uint16_t left = 0;
        std::uint16_t right = 0;
    } vibration;  // what XInputSetState was last given; kept through a disconnection
    // Positions of the motors on the pad's list; `attributes.size()` for a motor it lacks.
    std::size_t motor_left = 0;
    std::size_t motor_right = 0;
    std::vector<std::size_t> attributes;  // the pad's rows, ascending; empty while not connected
};

// The four XInput pads. Only a connected pad is polled every tick; an empty slot once after
// each refresh. Reads and writes run on the polling thread and take no lock.
class XInputBackend : public Backend {
public:
    ~XInputBackend() override;

    std::size_t virtual_gamepad_count() override { return 0; }

    // Unreachable here, as this backend offers no virtual pad.
    QByteArray virtual_gamepad_name(std::size_t) override { return {}; }
    AttachResult attach_virtual_gamepad(std::size_t, std::size_t&) override {
        return AttachResult::SetUpFailed;
    }
    QByteArray attach_error_text(std::size_t, AttachResult) override { return {}; }
    void detach_virtual_gamepad(std::size_t) override {}

    std::size_t gamepad_count() override { return xinput_pad_count; }
    QByteArray gamepad_name(std::size_t pad) override;
    GamepadCapabilities gamepad_capabilities(std::size_t pad) override;
    std::size_t attribute_count(std::size_t pad) override;
    const AttributeInfo& attribute_info(std::size_t pad, std::size_t position) override;
    QByteArray attribute_label(std::size_t pad, std::size_t position) override;
    void refresh_gamepads() override;
    ReadFlags read_gamepad(std::size_t pad, GamepadState& state) override;
    void write_gamepad(std::size_t pad, const GamepadState& state) override;

    // Polling thread: the slot as the last read left it.
    const GamepadSlot& slot(std::size_t pad) const { return slots_[pad]; }

protected:
    // The attribute table's row at `position` of the pad's present list.
    std::size_t row_at(std::size_t pad, std::size_t position) const;
    // The next read of the pad writes its whole state, although the pad may read the same: for
    // a caller that hands a state other than the one the last read wrote.
    void forget_last_read(std::size_t pad) { slots_[pad].report_known = false; }

    std::array<GamepadSlot, xinput_pad_count> slots_;  // the polling thread's alone
};

// A signed 16-bit axis as -1.0 .. 1.0, both ends reached exactly.
double decode_axis(std::int16_t axis) noexcept;

}  // namespace gamepad
