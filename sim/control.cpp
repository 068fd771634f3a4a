// The control API: what tests and hosts do to the machine.

#include <functional>

#include "kernel.h"
#include "machine.h"

namespace zestsim {

using detail::Kernel;
using detail::Machine;
using detail::PadSlot;

namespace detail {

// Never destroyed: detached threads of the simulation may still use it while the process ends.
Machine& Machine::get() {
    static Machine* const machine = new Machine;
    return *machine;
}

}  // namespace detail

namespace {

constexpr std::uint16_t all_buttons = 0xF3FF;  // what a wired pad reports: no guide, no 0x0800
constexpr std::int16_t full_axis = static_cast<std::int16_t>(0xFFC0);

// Runs `change` on the slot of `user` under the kernel lock; nothing for an index out of range.
void with_slot(std::size_t user, const std::function<void(PadSlot&)>& change) {
    if (user >= user_count) return;
    Kernel& kernel = Kernel::get();
    std::lock_guard lock(kernel.mutex);
    change(Machine::get().pads[user]);
    kernel.changed.notify_all();
}

PadSlot read_slot(std::size_t user) {
    PadSlot copy;
    with_slot(user, [&](PadSlot& slot) { copy = slot; });
    return copy;
}

void change_state(std::size_t user, const std::function<void(PadState&)>& change) {
    with_slot(user, [&](PadSlot& slot) {
        change(slot.state);
        ++slot.packet;
    });
}

}  // namespace

// A wired Xbox 360 pad has everything; other kinds of device lack some of it.
Capabilities default_capabilities(Subtype subtype) {
    Capabilities c;
    c.subtype = static_cast<std::uint8_t>(subtype);
    c.controls = {all_buttons, 0xFF, 0xFF, full_axis, full_axis, full_axis, full_axis};
    c.left_motor = c.right_motor = 0xFFFF;
    switch (subtype) {
        case Subtype::Guitar:
        case Subtype::GuitarAlternate:
        case Subtype::GuitarBass:  // frets, strum, start, back; whammy bar and tilt
            c.controls = {0xF133, 0, 0, 0, 0, full_axis, full_axis};
            c.left_motor = c.right_motor = 0;
            break;
        case Subtype::DrumKit:  // pads, pedal, d-pad, start, back
            c.controls = {0xF33F, 0, 0, 0, 0, 0, 0};
            c.left_motor = c.right_motor = 0;
            break;
        case Subtype::Wheel:  // the wheel on one axis, pedals on the triggers
            c.controls.thumb_ly = c.controls.thumb_rx = c.controls.thumb_ry = 0;
            break;
        case Subtype::FlightStick:
            c.left_motor = c.right_motor = 0;
            break;
        default:
            break;
    }
    return c;
}

void reset() {
    Kernel& kernel = Kernel::get();
    std::lock_guard lock(kernel.mutex);
    detail::complete_pending([](const detail::PendingRequest&) { return true; },
                             detail::done(ERROR_OPERATION_ABORTED));
    Machine::get() = Machine();
    kernel.clear_counts();
    kernel.changed.notify_all();
}

void plug_pad(std::size_t user, Subtype subtype) {
    plug_pad(user, default_capabilities(subtype));
}

void plug_pad(std::size_t user, const Capabilities& capabilities) {
    with_slot(user, [&](PadSlot& slot) {
        slot = PadSlot();
        slot.plugged = true;
        slot.capabilities = capabilities;
    });
}

void unplug_pad(std::size_t user) {
    with_slot(user, [](PadSlot& slot) {
        const Vibration kept = slot.vibration;
        slot = PadSlot();
        slot.vibration = kept;
    });
}

bool is_plugged(std::size_t user) {
    return read_slot(user).plugged;
}

void set_pad_state(std::size_t user, const PadState& state) {
    change_state(user, [&](PadState& s) { s = state; });
}

void press(std::size_t user, std::uint16_t buttons, bool down) {
    change_state(user, [&](PadState& s) {
        s.buttons = static_cast<std::uint16_t>(down ? s.buttons | buttons : s.buttons & ~buttons);
    });
}

void set_triggers(std::size_t user, std::uint8_t left, std::uint8_t right) {
    change_state(user, [&](PadState& s) {
        s.left_trigger = left;
        s.right_trigger = right;
    });
}

void set_sticks(std::size_t user, std::int16_t lx, std::int16_t ly, std::int16_t rx,
                std::int16_t ry) {
    change_state(user, [&](PadState& s) {
        s.thumb_lx = lx;
        s.thumb_ly = ly;
        s.thumb_rx = rx;
        s.thumb_ry = ry;
    });
}

PadState pad_state(std::size_t user) {
    return read_slot(user).state;
}

Vibration vibration(std::size_t user) {
    return read_slot(user).vibration;
}

namespace {

// Runs `change` on the bus driver under the kernel lock.
template <typename Change>
auto with_bus(Change change) {
    Kernel& kernel = Kernel::get();
    std::lock_guard lock(kernel.mutex);
    kernel.changed.notify_all();
    return change(Machine::get().bus);
}

}  // namespace

void fail_capabilities(bool fail) {
    with_bus([&](detail::BusDriver&) { Machine::get().fail_capabilities = fail; });
}

void set_bus_driver(bool installed) {
    with_bus([&](detail::BusDriver& bus) { bus.installed = installed; });
}

void set_bus_interfaces(const std::vector<BusInterface>& interfaces) {
    with_bus([&](detail::BusDriver& bus) { bus.interfaces = interfaces; });
}

void add_bus_interface(const BusInterface& interface) {
    with_bus([&](detail::BusDriver& bus) { bus.interfaces.push_back(interface); });
}

std::vector<BusInterface> bus_interfaces() {
    return with_bus([](detail::BusDriver& bus) { return bus.interfaces; });
}

void refuse_serials(const std::vector<std::uint32_t>& serials) {
    with_bus([&](detail::BusDriver& bus) {
        bus.refused_serials = std::set<std::uint32_t>(serials.begin(), serials.end());
    });
}

void refuse_all_serials(bool refuse) {
    with_bus([&](detail::BusDriver& bus) { bus.refuse_all_serials = refuse; });
}

void fail_wait_ready(std::uint32_t error) {
    with_bus([&](detail::BusDriver& bus) { bus.wait_ready_error = error; });
}

void set_driver_delay(int milliseconds) {
    with_bus([&](detail::BusDriver& bus) { bus.delay_ms = milliseconds; });
}

void deny_reports(bool deny) {
    with_bus([&](detail::BusDriver& bus) { bus.deny_reports = deny; });
}

void refuse_requests(std::uint32_t code, std::uint32_t error) {
    with_bus([&](detail::BusDriver& bus) {
        if (error == 0) {
            bus.refusals.erase(code);
        } else {
            bus.refusals[code] = error;
        }
    });
}

void ignore_cancel(bool ignore) {
    with_bus([&](detail::BusDriver& bus) { bus.ignore_cancel = ignore; });
}

void refuse_threads(bool refuse) {
    with_bus([&](detail::BusDriver&) { Machine::get().refuse_threads = refuse; });
}

void refuse_events(bool refuse, std::uint32_t after) {
    with_bus([&](detail::BusDriver&) {
        Machine::get().refuse_events = refuse;
        Machine::get().events_before_refusal = after;
    });
}

void set_target_appearance(Appearance appearance, int reads, std::chrono::milliseconds delay) {
    with_bus([&](detail::BusDriver& bus) {
        bus.appearance = appearance;
        bus.late_reads = reads;
        bus.late_delay = delay;
    });
}

int target_user(std::uint32_t serial) {
    return with_bus([&](detail::BusDriver& bus) {
        const auto found = bus.targets.find(serial);
        return found == bus.targets.end() ? -1 : found->second.user;
    });
}

PadState target_report(std::uint32_t serial) {
    return with_bus([&](detail::BusDriver& bus) {
        const auto found = bus.targets.find(serial);
        return found == bus.targets.end() ? PadState() : found->second.report;
    });
}

std::size_t plugged_targets() {
    return with_bus([](detail::BusDriver& bus) { return bus.targets.size(); });
}

std::size_t pending_requests() {
    return with_bus([](detail::BusDriver& bus) { return bus.pending.size(); });
}

std::uint64_t ioctl_calls(std::uint32_t code) {
    return calls("ioctl " + std::to_string(code));
}

std::uint64_t calls(const std::string& function) {
    return calls(function, Kernel::no_user);
}

std::uint64_t calls(const std::string& function, std::size_t user) {
    Kernel& kernel = Kernel::get();
    std::lock_guard lock(kernel.mutex);
    return kernel.calls(function, user);
}

}  // namespace zestsim
