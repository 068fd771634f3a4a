#pragma once

#include <array>
#include <atomic>
#include <cstdint>

#include "platform/win32.h"

// The user-mode client of the virtual-pad bus driver: plain functions over a connection
// (BusClient) and the virtual devices on it (BusTarget). Calling-thread operations must come
// from one thread at a time; the client runs an output thread per connection and a
// notification thread per registered target.

using BusStatus = std::uint32_t;
inline constexpr BusStatus BUS_OK = 0x20000000;
inline constexpr BusStatus BUS_ERROR_NOT_FOUND = 0xE0000001;
inline constexpr BusStatus BUS_ERROR_NO_FREE_SLOT = 0xE0000002;
inline constexpr BusStatus BUS_ERROR_INVALID_TARGET = 0xE0000003;
inline constexpr BusStatus BUS_ERROR_REMOVAL_FAILED = 0xE0000004;
inline constexpr BusStatus BUS_ERROR_ALREADY_PLUGGED = 0xE0000005;
inline constexpr BusStatus BUS_ERROR_UNINITIALIZED = 0xE0000006;
inline constexpr BusStatus BUS_ERROR_NOT_PLUGGED = 0xE0000007;
inline constexpr BusStatus BUS_ERROR_VERSION_MISMATCH = 0xE0000008;
inline constexpr BusStatus BUS_ERROR_ACCESS_FAILED = 0xE0000009;
inline constexpr BusStatus BUS_ERROR_CALLBACK_REGISTERED = 0xE0000010;
inline constexpr BusStatus BUS_ERROR_ALREADY_CONNECTED = 0xE0000012;
inline constexpr BusStatus BUS_ERROR_INVALID_CLIENT = 0xE0000013;
// bus_client_connect, bus_target_register_notification: a thread could not be started.
inline constexpr BusStatus BUS_ERROR_THREAD_NOT_STARTED = 0xE0000014;
// Any call that needs an event, when none can be made; nothing was sent.
inline constexpr BusStatus BUS_ERROR_OUT_OF_HANDLES = 0xE0000015;

enum class BusTargetState : std::uint32_t { Uninitialized = 0, New = 1, Plugged = 2, Removed = 3 };

// The 12-byte input report of a wired Xbox 360 pad.
struct BusX360Report {
    std::uint16_t buttons;
    std::uint8_t left_trigger;
    std::uint8_t right_trigger;
    std::int16_t thumb_lx;
    std::int16_t thumb_ly;
    std::int16_t thumb_rx;
    std::int16_t thumb_ry;
};
static_assert(sizeof(BusX360Report) == 12);

struct BusClient;
struct BusTarget;

// Runs on the target's notification thread: large motor, small motor, the third byte.
using BusNotificationCallback = void (*)(BusClient* client, BusTarget* target, std::uint8_t large,
                                         std::uint8_t small, std::uint8_t third, void* user_data);

inline constexpr std::size_t bus_serial_count = 65535;

struct BusClient {
    HANDLE device = INVALID_HANDLE_VALUE;
    HANDLE output_thread = nullptr;
    HANDLE termination_event = nullptr;  // manual reset; set by bus_client_free
    HANDLE output_event = nullptr;       // the output thread's; it closes it as it ends
    // One slot per serial number 1 .. 65535 (index serial - 1). The calling thread stores, the
    // output thread loads; it never follows the pointer, so a target may go once its slot is
    // cleared.
    std::array<std::atomic<BusTarget*>, bus_serial_count> targets{};
    // Set by the first of bus_client_free and the output thread to let go of the record; the
    // second frees it, so a thread that outlives a bounded wait still ends in order.
    std::atomic<bool> released{false};
};

struct BusTarget {
    std::uint32_t serial = 0;
    BusTargetState state = BusTargetState::Uninitialized;
    std::uint16_t vendor_id = 0;
    std::uint16_t product_id = 0;
    std::uint32_t type = 0;
    // Stored by the calling thread, read by the notification thread after each completion.
    std::atomic<BusNotificationCallback> notification_callback{nullptr};
    void* notification_user_data = nullptr;
    // The notification thread, kept so that bus_target_free can end it and wait for it: the
    // thread uses the target and the user data until then.
    HANDLE notification_thread = nullptr;
    HANDLE notification_stop = nullptr;  // manual reset
    std::atomic<bool> released{false};   // as BusClient::released, with the notification thread
};

// Null also when its termination event cannot be made.
BusClient* bus_client_alloc();
// Ends the output thread and waits a while for it, then closes the device and frees the record;
// a thread that does not end in time frees it itself.
void bus_client_free(BusClient* client);
BusStatus bus_client_connect(BusClient* client);
BusTarget* bus_target_alloc_x360();
// Ends the target's notification thread and waits a while for it, as bus_client_free does;
// talks to no bus. Remove it first.
void bus_target_free(BusTarget* target);
// Offers serial numbers from 1 up until the bus takes one, since only the bus knows which are
// free. A ready wait that fails leaves the target Plugged when the bus refuses to take it back.
BusStatus bus_target_add(BusClient* client, BusTarget* target);
BusStatus bus_target_remove(BusClient* client, BusTarget* target);
BusStatus bus_target_register_notification(BusClient* client, BusTarget* target,
                                           BusNotificationCallback callback, void* user_data);
BusStatus bus_target_update_x360(BusClient* client, BusTarget* target, const BusX360Report& report);
