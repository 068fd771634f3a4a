#pragma once

#include <cstdint>

namespace bench {

// The calling thread's cache misses in user mode, from the kernel's performance counters: the
// last level's, and the first level's data reads where the processor counts them, read together.
// Opening allocates nothing, so that a polling thread can open it between two ticks.
class CacheMisses {
public:
    struct Count {
        std::uint64_t last_level = 0;
        std::uint64_t first_level = 0;
    };

    CacheMisses();
    ~CacheMisses();
    CacheMisses(const CacheMisses&) = delete;
    CacheMisses& operator=(const CacheMisses&) = delete;

    // Whether the kernel lets this thread count them; the errno of the refusal if not.
    bool counted() const { return last_level_ >= 0; }
    bool first_level_counted() const { return first_level_ >= 0; }
    int error() const { return error_; }
    // Since the opening; zeros when not counted.
    Count read() const;

private:
    int last_level_ = -1;  // the group's leader
    int first_level_ = -1;
    int error_ = 0;
};

}  // namespace bench
