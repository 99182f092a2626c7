// The account of a server as metrics, for the textfile collector of the Prometheus node exporter.
#pragma once

#include <string>

#include "inventory/server_account.h"

namespace diskmgt {

/// Names and labels are stable; docs/EXPORTS.md lists them. What is unknown has no sample.
std::string inventoryMetrics(const ServerAccount& account);

}  // namespace diskmgt
