#pragma once

#include <cstddef>
#include <thread>

namespace testsupport {

// Counts the calls of the global operator new that one thread (this one unless told) makes while
// the counter lives. One counter at a time.
// Linking allocation_counter.cpp replaces operator new and delete in the whole test binary.
// Qt's containers allocate with malloc and are not seen; std containers are.
//
// Under ThreadSanitizer nothing is replaced: a replacement would call malloc from this binary
// for Qt too, and so defeat the suppression that hides Qt's uninstrumented synchronisation.
// Tests then skip their counts.
class AllocationCounter {
public:
    static bool supported();

    explicit AllocationCounter(std::thread::id thread = std::this_thread::get_id());
    ~AllocationCounter();
    AllocationCounter(const AllocationCounter&) = delete;
    AllocationCounter& operator=(const AllocationCounter&) = delete;

    std::size_t count() const;
};

}  // namespace testsupport
