// Finds the device in the account and takes over what is seen of its use.
#include "cli/explain/device_use.h"

#include <algorithm>

#include "inventory/use_text.h"

namespace diskmgt {

void DeviceUse::addTo(DeviceExplanation& explanation) const {
    const auto device = deviceOf(uses, explanation.path);
    if (!device) return;
    const diskmgt_machine::InUse use = uses.of(*device);
    DeviceUsage& usage = explanation.usage;
    usage.text = useText(machine, use);
    for (const std::size_t holder : use.holders) usage.holders.push_back(machine.blocks.devices[holder].name);
    usage.holders.insert(usage.holders.end(), use.unlistedHolders.begin(), use.unlistedHolders.end());
    usage.mountPoints = mountPointsOf(machine, use);
    usage.isSwap = !use.swaps.empty();
    usage.isBtrfsMember = !use.btrfs.empty();
}

void DeviceUse::addTo(DeviceFacts& facts) const {
    const auto position = deviceOf(uses, facts.path);
    if (!position) return;
    const diskmgt_machine::BlockDevice& device = machine.blocks.devices[*position];
    facts.isHiddenPath = device.kind == diskmgt_machine::Kind::kPath;
    facts.isHeld = !device.unlistedHolders.empty() ||
                   std::any_of(device.carries.begin(), device.carries.end(),
                               [&](std::size_t upper) { return machine.blocks.devices[upper].disk != *position; });
}

}  // namespace diskmgt
