#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace zesthost {

// A pad's controls as XInputGetState reports them.
struct PadInputs {
    std::uint16_t buttons = 0;
    std::uint8_t left_trigger = 0;
    std::uint8_t right_trigger = 0;
    std::int16_t thumb_lx = 0;
    std::int16_t thumb_ly = 0;
    std::int16_t thumb_rx = 0;
    std::int16_t thumb_ry = 0;
};

// What XInputSetState last gave a pad: the large (left) motor, then the small one.
struct Motors {
    std::uint16_t left = 0;
    std::uint16_t right = 0;
};

// A target the bus driver holds, as other programs see it through XInput: the user index it
// shows at (-1 while it shows nowhere) and what XInput reports there.
struct VirtualPad {
    std::uint32_t serial = 0;
    int user = -1;
    PadInputs report;
};

// Requests of the bus driver that a scenario may have refused at once.
enum class BusRequest { Plug, Unplug };

// The machine the commands act on: the simulated one on Linux, the Wine bench's pad board
// with Wine's own XInput on Windows. The four pads are the physical pads a person holds.
// A machine that can't do what is asked throws std::runtime_error with the reason. Main
// thread.
class Machine {
public:
    static constexpr std::size_t pad_count = 4;

    virtual ~Machine() = default;

    // `subtype` is XInput's device subtype (1 for a gamepad).
    virtual void plug_pad(std::size_t pad, std::uint8_t subtype) = 0;
    virtual void unplug_pad(std::size_t pad) = 0;
    virtual bool is_plugged(std::size_t pad) = 0;
    virtual void press(std::size_t pad, std::uint16_t buttons, bool down) = 0;
    virtual void set_triggers(std::size_t pad, std::uint8_t left, std::uint8_t right) = 0;
    virtual void set_sticks(std::size_t pad, std::int16_t lx, std::int16_t ly, std::int16_t rx,
                            std::int16_t ry) = 0;
    // What the person holds on the pad, not what XInput reports.
    virtual PadInputs pad_state(std::size_t pad) = 0;
    virtual Motors vibration(std::size_t pad) = 0;

    virtual void set_bus_driver(bool installed) = 0;
    // Refused at once with ERROR_GEN_FAILURE from now on, or no longer.
    virtual void refuse(BusRequest request, bool refused) = 0;
    // Pended requests stay pending when cancelled.
    virtual void ignore_cancel(bool ignored) = 0;
    virtual std::size_t plugged_targets() = 0;
    // Whether XInput reports a pad, physical or virtual, at this user index.
    virtual bool xinput_connected(std::size_t user) = 0;
    // `reported_user` is where the plug-in last said its virtual pad is connected (-1: nowhere
    // yet), for a machine that can't tell its targets' user indices by itself.
    virtual std::vector<VirtualPad> virtual_pads(int reported_user) = 0;
};

// The machine of this build.
Machine& host_machine();

}  // namespace zesthost
