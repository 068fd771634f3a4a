#include "kernel.h"

namespace zestsim::detail {

namespace {
thread_local DWORD last_error = ERROR_SUCCESS;
}  // namespace

void set_last_error(DWORD error) {
    last_error = error;
}

// Never destroyed: detached threads of the simulation may still use it while the process ends.
Kernel& Kernel::get() {
    static Kernel* const kernel = new Kernel;
    return *kernel;
}

HANDLE Kernel::add(std::shared_ptr<KernelObject> object) {
    next_handle_ += 4;
    const HANDLE handle = reinterpret_cast<HANDLE>(next_handle_);
    handles_.emplace(handle, std::move(object));
    return handle;
}

std::shared_ptr<KernelObject> Kernel::remove(HANDLE handle) {
    const auto found = handles_.find(handle);
    if (found == handles_.end()) return nullptr;
    std::shared_ptr<KernelObject> object = std::move(found->second);
    handles_.erase(found);
    return object;
}

void Kernel::count(std::string_view function, std::size_t user) {
    auto found = calls_.find(function);
    if (found == calls_.end()) found = calls_.try_emplace(std::string(function)).first;
    ++found->second[no_user];
    if (user != no_user) ++found->second[user];
}

std::uint64_t Kernel::calls(const std::string& function, std::size_t user) const {
    const auto found = calls_.find(function);
    if (found == calls_.end()) return 0;
    const auto by_user = found->second.find(user);
    return by_user == found->second.end() ? 0 : by_user->second;
}

void Kernel::clear_counts() {
    calls_.clear();
}

}  // namespace zestsim::detail

extern "C" {

DWORD WINAPI GetLastError() {
    return zestsim::detail::last_error;
}

void WINAPI SetLastError(DWORD dwErrCode) {
    zestsim::detail::last_error = dwErrCode;
}
}
