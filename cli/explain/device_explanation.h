// Everything that is said about one disk or one partition.
#pragma once

#include <string>
#include <vector>

#include "cli/explain/explanation.h"
#include "inventory/device_facts.h"
#include "inventory/mount_facts.h"

namespace diskmgt {

DeviceExplanation explainDevice(const DeviceFacts& facts, const std::vector<MountFacts>& mounts, bool isTableReported);
/// `tableNames`: what the table of the disk calls its partitions.
DeviceExplanation explainPartition(const std::string& path, const DeviceFacts& disk,
                                   const std::vector<std::string>& tableNames, const MountTableFacts& table);

}  // namespace diskmgt
