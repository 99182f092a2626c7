// LinuxDiskInfo: size and partition count of given block devices, less the virtual ones.
#pragma once

#include <string>
#include <vector>

#include "base/property_map.h"

namespace diskmgt_col {

class LinuxDiskInfo {
public:
    /// Asks the host for the management controller's virtual devices; exceptions of the host pass.
    LinuxDiskInfo();
    LinuxDiskInfo(const LinuxDiskInfo&) = default;
    LinuxDiskInfo& operator=(const LinuxDiskInfo&) = default;
    virtual ~LinuxDiskInfo() = default;

    /// One map per path that is not a virtual device, can be opened and has a size; in the order given, repeats kept.
    std::vector<PropertyMap> enumDiskInfo(std::vector<std::string> devicePaths);

    /// Whether sysfs shows an entry beneath the device whose name begins with the device's. False, with a log line,
    /// when the device's sysfs directory cannot be opened.
    bool HasPartitions(const std::string& devicePath);

    /// The number of partitions in the device's own tables; sysfs is not asked.
    unsigned long getPartitionCount(const std::string& devicePath);

private:
    std::vector<std::string> virtualDevices;  // texts, each with a device path somewhere in it
};

}  // namespace diskmgt_col
