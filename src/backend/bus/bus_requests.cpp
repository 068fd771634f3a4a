#include "backend/bus/bus_requests.h"

#include <QMessageLogger>

DWORD bus_start(HANDLE device, DWORD code, BYTE* in, DWORD in_size, BYTE* out, DWORD out_size,
                OVERLAPPED& overlapped) {
    if (DeviceIoControl(device, code, in, in_size, out, out_size, nullptr, &overlapped)) {
        return ERROR_SUCCESS;
    }
    return GetLastError();
}

DWORD bus_finish(HANDLE device, OVERLAPPED& overlapped, DWORD bound_ms) {
    if (bound_ms != INFINITE && WaitForSingleObject(overlapped.hEvent, bound_ms) == WAIT_TIMEOUT) {
        bus_warn_unanswered();
        CancelIoEx(device, &overlapped);
    }
    // The buffer and the OVERLAPPED belong to the caller: the request must settle first.
    DWORD transferred = 0;
    return GetOverlappedResult(device, &overlapped, &transferred, TRUE)
               ? static_cast<DWORD>(ERROR_SUCCESS)
               : GetLastError();
}

BusStatus bus_status(DWORD code, DWORD error) {
    if (error == ERROR_SUCCESS) return BUS_OK;
    switch (code) {
        case BUS_IOCTL_CHECK_VERSION:
            return BUS_ERROR_VERSION_MISMATCH;
        case BUS_IOCTL_PLUG_TARGET:  // this serial number is taken
            return BUS_ERROR_NO_FREE_SLOT;
        case BUS_IOCTL_WAIT_READY:  // what older drivers answer when ready
            return error == ERROR_INVALID_PARAMETER ? BUS_OK : BUS_ERROR_NOT_PLUGGED;
        case BUS_IOCTL_UNPLUG_TARGET:
            return BUS_ERROR_REMOVAL_FAILED;
        case BUS_IOCTL_SUBMIT_X360_REPORT:  // a lost report is no error; a refused target is
            return error == ERROR_ACCESS_DENIED ? BUS_ERROR_INVALID_TARGET : BUS_OK;
        default:
            return BUS_ERROR_NOT_FOUND;
    }
}

bool bus_output_ends(DWORD error) {
    // Cancelled, or a request that the driver does not know.
    return error == ERROR_OPERATION_ABORTED || error == ERROR_INVALID_PARAMETER;
}

void bus_warn_unanswered() {
    QMessageLogger().warning(
        "Gamepad: the bus driver did not answer in time; leaving without "
        "waiting");
}
