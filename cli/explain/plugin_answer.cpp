#include "cli/explain/plugin_answer.h"

#include <algorithm>

#include "text/wording.h"

namespace diskmgt {

namespace {

constexpr const char* kAdvice =
    " Something may have changed meanwhile; run the command again. If the difference stays, the plug-in does not "
    "belong to this command (see \"diskmgt plugin\").";

void compareDevices(const PluginAnswer& answer, Explanation& explanation, std::vector<std::string>& differing) {
    for (DeviceExplanation& device : explanation.devices) {
        if (!answer.drives) break;
        const bool isAnswered = contains(*answer.drives, device.path);
        if (isAnswered == device.drive.isReported) continue;
        const std::string said = isAnswered ? "reports it as a drive" : "does not report it as a drive";
        device.drive.reasons.push_back({"plug-in-disagrees", "the plug-in contradicts this",
                                        "The plug-in " + said + ", which contradicts these rules."});
        differing.push_back(device.path);
    }
    for (DeviceExplanation& device : explanation.devices) {
        if (!answer.partitions) break;
        if (device.partitionOf.empty() || contains(*answer.partitions, device.path) == device.partitions.isReported)
            continue;
        device.partitions.reasons.push_back(
            {"plug-in-disagrees", "the plug-in contradicts this", "The plug-in's answer contradicts these rules."});
        differing.push_back(device.path);
    }
}

/// Drives that the plug-in has and nothing here accounts for.
std::vector<std::string> unexplainedDrives(const PluginAnswer& answer, const Explanation& explanation) {
    std::vector<std::string> unexplained;
    for (const std::string& drive : answer.drives.value_or(std::vector<std::string>())) {
        const bool isKnown = std::any_of(explanation.devices.begin(), explanation.devices.end(),
                                         [&drive](const DeviceExplanation& device) { return device.path == drive; });
        if (!isKnown) unexplained.push_back(drive);
    }
    return unexplained;
}

}  // namespace

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
    if (answer.partitions && expected != answer.partitions->size())
        explanation.diagnosis.push_back("The plug-in reports " + counted(answer.partitions->size(), "partition") +
                                        ", but " + std::to_string(expected) + " are explained here." + kAdvice);
}

}  // namespace diskmgt
