// Volumes first, then what is mounted, then the rest.
#include "inventory/use_text.h"

#include <algorithm>
#include <unordered_set>

#include "text/wording.h"

namespace diskmgt {

std::string nameWithVolume(const diskmgt_machine::BlockDevice& device) {
    return device.volume.empty() ? device.name : device.name + " (" + device.volume + ")";
}

std::optional<std::size_t> deviceOf(const diskmgt_machine::Uses& uses, const std::string& path) {
    std::string belowDev = path;
    std::replace(belowDev.begin(), belowDev.end(), '!', '/');
    return uses.deviceNamed(belowDev);
}

std::vector<std::string> mountPointsOf(const diskmgt_machine::Machine& machine, const diskmgt_machine::InUse& use) {
    std::vector<std::string> points;
    std::unordered_set<std::string> known;
    for (const std::size_t mount : use.mounts)
        if (known.insert(machine.mounts[mount].mountPoint).second) points.push_back(machine.mounts[mount].mountPoint);
    return points;
}

std::string useText(const diskmgt_machine::Machine& machine, const diskmgt_machine::InUse& use) {
    if (!use.any()) return {};
    std::vector<std::string> holders;
    for (const std::size_t holder : use.holders) holders.push_back(nameWithVolume(machine.blocks.devices[holder]));
    holders.insert(holders.end(), use.unlistedHolders.begin(), use.unlistedHolders.end());
    const std::vector<std::string> points = mountPointsOf(machine, use);
    std::string text = holders.empty() ? "in use" : "in use by " + listed(holders);
    if (!points.empty()) text += ", mounted on " + listed(points);
    if (!use.swaps.empty()) text += ", as swap";
    if (!use.btrfs.empty()) text += ", member of a mounted btrfs";
    return text;
}

}  // namespace diskmgt
