// How the names of drives and partitions belong together.
#pragma once

#include <string>

namespace diskmgt {

/// True when `device` is the drive itself or one of its partitions by the kernel's rule for names: digits behind a
/// drive name that ends in a letter, "p" and digits behind one that ends in a digit. Both with or both without /dev.
bool isOnDrive(const std::string& device, const std::string& driveName);

/// True when the plug-in may have named a partition of the drive so: by the kernel's rule, or with the bare number
/// behind the drive's name (/dev/md01).
bool isPartitionOf(const std::string& partition, const std::string& driveName);

/// The name of the drive whose partition has this name by the kernel's rule, without asking whether there is one: "sda"
/// for "sda1", "md0" for "md0p1". Meaningless for names of drives that end in digits.
std::string driveNameOf(const std::string& partitionName);

}  // namespace diskmgt
