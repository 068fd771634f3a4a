#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <vector>

#include "kernel.h"
#include "zestsim/zestsim.h"

namespace zestsim::detail {

// One XInput user index.
struct PadSlot {
    bool plugged = false;
    Capabilities capabilities;
    PadState state;
    Vibration vibration;
    std::uint32_t packet = 0;         // counts changes of state, as dwPacketNumber does
    std::uint32_t target_serial = 0;  // the bus target behind it; 0 for a physical pad
};

// An open handle to a bus interface.
struct Device final : KernelObject {
    explicit Device(std::size_t index) : interface_index(index) {}
    void closed() override;
    const std::size_t interface_index;
};

// What the driver does with a request: done at once with an error (0: success) and the bytes
// that go to the caller's output buffer, or left pending.
struct Outcome {
    bool pending = false;
    DWORD error = 0;
    DWORD bytes = 0;
    std::array<BYTE, 12> data{};  // the first `bytes` of them; written only at completion
};
inline Outcome done(DWORD error) {
    Outcome outcome;
    outcome.error = error;
    return outcome;
}
// A request that waits in the driver for something to happen, or for a slow driver.
struct PendingRequest {
    std::shared_ptr<Device> device;
    DWORD code;
    BYTE* buffer;  // the caller's output buffer, written only at completion
    OVERLAPPED* overlapped;
    std::uint32_t serial;
    std::uint64_t id = 0;  // set for a request that a slow driver holds back
};

struct Target {
    const Device* owner = nullptr;  // the handle that plugged it; it goes when that is closed
    std::uint32_t type = 0;
    std::uint16_t vendor = 0;
    std::uint16_t product = 0;
    bool ready = false;
    int user = -1;  // the XInput index it shows at
    // A late target shows up once these reads have passed and this time has come; one made
    // ready while targets never show up never does.
    bool never_shows = false;
    int reads_left = 0;
    std::chrono::steady_clock::time_point visible_at;
    PadState report;
    // A rumble that came while no notification request waited; the next one gets it at once.
    bool rumble_waiting = false;
    Vibration rumble;
    DWORD rumble_user = 0;
};

struct BusDriver {
    bool installed = true;
    std::vector<BusInterface> interfaces{BusInterface{}};
    std::set<std::uint32_t> refused_serials;
    bool refuse_all_serials = false;
    DWORD wait_ready_error = 0;
    bool deny_reports = false;
    Appearance appearance = Appearance::AtOnce;
    int late_reads = 0;
    std::chrono::milliseconds late_delay{0};
    std::map<std::uint32_t, Target> targets;  // by serial number
    std::vector<PendingRequest> pending;
    int delay_ms = 0;  // a slow driver holds every answer back this long
    std::map<DWORD, DWORD> refusals;
    bool ignore_cancel = false;  // control code -> the error it is refused with at once
    std::uint64_t next_delayed = 0;
};

// Everything the machine holds besides kernel objects. Guarded by the kernel lock.
struct Machine {
    std::array<PadSlot, user_count> pads;
    bool fail_capabilities = false;
    bool refuse_threads = false;
    bool refuse_events = false;
    std::uint32_t events_before_refusal = 0;
    BusDriver bus;

    static Machine& get();
};

// The OVERLAPPED status of a request: pending, or done with a Win32 error (0 for success).
inline constexpr ULONG_PTR status_pending = 0x103;
inline ULONG_PTR status_of(DWORD error) {
    return error == 0 ? 0 : 0xC0000000u | error;
}
inline DWORD error_of(ULONG_PTR status) {
    return static_cast<DWORD>(status & 0xFFFF);
}

// Under the kernel lock. A request left pending is kept in the driver's list.
Outcome handle_request(const PendingRequest& request, const BYTE* in, DWORD in_size,
                       DWORD out_size);

// Under the kernel lock, all of them.
// Completes a request: the result into its buffer and OVERLAPPED, its event set.
void complete(const PendingRequest& request, const Outcome& outcome);
// Completes and drops the pending requests that `match` selects.
template <typename Match>
std::size_t complete_pending(Match match, const Outcome& outcome) {
    std::vector<PendingRequest>& pending = Machine::get().bus.pending;
    std::size_t done = 0;
    for (auto it = pending.begin(); it != pending.end();) {
        if (match(*it)) {
            const PendingRequest request = *it;
            it = pending.erase(it);
            complete(request, outcome);
            ++done;
        } else {
            ++it;
        }
    }
    return done;
}
// A slow driver: the answer to a request that is done already reaches the caller later.
void delay_completion(const PendingRequest& request, const Outcome& outcome);
// Shows a ready target in XInput at the lowest free index, if it isn't shown yet.
void show_target(std::uint32_t serial);
// Called by every XInputGetState: late targets whose time has come show up.
void show_late_targets();
// XInputSetState on a target's index: its pending rumble notification completes.
void notify_rumble(std::uint32_t serial, const Vibration& vibration, DWORD user);

}  // namespace zestsim::detail
