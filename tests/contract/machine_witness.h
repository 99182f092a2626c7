// The running machine, read by the tests themselves: what the plug-in must have found. No code of the plug-in is used.
#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace contract {

struct Drive {
    std::string path;
    std::uint64_t sizeBytes;
    bool hasPartitions;
    bool operator==(const Drive& other) const {
        return path == other.path && sizeBytes == other.sizeBytes && hasPartitions == other.hasPartitions;
    }
};

struct Space {
    std::uint64_t totalBytes;
    std::string identifier;  // both words of the file-system identifier
    bool operator==(const Space& other) const {
        return totalBytes == other.totalBytes && identifier == other.identifier;
    }
};

struct Mount {
    std::string source, mountPoint, type, options;
    std::optional<Space> space;  // nothing when neither mount point nor source can be measured
    bool operator==(const Mount& other) const {
        return source == other.source && mountPoint == other.mountPoint && type == other.type &&
               options == other.options && space == other.space;
    }
};

/// The devices in sysfs that have a size and are neither RAM disks nor mapped volumes, by path, in its order.
std::vector<std::string> listedDevices();
/// Those among them that open and tell their size.
std::vector<Drive> readDrives();
/// The first mount of every source, by source in byte order; none when the table cannot be opened for update.
std::vector<Mount> readMounts();
bool mountTableIsOpenToUs();

/// Makes the attempt between two readings, again until both are equal: devices and mounts of others come and go. What
/// was read. Throws `std::runtime_error` when that never ends.
template <typename Read, typename Attempt>
auto whileStill(Read read, Attempt attempt) {
    constexpr int kMostTries = 200;
    for (int tries = 0; tries < kMostTries; ++tries) {
        auto facts = read();
        attempt();
        if (read() == facts) return facts;
    }
    throw std::runtime_error("the machine does not hold still");
}

}  // namespace contract
