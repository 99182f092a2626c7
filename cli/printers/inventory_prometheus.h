// The inventory as metrics, for the textfile collector of the Prometheus node exporter.
#pragma once

#include <string>

#include "cli/inventory/inventory.h"

namespace diskmgt_cli {

/// Names and labels are stable; docs/EXPORTS.md lists them. What is unknown has no sample.
std::string inventoryMetrics(const Inventory& inventory);

}  // namespace diskmgt_cli
