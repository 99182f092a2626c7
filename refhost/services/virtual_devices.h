// The disks that a management controller presents to the server.
#pragma once

#include <string>
#include <vector>

#include "plugin/host/tal_api.h"

namespace refhost {

struct VirtualDeviceSettings {
    bool discover = true;            // look in sysfs
    std::vector<std::string> added;  // named by hand, after those found
};

/// One text a device, "/dev/sdb: VENDOR MODEL", by name: the block devices reached over USB whose vendor or model
/// text contains "Virtual", as management controllers present them. Empty when the tree cannot be read.
TAL_API std::vector<std::string> findVirtualDevices(const std::string& sysfsRoot);

/// What `TOSSpecific::getBmcVirtualDevices` uses, for the whole process.
TAL_API void setVirtualDevices(const VirtualDeviceSettings& settings);
TAL_API std::vector<std::string> currentVirtualDevices();

}  // namespace refhost
