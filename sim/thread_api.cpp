// Threads and the closing of handles by their Win32 names.

#include <system_error>
#include <thread>

#include "machine.h"

using zestsim::detail::Kernel;
using zestsim::detail::ThreadObject;

extern "C" {

HANDLE WINAPI CreateThread(LPSECURITY_ATTRIBUTES, SIZE_T, LPTHREAD_START_ROUTINE lpStartAddress,
                           LPVOID lpParameter, DWORD, LPDWORD lpThreadId) {
    Kernel& kernel = Kernel::get();
    auto thread = std::make_shared<ThreadObject>();
    HANDLE handle;
    {
        std::lock_guard lock(kernel.mutex);
        kernel.count("CreateThread");
        if (lpStartAddress == nullptr) {
            zestsim::detail::set_last_error(ERROR_INVALID_PARAMETER);
            return nullptr;
        }
        if (zestsim::detail::Machine::get().refuse_threads) {
            zestsim::detail::set_last_error(ERROR_NOT_ENOUGH_MEMORY);
            return nullptr;
        }
        handle = kernel.add(thread);
    }
    // The object outlives a closed handle, so the thread can always report its end.
    try {
        std::thread([thread, lpStartAddress, lpParameter] {
            lpStartAddress(lpParameter);
            Kernel& kernel = Kernel::get();
            std::lock_guard lock(kernel.mutex);
            thread->finished = true;
            kernel.changed.notify_all();
        }).detach();
    } catch (const std::system_error&) {
        std::lock_guard lock(kernel.mutex);
        kernel.remove(handle);
        zestsim::detail::set_last_error(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    if (lpThreadId != nullptr)
        *lpThreadId = static_cast<DWORD>(reinterpret_cast<ULONG_PTR>(handle));
    return handle;
}

BOOL WINAPI CloseHandle(HANDLE hObject) {
    Kernel& kernel = Kernel::get();
    std::lock_guard lock(kernel.mutex);
    kernel.count("CloseHandle");
    const std::shared_ptr<zestsim::detail::KernelObject> object = kernel.remove(hObject);
    if (!object) return zestsim::detail::fail(ERROR_INVALID_HANDLE);
    object->closed();
    kernel.changed.notify_all();
    return TRUE;
}
}
