// Allocations of the whole process, counted and measured by replaced operators new and delete.
#pragma once

#include <cstdint>

namespace diskmgt_bench {

/// Calls of operator new since the process began, including those of shared libraries.
std::uint64_t allocationCount();

/// The peak of bytes allocated by operator new and not yet freed, above those at its construction. One at a time.
class PeakBytes {
public:
    PeakBytes();
    std::int64_t bytes() const;

private:
    std::int64_t before;
};

}  // namespace diskmgt_bench
