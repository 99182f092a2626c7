#include "cli/explain/explain_context.h"

#include <algorithm>
#include <set>
#include <tuple>
#include <unordered_set>

#include "schema/vocabulary.h"

namespace diskmgt {

namespace {

using Line = std::tuple<std::string, std::string, std::string>;

}  // namespace

ExplainContext::ExplainContext(const ServerAccount& joined) : account(joined), pairs(joined), unasked(joined) {
    drivesUnknown = unasked.why(diskmgt_col::kDiskDrive);
    partitionsUnknown = unasked.why(diskmgt_col::kDiskPartition);
    if (!partitionsUnknown && !hasFacts()) partitionsUnknown = unasked.notLookedAt();
    if (hasFacts()) {
        std::unordered_set<const DeviceFacts*> placed;
        for (const DeviceAccount& device : account.devices) placed.insert(device.facts);
        for (const DeviceFacts& facts : account.collection.facts.devices->devices)
            if (placed.count(&facts) == 0) beside.push_back(&facts);
    }
    for (std::size_t i = 0; i < account.machine.mounts.size(); ++i)
        if (const auto device = account.uses.deviceNamed(account.machine.mounts[i].source)) named[*device].push_back(i);
    if (!account.collection.facts.mountTable) return;
    std::set<Line> lines;
    for (const diskmgt_machine::Mount& mount : account.machine.mounts)
        lines.emplace(mount.source, mount.mountPoint, mount.type);
    for (const MountFacts& mount : account.collection.facts.mountTable->mounts)
        if (lines.count({mount.source, mount.mountPoint, mount.type}) == 0) besideMounts.push_back(&mount);
}

std::size_t ExplainContext::expectedPartitions() const {
    std::size_t expected = 0;
    if (!hasFacts()) return expected;
    for (const DeviceFacts& facts : account.collection.facts.devices->devices)
        if (facts.isCandidate) expected += facts.tableCount;
    return expected;
}

}  // namespace diskmgt
