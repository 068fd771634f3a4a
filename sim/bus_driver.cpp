// The simulated virtual-pad bus driver: its requests, its targets and how they show in XInput.

#include <algorithm>
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

// A completed notification: the large and small motor bytes and the user index.
Outcome rumble_outcome(std::uint32_t serial, const Vibration& vibration, DWORD user) {
    Outcome outcome;
    outcome.bytes = 12;
    const std::uint32_t header[] = {12, serial};
    std::memcpy(outcome.data.data(), header, sizeof header);
    outcome.data[8] = static_cast<BYTE>(vibration.left >> 8);
    outcome.data[9] = static_cast<BYTE>(vibration.right >> 8);
    outcome.data[10] = static_cast<BYTE>(user);
    return outcome;
}

Target* plugged(std::uint32_t serial) {
    auto& targets = Machine::get().bus.targets;
    const auto found = targets.find(serial);
    return found == targets.end() ? nullptr : &found->second;
}

Outcome plug(const PendingRequest& request, const BYTE* in) {
    BusDriver& bus = Machine::get().bus;
    const std::uint32_t serial = u32(in, 4);
    if (serial == 0 || serial > 0xFFFF) return done(ERROR_INVALID_PARAMETER);
    if (bus.refuse_all_serials || bus.refused_serials.count(serial) != 0 || plugged(serial)) {
        return done(error_already_exists);
    }
    Target& target = bus.targets[serial];
    target = Target();
    target.owner = request.device.get();
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
            return r.code == await_notification && r.serial == serial && r.id == 0;
        },
        done(ERROR_ACCESS_DENIED));
    return done(0);
}

Outcome make_ready(std::uint32_t serial) {
    BusDriver& bus = Machine::get().bus;
    if (bus.wait_ready_error != 0) return done(bus.wait_ready_error);
    Target* target = plugged(serial);
    if (target == nullptr) return done(ERROR_INVALID_PARAMETER);
    target->ready = true;
    target->never_shows = bus.appearance == Appearance::Never;
    target->reads_left = bus.late_reads;
    target->visible_at = std::chrono::steady_clock::now() + bus.late_delay;
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

Outcome handle_request(const PendingRequest& request, const BYTE* in, DWORD in_size,
                       DWORD out_size) {
    const DWORD code = request.code;
    if (!well_formed(code, in, in_size)) {
        return done(code == 0 ? error_invalid_function : ERROR_INVALID_PARAMETER);
    }
    const bool echoes = code == await_notification || code == await_output;
    if (echoes && (request.buffer == nullptr || out_size < in_size)) {
        return done(ERROR_INVALID_PARAMETER);
    }
    BusDriver& bus = Machine::get().bus;
    const std::uint32_t serial = u32(in, 4);
    switch (code) {
        case check_version: {
            const std::size_t index = request.device->interface_index;
            const bool refused =
                index >= bus.interfaces.size() || bus.interfaces[index].refuse_version;
            return done(refused || serial != 1 ? error_not_supported : 0);
        }
        case plug_target:
            return plug(request, in);
        case unplug_target:
            return unplug(serial);
        case wait_ready:
            return make_ready(serial);
        case submit_report:
            return submit(in);
        case await_notification: {
            Target* target = plugged(serial);
            if (target == nullptr) return done(ERROR_ACCESS_DENIED);
            if (target->rumble_waiting) {
                target->rumble_waiting = false;
                return rumble_outcome(serial, target->rumble, target->rumble_user);
            }
            [[fallthrough]];
        }
        case await_output: {
            PendingRequest waiting = request;
            waiting.serial = serial;
            bus.pending.push_back(waiting);
            Outcome outcome;
            outcome.pending = true;
            return outcome;
        }
        default:
            return done(error_invalid_function);
    }
}

void complete(const PendingRequest& request, const Outcome& outcome) {
    Kernel& kernel = Kernel::get();
    if (request.buffer != nullptr && outcome.bytes != 0) {
        std::memcpy(request.buffer, outcome.data.data(), outcome.bytes);
    }
    request.overlapped->InternalHigh = outcome.bytes;
    request.overlapped->Internal = status_of(outcome.error);
    if (const auto event = kernel.find<Event>(request.overlapped->hEvent)) event->set = true;
    kernel.changed.notify_all();
}

void delay_completion(const PendingRequest& request, const Outcome& outcome) {
    BusDriver& bus = Machine::get().bus;
    PendingRequest held = request;
    held.id = ++bus.next_delayed;
    bus.pending.push_back(held);
    std::thread([id = held.id, outcome, delay = bus.delay_ms] {
        std::this_thread::sleep_for(std::chrono::milliseconds(delay));
        Kernel& kernel = Kernel::get();
        std::lock_guard lock(kernel.mutex);
        // Gone already if it was cancelled, or the machine was reset, meanwhile.
        complete_pending([id](const PendingRequest& r) { return r.id == id; }, outcome);
    }).detach();
}

void Device::closed() {
    complete_pending([this](const PendingRequest& r) { return r.device.get() == this; },
                     done(ERROR_OPERATION_ABORTED));
    std::vector<std::uint32_t> owned;
    for (const auto& [serial, target] : Machine::get().bus.targets) {
        if (target.owner == this) owned.push_back(serial);
    }
    for (const std::uint32_t serial : owned)
        unplug(serial);
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

void show_late_targets() {
    const auto now = std::chrono::steady_clock::now();
    for (auto& [serial, target] : Machine::get().bus.targets) {
        if (!target.ready || target.never_shows || target.user >= 0) continue;
        if (target.reads_left > 0) {
            --target.reads_left;
        } else if (now >= target.visible_at) {
            show_target(serial);
        }
    }
}

void notify_rumble(std::uint32_t serial, const Vibration& vibration, DWORD user) {
    const Outcome rumble = rumble_outcome(serial, vibration, user);
    const auto waiting = [serial](const PendingRequest& r) {
        return r.code == await_notification && r.serial == serial && r.id == 0;
    };
    // One waiting request takes the rumble; with none, the target keeps it for the next.
    std::vector<PendingRequest>& pending = Machine::get().bus.pending;
    const auto found = std::find_if(pending.begin(), pending.end(), waiting);
    if (found != pending.end()) {
        const PendingRequest request = *found;
        pending.erase(found);
        complete(request, rumble);
        return;
    }
    if (Target* target = plugged(serial)) {
        target->rumble_waiting = true;
        target->rumble = vibration;
        target->rumble_user = user;
    }
}

}  // namespace zestsim::detail
