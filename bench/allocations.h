// Allocations of the whole process, counted by replaced operators new.
#pragma once

#include <cstdint>

namespace diskmgt_bench {

/// Calls of operator new since the process began, those of the shared libraries included.
std::uint64_t allocationCount();

}  // namespace diskmgt_bench
