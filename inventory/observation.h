// Asks the kernel what the plug-in does not publish: what drive it is, all mount points, what users may still
// write, where MBR partitions really start.
#pragma once

#include "inventory/inventory.h"

namespace diskmgt {

/// Measures only what the plug-in has measured already, so nothing is mounted or waited for that was not before.
Observations observe(const Published& published);

}  // namespace diskmgt
