#include "support/allocation_counter.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {
std::atomic<std::thread::id> counted_thread{};
std::atomic<std::size_t> counted{0};
}  // namespace

namespace testsupport {

AllocationCounter::AllocationCounter(std::thread::id thread) {
    counted = 0;
    counted_thread = thread;
}

AllocationCounter::~AllocationCounter() {
    counted_thread = std::thread::id();
}

std::size_t AllocationCounter::count() const {
    return counted.load();
}

bool AllocationCounter::supported() {
#if defined(__SANITIZE_THREAD__)
    return false;
#else
    return true;
#endif
}

}  // namespace testsupport

#if !defined(__SANITIZE_THREAD__)

// The unaligned forms only; the library's array and nothrow forms call these.
void* operator new(std::size_t size) {
    if (counted_thread.load(std::memory_order_relaxed) == std::this_thread::get_id()) {
        counted.fetch_add(1);
    }
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
