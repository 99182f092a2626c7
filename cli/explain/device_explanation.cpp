#include "cli/explain/device_explanation.h"

#include <cerrno>

#include "inventory/device_reasons.h"
#include "text/wording.h"

namespace diskmgt {

namespace {

MountedOn mountedOn(const MountFacts& mount, bool isTableReported) {
    return {mount.source, mount.mountPoint, mount.type, isTableReported && !mount.isLater};
}

}  // namespace

DeviceExplanation explainDevice(const DeviceFacts& facts, const std::vector<MountFacts>& mounts, bool isTableReported) {
    DeviceExplanation explanation;
    explanation.path = facts.path;
    explanation.isListed = facts.isListed;
    explanation.isUnknown = !facts.isListed && !facts.hasNode && facts.openError != EACCES;
    explanation.drive = judgeDrive(facts);
    if (facts.isDrive()) explanation.sizeBytes = facts.sizeBytes;
    explanation.partitions = judgePartitions(facts);
    explanation.tableCount = facts.tableCount;
    explanation.countOnDrive = facts.isDrive() ? facts.countOnDrive() : 0;
    explanation.shownByKernel = facts.kernelPartitions.size();
    for (const MountFacts& mount : mounts) {
        const std::string name = diskmgt_col::sysfsNameOf(mount.device);
        if (!mount.device.empty() && (mount.device == facts.path || contains(facts.kernelPartitions, name) ||
                                      diskOfPartition(name, {facts.name}) == facts.name))
            explanation.mounts.push_back(mountedOn(mount, isTableReported));
    }
    return explanation;
}

DeviceExplanation explainPartition(const std::string& path, const DeviceFacts& disk,
                                   const std::vector<std::string>& tableNames, const MountTableFacts& table) {
    DeviceExplanation explanation;
    explanation.path = path;
    explanation.partitionOf = disk.path;
    explanation.drive.reasons.push_back(
        {"is-partition", "partition of " + disk.path, "It is a partition of " + disk.path + ", not a drive."});
    const std::string name = diskmgt_col::sysfsNameOf(path);
    std::vector<Reason>& reasons = explanation.partitions.reasons;
    explanation.partitions.isReported = disk.isCandidate && contains(tableNames, path);
    explanation.isListed = contains(disk.kernelPartitions, name);
    if (!explanation.partitions.isReported) {
        const Verdict ofDisk = judgePartitions(disk);
        if (ofDisk.isReported)
            reasons.push_back(
                {"not-in-table", "not in the table of " + disk.path,
                 "The table of " + disk.path + " has no partition of that name, only " + listed(tableNames) + "."});
        else
            for (const Reason& reason : ofDisk.reasons)
                reasons.push_back({reason.rule, reason.brief, "About " + disk.path + ": " + reason.text});
    } else if (!disk.isDrive()) {
        reasons.push_back(
            {"no-drive", "its drive is not reported",
             "It is reported although " + disk.path + " is not reported as a drive, so it is linked to none."});
    }
    if (!explanation.isListed)
        reasons.push_back({"not-in-sysfs", "unknown to the kernel", "The kernel shows no partition " + name + "."});
    for (const MountFacts& mount : table.mounts)
        if (mount.device == path) explanation.mounts.push_back(mountedOn(mount, table.updateError == 0));
    return explanation;
}

}  // namespace diskmgt
