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

// Sends one request on `device` with an OVERLAPPED and an event of its own, and waits for it.
// The Win32 error, ERROR_SUCCESS when it went through.
template <std::size_t Size>
DWORD bus_send(HANDLE device, DWORD code, BusRequest<Size>& request, bool echoed = false) {
    OVERLAPPED overlapped{};
    overlapped.hEvent = CreateEventA(nullptr, FALSE, FALSE, nullptr);
    DeviceIoControl(device, code, request.bytes, Size, echoed ? request.bytes : nullptr,
                    echoed ? static_cast<DWORD>(Size) : 0, nullptr, &overlapped);
    DWORD transferred = 0;
    const DWORD error = GetOverlappedResult(device, &overlapped, &transferred, TRUE)
                            ? static_cast<DWORD>(ERROR_SUCCESS)
                            : GetLastError();
    CloseHandle(overlapped.hEvent);
    return error;
}
