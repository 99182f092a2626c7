// The inventory as metrics, for the textfile collector of the Prometheus node exporter.
#pragma once

#include <string>

#include "inventory/inventory.h"

namespace diskmgt {

/// Names and labels are stable; docs/EXPORTS.md lists them. What is unknown has no sample.
std::string inventoryMetrics(const Inventory& inventory);

}  // namespace diskmgt
