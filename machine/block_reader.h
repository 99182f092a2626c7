// Reads the kernel's block devices from /sys/block.
#pragma once

#include "machine/block_devices.h"

namespace diskmgt_machine {

/// One pass: each folder is listed once, and only listed files are opened. A device that vanishes during it is left
/// out.
BlockDevices readBlockDevices();

}  // namespace diskmgt_machine
