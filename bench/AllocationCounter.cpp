// Counts the program's heap allocations by replacing the global operator new.
#include <atomic>
#include <cstdlib>
#include <new>

#include "BenchSupport.h"

namespace {

std::atomic<std::size_t> gAllocations{0};

// Out of line, so that the compiler does not see a block from operator new reach free().
[[gnu::noinline]] void* countingAllocate(std::size_t size) {
    gAllocations.fetch_add(1, std::memory_order_relaxed);
    return std::malloc(size ? size : 1);
}

[[gnu::noinline]] void release(void* pointer) {
    std::free(pointer);
}

}  // namespace

std::size_t kestrum::bench::allocationCount() {
    return gAllocations.load(std::memory_order_relaxed);
}

void* operator new(std::size_t size) {
    if (void* p = countingAllocate(size)) return p;
    throw std::bad_alloc();
}
void* operator new[](std::size_t size) {
    return operator new(size);
}
void operator delete(void* pointer) noexcept {
    release(pointer);
}
void operator delete[](void* pointer) noexcept {
    release(pointer);
}
void operator delete(void* pointer, std::size_t) noexcept {
    release(pointer);
}
void operator delete[](void* pointer, std::size_t) noexcept {
    release(pointer);
}
