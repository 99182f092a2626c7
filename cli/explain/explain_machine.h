// Explains a whole machine.
#pragma once

#include <string>
#include <vector>

#include "cli/explain/explanation.h"
#include "inventory/progress.h"

namespace diskmgt {

/// Every device of the kernel's list, every candidate disk that has a node, every mount, and a diagnosis.
Explanation explainMachine(const std::vector<std::string>& virtualDevices, Progress& progress);

}  // namespace diskmgt
