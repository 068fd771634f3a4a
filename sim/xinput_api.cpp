// XInput by its Win32 names, over the machine's four user indices.

#include "kernel.h"
#include "machine.h"

using zestsim::detail::Kernel;
using zestsim::detail::Machine;
using zestsim::detail::PadSlot;

namespace {

constexpr DWORD error_bad_arguments = 160;
constexpr WORD guide_button = 0x0400;  // reported only through a private entry point

// The slot of `user` under the kernel lock, or null with the XInput error to return.
PadSlot* slot_of(DWORD user, DWORD& error) {
    if (user >= zestsim::user_count) {
        error = error_bad_arguments;
        return nullptr;
    }
    PadSlot& slot = Machine::get().pads[user];
    error = slot.plugged ? ERROR_SUCCESS : ERROR_DEVICE_NOT_CONNECTED;
    return slot.plugged ? &slot : nullptr;
}

XINPUT_GAMEPAD to_gamepad(const zestsim::PadState& s, WORD buttons) {
    return XINPUT_GAMEPAD{buttons,    s.left_trigger, s.right_trigger, s.thumb_lx,
                          s.thumb_ly, s.thumb_rx,     s.thumb_ry};
}

}  // namespace

extern "C" {

DWORD WINAPI XInputGetState(DWORD dwUserIndex, XINPUT_STATE* pState) {
    Kernel& kernel = Kernel::get();
    std::lock_guard lock(kernel.mutex);
    kernel.count("XInputGetState", dwUserIndex);
    zestsim::detail::show_late_targets();
    DWORD error = ERROR_SUCCESS;
    const PadSlot* slot = slot_of(dwUserIndex, error);
    if (pState == nullptr) return error_bad_arguments;  // before the pad is looked for
    if (slot == nullptr) return error;
    const zestsim::PadState& s = slot->state;
    pState->dwPacketNumber = slot->packet;
    pState->Gamepad = to_gamepad(s, static_cast<WORD>(s.buttons & ~guide_button));
    return ERROR_SUCCESS;
}

DWORD WINAPI XInputSetState(DWORD dwUserIndex, XINPUT_VIBRATION* pVibration) {
    Kernel& kernel = Kernel::get();
    std::lock_guard lock(kernel.mutex);
    kernel.count("XInputSetState", dwUserIndex);
    DWORD error = ERROR_SUCCESS;
    PadSlot* slot = slot_of(dwUserIndex, error);
    if (slot == nullptr || pVibration == nullptr) return slot ? ERROR_INVALID_PARAMETER : error;
    slot->vibration = {pVibration->wLeftMotorSpeed, pVibration->wRightMotorSpeed};
    if (slot->target_serial != 0) {
        zestsim::detail::notify_rumble(slot->target_serial, slot->vibration, dwUserIndex);
    }
    return ERROR_SUCCESS;
}

DWORD WINAPI XInputGetCapabilities(DWORD dwUserIndex, DWORD dwFlags,
                                   XINPUT_CAPABILITIES* pCapabilities) {
    Kernel& kernel = Kernel::get();
    std::lock_guard lock(kernel.mutex);
    kernel.count("XInputGetCapabilities", dwUserIndex);
    DWORD error = ERROR_SUCCESS;
    const PadSlot* slot = slot_of(dwUserIndex, error);
    if (dwFlags > 1 || pCapabilities == nullptr) return error_bad_arguments;
    if (slot == nullptr) return error;
    if (Machine::get().fail_capabilities) return ERROR_DEVICE_NOT_CONNECTED;
    const zestsim::Capabilities& c = slot->capabilities;
    pCapabilities->Type = c.type;
    pCapabilities->SubType = c.subtype;
    pCapabilities->Flags = c.flags;
    pCapabilities->Gamepad = to_gamepad(c.controls, c.controls.buttons);
    pCapabilities->Vibration = {c.left_motor, c.right_motor};
    return ERROR_SUCCESS;
}
}
