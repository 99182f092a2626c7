// From facts to verdicts and sentences.
#pragma once

#include <string>
#include <vector>

#include "cli/explain/device_facts.h"
#include "cli/explain/explanation.h"
#include "cli/explain/mount_facts.h"
#include "cli/wording.h"

namespace diskmgt_cli {

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

}  // namespace diskmgt_cli
