#include "cache_misses.h"

#include <linux/perf_event.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

namespace bench {
namespace {

int open_counter(std::uint32_t type, std::uint64_t config, int group) {
    perf_event_attr attr{};
    attr.size = sizeof attr;
    attr.type = type;
    attr.config = config;
    attr.read_format = PERF_FORMAT_GROUP;
    attr.exclude_kernel = 1;  // all that an unprivileged thread may count
    attr.exclude_hv = 1;
    return static_cast<int>(syscall(SYS_perf_event_open, &attr, 0, -1, group, 0));
}

}  // namespace

CacheMisses::CacheMisses() {
    last_level_ = open_counter(PERF_TYPE_HARDWARE, PERF_COUNT_HW_CACHE_MISSES, -1);
    if (last_level_ < 0) {
        error_ = errno;
        return;
    }
    first_level_ = open_counter(PERF_TYPE_HW_CACHE,
                                PERF_COUNT_HW_CACHE_L1D | (PERF_COUNT_HW_CACHE_OP_READ << 8) |
                                    (PERF_COUNT_HW_CACHE_RESULT_MISS << 16),
                                last_level_);
}

CacheMisses::~CacheMisses() {
    if (first_level_ >= 0) close(first_level_);
    if (last_level_ >= 0) close(last_level_);
}

CacheMisses::Count CacheMisses::read() const {
    if (last_level_ < 0) return {};
    // The group's layout: how many counters, then their values in the order they joined.
    std::uint64_t values[3] = {};
    if (::read(last_level_, values, sizeof values) < static_cast<ssize_t>(2 * sizeof values[0]))
        return {};
    return {values[1], values[0] > 1 ? values[2] : 0};
}

}  // namespace bench
