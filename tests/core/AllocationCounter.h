// Counts the heap allocations of the calling thread, for tests of paths that must not
// allocate. The test executable replaces the global operator new to count.
#pragma once

namespace kestrum::test {

// The number of allocations made on this thread so far.
long allocationsOnThisThread();

// Counts from its making: count() is the number of allocations since.
class AllocationCount {
public:
    AllocationCount() : start_(allocationsOnThisThread()) {}
    long count() const { return allocationsOnThisThread() - start_; }

private:
    long start_;
};

}  // namespace kestrum::test
