#pragma once

// Replaces the global operator new (both forms) of the test program with one
// that counts while counting is on; the matching deletes free what it gave.
// A replacement belongs to the whole program: include this header in one
// source file of a program only.
#include <atomic>
#include <cstdlib>
#include <new>

namespace pdf417 {
namespace test {

inline std::atomic<bool> countingAllocations{false};
inline std::atomic<long> allocationCount{0};

// The number of allocations `work` made.
template <typename Work>
long allocationsDuring(Work&& work) {
    allocationCount = 0;
    countingAllocations = true;
    work();
    countingAllocations = false;
    return allocationCount;
}

} // namespace test
} // namespace pdf417

void* operator new(std::size_t size) {
    pdf417::test::allocationCount += pdf417::test::countingAllocations ? 1 : 0;
    if (void* p = std::malloc(size == 0 ? 1 : size)) {
        return p;
    }
    throw std::bad_alloc();
}

// The nothrow form too (std::stable_sort's buffer uses it), so that every
// plain delete frees what malloc gave, as the sanitizers insist.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    pdf417::test::allocationCount += pdf417::test::countingAllocations ? 1 : 0;
    return std::malloc(size == 0 ? 1 : size);
}

// Kept out of line: inlined, GCC sees free() on memory from a new-expression
// and warns, not knowing that new is malloc here.
__attribute__((noinline)) void operator delete(void* p) noexcept {
    std::free(p);
}
__attribute__((noinline)) void operator delete(void* p, std::size_t) noexcept {
    std::free(p);
}
