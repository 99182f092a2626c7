#include "collect/linux_disk_info.h"

#include <utility>

#include "base/handles.h"
#include "base/text.h"
#include "collect/core_log.h"
#include "collect/device_rules.h"
#include "collect/partition_table_parser.h"
#include "plugin/host/os_specific.h"
#include "schema/vocabulary.h"

namespace diskmgt_col {

LinuxDiskInfo::LinuxDiskInfo() { (void)NVEXTAL20::TOSSpecific::getBmcVirtualDevices(0, virtualDevices, false); }

std::vector<PropertyMap> LinuxDiskInfo::enumDiskInfo(std::vector<std::string> devicePaths) {
    std::vector<PropertyMap> disks;
    for (const std::string& path : devicePaths) {
        if (virtualEntryFor(path, virtualDevices) != nullptr) {
            writeToCoreLog("LinuxDiskInfo::enumDiskInfo : Ignoring Virtual Device " + path);
            continue;
        }
        const MeasuredDevice measured = measureDevice(path);
        if (!measured.sizeBytes) continue;  // absent, not ours to open, or no block device

        PropertyMap disk;
        disk.emplace(kNoOfPartitions, HasPartitions(path) ? dataToString<unsigned long>(getPartitionCount(path)) : "0");
        disk.emplace(kSize, dataToString<unsigned long>(*measured.sizeBytes));
        disk.emplace(kDeviceId, path);
        disk.emplace(kElementName, path);
        disk.emplace(kName, path);
        disks.push_back(std::move(disk));
    }
    return disks;
}

bool LinuxDiskInfo::HasPartitions(const std::string& devicePath) {
    const std::string deviceName = sysfsNameOf(devicePath);
    const std::string directoryPath = kBlockDirectory + deviceName;
    const UniqueDirectory directory(os::openDirectory(directoryPath));
    if (directory == nullptr) {
        writeToCoreLog("LinuxDiskInfo::HasPartitions : fail to open the dir " + directoryPath);
        return false;
    }
    while (const char* const entryName = os::nextEntryName(directory.get())) {
        // One is enough: the caller needs no count.
        if (isPartitionEntry(entryName, deviceName)) return true;
    }
    return false;
}

unsigned long LinuxDiskInfo::getPartitionCount(const std::string& devicePath) { return partitionCountOf(devicePath); }

}  // namespace diskmgt_col
