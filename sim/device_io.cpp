// Overlapped device I/O by its Win32 names, over the simulated bus driver.

#include "machine.h"

using namespace zestsim::detail;

extern "C" {

BOOL WINAPI DeviceIoControl(HANDLE hDevice, DWORD dwIoControlCode, LPVOID lpInBuffer,
                            DWORD nInBufferSize, LPVOID lpOutBuffer, DWORD nOutBufferSize,
                            LPDWORD lpBytesReturned, LPOVERLAPPED lpOverlapped) {
    Kernel& kernel = Kernel::get();
    std::unique_lock lock(kernel.mutex);
    kernel.count("DeviceIoControl");
    kernel.count("ioctl " + std::to_string(dwIoControlCode));
    // Without an OVERLAPPED the caller waits right here, as for a handle opened without one.
    OVERLAPPED own{};
    OVERLAPPED* overlapped = lpOverlapped != nullptr ? lpOverlapped : &own;
    overlapped->Internal = status_pending;
    overlapped->InternalHigh = 0;
    const auto device = kernel.find<Device>(hDevice);
    if (!device) return fail(ERROR_INVALID_HANDLE);
    if (const auto event = kernel.find<Event>(overlapped->hEvent)) event->set = false;
    // A request failed at once, before it was queued or by the driver's first answer, is left
    // as it was marked, pending: nothing will ever complete it or set its event.
    const auto& refusals = Machine::get().bus.refusals;
    if (const auto refusal = refusals.find(dwIoControlCode); refusal != refusals.end()) {
        return fail(refusal->second);
    }
    const PendingRequest request{device, dwIoControlCode, static_cast<BYTE*>(lpOutBuffer),
                                 overlapped, 0};
    const Outcome outcome = handle_request(request, static_cast<const BYTE*>(lpInBuffer),
                                           nInBufferSize, nOutBufferSize);
    if (!outcome.pending && lpOverlapped != nullptr && Machine::get().bus.delay_ms > 0) {
        delay_completion(request, outcome);
        return fail(ERROR_IO_PENDING);
    }
    if (!outcome.pending && outcome.error != 0) return fail(outcome.error);
    if (!outcome.pending) {
        complete(request, outcome);
    } else if (lpOverlapped == nullptr) {
        kernel.changed.wait(lock, [&] { return own.Internal != status_pending; });
    } else {
        return fail(ERROR_IO_PENDING);
    }
    if (lpBytesReturned != nullptr) *lpBytesReturned = static_cast<DWORD>(overlapped->InternalHigh);
    const DWORD error = error_of(overlapped->Internal);
    return error == 0 ? TRUE : fail(error);
}

BOOL WINAPI GetOverlappedResult(HANDLE hFile, LPOVERLAPPED lpOverlapped,
                                LPDWORD lpNumberOfBytesTransferred, BOOL bWait) {
    Kernel& kernel = Kernel::get();
    std::unique_lock lock(kernel.mutex);
    kernel.count("GetOverlappedResult");
    if (lpOverlapped == nullptr) return fail(ERROR_INVALID_PARAMETER);
    if (lpOverlapped->Internal == status_pending) {
        if (!kernel.find<Device>(hFile)) return fail(ERROR_INVALID_HANDLE);
        if (!bWait) return fail(ERROR_IO_INCOMPLETE);
        kernel.changed.wait(lock, [&] { return lpOverlapped->Internal != status_pending; });
        // Windows waits on the event here, and a satisfied wait resets an auto-reset event.
        if (const auto event = kernel.find<Event>(lpOverlapped->hEvent)) event->acquire();
    }
    if (lpNumberOfBytesTransferred != nullptr) {
        *lpNumberOfBytesTransferred = static_cast<DWORD>(lpOverlapped->InternalHigh);
    }
    const DWORD error = error_of(lpOverlapped->Internal);
    return error == 0 ? TRUE : fail(error);
}

BOOL WINAPI CancelIoEx(HANDLE hFile, LPOVERLAPPED lpOverlapped) {
    Kernel& kernel = Kernel::get();
    std::lock_guard lock(kernel.mutex);
    kernel.count("CancelIoEx");
    const auto device = kernel.find<Device>(hFile);
    if (!device) return fail(ERROR_INVALID_HANDLE);
    if (Machine::get().bus.ignore_cancel) return TRUE;  // a stuck driver
    const std::size_t cancelled = complete_pending(
        [&](const PendingRequest& r) {
            return r.device == device && (lpOverlapped == nullptr || r.overlapped == lpOverlapped);
        },
        done(ERROR_OPERATION_ABORTED));
    return cancelled != 0 ? TRUE : fail(ERROR_NOT_FOUND);
}
}
