// From facts to verdicts and sentences.
#pragma once

#include <string>
#include <vector>

#include "cli/explain/explanation.h"
#include "inventory/device_facts.h"
#include "inventory/mount_facts.h"
#include "text/wording.h"

namespace diskmgt {

/// The disks whose partitions are looked for, in words.
constexpr const char* kCandidateNames = "hda to hdz, sda to sdz, md0 to md127 and nvme0n0 to nvme9n9";

/// Empty reasons: reported, and nothing to remark.
Verdict judgeDrive(const DeviceFacts& facts);
Verdict judgePartitions(const DeviceFacts& facts);
/// Whether the virtual-device entry that drops the device names another one, whose path only contains this one's.
bool isVirtualByAccident(const DeviceFacts& facts);

DeviceExplanation explainDevice(const DeviceFacts& facts, const std::vector<MountFacts>& mounts, bool isTableReported);
/// `tableNames`: what the table of the disk calls its partitions.
DeviceExplanation explainPartition(const std::string& path, const DeviceFacts& disk,
                                   const std::vector<std::string>& tableNames, const MountTableFacts& table);

MountExplanation explainMount(const MountFacts& mount, int updateError);

/// "Permission denied".
std::string errorText(int errorNumber);
/// Whether it says that rights are missing.
bool isRefusal(int errorNumber);
/// The error's text with what to do about it.
std::string failureText(int errorNumber);

}  // namespace diskmgt
