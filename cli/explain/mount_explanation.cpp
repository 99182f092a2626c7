#include "cli/explain/mount_explanation.h"

#include <algorithm>

#include "inventory/mount_reasons.h"
#include "schema/vocabulary.h"
#include "text/wording.h"

namespace diskmgt {

namespace {

using namespace diskmgt_col;  // the names of classes
using diskmgt_machine::Kind;

void addReason(Finding& finding, const Reason& reason) {
    for (const Reason& known : finding.reasons)
        if (known.rule == reason.rule) return;
    finding.reasons.push_back(reason);
}

bool hasRule(const Finding& finding, const char* rule) {
    return std::any_of(finding.reasons.begin(), finding.reasons.end(),
                       [rule](const Reason& reason) { return reason.rule == rule; });
}

/// Whose figures a published file system shows. `figures` are those it has when it has any.
void addFigures(MountExplanation& explanation, const LogicalDisk& disk, SpaceFigures figures) {
    explanation.space = disk.space ? figures : SpaceFigures::kNone;
    if (!disk.space) addReason(explanation.logicalDisk, noFigures(disk.source));
}

/// Why the file system is linked to no partition although it lies on one.
std::string whyOnNoPartition(const ExplainContext& context, const LogicalDisk& disk,
                             const std::vector<std::size_t>& devices) {
    const ServerAccount& account = context.account;
    for (const std::size_t position : devices) {
        const DeviceAccount& device = account.devices[position];
        if (!device.partition) continue;
        if (!device.partition->isReported())
            return "the plug-in does not publish the partition " + account.device(position).path();
        if (const LogicalDisk* const other = context.pairs.logicalDiskOn(*device.partition->instance))
            return "CIM puts " + other->source + " on " + device.partition->as +
                   " instead, because one name contains the other";
    }
    return "no published partition's name contains " + disk.source;
}

/// Why a published file system is linked to a partition or a drive or to none.
void addLinks(const ExplainContext& context, const std::vector<std::size_t>& devices, const LogicalDisk& disk,
              MountExplanation& explanation) {
    explanation.pairs = context.pairs.of(*disk.instance);
    if (devices.empty()) return;  // nobody expects a link of what lies on no device
    const bool isPairingKnown =
        !context.unasked.why(kMediaPresent) && !context.unasked.why(kLogicalDiskBasedOnPartition);
    if (!isPairingKnown) return;
    const bool isOnPartition = std::any_of(devices.begin(), devices.end(), [&context](std::size_t device) {
        return context.account.device(device).kind == Kind::kPartition && context.account.device(device).disk;
    });
    const bool lacksPartition = isOnPartition && !context.pairs.isLinked(kLogicalDiskBasedOnPartition, *disk.instance);
    const bool lacksDrive = !context.pairs.isLinked(kMediaPresent, *disk.instance);
    if (!lacksPartition && !lacksDrive) return;
    Reason reason{"not-linked", lacksDrive ? "linked to no drive" : "linked to no partition", ""};
    if (lacksPartition) reason.text = "It is linked to no partition: " + whyOnNoPartition(context, disk, devices) + ".";
    if (lacksDrive)
        reason.text += (reason.text.empty() ? "" : " ") +
                       std::string("It is linked to no drive: no drive's name lies in ") + disk.source + ".";
    addReason(explanation.logicalDisk, reason);
}

}  // namespace

MountExplanation explainMount(const ExplainContext& context, std::size_t position) {
    const ServerAccount& account = context.account;
    const diskmgt_machine::Mount& line = account.machine.mounts[position];
    const MountAccount& mount = account.mounts[position];
    const std::vector<std::size_t>& devices = account.uses.devicesOf(position);
    MountExplanation explanation;
    explanation.source = line.source;
    explanation.mountPoint = line.mountPoint;
    explanation.type = line.type;
    explanation.liesOn = layersBeneath(account, devices, true);
    Finding& finding = explanation.logicalDisk;
    finding.isKnown = !mount.logicalDisk.isUnknown();
    finding.isReported = mount.logicalDisk.isReported();
    for (const Reason& reason : mount.logicalDisk.reasons) addReason(finding, reason);
    if (line.type == "autofs") addReason(finding, automountReason());
    if (mount.reason && mount.reason->rule == "mount-does-not-answer") addReason(finding, *mount.reason);
    if (const LogicalDisk* const disk = context.pairs.logicalDiskOf(mount.logicalDisk)) {
        addFigures(explanation, *disk,
                   hasRule(finding, "source-figures") ? SpaceFigures::kSource : SpaceFigures::kMountPoint);
        addLinks(context, devices, *disk, explanation);
    }
    return explanation;
}

MountExplanation explainBesideMount(const ExplainContext& context, const MountFacts& mount) {
    MountExplanation explanation;
    explanation.source = mount.source;
    explanation.mountPoint = mount.mountPoint;
    explanation.type = mount.type;
    const MountTableFacts& table = *context.account.collection.facts.mountTable;
    Finding& finding = explanation.logicalDisk;
    if (const auto unknown = context.unasked.why(kLogicalDisk)) {
        finding.isKnown = false;
        finding.reasons.push_back(*unknown);
        return explanation;
    }
    static_cast<Verdict&>(finding) = judgeMount(mount, table.updateError);
    for (const LogicalDisk& disk : context.account.inventory().logicalDisks) {
        if (!finding.isReported || disk.source != mount.source) continue;
        addFigures(explanation, disk, SpaceFigures::kNotAsked);
        explanation.pairs = context.pairs.of(*disk.instance);
    }
    addReason(finding,
              {"not-mounted", "not mounted",
               "The kernel has no such mount; the mount table is a file of its own, or it changed meanwhile."});
    return explanation;
}

}  // namespace diskmgt
