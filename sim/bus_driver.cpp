// The simulated virtual-pad bus driver: its requests, its targets and how they show in XInput.

#include <chrono>
#include <cstring>
#include <thread>

#include "machine.h"

namespace zestsim::detail {

namespace {

constexpr DWORD plug_target = 0x2AA004;
constexpr DWORD unplug_target = 0x2AA008;
constexpr DWORD check_version = 0x2AA00C;
constexpr DWORD wait_ready = 0x2AA010;
constexpr DWORD await_notification = 0x2AE804;
constexpr DWORD submit_report = 0x2AA808;
constexpr DWORD await_output = 0x2AE820;

constexpr DWORD error_invalid_function = 1;
constexpr DWORD error_not_supported = 50;
constexpr DWORD error_already_exists = 183;

std::uint32_t u32(const BYTE* bytes, std::size_t offset) {
    std::uint32_t value;
    std::memcpy(&value, bytes + offset, sizeof value);
    return value;
}

std::uint16_t u16(const BYTE* bytes, std::size_t offset) {
    std::uint16_t value;
    std::memcpy(&value, bytes + offset, sizeof value);
    return value;
}

// Every request opens with its own size, which must be the one its control code has.
bool well_formed(DWORD code, const BYTE* in, DWORD in_size) {
    DWORD size = 0;
    switch (code) {
        case check_version:
        case unplug_target:
        case wait_ready:
            size = 8;
            break;
        case plug_target:
            size = 16;
            break;
        case await_notification:
            size = 12;
            break;
        case submit_report:
            size = 20;
            break;
        case await_output:
            size = 72;
            break;
        default:
            return false;
    }
    return in != nullptr && in_size == size && u32(in, 0) == size;
}

Outcome done(DWORD error, DWORD bytes = 0) {
    return Outcome{false, error, bytes};
}

// A completed notification: the large and small motor bytes and the user index.
void write_rumble(BYTE* buffer, std::uint32_t serial, const Vibration& vibration, DWORD user) {
    const std::uint32_t header[] = {12, serial};
    std::memcpy(buffer, header, sizeof header);
    buffer[8] = static_cast<BYTE>(vibration.left >> 8);
    buffer[9] = static_cast<BYTE>(vibration.right >> 8);
    buffer[10] = static_cast<BYTE>(user);
    buffer[11] = 0;
}

Target* plugged(std::uint32_t serial) {
    auto& targets = Machine::get().bus.targets;
    const auto found = targets.find(serial);
    return found == targets.end() ? nullptr : &found->second;
}

Outcome plug(const BYTE* in) {
    BusDriver& bus = Machine::get().bus;
    const std::uint32_t serial = u32(in, 4);
    if (serial == 0 || serial > 0xFFFF) return done(ERROR_INVALID_PARAMETER);
    if (bus.refuse_all_serials || bus.refused_serials.count(serial) != 0 || plugged(serial)) {
        return done(error_already_exists);
    }
    Target& target = bus.targets[serial];
    target = Target();
    target.type = u32(in, 8);
    target.vendor = u16(in, 12);
    target.product = u16(in, 14);
    return done(0);
}

Outcome unplug(std::uint32_t serial) {
    Target* target = plugged(serial);
    if (target == nullptr) return done(ERROR_INVALID_PARAMETER);
    if (target->user >= 0) Machine::get().pads[static_cast<std::size_t>(target->user)] = PadSlot();
    Machine::get().bus.targets.erase(serial);
    // The target's notification requests end with it.
    complete_pending(
        [serial](const PendingRequest& r) {
            return r.code == await_notification && r.serial == serial;
        },
        ERROR_ACCESS_DENIED);
    return done(0);
}

Outcome make_ready(std::uint32_t serial) {
    BusDriver& bus = Machine::get().bus;
    if (bus.wait_ready_error != 0) return done(bus.wait_ready_error);
    Target* target = plugged(serial);
    if (target == nullptr) return done(ERROR_INVALID_PARAMETER);
    target->ready = true;
    if (bus.appearance == Appearance::AtOnce) show_target(serial);
    return done(0);
}

Outcome submit(const BYTE* in) {
    Target* target = plugged(u32(in, 4));
    if (target == nullptr || Machine::get().bus.deny_reports) return done(ERROR_ACCESS_DENIED);
    PadState& report = target->report;
    report.buttons = u16(in, 8);
    report.left_trigger = in[10];
    report.right_trigger = in[11];
    report.thumb_lx = static_cast<std::int16_t>(u16(in, 12));
    report.thumb_ly = static_cast<std::int16_t>(u16(in, 14));
    report.thumb_rx = static_cast<std::int16_t>(u16(in, 16));
    report.thumb_ry = static_cast<std::int16_t>(u16(in, 18));
    if (target->user >= 0) {
        PadSlot& slot = Machine::get().pads[static_cast<std::size_t>(target->user)];
        slot.state = report;
        ++slot.packet;
    }
    return done(0);
}

}  // namespace

Outcome handle_request(const std::shared_ptr<Device>& device, DWORD code, const BYTE* in,
                       DWORD in_size, BYTE* out, DWORD out_size, OVERLAPPED* overlapped) {
    if (!well_formed(code, in, in_size)) {
        return done(code == 0 ? error_invalid_function : ERROR_INVALID_PARAMETER);
    }
    const bool echoes = code == await_notification || code == await_output;
    if (echoes && (out == nullptr || out_size < in_size)) return done(ERROR_INVALID_PARAMETER);
    BusDriver& bus = Machine::get().bus;
    switch (code) {
        case check_version: {
            const bool refused = device->interface_index >= bus.interfaces.size() ||
                                 bus.interfaces[device->interface_index].refuse_version;
            return done(refused || u32(in, 4) != 1 ? error_not_supported : 0);
        }
        case plug_target:
            return plug(in);
        case unplug_target:
            return unplug(u32(in, 4));
        case wait_ready:
            return make_ready(u32(in, 4));
        case submit_report:
            return submit(in);
        case await_notification: {
            Target* target = plugged(u32(in, 4));
            if (target == nullptr) return done(ERROR_ACCESS_DENIED);
            if (target->rumble_waiting) {
                target->rumble_waiting = false;
                write_rumble(out, u32(in, 4), target->rumble, target->rumble_user);
                return done(0, 12);
            }
            [[fallthrough]];
        }
        case await_output:
            bus.pending.push_back({device, code, out, overlapped, u32(in, 4)});
            return Outcome{true, 0, 0};
        default:
            return done(error_invalid_function);
    }
}

void complete(const PendingRequest& request, DWORD error, DWORD bytes) {
    Kernel& kernel = Kernel::get();
    request.overlapped->InternalHigh = bytes;
    request.overlapped->Internal = status_of(error);
    if (const auto event = kernel.find<Event>(request.overlapped->hEvent)) event->set = true;
    kernel.changed.notify_all();
}

void delay_completion(const std::shared_ptr<Device>& device, DWORD code, OVERLAPPED* overlapped,
                      const Outcome& outcome) {
    BusDriver& bus = Machine::get().bus;
    const std::uint64_t id = ++bus.next_delayed;
    bus.pending.push_back({device, code, nullptr, overlapped, 0, id});
    std::thread([id, outcome, delay = bus.delay_ms] {
        std::this_thread::sleep_for(std::chrono::milliseconds(delay));
        Kernel& kernel = Kernel::get();
        std::lock_guard lock(kernel.mutex);
        // Gone already if it was cancelled, or the machine was reset, meanwhile.
        complete_pending([id](const PendingRequest& r) { return r.id == id; }, outcome.error,
                         outcome.bytes);
    }).detach();
}

void Device::closed() {
    complete_pending([this](const PendingRequest& r) { return r.device.get() == this; },
                     ERROR_OPERATION_ABORTED);
}

void show_target(std::uint32_t serial) {
    Target* target = plugged(serial);
    if (target == nullptr || !target->ready || target->user >= 0) return;
    auto& pads = Machine::get().pads;
    for (std::size_t user = 0; user < pads.size(); ++user) {
        if (pads[user].plugged) continue;
        pads[user] = PadSlot();
        pads[user].plugged = true;
        pads[user].capabilities = default_capabilities(Subtype::Gamepad);
        pads[user].state = target->report;
        pads[user].target_serial = serial;
        target->user = static_cast<int>(user);
        return;
    }
}

void count_read_for_late_targets() {
    BusDriver& bus = Machine::get().bus;
    if (bus.appearance != Appearance::Late || bus.late_reads-- > 0) return;
    for (const auto& [serial, target] : bus.targets)
        show_target(serial);
}

void notify_rumble(std::uint32_t serial, const Vibration& vibration, DWORD user) {
    std::vector<PendingRequest>& pending = Machine::get().bus.pending;
    for (auto it = pending.begin(); it != pending.end(); ++it) {
        if (it->code != await_notification || it->serial != serial) continue;
        const PendingRequest request = *it;
        pending.erase(it);
        write_rumble(request.buffer, serial, vibration, user);
        complete(request, 0, 12);
        return;
    }
    if (Target* target = plugged(serial)) {
        target->rumble_waiting = true;
        target->rumble = vibration;
        target->rumble_user = user;
    }
}

}  // namespace zestsim::detail
