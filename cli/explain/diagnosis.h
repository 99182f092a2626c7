// What stands out on the machine.
#pragma once

#include <string>
#include <vector>

#include "inventory/device_facts.h"
#include "inventory/mount_facts.h"

namespace diskmgt {

/// Whole sentences, the most far-reaching first.
std::vector<std::string> diagnose(const KernelList& list, const std::vector<DeviceFacts>& devices,
                                  const MountTableFacts& table);

}  // namespace diskmgt
