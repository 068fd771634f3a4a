// Events and waits by their Win32 names.

#include <chrono>
#include <vector>

#include "kernel.h"
#include "machine.h"

using zestsim::detail::Event;
using zestsim::detail::Kernel;
using zestsim::detail::set_last_error;
using zestsim::detail::Waitable;

namespace {

HANDLE create_event(BOOL manual_reset, BOOL initial_state) {
    Kernel& kernel = Kernel::get();
    std::lock_guard lock(kernel.mutex);
    kernel.count("CreateEvent");
    zestsim::detail::Machine& machine = zestsim::detail::Machine::get();
    if (machine.refuse_events) {
        if (machine.events_before_refusal == 0) {
            set_last_error(ERROR_NOT_ENOUGH_MEMORY);
            return nullptr;
        }
        --machine.events_before_refusal;
    }
    return kernel.add(std::make_shared<Event>(manual_reset != FALSE, initial_state != FALSE));
}

BOOL change_event(HANDLE handle, bool set, const char* function) {
    Kernel& kernel = Kernel::get();
    std::lock_guard lock(kernel.mutex);
    kernel.count(function);
    const std::shared_ptr<Event> event = kernel.find<Event>(handle);
    if (!event) {
        set_last_error(ERROR_INVALID_HANDLE);
        return FALSE;
    }
    event->set = set;
    kernel.changed.notify_all();
    return TRUE;
}

// Any-of: the lowest signalled index wins and only that object is acquired. All-of: every
// object must be signalled at once, and all are acquired.
DWORD wait_for(DWORD count, const HANDLE* handles, bool all, DWORD milliseconds) {
    Kernel& kernel = Kernel::get();
    std::unique_lock lock(kernel.mutex);
    kernel.count(count == 1 && !all ? "WaitForSingleObject" : "WaitForMultipleObjects");
    if (count == 0 || count > MAXIMUM_WAIT_OBJECTS || handles == nullptr) {
        set_last_error(ERROR_INVALID_PARAMETER);
        return WAIT_FAILED;
    }
    std::vector<std::shared_ptr<Waitable>> objects;
    for (DWORD i = 0; i < count; ++i) {
        objects.push_back(kernel.find<Waitable>(handles[i]));
        if (!objects.back()) {
            set_last_error(ERROR_INVALID_HANDLE);
            return WAIT_FAILED;
        }
    }
    DWORD result = WAIT_TIMEOUT;
    const auto ready = [&] {
        if (all) {
            for (const auto& object : objects) {
                if (!object->signaled()) return false;
            }
            for (const auto& object : objects)
                object->acquire();
            result = WAIT_OBJECT_0;
            return true;
        }
        for (DWORD i = 0; i < count; ++i) {
            if (objects[i]->signaled()) {
                objects[i]->acquire();
                result = WAIT_OBJECT_0 + i;
                return true;
            }
        }
        return false;
    };
    if (milliseconds == INFINITE) {
        kernel.changed.wait(lock, ready);
    } else {
        kernel.changed.wait_for(lock, std::chrono::milliseconds(milliseconds), ready);
    }
    return result;
}

}  // namespace

extern "C" {

HANDLE WINAPI CreateEventA(LPSECURITY_ATTRIBUTES, BOOL bManualReset, BOOL bInitialState, LPCSTR) {
    return create_event(bManualReset, bInitialState);
}

HANDLE WINAPI CreateEventW(LPSECURITY_ATTRIBUTES, BOOL bManualReset, BOOL bInitialState, LPCWSTR) {
    return create_event(bManualReset, bInitialState);
}

BOOL WINAPI SetEvent(HANDLE hEvent) {
    return change_event(hEvent, true, "SetEvent");
}

BOOL WINAPI ResetEvent(HANDLE hEvent) {
    return change_event(hEvent, false, "ResetEvent");
}

DWORD WINAPI WaitForSingleObject(HANDLE hHandle, DWORD dwMilliseconds) {
    return wait_for(1, &hHandle, false, dwMilliseconds);
}

DWORD WINAPI WaitForMultipleObjects(DWORD nCount, const HANDLE* lpHandles, BOOL bWaitAll,
                                    DWORD dwMilliseconds) {
    return wait_for(nCount, lpHandles, bWaitAll != FALSE, dwMilliseconds);
}
}
