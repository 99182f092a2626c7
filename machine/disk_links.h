// The persistent names that udev gives to devices, in the folders below /dev/disk.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace diskmgt_machine {

struct DiskLink {
    std::string folder;  // "by-uuid"
    std::string name;    // unescaped
};

/// Keyed by the name of the device below /dev. Each folder is listed once, each link is read once, and not followed. No
/// device is opened.
std::map<std::string, std::vector<DiskLink>> readDiskLinks();

}  // namespace diskmgt_machine
