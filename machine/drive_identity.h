// What tells a drive from every other one, whatever name the kernel gives it today.
#pragma once

#include <string>

#include "machine/files.h"

namespace diskmgt_machine {

/// An empty text: the kernel does not know it.
struct DriveIdentity {
    std::string model;
    std::string serial;
    std::string wwid;  // world-wide identifier, with its kind in front: "naa.5000...", "eui.0025..."
};

/// Reads sysfs; the drive itself is not asked. `path` is the folder's.
DriveIdentity readDriveIdentity(const Folder& folder, const std::string& path);

}  // namespace diskmgt_machine
