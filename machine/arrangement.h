// All devices as rows of a tree; beneath each are the devices that lie on it.
#pragma once

#include <cstddef>
#include <vector>

#include "machine/block_devices.h"

namespace diskmgt_machine {

struct ArrangedRow {
    std::size_t device = 0;  // position in BlockDevices::devices
    std::size_t depth = 0;
    bool isReference = false;  // its subtree is shown elsewhere: beneath the first device it lies on
};

/// Disks first, else natural order, depth first. The subtree of a device is shown exactly once, and each "lies on" is
/// one row, so every path down to a disk is kept. A cycle ends with a reference. Works without recursion, for graphs of
/// any depth. `isShown` picks devices by position; what lies only on others begins a tree of its own. Empty: all.
std::vector<ArrangedRow> arrange(const BlockDevices& blocks, const std::vector<bool>& isShown = {});

}  // namespace diskmgt_machine
