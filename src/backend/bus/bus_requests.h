#pragma once

#include <cstdint>
#include <cstring>
#include <type_traits>

#include "backend/bus/bus_client.h"

// The bus protocol: control codes and request layouts, little-endian, each request opening with
// its own size.

// Buffered requests of device type 0x2A: type << 16 | access << 14 | function << 2.
constexpr DWORD bus_control_code(DWORD function, DWORD access) {
    return 0x2Au << 16 | access << 14 | function << 2;
}
inline constexpr DWORD BUS_IOCTL_PLUG_TARGET = bus_control_code(0x801, 2);
inline constexpr DWORD BUS_IOCTL_UNPLUG_TARGET = bus_control_code(0x802, 2);
inline constexpr DWORD BUS_IOCTL_CHECK_VERSION = bus_control_code(0x803, 2);
inline constexpr DWORD BUS_IOCTL_WAIT_READY = bus_control_code(0x804, 2);
inline constexpr DWORD BUS_IOCTL_AWAIT_X360_NOTIFICATION = bus_control_code(0xA01, 3);
inline constexpr DWORD BUS_IOCTL_SUBMIT_X360_REPORT = bus_control_code(0xA02, 2);
inline constexpr DWORD BUS_IOCTL_AWAIT_OUTPUT = bus_control_code(0xA08, 3);
static_assert(BUS_IOCTL_PLUG_TARGET == 0x2AA004 && BUS_IOCTL_UNPLUG_TARGET == 0x2AA008);
static_assert(BUS_IOCTL_CHECK_VERSION == 0x2AA00C && BUS_IOCTL_WAIT_READY == 0x2AA010);
static_assert(BUS_IOCTL_AWAIT_X360_NOTIFICATION == 0x2AE804);
static_assert(BUS_IOCTL_SUBMIT_X360_REPORT == 0x2AA808 && BUS_IOCTL_AWAIT_OUTPUT == 0x2AE820);

inline constexpr std::uint32_t bus_protocol_version = 1;

// A request of `Size` bytes built field by field at fixed offsets.
template <std::size_t Size>
struct BusRequest {
    BYTE bytes[Size] = {};

    BusRequest() { put(0, static_cast<std::uint32_t>(Size)); }
    template <typename T>
    BusRequest& put(std::size_t offset, T value) {
        static_assert(std::is_trivially_copyable_v<T>);
        std::memcpy(bytes + offset, &value, sizeof value);
        return *this;
    }
    template <typename T>
    T get(std::size_t offset) const {
        T value;
        std::memcpy(&value, bytes + offset, sizeof value);
        return value;
    }
};

// How long a caller on the way out waits for the driver before it gives up on an answer.
inline constexpr DWORD bus_unload_wait_ms = 1000;

// Starts one request on `overlapped`. ERROR_IO_PENDING while it is in flight; any other value
// means it has finished with that error, ERROR_SUCCESS when it went through. A request refused
// at once is never completed and never signals its event, so it must not be waited on.
DWORD bus_start(HANDLE device, DWORD code, BYTE* in, DWORD in_size, BYTE* out, DWORD out_size,
                OVERLAPPED& overlapped);
// Waits for a pending request, whose event may have been taken already; with a bound, at most
// `bound_ms` before it is cancelled (with one warning). Returns once the request has settled,
// with its error.
DWORD bus_finish(HANDLE device, OVERLAPPED& overlapped, DWORD bound_ms = INFINITE);
// What the driver's answer to a request of the calling thread means to the caller.
BusStatus bus_status(DWORD code, DWORD error);
// Whether an error ends the output thread's request, rather than being retried. A notification
// thread asks again whatever the driver answers, for as long as its target may be plugged.
bool bus_output_ends(DWORD error);
// The one warning of a caller that stops waiting for the driver.
void bus_warn_unanswered();

// Sends one request on `device` with an OVERLAPPED and an event of its own, and waits for it;
// an unplug only for a while, as the host may be on its way out.
template <std::size_t Size>
BusStatus bus_send(HANDLE device, DWORD code, BusRequest<Size>& request) {
    OVERLAPPED overlapped{};
    overlapped.hEvent = CreateEventA(nullptr, FALSE, FALSE, nullptr);
    if (overlapped.hEvent == nullptr) return BUS_ERROR_OUT_OF_HANDLES;
    DWORD error = bus_start(device, code, request.bytes, Size, nullptr, 0, overlapped);
    if (error == ERROR_IO_PENDING) {
        error = bus_finish(device, overlapped,
                           code == BUS_IOCTL_UNPLUG_TARGET ? bus_unload_wait_ms : INFINITE);
    }
    CloseHandle(overlapped.hEvent);
    return bus_status(code, error);
}
