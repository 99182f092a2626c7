// Finds the kernel's partition for each published one.
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>

#include "inventory/completeness.h"
#include "inventory/server_account.h"

namespace diskmgt {

/// The device that a path of the plug-in leads to; absent: the kernel lists none.
using DevicesByPath = std::map<std::string, std::optional<std::size_t>>;

/// The published partitions are those of the candidate disks, disk by disk in the candidates' order, as many of each as
/// its table gives.
void joinPartitions(ServerAccount& account, const DevicesByPath& places);

}  // namespace diskmgt
