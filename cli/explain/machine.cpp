// The whole machine, and what the plug-in itself answered beside it.
#include <algorithm>

#include "cli/explain/device_use.h"
#include "cli/explain/explain.h"
#include "cli/explain/reasons.h"

namespace diskmgt {

namespace {

constexpr const char* kAdvice =
    " Perhaps something changed meanwhile; run the command again. If it stays so, the plug-in is not the one that "
    "belongs to this command (see \"diskmgt plugin\").";

void compareDevices(const PluginAnswer& answer, Explanation& explanation, std::vector<std::string>& differing) {
    for (DeviceExplanation& device : explanation.devices) {
        const bool isAnswered = contains(answer.drives, device.path);
        if (isAnswered == device.drive.isReported) continue;
        const std::string said = isAnswered ? "reports it as a drive" : "does not report it as a drive";
        device.drive.reasons.push_back(
            {"plug-in-disagrees", "the plug-in says otherwise", "The plug-in " + said + ", against these rules."});
        differing.push_back(device.path);
    }
    for (DeviceExplanation& device : explanation.devices) {
        if (device.partitionOf.empty() || contains(answer.partitions, device.path) == device.partitions.isReported)
            continue;
        device.partitions.reasons.push_back(
            {"plug-in-disagrees", "the plug-in says otherwise", "The plug-in says otherwise, against these rules."});
        differing.push_back(device.path);
    }
}

/// Drives that the plug-in has and nothing here accounts for.
std::vector<std::string> unexplainedDrives(const PluginAnswer& answer, const Explanation& explanation) {
    std::vector<std::string> unexplained;
    for (const std::string& drive : answer.drives) {
        const bool isKnown = std::any_of(explanation.devices.begin(), explanation.devices.end(),
                                         [&drive](const DeviceExplanation& device) { return device.path == drive; });
        if (!isKnown) unexplained.push_back(drive);
    }
    return unexplained;
}

}  // namespace

Explanation explainMachine(const std::vector<std::string>& virtualDevices, Progress& progress) {
    const KernelList list = readKernelList();
    MountTableFacts table = readMounts(progress);
    for (MountFacts& mount : table.mounts) measureIfLocal(mount, table, progress);
    std::vector<DeviceFacts> devices = examineAllDevices(list, virtualDevices, progress);
    const DeviceUse use;

    Explanation explanation;
    for (DeviceFacts& device : devices) {
        use.addTo(device);
        explanation.devices.push_back(explainDevice(device, table.mounts, table.updateError == 0));
        use.addTo(explanation.devices.back());
    }
    for (const MountFacts& mount : table.mounts) explanation.mounts.push_back(explainMount(mount, table.updateError));
    explanation.diagnosis = diagnose(list, devices, table);
    return explanation;
}

void compareWithAnswer(const PluginAnswer& answer, Explanation& explanation) {
    std::vector<std::string> differing;
    compareDevices(answer, explanation, differing);
    if (!differing.empty())
        explanation.diagnosis.push_back("The plug-in's answer differs from what is explained here for " +
                                        listed(differing) + "." + kAdvice);
    if (!explanation.isWholeMachine) return;
    const std::vector<std::string> unexplained = unexplainedDrives(answer, explanation);
    if (!unexplained.empty())
        explanation.diagnosis.push_back(
            "The plug-in reports drives that are not explained here: " + listed(unexplained) + "." + kAdvice);
    unsigned long expected = 0;
    for (const DeviceExplanation& device : explanation.devices)
        if (device.partitions.isReported) expected += device.tableCount;
    if (expected != answer.partitions.size())
        explanation.diagnosis.push_back("The plug-in reports " + counted(answer.partitions.size(), "partition") +
                                        ", but " + std::to_string(expected) + " are explained here." + kAdvice);
}

}  // namespace diskmgt
