#include "serve/process/memory_use.h"

#include <malloc.h>

#include <cstddef>

namespace diskmgt::serve {

namespace {

constexpr int kMiB = 1 << 20;
constexpr int kMuch = 4 * kMiB;

}  // namespace

void reuseMemory() noexcept {
    (void)::mallopt(M_TRIM_THRESHOLD, kMiB);
    (void)::mallopt(M_MMAP_THRESHOLD, kMuch);  // texts that grow are moved often
}

void giveBackMemory() noexcept {
    if (::mallinfo2().fordblks > std::size_t{kMuch}) (void)::malloc_trim(0);
}

void separateDocuments() noexcept {
    (void)::mallopt(M_MMAP_THRESHOLD, kMiB / 8);  // the C library would raise it with the first one that is freed
}

}  // namespace diskmgt::serve
