#include "core/AllocationCounter.h"

#include <cstdlib>
#include <new>

namespace {
thread_local long tAllocations = 0;
}  // namespace

namespace kestrum::test {
long allocationsOnThisThread() {
    return tAllocations;
}
}  // namespace kestrum::test

void* operator new(std::size_t size) {
    ++tAllocations;
    if (void* p = std::malloc(size ? size : 1)) return p;
    throw std::bad_alloc();
}

void* operator new[](std::size_t size) {
    ++tAllocations;
    if (void* p = std::malloc(size ? size : 1)) return p;
    throw std::bad_alloc();
}

void operator delete(void* p) noexcept {
    std::free(p);
}
void operator delete[](void* p) noexcept {
    std::free(p);
}
void operator delete(void* p, std::size_t) noexcept {
    std::free(p);
}
void operator delete[](void* p, std::size_t) noexcept {
    std::free(p);
}
