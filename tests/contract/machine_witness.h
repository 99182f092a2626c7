// The running machine as read by the tests: what the plug-in must find. Uses no code of the plug-in.
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
/// Those among them that can be opened and have a size.
std::vector<Drive> readDrives();
/// The first mount of every source, by source in byte order; empty when the table cannot be opened for update.
std::vector<Mount> readMounts();
bool mountTableIsOpenToUs();

/// Makes the attempt between two readings and repeats this until both are equal, because other processes add and remove
/// devices and mounts. Returns the reading. Throws `std::runtime_error` when they never agree.
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
