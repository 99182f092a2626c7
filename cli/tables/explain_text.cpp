// Lays out explanations: tables for a whole machine, paragraphs for what was asked for by name.
#include "cli/tables/explain_text.h"

#include <algorithm>
#include <vector>

#include "cli/tables/text_table.h"
#include "text/paragraph.h"
#include "text/readable_text.h"
#include "text/size_text.h"

namespace diskmgt {

namespace {

/// The brief reasons of several verdicts, each rule once.
std::string briefly(const std::vector<const Verdict*>& verdicts) {
    std::vector<std::string> rules;
    std::string text;
    for (const Verdict* const verdict : verdicts)
        for (const Reason& reason : verdict->reasons) {
            if (reason.brief.empty() || std::find(rules.begin(), rules.end(), reason.rule) != rules.end()) continue;
            rules.push_back(reason.rule);
            text += (text.empty() ? "" : "; ") + reason.brief;
        }
    return text;
}

std::string allTexts(const std::string& first, const Verdict& verdict) {
    std::string text = first;
    for (const Reason& reason : verdict.reasons) text += " " + reason.text;
    return text;
}

std::string partitionCell(const DeviceExplanation& device) {
    if (device.partitions.isReported) return std::to_string(device.tableCount);
    const bool isRead = std::any_of(device.partitions.reasons.begin(), device.partitions.reasons.end(),
                                    [](const Reason& reason) { return reason.rule == "no-partition-found"; });
    return isRead ? "none" : "-";
}

std::string mountCell(const DeviceExplanation& device) {
    constexpr std::size_t kMostShown = 2;
    std::string text;
    for (std::size_t i = 0; i < std::min(device.mounts.size(), kMostShown); ++i)
        text += (i == 0 ? "" : ", ") + device.mounts[i].mountPoint;
    if (device.mounts.empty() || device.usage.isMoreThanMounted()) return device.usage.text;
    if (device.mounts.size() > kMostShown) text += ", +" + std::to_string(device.mounts.size() - kMostShown);
    return text;
}

std::string deviceTable(const std::vector<DeviceExplanation>& devices, const TableStyle& style) {
    if (devices.empty()) return "No devices.\n";
    TextTable table(style);
    table.addColumns({"Device", "Drive", "Partitions", "Mounted on", "Why"});
    for (const DeviceExplanation& device : devices)
        table.addRow({device.path, device.drive.isReported ? "yes" : "no", partitionCell(device), mountCell(device),
                      briefly({&device.drive, &device.partitions})});
    return table.print();
}

/// "3 other mounts are", with the verb for one and for several.
std::string mountCount(std::size_t count, bool areOthers, const char* one, const char* several) {
    return std::to_string(count) + (areOthers ? " other" : "") + (count == 1 ? " mount " : " mounts ") +
           (count == 1 ? one : several);
}

/// Mounts of devices, and those of which something is to be said; the usual rest is counted.
std::string mountTable(const std::vector<MountExplanation>& mounts, const TableStyle& style) {
    if (mounts.empty()) return "No mounts.\n";
    TextTable table(style);
    table.addColumns({"Source", "Mounted on", "Type", "Logical disk", "Why"});
    std::size_t plain = 0;
    std::size_t repeated = 0;
    for (const MountExplanation& mount : mounts) {
        const std::vector<Reason>& reasons = mount.logicalDisk.reasons;
        const bool isDevice = mount.source.rfind("/dev/", 0) == 0;
        if (!isDevice && reasons.empty())
            ++plain;
        else if (!isDevice && reasons.back().rule == "later-mount")
            ++repeated;
        else
            table.addRow({mount.source, mount.mountPoint, mount.type, mount.logicalDisk.isReported ? "yes" : "no",
                          briefly({&mount.logicalDisk})});
    }
    std::string text = plain + repeated == mounts.size() ? "" : table.print();
    const bool areOthers = !text.empty();
    if (plain > 0) text += mountCount(plain, areOthers, "is", "are") + " reported as logical disks, without remarks.\n";
    if (repeated > 0)
        text += mountCount(repeated, areOthers, "repeats", "repeat") + " the source of an earlier mount and " +
                (repeated == 1 ? "is" : "are") + " not reported.\n";
    return text;
}

std::string useSentence(const DeviceUsage& usage) {
    return usage.text.empty() ? "Not seen in use." : "I" + usage.text.substr(1) + ".";  // "In use ..."
}

std::string deviceParagraphs(const DeviceExplanation& device, const TableStyle& style, std::size_t width) {
    std::string text = title(device.path, style);
    if (!device.asked.empty()) text += " (asked for as " + escapedControls(device.asked) + ")";
    text += "\n";
    if (device.isUnknown && device.mounts.empty())
        return text + paragraph("  ",
                                "There is no such node, the kernel lists no such disk, and no file system is mounted "
                                "from it or there.",
                                width);
    std::string drive = "Not reported.";
    if (device.drive.isReported)
        drive = "Reported, " + sizeText(device.sizeBytes.value_or(0)) + ", number of partitions " +
                std::to_string(device.countOnDrive) + ".";
    text += paragraph("  Drive:       ", allTexts(drive, device.drive), width);
    const bool isOne = !device.partitionOf.empty();
    std::string partitions = isOne ? "Not reported." : "None reported.";
    if (device.partitions.isReported)
        partitions = isOne ? "Reported." : std::to_string(device.tableCount) + " reported.";
    text += paragraph(isOne ? "  Partition:   " : "  Partitions:  ", allTexts(partitions, device.partitions), width);
    std::string mounted;
    for (const MountedOn& mount : device.mounts)
        mounted += (mounted.empty() ? "" : ", ") + mount.source + " on " + mount.mountPoint;
    if (!mounted.empty()) text += paragraph("  Mounted:     ", mounted + ".", width);
    const bool isOnlyNamed = !mounted.empty() && device.usage.text.empty();  // such as by the source of a tmpfs
    if (mounted.empty() || isOnlyNamed || device.usage.isMoreThanMounted())
        text += paragraph("  Use:         ",
                          useSentence(device.usage) + (isOnlyNamed ? " Only the mount table names it." : ""), width);
    return text;
}

std::string mountParagraphs(const MountExplanation& mount, const TableStyle& style, std::size_t width) {
    return title(mount.source + " on " + mount.mountPoint + " (" + mount.type + ")", style) + "\n" +
           paragraph("  Logical disk: ",
                     allTexts(mount.logicalDisk.isReported ? "Reported." : "Not reported.", mount.logicalDisk), width);
}

}  // namespace

std::string explanationText(const Explanation& explanation, const TableStyle& style, std::size_t width) {
    std::string text;
    if (explanation.isWholeMachine) {
        text = deviceTable(explanation.devices, style) + "\n" + mountTable(explanation.mounts, style);
    } else {
        for (const DeviceExplanation& device : explanation.devices)
            text += (text.empty() ? "" : "\n") + deviceParagraphs(device, style, width);
        for (const MountExplanation& mount : explanation.mounts)
            text += (text.empty() ? "" : "\n") + mountParagraphs(mount, style, width);
    }
    if (explanation.diagnosis.empty()) return text;
    text += "\n" + title("Diagnosis", style) + "\n";
    for (const std::string& sentence : explanation.diagnosis) text += paragraph("- ", sentence, width);
    return text;
}

}  // namespace diskmgt
