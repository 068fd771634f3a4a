#include "backend/bus/bus_client.h"

#include <memory>
#include <new>
#include <vector>

#include "backend/bus/bus_requests.h"
#include "backend/bus/bus_threads.h"

namespace {

constexpr GUID bus_interface_guid{
    0x96E42B22, 0xF5E9, 0x42F8, {0xB0, 0x43, 0xED, 0x0F, 0x93, 0x2F, 0x01, 0x4F}};

bool connected(const BusClient* client) {
    return client->device != INVALID_HANDLE_VALUE;
}

// The checks every target operation starts with.
BusStatus check_target_call(const BusClient* client, const BusTarget* target) {
    if (client == nullptr) return BUS_ERROR_INVALID_CLIENT;
    if (target == nullptr) return BUS_ERROR_INVALID_TARGET;
    if (!connected(client)) return BUS_ERROR_NOT_FOUND;
    return BUS_OK;
}

std::atomic<BusTarget*>& slot_of(BusClient* client, std::uint32_t serial) {
    return client->targets[serial - 1];
}

// Opens the interface at `path` and checks the protocol version; the status of this interface.
BusStatus open_interface(BusClient* client, const char* path) {
    client->device = CreateFileA(path, GENERIC_READ | GENERIC_WRITE,
                                 FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                                 FILE_ATTRIBUTE_NORMAL | FILE_FLAG_NO_BUFFERING |
                                     FILE_FLAG_WRITE_THROUGH | FILE_FLAG_OVERLAPPED,
                                 nullptr);
    if (client->device == INVALID_HANDLE_VALUE) return BUS_ERROR_ACCESS_FAILED;
    BusRequest<8> version;
    version.put(4, bus_protocol_version);
    const BusStatus status = bus_send(client->device, BUS_IOCTL_CHECK_VERSION, version);
    if (status != BUS_OK) {
        CloseHandle(client->device);
        client->device = INVALID_HANDLE_VALUE;
    }
    return status;
}

// The status of the interface at `index` of `list`; connected on BUS_OK.
BusStatus try_interface(BusClient* client, HDEVINFO list, SP_DEVICE_INTERFACE_DATA& data) {
    DWORD size = 0;
    SetupDiGetDeviceInterfaceDetailA(list, &data, nullptr, 0, &size, nullptr);
    if (size < sizeof(SP_DEVICE_INTERFACE_DETAIL_DATA_A)) return BUS_ERROR_NOT_FOUND;
    std::vector<std::uint64_t> storage(size / sizeof(std::uint64_t) + 1);  // aligned for cbSize
    auto* detail = reinterpret_cast<SP_DEVICE_INTERFACE_DETAIL_DATA_A*>(storage.data());
    detail->cbSize = sizeof(SP_DEVICE_INTERFACE_DETAIL_DATA_A);
    if (!SetupDiGetDeviceInterfaceDetailA(list, &data, detail, size, nullptr, nullptr)) {
        return BUS_ERROR_NOT_FOUND;
    }
    return open_interface(client, detail->DevicePath);
}

}  // namespace

BusClient* bus_client_alloc() {
    auto* client = new (std::nothrow) BusClient;
    if (client == nullptr) return nullptr;
    client->termination_event = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    if (client->termination_event != nullptr) return client;
    delete client;
    return nullptr;
}

void bus_client_free(BusClient* client) {
    if (client == nullptr) return;
    if (client->output_thread == nullptr ||
        bus_end_thread(client->output_thread, client->termination_event, client->released)) {
        bus_release_client(client);
    }
}

BusStatus bus_client_connect(BusClient* client) {
    if (client == nullptr) return BUS_ERROR_INVALID_CLIENT;
    if (connected(client)) return BUS_ERROR_ALREADY_CONNECTED;
    HDEVINFO list = SetupDiGetClassDevsA(&bus_interface_guid, nullptr, nullptr,
                                         DIGCF_PRESENT | DIGCF_DEVICEINTERFACE);
    BusStatus status = BUS_ERROR_NOT_FOUND;
    SP_DEVICE_INTERFACE_DATA data{};
    data.cbSize = sizeof data;
    for (DWORD index = 0;
         SetupDiEnumDeviceInterfaces(list, nullptr, &bus_interface_guid, index, &data); ++index) {
        status = try_interface(client, list, data);
        if (status == BUS_OK) break;
    }
    SetupDiDestroyDeviceInfoList(list);
    if (status == BUS_OK) status = bus_start_output_thread(*client);
    if (status != BUS_OK && connected(client)) {
        CloseHandle(client->device);
        client->device = INVALID_HANDLE_VALUE;
    }
    return status;
}

