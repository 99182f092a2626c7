// The lasting names that udev gives to devices, in the folders below /dev/disk.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace diskmgt_machine {

struct DiskLink {
    std::string folder;  // "by-uuid"
    std::string name;    // with its escapes taken out
};

/// By the name of the device below /dev. Each folder is listed once, each link read once, no device is opened.
std::map<std::string, std::vector<DiskLink>> readDiskLinks();

}  // namespace diskmgt_machine
