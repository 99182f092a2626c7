// The replaced operators. All memory comes from malloc, so that sanitizers still check it.
#include "tests/faults/allocation_faults.h"

#include <malloc.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <new>

namespace {

using diskmgt_test::AllocationFaults;

thread_local AllocationFaults* faultsOfThread = nullptr;

std::atomic<std::size_t> liveBytes{0};
std::atomic<std::size_t> peakBytes{0};

void* measured(void* block) noexcept {
    if (block == nullptr) return nullptr;
    const std::size_t size = ::malloc_usable_size(block);
    const std::size_t live = liveBytes.fetch_add(size, std::memory_order_relaxed) + size;
    std::size_t peak = peakBytes.load(std::memory_order_relaxed);
    while (live > peak && !peakBytes.compare_exchange_weak(peak, live, std::memory_order_relaxed)) {
    }
    return block;
}

void* allocate(std::size_t size) noexcept {
    if (AllocationFaults::next(AllocationFaults::Kind::operatorNew)) return nullptr;
    return measured(std::malloc(std::max<std::size_t>(size, 1)));
}

void* allocateAligned(std::size_t size, std::align_val_t alignment) noexcept {
    if (AllocationFaults::next(AllocationFaults::Kind::operatorNew)) return nullptr;
    const auto step = static_cast<std::size_t>(alignment);
    return measured(std::aligned_alloc(step, (std::max<std::size_t>(size, 1) + step - 1) / step * step));
}

void* orThrow(void* block) {
    if (block == nullptr) throw std::bad_alloc();
    return block;
}

void release(void* block) noexcept {
    if (block == nullptr) return;
    liveBytes.fetch_sub(::malloc_usable_size(block), std::memory_order_relaxed);
    std::free(block);
}

}  // namespace

// NOLINTBEGIN(misc-new-delete-overloads)
void* operator new(std::size_t size) { return orThrow(allocate(size)); }
void* operator new[](std::size_t size) { return orThrow(allocate(size)); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return allocate(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return allocate(size); }
void* operator new(std::size_t size, std::align_val_t alignment) { return orThrow(allocateAligned(size, alignment)); }
void* operator new[](std::size_t size, std::align_val_t alignment) { return orThrow(allocateAligned(size, alignment)); }
void operator delete(void* block) noexcept { release(block); }
void operator delete[](void* block) noexcept { release(block); }
void operator delete(void* block, std::size_t) noexcept { release(block); }
void operator delete[](void* block, std::size_t) noexcept { release(block); }
void operator delete(void* block, const std::nothrow_t&) noexcept { release(block); }
void operator delete[](void* block, const std::nothrow_t&) noexcept { release(block); }
void operator delete(void* block, std::align_val_t) noexcept { release(block); }
void operator delete[](void* block, std::align_val_t) noexcept { release(block); }
void operator delete(void* block, std::size_t, std::align_val_t) noexcept { release(block); }
void operator delete[](void* block, std::size_t, std::align_val_t) noexcept { release(block); }
// NOLINTEND(misc-new-delete-overloads)

// The linker sends calls of calloc here: -Wl,--wrap=calloc.
extern "C" void* __real_calloc(std::size_t count, std::size_t size);
extern "C" void* __wrap_calloc(std::size_t count, std::size_t size);
extern "C" void* __wrap_calloc(std::size_t count, std::size_t size) {
    return AllocationFaults::next(AllocationFaults::Kind::calloc) ? nullptr : __real_calloc(count, size);
}

namespace diskmgt_test {

AllocationFaults::AllocationFaults(Kind failingKind, int n, Fault how) : kind(failingKind), failing(n), lasting(how) {
    faultsOfThread = this;
}

AllocationFaults::~AllocationFaults() { faultsOfThread = nullptr; }

bool AllocationFaults::next(Kind allocated) noexcept {
    AllocationFaults* const faults = faultsOfThread;
    if (faults == nullptr || FakeOs::isAnswering()) return false;
    const int number = ++faults->counts[static_cast<int>(allocated)];
    const bool isIt = allocated == faults->kind && number == faults->failing;
    if (isIt) faults->begun = true;
    return isIt || (faults->begun && faults->lasting == Fault::fromThenOn);
}

PeakMemory::PeakMemory() : before(liveBytes.load()) { peakBytes.store(before); }

std::size_t PeakMemory::bytes() const { return peakBytes.load() - before; }

}  // namespace diskmgt_test
