// The counting operators new and their operators delete.
#include "bench/allocations.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::uint64_t> allocations{0};

void* counted(std::size_t size) {
    allocations.fetch_add(1, std::memory_order_relaxed);
    if (void* const block = std::malloc(size == 0 ? 1 : size)) return block;
    throw std::bad_alloc();
}

}  // namespace

namespace diskmgt_bench {

std::uint64_t allocationCount() { return allocations.load(std::memory_order_relaxed); }

}  // namespace diskmgt_bench

void* operator new(std::size_t size) { return counted(size); }
void* operator new[](std::size_t size) { return counted(size); }
void operator delete(void* block) noexcept { std::free(block); }
void operator delete[](void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t /*size*/) noexcept { std::free(block); }
void operator delete[](void* block, std::size_t /*size*/) noexcept { std::free(block); }
