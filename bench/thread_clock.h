#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>

namespace bench {

// The kernel's id of the calling thread.
pid_t current_thread_id();
// The thread of this process that has this name (as the kernel keeps it: at most 15
// characters); 0 if there is none.
pid_t find_thread(const std::string& name);
// CPU time that a thread of this process has used so far, in nanoseconds; -1 once it is gone.
std::int64_t thread_cpu_ns(pid_t thread);
// The calling thread's CPU time, in nanoseconds.
std::int64_t own_cpu_ns();

}  // namespace bench
