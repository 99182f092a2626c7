#include "cli/tables/explain_rows.h"

#include <algorithm>
#include <map>

#include "text/wording.h"

namespace diskmgt {

namespace {

bool hasRule(const Finding& finding, const char* rule) {
    return std::any_of(finding.reasons.begin(), finding.reasons.end(),
                       [rule](const Reason& reason) { return reason.rule == rule; });
}

std::string partitionCell(const DeviceExplanation& device) {
    if (!device.partitions.isKnown) return "?";
    if (device.partitions.isReported) return std::to_string(device.tableCount);
    if (device.shownByKernel > 0) return "none of " + std::to_string(device.shownByKernel);
    return hasRule(device.partitions, "no-partition-found") ? "none" : "-";
}

std::string useCell(const DeviceUsage& usage) {
    constexpr std::size_t kMostShown = 2;
    if (usage.text.empty()) return "not seen in use";
    if (!usage.holders.empty() || usage.isSwap || usage.isBtrfsMember) return usage.text;
    std::string text;
    for (std::size_t i = 0; i < std::min(usage.mountPoints.size(), kMostShown); ++i)
        text += (i == 0 ? "" : ", ") + usage.mountPoints[i];
    if (usage.mountPoints.size() > kMostShown) text += ", +" + std::to_string(usage.mountPoints.size() - kMostShown);
    return text;
}

std::string contentCell(const DeviceUsage& usage) {
    if (!usage.content.empty()) return usage.content;
    return usage.table.empty() ? "not known" : usage.table;
}

Cells cellsOf(const DeviceExplanation& device) {
    return {device.path,           answerCell(device.drive),  partitionCell(device),
            useCell(device.usage), contentCell(device.usage), briefly({&device.drive, &device.partitions})};
}

/// What names of one kind have in common: "/dev/sd" of /dev/sda and /dev/sdaa, "/dev/nvmen" of /dev/nvme0n1.
std::string stemOf(const std::string& path) {
    std::string stem;
    for (const char letter : path)
        if (letter < '0' || letter > '9') stem += letter;
    if (stem.size() < path.size()) return stem;
    for (const char* const prefix : {"/dev/sd", "/dev/hd", "/dev/vd", "/dev/xvd"})
        if (stem.compare(0, std::string(prefix).size(), prefix) == 0) return prefix;
    return stem;
}

bool areAlike(const Cells& one, const Cells& other) {
    return stemOf(one.front()) == stemOf(other.front()) && std::equal(one.begin() + 1, one.end(), other.begin() + 1);
}

/// Three or more become one row.
std::vector<Cells> folded(const std::vector<Cells>& rows) {
    constexpr std::size_t kFewest = 3;
    std::vector<Cells> kept;
    for (std::size_t i = 0; i < rows.size();) {
        std::size_t end = i + 1;
        while (end < rows.size() && areAlike(rows[i], rows[end])) ++end;
        if (end - i < kFewest) {
            kept.push_back(rows[i++]);
            continue;
        }
        kept.push_back(rows[i]);
        kept.back().front() += " to " + rows[end - 1].front() + " (" + std::to_string(end - i) + ")";
        i = end;
    }
    return kept;
}

/// All of them that are alike in one row with their count, one alone under its name.
void addCounted(const std::vector<Cells>& rows, const char* what, std::vector<Cells>& all) {
    std::vector<Cells> left = rows;
    while (!left.empty()) {
        Cells first = left.front();
        const auto end = std::stable_partition(left.begin(), left.end(),
                                               [&first](const Cells& row) { return !areAlike(first, row); });
        const auto count = static_cast<std::size_t>(left.end() - end);
        if (count > 1) first.front() = std::to_string(count) + " " + what;
        all.push_back(std::move(first));
        left.erase(end, left.end());
    }
}

std::string otherMounts(std::size_t count, bool areOthers) {
    return std::to_string(count) + (areOthers ? " other" : "") + (count == 1 ? " mount" : " mounts");
}

std::string sentenceOf(const MountExplanation& mount, std::size_t count, bool areOthers) {
    const std::string subject = otherMounts(count, areOthers);
    const bool isOne = count == 1;
    const std::string brief = briefly({&mount.logicalDisk});
    if (!mount.logicalDisk.isKnown)
        return subject + ": it is not known whether " + (isOne ? "it is" : "they are") + " reported (" + brief + ").";
    if (hasRule(mount.logicalDisk, "later-mount"))
        return subject + (isOne ? " repeats" : " repeat") + " the source of an earlier one and " +
               (isOne ? "is" : "are") + " not published.";
    if (!mount.logicalDisk.isReported) return subject + (isOne ? " is" : " are") + " not reported: " + brief + ".";
    return subject + (isOne ? " is reported as a logical disk" : " are reported as logical disks") +
           (brief.empty() ? ", without remarks." : ": " + brief + ".");
}

/// What mounts that are counted together have in common.
std::string groupOf(const MountExplanation& mount) {
    std::string group = answerCell(mount.logicalDisk);
    for (const Reason& reason : mount.logicalDisk.reasons) group += " " + reason.rule;
    return group;
}

}  // namespace

const char* answerCell(const Finding& finding) {
    if (!finding.isKnown) return "?";
    return finding.isReported ? "yes" : "no";
}

std::string briefly(const std::vector<const Finding*>& findings) {
    std::vector<std::string> rules;
    std::vector<std::string> briefs;
    for (const Finding* const finding : findings)
        for (const Reason& reason : finding->reasons) {
            if (reason.brief.empty() || contains(rules, reason.rule) || contains(briefs, reason.brief)) continue;
            rules.push_back(reason.rule);
            briefs.push_back(reason.brief);
        }
    return joined(briefs, "; ");
}

std::vector<Cells> deviceRows(const std::vector<DeviceExplanation>& devices) {
    std::vector<Cells> disks, loops, memory;
    for (const DeviceExplanation& device : devices) {
        std::vector<Cells>& rows = device.form == DeviceForm::kEmptyLoop ? loops
                                   : device.form == DeviceForm::kMemory  ? memory
                                                                         : disks;
        rows.push_back(cellsOf(device));
    }
    std::vector<Cells> all = folded(disks);
    addCounted(loops, "loops without a file", all);
    addCounted(memory, "RAM disks", all);
    return all;
}

MountRows mountRows(const std::vector<MountExplanation>& mounts) {
    constexpr std::size_t kMostShown = 3;  // of a group, unless they have nothing to say
    std::map<std::string, std::vector<const MountExplanation*>> groups;
    std::map<std::string, std::vector<std::size_t>> repeats;  // by source: rows
    MountRows found;
    std::vector<std::size_t> counts;
    const auto isOfDevice = [](const MountExplanation& mount) {
        return !mount.liesOn.empty() || mount.source.compare(0, 5, "/dev/") == 0;
    };
    for (const MountExplanation& mount : mounts)
        if (!isOfDevice(mount)) groups[groupOf(mount)].push_back(&mount);
    std::vector<const std::vector<const MountExplanation*>*> counted;
    for (const MountExplanation& mount : mounts) {
        if (!isOfDevice(mount)) {
            const auto& group = groups[groupOf(mount)];
            const bool isUsual = mount.logicalDisk.reasons.empty() || hasRule(mount.logicalDisk, "later-mount");
            const bool isNamed = hasRule(mount.logicalDisk, "automount");
            if (!isNamed && (isUsual || group.size() > kMostShown)) {
                if (group.front() == &mount) counted.push_back(&group);
                continue;
            }
        } else if (hasRule(mount.logicalDisk, "later-mount")) {
            std::vector<std::size_t>& same = repeats[mount.source];
            if (!same.empty()) {
                same.push_back(0);
                continue;
            }
            same.push_back(found.rows.size());
        }
        found.rows.push_back(
            {mount.source, mount.mountPoint, mount.type, answerCell(mount.logicalDisk), briefly({&mount.logicalDisk})});
    }
    for (const auto& [source, same] : repeats)
        if (same.size() > 1) found.rows[same.front()][1] += " and " + std::to_string(same.size() - 1) + " more";
    for (const auto* const group : counted)
        found.sentences.push_back(sentenceOf(*group->front(), group->size(), !found.rows.empty()));
    return found;
}

}  // namespace diskmgt
