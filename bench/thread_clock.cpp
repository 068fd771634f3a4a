#include "thread_clock.h"

#include <time.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

namespace bench {
namespace {

std::int64_t read_clock(clockid_t clock) {
    timespec now{};
    if (clock_gettime(clock, &now) != 0) return -1;
    return now.tv_sec * 1'000'000'000LL + now.tv_nsec;
}

}  // namespace

pid_t current_thread_id() {
    return gettid();
}

pid_t find_thread(const std::string& name) {
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
        std::ifstream comm(task.path() / "comm");
        std::string line;
        if (std::getline(comm, line) && line == name) {
            return static_cast<pid_t>(std::stol(task.path().filename().string()));
        }
    }
    return 0;
}

std::int64_t thread_cpu_ns(pid_t thread) {
    // The kernel's clock id of another thread's CPU time, as pthread_getcpuclockid makes it:
    // the inverted id, then the per-thread bit and the scheduler's clock.
    constexpr clockid_t per_thread = 4;
    constexpr clockid_t scheduler_clock = 2;
    const clockid_t clock = static_cast<clockid_t>((~static_cast<unsigned>(thread)) << 3) |
                            per_thread | scheduler_clock;
    return read_clock(clock);
}

std::int64_t own_cpu_ns() {
    return read_clock(CLOCK_THREAD_CPUTIME_ID);
}

}  // namespace bench
