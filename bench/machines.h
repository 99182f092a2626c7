// Described machines of the measured sizes, and disks of each layout.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "tests/support/fake_os.h"

namespace diskmgt_bench {

enum class Layout { mbr, gpt };

/// Up to four primaries; above that three primaries and an extended one whose chain holds the rest. The extended one
/// counts.
diskmgt_test::DiskImage mbrDisk(unsigned partitions);
/// A table of `entries` slots, the first `used` of them used.
diskmgt_test::DiskImage gptDisk(unsigned used, int entries = 128);

struct MachineSize {
    std::size_t disks;
    unsigned partitionsPerDisk;
    std::size_t mounts;
    Layout layout;
};

/// Disks named as the partition collector looks for them (at most 280), sysfs, and a mount table in which every
/// partition is mounted until the number of mounts is reached; the rest of it are pseudo file systems.
void describe(diskmgt_test::FakeOs& machine, const MachineSize& size);

}  // namespace diskmgt_bench
