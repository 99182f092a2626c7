// The identity of a drive, which does not depend on the name that the kernel gives it today.
#pragma once

#include <string>

#include "machine/files.h"

namespace diskmgt_machine {

/// A text is empty when the kernel does not know it.
struct DriveIdentity {
    std::string model;
    std::string serial;
    std::string wwid;  // world-wide identifier, begins with its kind: "naa.5000...", "eui.0025..."
};

/// Reads sysfs, not the drive. `path` is that of the folder.
DriveIdentity readDriveIdentity(const Folder& folder, const std::string& path);

}  // namespace diskmgt_machine
