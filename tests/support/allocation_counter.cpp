#include "support/allocation_counter.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {
std::atomic<std::thread::id> counted_thread{};
std::atomic<std::size_t> thread_count{0};
}  // namespace

namespace testsupport {

AllocationCounter::AllocationCounter(std::thread::id thread) {
    thread_count = 0;
    counted_thread = thread;
}

AllocationCounter::~AllocationCounter() {
    counted_thread = std::thread::id();
}

std::size_t AllocationCounter::count() const {
    return thread_count.load();
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

// Every unaligned form is replaced: a sanitizer's runtime supplies the ones left out, and its
// memory would then reach the free() below (and go uncounted).
namespace {
void* counted_new(std::size_t size) noexcept {
    if (counted_thread.load(std::memory_order_relaxed) == std::this_thread::get_id()) {
        thread_count.fetch_add(1);
    }
    return std::malloc(size == 0 ? 1 : size);
}

void* counted_new_or_throw(std::size_t size) {
    if (void* memory = counted_new(size)) return memory;
    throw std::bad_alloc();
}
}  // namespace

void* operator new(std::size_t size) {
    return counted_new_or_throw(size);
}

void* operator new[](std::size_t size) {
    return counted_new_or_throw(size);
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return counted_new(size);
}

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return counted_new(size);
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete[](void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

void operator delete[](void* memory, std::size_t) noexcept {
    std::free(memory);
}

void operator delete(void* memory, const std::nothrow_t&) noexcept {
    std::free(memory);
}

void operator delete[](void* memory, const std::nothrow_t&) noexcept {
    std::free(memory);
}

#endif
