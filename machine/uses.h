// What uses a device, directly or through other devices that lie on it.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <unordered_map>
#include <vector>

#include "machine/machine.h"

namespace diskmgt_machine {

/// Positions in the machine's lists. All empty means that no use is seen; the device may still be in use by another
/// mount namespace, a guest or a storage pool.
struct InUse {
    std::vector<std::size_t> holders;  // volumes, arrays and loops on it or on its partitions, nearest first
    std::vector<std::string> unlistedHolders;
    std::vector<std::size_t> mounts;  // in the table's order
    std::vector<std::size_t> swaps;
    std::vector<std::size_t> btrfs;  // file systems of which it is a member

    bool any() const {
        return !holders.empty() || !unlistedHolders.empty() || !mounts.empty() || !swaps.empty() || !btrfs.empty();
    }
};

class Uses {
public:
    /// `machine` must outlive it.
    explicit Uses(const Machine& machine);

    /// Through every layer. A cycle of devices ends the walk. A partition is also used by what uses its disk as a
    /// whole: a path to a multipath disk, a member of an array that still has a table.
    InUse of(std::size_t device) const;
    /// The same, without uses through the device's partitions.
    InUse ofItself(std::size_t device) const { return walk(device, false); }

    /// The devices that a mount lies on: several for btrfs, empty for a file system without a device.
    const std::vector<std::size_t>& devicesOf(std::size_t mount) const { return mountDevices[mount]; }
    /// The mounts that lie on the device itself.
    const std::vector<std::size_t>& mountsOn(std::size_t device) const { return itself[device].mounts; }

    /// The device named by a path below /dev: its own name, or a volume's name below /dev/mapper.
    std::optional<std::size_t> deviceNamed(const std::string& path) const;

private:
    struct OfDevice {
        std::vector<std::size_t> mounts;
        std::vector<std::size_t> swaps;
        std::vector<std::size_t> btrfs;
        std::vector<std::size_t> loops;  // whose file is the device itself
    };

    void placeBtrfs();
    void placeMounts();
    InUse walk(std::size_t device, bool withPartitions) const;

    const Machine& account;
    std::vector<OfDevice> itself;
    std::vector<std::vector<std::size_t>> mountDevices;
    std::vector<std::vector<std::size_t>> btrfsDevices;
    std::unordered_map<std::string, std::size_t> byPath;
    std::map<DeviceNumber, std::size_t> byNumber;
};

}  // namespace diskmgt_machine
