// What tells a drive from every other one, whatever name the kernel gives it today.
#pragma once

#include <string>

namespace diskmgt_cli {

/// An empty text: the kernel does not know it.
struct DriveIdentity {
    std::string model;
    std::string serial;
    std::string wwid;  // world-wide identifier, with its kind in front: "naa.5000...", "eui.0025..."
};

/// Reads sysfs; the drive itself is not asked.
DriveIdentity readDriveIdentity(const std::string& device);

}  // namespace diskmgt_cli
