#pragma once

#include <malloc.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

/// Counts what a program takes from the heap. Include it in the one source of a benchmark.
namespace counting_heap {
inline std::atomic<std::size_t> allocations{0};
inline std::atomic<std::size_t> inUse{0}; // usable bytes
inline std::atomic<std::size_t> peak{0};  // of inUse, since resetPeak()

inline void resetPeak() {
    peak = inUse.load();
}
inline void *take(std::size_t size) {
    void *const block = std::malloc(std::max<std::size_t>(size, 1));
    if (block == nullptr) throw std::bad_alloc();
    ++allocations;
    const std::size_t now = inUse += ::malloc_usable_size(block);
    if (now > peak) peak = now; // one thread measures
    return block;
}
inline void give(void *block) {
    if (block == nullptr) return;
    inUse -= ::malloc_usable_size(block);
    std::free(block);
}
} // namespace counting_heap

void *operator new(std::size_t size) {
    return counting_heap::take(size);
}
void *operator new[](std::size_t size) {
    return counting_heap::take(size);
}
void operator delete(void *block) noexcept {
    counting_heap::give(block);
}
void operator delete[](void *block) noexcept {
    counting_heap::give(block);
}
void operator delete(void *block, std::size_t) noexcept {
    counting_heap::give(block);
}
void operator delete[](void *block, std::size_t) noexcept {
    counting_heap::give(block);
}
