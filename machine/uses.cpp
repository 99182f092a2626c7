#include "machine/uses.h"

#include <algorithm>
#include <unordered_set>

namespace diskmgt_machine {

namespace {

using Positions = std::vector<std::size_t>;

void append(Positions& all, const Positions& more) { all.insert(all.end(), more.begin(), more.end()); }

void sortOnce(Positions& positions) {
    std::sort(positions.begin(), positions.end());
    positions.erase(std::unique(positions.begin(), positions.end()), positions.end());
}

}  // namespace

Uses::Uses(const Machine& machine) : account(machine), itself(machine.blocks.devices.size()) {
    const std::vector<BlockDevice>& devices = machine.blocks.devices;
    for (std::size_t i = 0; i < devices.size(); ++i) {
        byPath.emplace(devices[i].path(), i);
        if (devices[i].number) byNumber.emplace(*devices[i].number, i);
    }
    for (std::size_t i = 0; i < devices.size(); ++i)
        if (!devices[i].volume.empty()) byPath.emplace("/dev/mapper/" + devices[i].volume, i);
    for (std::size_t i = 0; i < devices.size(); ++i) {
        const auto backing = byPath.find(devices[i].backingFile);
        if (backing != byPath.end() && backing->second != i) itself[backing->second].loops.push_back(i);
    }
    for (std::size_t i = 0; i < machine.swaps.size(); ++i)
        if (const auto device = deviceNamed(machine.swaps[i].path)) itself[*device].swaps.push_back(i);
    placeBtrfs();
    placeMounts();
}

std::optional<std::size_t> Uses::deviceNamed(const std::string& path) const {
    const auto found = byPath.find(path);
    if (found == byPath.end()) return std::nullopt;
    return found->second;
}

void Uses::placeBtrfs() {
    btrfsDevices.resize(account.btrfs.size());
    for (std::size_t i = 0; i < account.btrfs.size(); ++i)
        for (const std::string& member : account.btrfs[i].members)
            if (const auto device = deviceNamed("/dev/" + member)) {
                btrfsDevices[i].push_back(*device);
                itself[*device].btrfs.push_back(i);
            }
}

void Uses::placeMounts() {
    mountDevices.resize(account.mounts.size());
    for (std::size_t i = 0; i < account.mounts.size(); ++i) {
        const Mount& mount = account.mounts[i];
        Positions& on = mountDevices[i];
        if (mount.number.majorNumber != 0) {
            const auto device = byNumber.find(mount.number);
            if (device != byNumber.end()) on.push_back(device->second);
        } else if (mount.type == "btrfs") {  // for other types the source may be any text
            if (const auto device = deviceNamed(mount.source)) {
                on.push_back(*device);
                for (const std::size_t fileSystem : itself[*device].btrfs) append(on, btrfsDevices[fileSystem]);
            }
        }
        sortOnce(on);
        for (const std::size_t device : on) itself[device].mounts.push_back(i);
    }
}

InUse Uses::of(std::size_t device) const {
    InUse use = walk(device, true);
    const BlockDevice& partition = account.blocks.devices[device];
    if (partition.kind != Kind::kPartition || !partition.disk) return use;
    // What uses the disk as a whole uses the partition's sectors too.
    const InUse ofDisk = ofItself(*partition.disk);
    for (const std::size_t holder : ofDisk.holders)
        if (std::find(use.holders.begin(), use.holders.end(), holder) == use.holders.end())
            use.holders.push_back(holder);
    append(use.mounts, ofDisk.mounts);
    append(use.swaps, ofDisk.swaps);
    append(use.btrfs, ofDisk.btrfs);
    for (Positions* const positions : {&use.mounts, &use.swaps, &use.btrfs}) sortOnce(*positions);
    use.unlistedHolders.insert(use.unlistedHolders.end(), ofDisk.unlistedHolders.begin(), ofDisk.unlistedHolders.end());
    return use;
}

InUse Uses::walk(std::size_t device, bool withPartitions) const {
    InUse use;
    const std::vector<BlockDevice>& devices = account.blocks.devices;
    // A hidden path has the uses of its disk.
    const bool isPath = devices[device].kind == Kind::kPath && devices[device].disk;
    Positions reached{device};
    std::unordered_set<std::size_t> seen{device};
    const auto reach = [&](std::size_t next) {
        if (!seen.insert(next).second) return;
        reached.push_back(next);
        const BlockDevice& upper = devices[next];
        const bool isOwnPartition = upper.kind == Kind::kPartition && upper.disk;
        if (!isOwnPartition) use.holders.push_back(next);
    };
    if (isPath) reach(*devices[device].disk);
    std::size_t walked = 0;
    while (walked < reached.size()) {  // grows during the loop
        const std::size_t current = reached[walked++];
        for (const std::size_t upper : devices[current].carries)
            if (withPartitions || devices[upper].disk != device) reach(upper);
        for (const std::size_t loop : itself[current].loops) reach(loop);
        append(use.mounts, itself[current].mounts);
        append(use.swaps, itself[current].swaps);
        append(use.btrfs, itself[current].btrfs);
        use.unlistedHolders.insert(use.unlistedHolders.end(), devices[current].unlistedHolders.begin(),
                                   devices[current].unlistedHolders.end());
    }
    sortOnce(use.mounts);
    sortOnce(use.swaps);
    sortOnce(use.btrfs);
    return use;
}

}  // namespace diskmgt_machine
