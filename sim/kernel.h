#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>

#include "platform/win32.h"

namespace zestsim::detail {

struct KernelObject {
    virtual ~KernelObject() = default;
    // Its handle was closed; under the kernel lock. A device cancels what it has pending.
    virtual void closed() {}
};

// An object a thread can wait on. Both calls run under the kernel lock.
struct Waitable : KernelObject {
    virtual bool signaled() const = 0;
    // What a satisfied wait does to the object: an auto-reset event resets.
    virtual void acquire() {}
};

struct Event final : Waitable {
    Event(bool manual, bool initially_set) : manual_reset(manual), set(initially_set) {}
    bool signaled() const override { return set; }
    void acquire() override {
        if (!manual_reset) set = false;
    }
    const bool manual_reset;
    bool set;
};

struct ThreadObject final : Waitable {
    bool signaled() const override { return finished; }
    bool finished = false;
};

// The simulated kernel: one lock over every object, as a simple kernel would have, one
// condition that every change of state announces, the handle table and the call counters.
class Kernel {
public:
    static Kernel& get();

    std::mutex mutex;
    std::condition_variable changed;

    // All of these under `mutex`.
    HANDLE add(std::shared_ptr<KernelObject> object);
    std::shared_ptr<KernelObject> remove(HANDLE handle);
    template <typename T>
    std::shared_ptr<T> find(HANDLE handle) const {
        const auto found = handles_.find(handle);
        return found == handles_.end() ? nullptr : std::dynamic_pointer_cast<T>(found->second);
    }
    void count(std::string_view function, std::size_t user = no_user);
    std::uint64_t calls(const std::string& function, std::size_t user) const;
    void clear_counts();

    static constexpr std::size_t no_user = static_cast<std::size_t>(-1);

private:
    std::map<HANDLE, std::shared_ptr<KernelObject>> handles_;
    std::uintptr_t next_handle_ = 0x1000;  // never reused: a closed handle stays invalid
    // By function, then by user index (no_user for the function's total). Looked up by view, so
    // that counting a call makes no string: XInputGetState is counted on every tick.
    std::map<std::string, std::map<std::size_t, std::uint64_t>, std::less<>> calls_;
};

// Per thread, as on Windows.
void set_last_error(DWORD error);
inline BOOL fail(DWORD error) {
    set_last_error(error);
    return FALSE;
}

}  // namespace zestsim::detail
