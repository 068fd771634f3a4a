// The records that device code shares with the OS, at Windows' x64 sizes and offsets. Built here
// against the declarations of the simulated machine, and by a Windows compiler against the SDK.
// A first member is at offset 0 in any case, so only the others are checked.
#include <cstddef>
#include <type_traits>

#include "platform/win32.h"

static_assert(sizeof(void*) == 8, "the layouts below are those of x64");

static_assert(sizeof(BYTE) == 1 && sizeof(WORD) == 2 && sizeof(SHORT) == 2);
static_assert(sizeof(DWORD) == 4 && sizeof(LONG) == 4 && sizeof(BOOL) == 4 && sizeof(UINT) == 4);
static_assert(sizeof(ULONG_PTR) == 8 && sizeof(CHAR) == 1 && sizeof(WCHAR) == 2);
static_assert(std::is_unsigned_v<DWORD> && std::is_signed_v<LONG> && std::is_signed_v<SHORT>);

static_assert(sizeof(GUID) == 16 && offsetof(GUID, Data2) == 4 && offsetof(GUID, Data3) == 6 &&
              offsetof(GUID, Data4) == 8);
static_assert(sizeof(OVERLAPPED) == 32 && offsetof(OVERLAPPED, InternalHigh) == 8 &&
              offsetof(OVERLAPPED, Offset) == 16 && offsetof(OVERLAPPED, OffsetHigh) == 20 &&
              offsetof(OVERLAPPED, hEvent) == 24);
static_assert(sizeof(SECURITY_ATTRIBUTES) == 24 &&
              offsetof(SECURITY_ATTRIBUTES, lpSecurityDescriptor) == 8 &&
              offsetof(SECURITY_ATTRIBUTES, bInheritHandle) == 16);
static_assert(sizeof(SP_DEVINFO_DATA) == 32 && offsetof(SP_DEVINFO_DATA, ClassGuid) == 4 &&
              offsetof(SP_DEVINFO_DATA, DevInst) == 20 &&
              offsetof(SP_DEVINFO_DATA, Reserved) == 24);
static_assert(sizeof(SP_DEVICE_INTERFACE_DATA) == 32 &&
              offsetof(SP_DEVICE_INTERFACE_DATA, InterfaceClassGuid) == 4 &&
              offsetof(SP_DEVICE_INTERFACE_DATA, Flags) == 20 &&
              offsetof(SP_DEVICE_INTERFACE_DATA, Reserved) == 24);
static_assert(sizeof(SP_DEVICE_INTERFACE_DETAIL_DATA_A) == 8 &&
              offsetof(SP_DEVICE_INTERFACE_DETAIL_DATA_A, DevicePath) == 4);

static_assert(sizeof(XINPUT_GAMEPAD) == 12 && offsetof(XINPUT_GAMEPAD, bLeftTrigger) == 2 &&
              offsetof(XINPUT_GAMEPAD, bRightTrigger) == 3 &&
              offsetof(XINPUT_GAMEPAD, sThumbLX) == 4 && offsetof(XINPUT_GAMEPAD, sThumbLY) == 6 &&
              offsetof(XINPUT_GAMEPAD, sThumbRX) == 8 && offsetof(XINPUT_GAMEPAD, sThumbRY) == 10);
static_assert(sizeof(XINPUT_STATE) == 16 && offsetof(XINPUT_STATE, Gamepad) == 4);
static_assert(sizeof(XINPUT_VIBRATION) == 4 && offsetof(XINPUT_VIBRATION, wRightMotorSpeed) == 2);
static_assert(sizeof(XINPUT_CAPABILITIES) == 20 && offsetof(XINPUT_CAPABILITIES, SubType) == 1 &&
              offsetof(XINPUT_CAPABILITIES, Flags) == 2 &&
              offsetof(XINPUT_CAPABILITIES, Gamepad) == 4 &&
              offsetof(XINPUT_CAPABILITIES, Vibration) == 16);
