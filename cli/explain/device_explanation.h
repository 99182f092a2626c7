// Everything that is said about one disk or one partition.
#pragma once

#include <cstddef>

#include "cli/explain/explain_context.h"
#include "cli/explain/explanation.h"

namespace diskmgt {

/// A row of the machine: position in `ServerAccount::devices`.
DeviceExplanation explainDevice(const ExplainContext& context, std::size_t position);
/// A device that the plug-in looks for and the kernel does not list.
DeviceExplanation explainBeside(const ExplainContext& context, const DeviceFacts& facts);
/// A drive or partition that only CIM has.
DeviceExplanation explainCimOnly(const ExplainContext& context, const CimOnly& only);

/// The names that CIM gives to the partitions of the disk, in the order of the kernel's account.
std::vector<std::string> publishedOn(const ServerAccount& account, const DeviceFacts& disk);

}  // namespace diskmgt
