#include "backend/bus/bus_threads.h"

#include "backend/bus/bus_requests.h"

namespace {

// Sends `request` and waits for it or for `stop`. On `stop` the request is cancelled and
// settled before the call returns, since its buffer and OVERLAPPED live with the caller.
// False when stopped; otherwise `error` holds the outcome.
template <std::size_t Size>
bool send_unless_stopped(HANDLE device, DWORD code, BusRequest<Size>& request, HANDLE stop,
                         HANDLE event, DWORD& error) {
    OVERLAPPED overlapped{};
    overlapped.hEvent = event;
    const DWORD size = request.template get<std::uint32_t>(0);
    if (!DeviceIoControl(device, code, request.bytes, size, request.bytes, size, nullptr,
                         &overlapped) &&
        GetLastError() != ERROR_IO_PENDING) {
        // Refused before it was queued: nothing will signal the event.
        error = GetLastError();
        return true;
    }
    const HANDLE waits[] = {stop, event};
    DWORD transferred = 0;
    if (WaitForMultipleObjects(2, waits, FALSE, INFINITE) == WAIT_OBJECT_0) {
        CancelIoEx(device, &overlapped);
        GetOverlappedResult(device, &overlapped, &transferred, TRUE);
        return false;
    }
    error = GetOverlappedResult(device, &overlapped, &transferred, TRUE)
                ? static_cast<DWORD>(ERROR_SUCCESS)
                : GetLastError();
    return true;
}

struct NotificationArguments {
    BusClient* client;
    BusTarget* target;
    void* user_data;
};

DWORD WINAPI notification_thread(LPVOID argument) {
    const NotificationArguments args = *static_cast<NotificationArguments*>(argument);
    delete static_cast<NotificationArguments*>(argument);
    const HANDLE event = CreateEventA(nullptr, FALSE, FALSE, nullptr);
    BusRequest<12> request;
    request.put(4, args.target->serial);
    DWORD error = ERROR_SUCCESS;
    while (send_unless_stopped(args.client->device, BUS_IOCTL_AWAIT_X360_NOTIFICATION, request,
                               args.target->notification_stop, event, error)) {
        if (error == ERROR_SUCCESS) {
            const BusNotificationCallback callback = args.target->notification_callback.load();
            if (callback == nullptr) break;
            callback(args.client, args.target, request.bytes[8], request.bytes[9],
                     request.bytes[10], args.user_data);
        } else if (error == ERROR_ACCESS_DENIED || error == ERROR_OPERATION_ABORTED) {
            break;
        }
    }
    CloseHandle(event);
    return 0;
}

}  // namespace

DWORD WINAPI bus_output_thread(LPVOID argument) {
    BusClient& client = *static_cast<BusClient*>(argument);
    const HANDLE event = CreateEventA(nullptr, FALSE, FALSE, nullptr);
    DWORD error = ERROR_SUCCESS;
    for (;;) {
        BusRequest<72> request;
        if (!send_unless_stopped(client.device, BUS_IOCTL_AWAIT_OUTPUT, request,
                                 client.termination_event, event, error) ||
            error == ERROR_INVALID_PARAMETER || error == ERROR_OPERATION_ABORTED) {
            break;
        }
        const auto serial = request.get<std::uint32_t>(4);
        if (error != ERROR_SUCCESS || serial == 0 || serial > bus_serial_count) continue;
        // Every target of this client is a wired Xbox 360 pad, whose output reports are
        // dropped; so the slot is only looked at, never followed.
        (void)client.targets[serial - 1].load(std::memory_order_acquire);
    }
    CloseHandle(event);
    return 0;
}

void bus_start_notification_thread(BusClient& client, BusTarget& target) {
    target.notification_client = &client;
    target.notification_stop = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    auto* args = new NotificationArguments{&client, &target, target.notification_user_data};
    target.notification_thread = CreateThread(nullptr, 0, notification_thread, args, 0, nullptr);
    if (target.notification_thread == nullptr) delete args;
}

void bus_stop_notification_thread(BusTarget& target) {
    if (target.notification_thread == nullptr) return;
    SetEvent(target.notification_stop);
    WaitForSingleObject(target.notification_thread, INFINITE);
    CloseHandle(target.notification_thread);
    CloseHandle(target.notification_stop);
    target.notification_thread = nullptr;
}
