// Measuring of block devices.
#include "collect/linux_disk_info.h"

#include <cstring>
#include <optional>
#include <utility>

#include "base/handles.h"
#include "base/text.h"
#include "collect/core_log.h"
#include "collect/partition_table_parser.h"
#include "plugin/host/os_specific.h"
#include "schema/vocabulary.h"

namespace diskmgt_col {

namespace {

std::optional<std::uint64_t> sizeOf(const UniqueFd& device) {
    std::uint64_t sizeBytes = 0;
    if (!device.valid() || os::blockDeviceSize(device.get(), sizeBytes) < 0) return std::nullopt;
    return sizeBytes;
}

}  // namespace

LinuxDiskInfo::LinuxDiskInfo() { (void)NVEXTAL20::TOSSpecific::getBmcVirtualDevices(0, virtualDevices, false); }

std::vector<PropertyMap> LinuxDiskInfo::enumDiskInfo(std::vector<std::string> devicePaths) {
    std::vector<PropertyMap> disks;
    for (const std::string& path : devicePaths) {
        if (isVirtual(path)) {
            writeToCoreLog("LinuxDiskInfo::enumDiskInfo : Ignoring Virtual Device " + path);
            continue;
        }
        const UniqueFd device = openDevice(path);
        const std::optional<std::uint64_t> sizeBytes = sizeOf(device);
        if (!sizeBytes) continue;  // absent, not ours to open, or no block device

        PropertyMap disk;
        disk.emplace(kNoOfPartitions, HasPartitions(path) ? dataToString<unsigned long>(getPartitionCount(path)) : "0");
        disk.emplace(kSize, dataToString<unsigned long>(*sizeBytes));
        disk.emplace(kDeviceId, path);
        disk.emplace(kElementName, path);
        disk.emplace(kName, path);
        disks.push_back(std::move(disk));
    }
    return disks;
}

bool LinuxDiskInfo::HasPartitions(const std::string& devicePath) {
    const std::string deviceName = devicePath.substr(devicePath.rfind('/') + 1);  // whole when there is no '/'
    const std::string directoryPath = "/sys/block/" + deviceName;
    const UniqueDirectory directory(os::openDirectory(directoryPath));
    if (directory == nullptr) {
        writeToCoreLog("LinuxDiskInfo::HasPartitions : fail to open the dir " + directoryPath);
        return false;
    }
    while (const char* const entryName = os::nextEntryName(directory.get())) {
        // The first one answers the question; how many there are is not asked.
        if (std::strncmp(entryName, deviceName.c_str(), deviceName.size()) == 0) return true;
    }
    return false;
}

unsigned long LinuxDiskInfo::getPartitionCount(const std::string& devicePath) { return partitionCountOf(devicePath); }

// Intended: the path is searched for within the entry, so /dev/sdb is dropped for /dev/sdbc too. Held by
// LinuxDiskInfo.AnEntryThatOnlyContainsThePathDropsTheDevice.
bool LinuxDiskInfo::isVirtual(const std::string& devicePath) const {
    for (const std::string& entry : virtualDevices) {
        if (entry.find(devicePath) != std::string::npos) return true;
    }
    return false;
}

}  // namespace diskmgt_col
