// Explains what was asked for by name.
#pragma once

#include <string>
#include <vector>

#include "cli/explain/explanation.h"
#include "inventory/progress.h"

namespace diskmgt {

/// Devices, partitions, links to them, mount sources and mount points; what is none of these is explained as a device
/// that does not exist.
Explanation explainNamed(const std::vector<std::string>& operands, const std::vector<std::string>& virtualDevices,
                         Progress& progress);

}  // namespace diskmgt
