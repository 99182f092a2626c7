// Explains a whole machine, or what was asked for by name.
#pragma once

#include <string>
#include <vector>

#include "cli/explain/explanation.h"
#include "inventory/device_facts.h"
#include "inventory/mount_facts.h"

namespace diskmgt {

/// Every device of the kernel's list, every candidate disk that has a node, every mount, and a diagnosis.
Explanation explainMachine(const std::vector<std::string>& virtualDevices, Progress& progress);

/// Devices, partitions, links to them, mount sources and mount points; what is none of these is explained as a device
/// that does not exist.
Explanation explainNamed(const std::vector<std::string>& operands, const std::vector<std::string>& virtualDevices,
                         Progress& progress);

/// What stands out on the machine, in whole sentences.
std::vector<std::string> diagnose(const KernelList& list, const std::vector<DeviceFacts>& devices,
                                  const MountTableFacts& table);

/// What the plug-in answered.
struct PluginAnswer {
    std::vector<std::string> drives;
    std::vector<std::string> partitions;
};
/// Adds a reason to each device about which the plug-in says otherwise, and a sentence to the diagnosis.
void compareWithAnswer(const PluginAnswer& answer, Explanation& explanation);

}  // namespace diskmgt
