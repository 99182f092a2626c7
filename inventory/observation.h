// Asks the kernel what the plug-in does not publish: what drive it is, all mount points, what users may still
// write, where MBR partitions really start.
#pragma once

#include <optional>

#include "inventory/inventory.h"
#include "inventory/mount_figures.h"

namespace diskmgt {

/// Measures nothing. Without figures the space of no file system is known.
Observations observe(const Published& published, const std::optional<MountFigures>& figures);

}  // namespace diskmgt
