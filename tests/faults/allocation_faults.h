// Allocations of this program: counted, measured, and made to fail. The global operators new and delete and the
// plug-in's calls of calloc are replaced in every program that links allocation_faults.cpp.
#pragma once

#include <cstddef>

#include "tests/support/fake_os.h"

namespace diskmgt_test {

/// While it exists, allocations of its thread are counted and the planned ones fail: operator new throws
/// `std::bad_alloc`, calloc returns null. Those of the described machine do not count: the kernel would not use the
/// program's memory. One at a time per thread.
class AllocationFaults {
public:
    enum class Kind { operatorNew, calloc };

    /// The n-th of that kind fails, and with `fromThenOn` every later one of both kinds; with 0 all succeed.
    AllocationFaults(Kind failingKind, int n, Fault how);
    AllocationFaults(const AllocationFaults&) = delete;
    AllocationFaults& operator=(const AllocationFaults&) = delete;
    ~AllocationFaults();

    int countOf(Kind counted) const { return counts[static_cast<int>(counted)]; }

    /// For the replaced operators: notes one allocation of this thread; true when it is to fail.
    static bool next(Kind allocated) noexcept;

private:
    const Kind kind;
    const int failing;
    const Fault lasting;
    bool begun = false;
    int counts[2] = {0, 0};
};

/// The peak of bytes allocated by operator new and not yet freed, above those at its construction.
class PeakMemory {
public:
    PeakMemory();
    std::size_t bytes() const;

private:
    std::size_t before;
};

}  // namespace diskmgt_test
