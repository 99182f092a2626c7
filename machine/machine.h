// The whole account of a server, read in one pass.
#pragma once

#include <string>
#include <vector>

#include "machine/block_devices.h"
#include "machine/mounts.h"
#include "machine/swaps.h"
#include "machine/udev_record.h"

namespace diskmgt_machine {

/// A btrfs file system that is mounted, here or elsewhere.
struct BtrfsFileSystem {
    std::string uuid;
    std::vector<std::string> members;  // names below /dev
};

struct Machine {
    BlockDevices blocks;
    std::vector<UdevRecord> udev;  // at the positions of blocks.devices; empty: udev keeps no records here
    std::vector<Mount> mounts;
    std::vector<Swap> swaps;
    std::vector<BtrfsFileSystem> btrfs;
    int mountError = 0;  // why the table could not be read; 0: success
    int swapError = 0;
};

struct KernelMounts {
    std::vector<Mount> mounts;
    int error = 0;  // why the table could not be read; 0: success
};
KernelMounts readKernelMounts();

Machine readMachine();

}  // namespace diskmgt_machine
