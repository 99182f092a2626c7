// Lays out explanations: tables for a whole machine, paragraphs for what was asked for by name.
#include "cli/tables/explain_text.h"

#include <vector>

#include "cli/tables/explain_rows.h"
#include "cli/tables/text_table.h"
#include "schema/vocabulary.h"
#include "text/paragraph.h"
#include "text/readable_text.h"
#include "text/size_text.h"
#include "text/wording.h"

namespace diskmgt {

namespace {

std::string allTexts(const std::string& first, const Finding& finding) {
    std::string text = first;
    for (const Reason& reason : finding.reasons) text += " " + reason.text;
    return text;
}

std::string deviceTable(const std::vector<DeviceExplanation>& devices, const TableStyle& style) {
    if (devices.empty()) return "No devices.\n";
    TextTable table(style);
    table.addColumns({"Device", "Drive", "Partitions", "Use", "Content", "Why"});
    for (const Cells& row : deviceRows(devices)) table.addRow(row);
    return table.print();
}

std::string mountTable(const std::vector<MountExplanation>& mounts, const TableStyle& style) {
    if (mounts.empty()) return "No mounts.\n";
    const MountRows found = mountRows(mounts);
    std::string text;
    if (!found.rows.empty()) {
        TextTable table(style);
        table.addColumns({"Source", "Mounted on", "Type", "Logical disk", "Why"});
        for (const Cells& row : found.rows) table.addRow(row);
        text = table.print();
    }
    for (const std::string& sentence : found.sentences) text += escapedControls(sentence) + "\n";
    return text;
}

std::string cimOnlyTable(const std::vector<CimOnlyExplanation>& found, const TableStyle& style) {
    if (found.empty()) return {};
    TextTable table(style);
    table.addColumns({"Only in CIM", "Why"});
    for (const CimOnlyExplanation& only : found) {
        Finding finding;
        finding.reasons = only.reasons;
        table.addRow({only.name, briefly({&finding})});
    }
    return "\n" + table.print();
}

std::string useSentence(const DeviceUsage& usage) {
    std::string text = !usage.text.empty()   ? "I" + usage.text.substr(1) + "."  // "In use ..."
                       : usage.holds.empty() ? "Not seen in use."
                                             : "H" + usage.holds.substr(1) + ".";
    if (usage.text.empty() && !usage.namedBy.empty())
        text += " Only the source of what is mounted on " + listed(usage.namedBy) + " names it.";
    if (!usage.content.empty()) return text + " Content: " + usage.content + ".";
    if (!usage.table.empty()) return text + " Content: a partition table (" + usage.table + ").";
    return usage.holds.empty() ? text + " Content not known." : text;
}

std::string layersSentence(const Layers& layers) {
    std::vector<std::string> texts;
    for (const std::vector<std::string>& layer : layers) texts.push_back(listed(layer));
    return texts.empty() ? "" : joined(texts, ", on ") + ".";
}

/// What CIM links it to where that is right, then what is wrong with the rest.
std::string pairSentences(const std::vector<PairExplanation>& pairs, bool ofFileSystem) {
    std::vector<std::string> linked;
    std::vector<std::string> onIt;
    std::string wrong;
    for (const PairExplanation& pair : pairs) {
        if (!pair.isRight)
            wrong += " " + pair.text;
        else if (pair.association != diskmgt_col::kLogicalDiskBasedOnPartition)
            linked.push_back("drive " + pair.antecedent);
        else if (ofFileSystem)
            linked.push_back("partition " + pair.antecedent);
        else
            onIt.push_back(pair.dependent);
    }
    std::string text;
    if (!linked.empty()) text += " Linked to " + listed(linked) + ".";
    if (!onIt.empty()) text += " File system " + listed(onIt) + " is linked to it.";
    text += wrong;
    return text.empty() ? "" : text.substr(1);
}

std::string drawn(const char* label, const std::string& text, std::size_t width) {
    return text.empty() ? "" : paragraph(std::string("  ") + label, text, width);
}

const char* unknownSentence(const Finding& finding) {
    return finding.isReported ? "Not known; by the rules it would be reported." : "Not known.";
}

std::string driveSentence(const DeviceExplanation& device) {
    if (!device.drive.isKnown) return unknownSentence(device.drive);
    if (!device.drive.isReported) return "Not reported.";
    if (!device.sizeBytes) return "Reported.";
    return "Reported, " + sizeText(*device.sizeBytes) + ", number of partitions " +
           std::to_string(device.countOnDrive) + ".";
}

std::string partitionSentence(const DeviceExplanation& device, bool isOne) {
    if (!device.partitions.isKnown)
        return isOne || !device.partitions.isReported
                   ? unknownSentence(device.partitions)
                   : "Not known; by the rules " + std::to_string(device.tableCount) + " would be reported.";
    if (!device.partitions.isReported) return isOne ? "Not reported." : "None reported.";
    if (!isOne) return std::to_string(device.tableCount) + " reported.";
    return device.reportedAs.empty() ? "Reported." : "Reported as " + device.reportedAs + ".";
}

std::string deviceParagraphs(const DeviceExplanation& device, const TableStyle& style, std::size_t width) {
    std::string text = title(device.path, style);
    if (!device.asked.empty()) text += " (asked for as " + escapedControls(device.asked) + ")";
    text += "\n";
    const bool isOne = device.form == DeviceForm::kPartition;
    text += drawn("Drive:       ", allTexts(driveSentence(device), device.drive), width);
    text +=
        drawn(isOne ? "Partition:   " : "Partitions:  ", allTexts(partitionSentence(device, isOne), device.partitions),
              width);
    if (device.isListed) text += drawn("Use:         ", useSentence(device.usage), width);
    text += drawn("Lies on:     ", layersSentence(device.liesOn), width);
    return text + drawn("Pairs:       ", pairSentences(device.pairs, false), width);
}

std::string mountParagraphs(const MountExplanation& mount, const TableStyle& style, std::size_t width) {
    const Finding& finding = mount.logicalDisk;
    const std::string answer = !finding.isKnown     ? "Not known whether it is published."
                               : finding.isReported ? "Published."
                                                    : "Not published.";
    return title(mount.source + " on " + mount.mountPoint + " (" + mount.type + ")", style) + "\n" +
           drawn("Logical disk: ", allTexts(answer, finding), width) +
           drawn("Lies on:      ",
                 mount.liesOn.empty() ? "No device that the kernel lists." : layersSentence(mount.liesOn), width) +
           drawn("Pairs:        ", pairSentences(mount.pairs, true), width);
}

std::string pathParagraphs(const PathExplanation& path, const TableStyle& style, std::size_t width) {
    const std::string layers = layersSentence(path.liesOn);
    return title(path.path, style) + "\n" +
           drawn("Lies on:     ",
                 "What is mounted on " + path.mountPoint +
                     (layers.empty() ? ", which lies on no device that the kernel lists." : ", on " + layers),
                 width);
}

}  // namespace

std::string explanationText(const Explanation& explanation, const TableStyle& style, std::size_t width) {
    std::string text;
    if (explanation.isWholeMachine) {
        text = deviceTable(explanation.devices, style) + "\n" + mountTable(explanation.mounts, style) +
               cimOnlyTable(explanation.cimOnly, style);
    } else {
        const auto add = [&text](const std::string& more) { text += (text.empty() ? "" : "\n") + more; };
        for (const PathExplanation& path : explanation.paths) add(pathParagraphs(path, style, width));
        for (const DeviceExplanation& device : explanation.devices) add(deviceParagraphs(device, style, width));
        for (const MountExplanation& mount : explanation.mounts) add(mountParagraphs(mount, style, width));
    }
    if (explanation.diagnosis.empty()) return text;
    text += "\n" + title("Diagnosis", style) + "\n";
    for (const std::string& sentence : explanation.diagnosis) text += paragraph("- ", sentence, width);
    return text;
}

}  // namespace diskmgt