BusTarget* bus_target_alloc_x360() {
    auto* target = new (std::nothrow) BusTarget;
    if (target == nullptr) return nullptr;
    target->state = BusTargetState::New;
    target->vendor_id = 0x045E;
    target->product_id = 0x028E;
    return target;
}

void bus_target_free(BusTarget* target) {
    if (target == nullptr) return;
    if (target->notification_thread != nullptr) {
        // Past this point no callback may reach the user data, which may go next.
        target->notification_callback.store(nullptr);
        if (!bus_end_thread(target->notification_thread, target->notification_stop,
                            target->released)) {
            return;
        }
    }
    bus_release_target(target);
}

BusStatus bus_target_add(BusClient* client, BusTarget* target) {
    if (const BusStatus status = check_target_call(client, target); status != BUS_OK) return status;
    if (target->state == BusTargetState::Uninitialized) return BUS_ERROR_UNINITIALIZED;
    if (target->state == BusTargetState::Plugged) return BUS_ERROR_ALREADY_PLUGGED;
    const BusTargetState before = target->state;
    // The bus is the only judge of which serial numbers are free.
    for (target->serial = 1;; ++target->serial) {
        BusRequest<16> plug;
        plug.put(4, target->serial).put(8, target->type);
        plug.put(12, target->vendor_id).put(14, target->product_id);
        const BusStatus status = bus_send(client->device, BUS_IOCTL_PLUG_TARGET, plug);
        if (status == BUS_OK) break;
        if (status == BUS_ERROR_OUT_OF_HANDLES || target->serial == bus_serial_count) {
            return status;
        }
    }
    BusRequest<8> ready;
    ready.put(4, target->serial);
    const BusStatus status = bus_send(client->device, BUS_IOCTL_WAIT_READY, ready);
    // The bus took the device: it stays ours, Plugged, until the bus takes it back.
    target->state = BusTargetState::Plugged;
    slot_of(client, target->serial).store(target, std::memory_order_release);
    if (status != BUS_OK && bus_target_remove(client, target) == BUS_OK) target->state = before;
    return status;
}

BusStatus bus_target_remove(BusClient* client, BusTarget* target) {
    if (const BusStatus status = check_target_call(client, target); status != BUS_OK) return status;
    if (target->state == BusTargetState::Uninitialized) return BUS_ERROR_UNINITIALIZED;
    if (target->state != BusTargetState::Plugged) return BUS_ERROR_NOT_PLUGGED;
    BusRequest<8> unplug;
    unplug.put(4, target->serial);
    if (const BusStatus status = bus_send(client->device, BUS_IOCTL_UNPLUG_TARGET, unplug);
        status != BUS_OK) {
        return status;
    }
    slot_of(client, target->serial).store(nullptr, std::memory_order_release);
    target->state = BusTargetState::Removed;
    return BUS_OK;
}

BusStatus bus_target_register_notification(BusClient* client, BusTarget* target,
                                           BusNotificationCallback callback, void* user_data) {
    if (const BusStatus status = check_target_call(client, target); status != BUS_OK) return status;
    if (target->serial == 0 || callback == nullptr) return BUS_ERROR_INVALID_TARGET;
    if (target->notification_callback.load() == callback) return BUS_ERROR_CALLBACK_REGISTERED;
    // One thread per target: a later callback takes over the running thread, user data and all
    // staying as they were when it started.
    target->notification_callback.store(callback);
    if (target->notification_thread == nullptr) {
        target->notification_user_data = user_data;
        if (const BusStatus status = bus_start_notification_thread(*client, *target);
            status != BUS_OK) {
            target->notification_callback.store(nullptr);
            return status;
        }
    }
    return BUS_OK;
}

BusStatus bus_target_update_x360(BusClient* client, BusTarget* target,
                                 const BusX360Report& report) {
    if (const BusStatus status = check_target_call(client, target); status != BUS_OK) return status;
    if (target->serial == 0) return BUS_ERROR_INVALID_TARGET;
    BusRequest<20> submit;
    submit.put(4, target->serial).put(8, report);
    return bus_send(client->device, BUS_IOCTL_SUBMIT_X360_REPORT, submit);
}
