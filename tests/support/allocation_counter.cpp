#include "support/allocation_counter.h"

#include <cstdlib>
#include <new>

namespace {
thread_local std::size_t* active_count = nullptr;
}  // namespace

namespace testsupport {

AllocationCounter::AllocationCounter() : outer_(active_count) {
    active_count = &count_;
}

AllocationCounter::~AllocationCounter() {
    active_count = outer_;
}

#if defined(__SANITIZE_THREAD__)

bool AllocationCounter::supported() {
    return false;
}

}  // namespace testsupport

#else

bool AllocationCounter::supported() {
    return true;
}

}  // namespace testsupport

// The unaligned forms only; the library's array and nothrow forms call these.
void* operator new(std::size_t size) {
    if (active_count != nullptr) ++*active_count;
    if (void* memory = std::malloc(size == 0 ? 1 : size)) return memory;
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

#endif
