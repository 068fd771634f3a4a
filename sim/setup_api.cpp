// SetupAPI and CreateFileA by their Win32 names: finding and opening the bus interfaces.

#include <cstring>
#include <string>
#include <string_view>

#include "machine.h"

using namespace zestsim::detail;

namespace {

constexpr GUID bus_guid{
    0x96E42B22, 0xF5E9, 0x42F8, {0xB0, 0x43, 0xED, 0x0F, 0x93, 0x2F, 0x01, 0x4F}};
constexpr DWORD error_invalid_user_buffer = 1784;
constexpr std::string_view path_prefix = "\\\\?\\zestsim#vigembus#";

// A snapshot of the interfaces present when the list was made.
struct DeviceInfoList final : KernelObject {
    explicit DeviceInfoList(std::size_t n) : count(n) {}
    const std::size_t count;
};

bool same_guid(const GUID* a, const GUID& b) {
    return a != nullptr && std::memcmp(a, &b, sizeof b) == 0;
}

std::string interface_path(std::size_t index) {
    return std::string(path_prefix) + std::to_string(index);
}

}  // namespace

extern "C" {

HDEVINFO WINAPI SetupDiGetClassDevsA(const GUID* ClassGuid, PCSTR, HWND, DWORD Flags) {
    Kernel& kernel = Kernel::get();
    std::lock_guard lock(kernel.mutex);
    kernel.count("SetupDiGetClassDevsA");
    const BusDriver& bus = Machine::get().bus;
    const bool wanted = same_guid(ClassGuid, bus_guid) && (Flags & DIGCF_DEVICEINTERFACE) != 0;
    return kernel.add(
        std::make_shared<DeviceInfoList>(wanted && bus.installed ? bus.interfaces.size() : 0));
}

BOOL WINAPI SetupDiEnumDeviceInterfaces(HDEVINFO DeviceInfoSet, PSP_DEVINFO_DATA,
                                        const GUID* InterfaceClassGuid, DWORD MemberIndex,
                                        PSP_DEVICE_INTERFACE_DATA DeviceInterfaceData) {
    Kernel& kernel = Kernel::get();
    std::lock_guard lock(kernel.mutex);
    kernel.count("SetupDiEnumDeviceInterfaces");
    const auto list = kernel.find<DeviceInfoList>(DeviceInfoSet);
    if (!list) return fail(ERROR_INVALID_HANDLE);
    if (DeviceInterfaceData == nullptr ||
        DeviceInterfaceData->cbSize != sizeof(SP_DEVICE_INTERFACE_DATA)) {
        return fail(error_invalid_user_buffer);
    }
    if (!same_guid(InterfaceClassGuid, bus_guid) || MemberIndex >= list->count) {
        return fail(ERROR_NO_MORE_ITEMS);
    }
    DeviceInterfaceData->InterfaceClassGuid = bus_guid;
    DeviceInterfaceData->Flags = 1;  // active
    DeviceInterfaceData->Reserved = MemberIndex;
    return TRUE;
}

BOOL WINAPI SetupDiGetDeviceInterfaceDetailA(
    HDEVINFO DeviceInfoSet, PSP_DEVICE_INTERFACE_DATA DeviceInterfaceData,
    PSP_DEVICE_INTERFACE_DETAIL_DATA_A DeviceInterfaceDetailData,
    DWORD DeviceInterfaceDetailDataSize, PDWORD RequiredSize, PSP_DEVINFO_DATA) {
    Kernel& kernel = Kernel::get();
    std::lock_guard lock(kernel.mutex);
    kernel.count("SetupDiGetDeviceInterfaceDetailA");
    if (!kernel.find<DeviceInfoList>(DeviceInfoSet)) return fail(ERROR_INVALID_HANDLE);
    if (DeviceInterfaceData == nullptr) return fail(ERROR_INVALID_PARAMETER);
    const std::string path = interface_path(DeviceInterfaceData->Reserved);
    const DWORD required = static_cast<DWORD>(
        offsetof(SP_DEVICE_INTERFACE_DETAIL_DATA_A, DevicePath) + path.size() + 1);
    if (RequiredSize != nullptr) *RequiredSize = required;
    if (DeviceInterfaceDetailData == nullptr || DeviceInterfaceDetailDataSize < required) {
        return fail(ERROR_INSUFFICIENT_BUFFER);
    }
    if (DeviceInterfaceDetailData->cbSize != sizeof(SP_DEVICE_INTERFACE_DETAIL_DATA_A)) {
        return fail(error_invalid_user_buffer);
    }
    std::memcpy(DeviceInterfaceDetailData->DevicePath, path.c_str(), path.size() + 1);
    return TRUE;
}

BOOL WINAPI SetupDiDestroyDeviceInfoList(HDEVINFO DeviceInfoSet) {
    Kernel& kernel = Kernel::get();
    std::lock_guard lock(kernel.mutex);
    kernel.count("SetupDiDestroyDeviceInfoList");
    if (!kernel.find<DeviceInfoList>(DeviceInfoSet)) return fail(ERROR_INVALID_HANDLE);
    kernel.remove(DeviceInfoSet);
    return TRUE;
}

HANDLE WINAPI CreateFileA(LPCSTR lpFileName, DWORD, DWORD, LPSECURITY_ATTRIBUTES, DWORD, DWORD,
                          HANDLE) {
    Kernel& kernel = Kernel::get();
    std::lock_guard lock(kernel.mutex);
    kernel.count("CreateFileA");
    const BusDriver& bus = Machine::get().bus;
    for (std::size_t i = 0; bus.installed && lpFileName != nullptr && i < bus.interfaces.size();
         ++i) {
        if (interface_path(i) != lpFileName) continue;
        if (bus.interfaces[i].refuse_open) break;
        return kernel.add(std::make_shared<Device>(i));
    }
    set_last_error(lpFileName != nullptr && std::string_view(lpFileName).starts_with(path_prefix)
                       ? ERROR_ACCESS_DENIED
                       : ERROR_FILE_NOT_FOUND);
    return INVALID_HANDLE_VALUE;
}
}
