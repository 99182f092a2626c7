// All devices as rows of a tree: each with what lies on it beneath.
#pragma once

#include <cstddef>
#include <vector>

#include "machine/block_devices.h"

namespace diskmgt_machine {

struct ArrangedRow {
    std::size_t device = 0;  // position in BlockDevices::devices
    std::size_t depth = 0;
    bool isReference = false;  // shown whole with what lies on it elsewhere: beneath the first that it lies on
};

/// Natural order. Each device is whole exactly once, and each "lies on" is one row, so that every way down to a disk is
/// kept. A cycle ends with a reference.
std::vector<ArrangedRow> arrange(const BlockDevices& blocks);

}  // namespace diskmgt_machine
