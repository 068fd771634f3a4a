#include "backend/bus/bus_threads.h"

#include <algorithm>

#include "backend/bus/bus_requests.h"

namespace {

constexpr DWORD first_pause_ms = 1;
constexpr DWORD longest_pause_ms = 100;

// Sends `request` and waits for it or for `stop`. On `stop` the request is cancelled and
// settled before the call returns, since its buffer and OVERLAPPED live with the caller.
// False when stopped; otherwise `error` holds the outcome.
template <std::size_t Size>
bool send_unless_stopped(HANDLE device, DWORD code, BusRequest<Size>& request, HANDLE stop,
                         HANDLE event, DWORD& error) {
    OVERLAPPED overlapped{};
    overlapped.hEvent = event;
    const DWORD size = request.template get<std::uint32_t>(0);
    error = bus_start(device, code, request.bytes, size, request.bytes, size, overlapped);
    if (error != ERROR_IO_PENDING) return true;
    const HANDLE waits[] = {stop, event};
    if (WaitForMultipleObjects(2, waits, FALSE, INFINITE) == WAIT_OBJECT_0) {
        CancelIoEx(device, &overlapped);
        bus_finish(device, overlapped);
        return false;
    }
    error = bus_finish(device, overlapped);
    return true;
}

// Keeps requests of one kind in flight on `event` until `stop` is set, or until `ends` says that
// an error ends them; `delivered` takes each one that went through and says whether to go on.
// Any other error is retried after a pause on `stop` that doubles up to longest_pause_ms and
// starts over after a success. Closes `event`.
template <std::size_t Size, typename Delivered, typename Ends>
void keep_in_flight(HANDLE device, DWORD code, BusRequest<Size>& request, HANDLE stop, HANDLE event,
                    Delivered delivered, Ends ends) {
    DWORD pause = 0;
    DWORD error = ERROR_SUCCESS;
    while (WaitForSingleObject(stop, pause) == WAIT_TIMEOUT &&
           send_unless_stopped(device, code, request, stop, event, error)) {
        if (error == ERROR_SUCCESS) {
            if (!delivered()) break;
            pause = 0;
        } else if (ends(error)) {
            break;
        } else {
            pause = std::clamp<DWORD>(pause * 2, first_pause_ms, longest_pause_ms);
        }
    }
    CloseHandle(event);
}

struct NotificationArguments {
    BusClient* client;
    HANDLE device;
    BusTarget* target;
    void* user_data;
    HANDLE event;
};

// Makes an unnamed event; false when out of handles.
bool make_event(HANDLE& event, BOOL manual_reset) {
    event = CreateEventA(nullptr, manual_reset, FALSE, nullptr);
    return event != nullptr;
}

DWORD WINAPI notification_thread(LPVOID argument) {
    const NotificationArguments args = *static_cast<NotificationArguments*>(argument);
    delete static_cast<NotificationArguments*>(argument);
    BusTarget& target = *args.target;
    BusRequest<12> request;
    request.put(4, target.serial);
    keep_in_flight(
        args.device, BUS_IOCTL_AWAIT_X360_NOTIFICATION, request, target.notification_stop,
        args.event,
        [&] {
            const BusNotificationCallback callback = target.notification_callback.load();
            if (callback == nullptr) return false;
            callback(args.client, args.target, request.bytes[8], request.bytes[9],
                     request.bytes[10], args.user_data);
            return true;
        },
        [](DWORD) { return false; });
    if (target.released.exchange(true)) bus_release_target(args.target);
    return 0;
}

DWORD WINAPI output_thread(LPVOID argument) {
    BusClient& client = *static_cast<BusClient*>(argument);
    BusRequest<72> request;
    keep_in_flight(
        client.device, BUS_IOCTL_AWAIT_OUTPUT, request, client.termination_event,
        client.output_event,
        [&] {
            const auto serial = request.get<std::uint32_t>(4);
            // Every target of this client is a wired Xbox 360 pad, whose output reports are
            // dropped; so the slot is only looked at, never followed.
            if (serial != 0 && serial <= bus_serial_count) {
                (void)client.targets[serial - 1].load(std::memory_order_acquire);
            }
            request = BusRequest<72>();
            return true;
        },
        bus_output_ends);
    if (client.released.exchange(true)) bus_release_client(&client);
    return 0;
}

}  // namespace

BusStatus bus_start_output_thread(BusClient& client) {
    if (!make_event(client.output_event, FALSE)) return BUS_ERROR_OUT_OF_HANDLES;
    client.output_thread = CreateThread(nullptr, 0, output_thread, &client, 0, nullptr);
    if (client.output_thread != nullptr) return BUS_OK;
    CloseHandle(client.output_event);
    return BUS_ERROR_THREAD_NOT_STARTED;
}

BusStatus bus_start_notification_thread(BusClient& client, BusTarget& target) {
    HANDLE event = nullptr;
    if (!make_event(target.notification_stop, TRUE) || !make_event(event, FALSE)) {
        if (target.notification_stop != nullptr) CloseHandle(target.notification_stop);
        target.notification_stop = nullptr;
        return BUS_ERROR_OUT_OF_HANDLES;
    }
    auto* args = new NotificationArguments{&client, client.device, &target,
                                           target.notification_user_data, event};
    target.notification_thread = CreateThread(nullptr, 0, notification_thread, args, 0, nullptr);
    if (target.notification_thread != nullptr) return BUS_OK;
    delete args;
    CloseHandle(event);
    CloseHandle(target.notification_stop);
    target.notification_stop = nullptr;
    return BUS_ERROR_THREAD_NOT_STARTED;
}

bool bus_end_thread(HANDLE thread, HANDLE stop, std::atomic<bool>& released) {
    SetEvent(stop);
    WaitForSingleObject(thread, bus_unload_wait_ms);
    CloseHandle(thread);
    if (released.exchange(true)) return true;
    bus_warn_unanswered();
    return false;
}

void bus_release_client(BusClient* client) {
    if (client->device != INVALID_HANDLE_VALUE) CloseHandle(client->device);
    CloseHandle(client->termination_event);
    delete client;
}

void bus_release_target(BusTarget* target) {
    if (target->notification_stop != nullptr) CloseHandle(target->notification_stop);
    delete target;
}
