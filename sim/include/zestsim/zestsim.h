#pragma once

// The control side of the simulated machine: what a person would do with the pads in their
// hands, and what a test wants to know about the machine. Every function is thread-safe.

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace zestsim {

constexpr std::size_t user_count = 4;

// XInput device subtypes, as the pad reports them.
enum class Subtype : std::uint8_t {
    Gamepad = 1,
    Wheel = 2,
    ArcadeStick = 3,
    FlightStick = 4,
    DancePad = 5,
    Guitar = 6,
    GuitarAlternate = 7,
    DrumKit = 8,
    GuitarBass = 11,
    ArcadePad = 19,
};

// A pad's controls, as XInputGetState reports them (the guide bit 0x0400 included here; the
// public function hides it).
struct PadState {
    std::uint16_t buttons = 0;
    std::uint8_t left_trigger = 0;
    std::uint8_t right_trigger = 0;
    std::int16_t thumb_lx = 0;
    std::int16_t thumb_ly = 0;
    std::int16_t thumb_rx = 0;
    std::int16_t thumb_ry = 0;
};

// What XInputGetCapabilities reports: a nonzero field means the pad has that control.
struct Capabilities {
    std::uint8_t type = 1;
    std::uint8_t subtype = 1;
    std::uint16_t flags = 0;
    PadState controls;
    std::uint16_t left_motor = 0;
    std::uint16_t right_motor = 0;
};

// The capabilities a wired Xbox 360 pad reports, and sensible ones for other kinds of device.
Capabilities default_capabilities(Subtype subtype);

struct Vibration {
    std::uint16_t left = 0;
    std::uint16_t right = 0;
};

// Back to a new machine: no pads, the bus driver installed with one working interface, no
// faults, counters at zero. Pending requests are cancelled.
void reset();

// Pads on user indices 0 to 3. Plugging an occupied index replaces the pad.
void plug_pad(std::size_t user, Subtype subtype);
void plug_pad(std::size_t user, const Capabilities& capabilities);
void unplug_pad(std::size_t user);
bool is_plugged(std::size_t user);
void set_pad_state(std::size_t user, const PadState& state);
void press(std::size_t user, std::uint16_t buttons, bool down);
void set_triggers(std::size_t user, std::uint8_t left, std::uint8_t right);
void set_sticks(std::size_t user, std::int16_t lx, std::int16_t ly, std::int16_t rx,
                std::int16_t ry);
PadState pad_state(std::size_t user);
// What XInputSetState last gave the pad on this index.
Vibration vibration(std::size_t user);

// Faults of the XInput side.
void fail_capabilities(bool fail);

// The bus driver. By default it is installed with one interface that works.
struct BusInterface {
    bool refuse_open = false;     // CreateFileA fails with ERROR_ACCESS_DENIED
    bool refuse_version = false;  // the version check fails
};
void set_bus_driver(bool installed);
void set_bus_interfaces(const std::vector<BusInterface>& interfaces);
void add_bus_interface(const BusInterface& interface);
std::vector<BusInterface> bus_interfaces();
// Plug requests for these serial numbers fail, as for one that is taken.
void refuse_serials(const std::vector<std::uint32_t>& serials);
void refuse_all_serials(bool refuse);
// The wait-ready request fails with this Win32 error; 0 lets it succeed.
void fail_wait_ready(std::uint32_t error);
void deny_reports(bool deny);
// A slow driver: every answer comes this many milliseconds late (0: at once).
void set_driver_delay(int milliseconds);
// DeviceIoControl with this control code fails at once with `error` (0: no longer), as when a
// driver rejects a request before queueing it: the OVERLAPPED stays marked pending and its event
// is never set.
void refuse_requests(std::uint32_t code, std::uint32_t error);
// A stuck driver: CancelIoEx succeeds but cancels nothing.
void ignore_cancel(bool ignore);
// CreateThread fails with ERROR_NOT_ENOUGH_MEMORY while set.
void refuse_threads(bool refuse);
// CreateEventA and CreateEventW fail with ERROR_NOT_ENOUGH_MEMORY while set, as out of handles,
// once `after` more events have been made.
void refuse_events(bool refuse, std::uint32_t after = 0);
// When a ready target shows up in XInput: at once, never, or late, at the first XInputGetState
// after `reads` of them have failed and `delay` has passed since its ready wait.
enum class Appearance { AtOnce, Never, Late };
void set_target_appearance(Appearance appearance, int reads = 0,
                           std::chrono::milliseconds delay = std::chrono::milliseconds(0));

// The plugged targets: the user index a target shows at (-1 while it doesn't), and the last
// report submitted for it, as XInput reports it.
int target_user(std::uint32_t serial);
PadState target_report(std::uint32_t serial);
std::size_t plugged_targets();
// Requests that wait in the driver.
std::size_t pending_requests();

// Calls made so far of a Win32 function, by its name ("XInputGetState"), and for one user index.
std::uint64_t calls(const std::string& function);
std::uint64_t calls(const std::string& function, std::size_t user);
// Device requests made so far with this control code.
std::uint64_t ioctl_calls(std::uint32_t code);

}  // namespace zestsim
