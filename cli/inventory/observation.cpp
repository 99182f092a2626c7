// Reads sysfs, the mount table and statvfs.
#include "cli/inventory/observation.h"

#include <sys/statvfs.h>

#include <cstdio>
#include <memory>

#include "base/handles.h"
#include "cli/inventory/instance_values.h"
#include "schema/vocabulary.h"

namespace diskmgt_cli {

namespace {

using namespace diskmgt_col;

const char* const kMountTable = "/etc/mtab";
constexpr int kLineBufferSize = 65536;  // the same as the collector's: both see the same texts

std::map<std::string, std::vector<std::string>> readMountPoints() {
    std::map<std::string, std::vector<std::string>> mountPoints;
    const UniqueMountTable table(os::openMountTable(kMountTable, "re"));
    if (table == nullptr) return mountPoints;
    std::vector<char> line(kLineBufferSize);
    mntent mount;
    while (os::nextMountEntry(table.get(), mount, line.data(), kLineBufferSize))
        mountPoints[mount.mnt_fsname].emplace_back(mount.mnt_dir);
    return mountPoints;
}

/// The name of the drive whose partition has this name; empty when it is no partition's name.
std::string driveNameOf(const std::string& partitionName) {
    const auto isDigit = [](char letter) { return letter >= '0' && letter <= '9'; };
    std::string name = partitionName;
    while (!name.empty() && isDigit(name.back())) name.pop_back();
    if (name.size() > 1 && name.back() == 'p' && isDigit(name[name.size() - 2])) name.pop_back();
    return name;
}

/// Where sysfs lets a partition start, in bytes; absent when it does not know the partition.
std::optional<std::uint64_t> observedStart(const std::string& device) {
    const std::string name = device.substr(device.rfind('/') + 1);
    const std::string path = "/sys/block/" + driveNameOf(name) + "/" + name + "/start";
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "re"), &std::fclose);
    unsigned long long sector = 0;
    if (file == nullptr || std::fscanf(file.get(), "%llu", &sector) != 1) return std::nullopt;
    return sector * 512;  // sysfs counts in 512 bytes whatever the device's sectors are
}

}  // namespace

Observations observe(const Published& published) {
    Observations observations;
    for (const refhost::Instance& instance : instancesOf(published, kDiskDrive)) {
        const std::string& device = textOf(instance, kDeviceId);
        observations.identities[device] = readDriveIdentity(device);
    }
    observations.mountPoints = readMountPoints();
    for (const refhost::Instance& instance : instancesOf(published, kLogicalDisk)) {
        if (find(instance, kTotalSpace) == nullptr) continue;
        const auto points = observations.mountPoints.find(textOf(instance, kDeviceId));
        if (points == observations.mountPoints.end()) continue;
        struct statvfs statistics;
        if (::statvfs(points->second.front().c_str(), &statistics) == 0)
            observations.availableBytes[points->second.front()] =
                static_cast<std::uint64_t>(statistics.f_bavail) * statistics.f_frsize;
    }
    observations.isSpaceMeasured = true;
    for (const refhost::Instance& instance : instancesOf(published, kDiskPartition)) {
        if (find(instance, kPartitionSubType) == nullptr) continue;  // GPT: the start follows from the entry
        if (const auto start = observedStart(textOf(instance, kDeviceId)))
            observations.startBytes[textOf(instance, kDeviceId)] = *start;
    }
    return observations;
}

}  // namespace diskmgt_cli
