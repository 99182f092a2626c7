// Why a device is or is not a drive, and why its partitions are or are not there.
#pragma once

#include "inventory/device_facts.h"
#include "inventory/reason.h"

namespace diskmgt {

/// The disks whose partitions are looked for, in words.
constexpr const char* kCandidateNames = "hda to hdz, sda to sdz, md0 to md127 and nvme0n0 to nvme9n9";

/// Empty reasons: reported, and nothing to remark.
Verdict judgeDrive(const DeviceFacts& facts);
Verdict judgePartitions(const DeviceFacts& facts);
/// Whether the virtual-device entry that drops the device names another one, whose path only contains this one's.
bool isVirtualByAccident(const DeviceFacts& facts);

}  // namespace diskmgt
