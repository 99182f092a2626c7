#include "bench/allocations.h"

#include <malloc.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::uint64_t> allocations{0};
std::atomic<std::int64_t> bytesHeld{0};
std::atomic<std::int64_t> mostBytesHeld{0};

void* counted(std::size_t size) {
    allocations.fetch_add(1, std::memory_order_relaxed);
    void* const block = std::malloc(size == 0 ? 1 : size);
    if (block == nullptr) throw std::bad_alloc();
    const auto bytes = static_cast<std::int64_t>(malloc_usable_size(block));
    const std::int64_t held = bytesHeld.fetch_add(bytes, std::memory_order_relaxed) + bytes;
    // With two threads a peak may be lost; measuring uses one.
    mostBytesHeld.store(std::max(held, mostBytesHeld.load(std::memory_order_relaxed)), std::memory_order_relaxed);
    return block;
}

void release(void* block) {
    bytesHeld.fetch_sub(static_cast<std::int64_t>(malloc_usable_size(block)), std::memory_order_relaxed);
    std::free(block);
}

}  // namespace

namespace diskmgt_bench {

std::uint64_t allocationCount() { return allocations.load(std::memory_order_relaxed); }

PeakBytes::PeakBytes() : before(bytesHeld.load(std::memory_order_relaxed)) {
    mostBytesHeld.store(before, std::memory_order_relaxed);
}

std::int64_t PeakBytes::bytes() const { return mostBytesHeld.load(std::memory_order_relaxed) - before; }

}  // namespace diskmgt_bench

void* operator new(std::size_t size) { return counted(size); }
void* operator new[](std::size_t size) { return counted(size); }
void operator delete(void* block) noexcept { release(block); }
void operator delete[](void* block) noexcept { release(block); }
void operator delete(void* block, std::size_t /*size*/) noexcept { release(block); }
void operator delete[](void* block, std::size_t /*size*/) noexcept { release(block); }
