#include "cli/explain/device_explanation.h"

#include <algorithm>

#include "inventory/device_names.h"
#include "inventory/device_reasons.h"
#include "inventory/device_texts.h"
#include "inventory/use_text.h"
#include "schema/vocabulary.h"
#include "text/size_text.h"
#include "text/wording.h"

namespace diskmgt {

namespace {

using diskmgt_machine::BlockDevice;
using diskmgt_machine::Kind;

Finding findingOf(const CimAnswer& answer) {
    Finding finding;
    finding.isKnown = !answer.isUnknown();
    finding.isReported = answer.isReported();
    for (const Reason& reason : answer.reasons) {
        const bool isKnownAlready = std::any_of(finding.reasons.begin(), finding.reasons.end(),
                                                [&reason](const Reason& other) { return other.rule == reason.rule; });
        if (!isKnownAlready) finding.reasons.push_back(reason);
    }
    return finding;
}

Finding unknownFor(const Reason& reason) {
    Finding finding;
    finding.isKnown = false;
    finding.reasons.push_back(reason);
    return finding;
}

/// What the rules say of a device whose class was not asked for.
Finding byRulesAlone(const Reason& unknown, Verdict verdict) {
    Finding finding = unknownFor(unknown);
    finding.isReported = verdict.isReported;
    std::vector<Reason>& reasons = finding.reasons;
    for (Reason& reason : verdict.reasons) {
        if (reason.rule == reasons.front().rule) reasons.erase(reasons.begin());
        reasons.push_back(std::move(reason));
    }
    return finding;
}

/// Reading the same failure twice, once as what is unknown and once by the rules, helps nobody.
Finding refusedFinding(const DeviceFacts& facts) { return unknownFor(UnaskedReasons::refused(facts)); }

void addContradiction(Finding& finding, bool isExpected, const std::string& what) {
    if (!finding.isKnown || finding.isReported == isExpected) return;
    finding.reasons.push_back({"plug-in-disagrees", "plug-in contradicts this",
                               "The plug-in " +
                                   std::string(finding.isReported ? "reports it as a " : "does not report it as a ") +
                                   what + ", which contradicts these rules."});
}

Finding driveOf(const ExplainContext& context, const DeviceAccount& device, const DeviceFacts& facts) {
    if (context.drivesUnknown) return byRulesAlone(*context.drivesUnknown, judgeDrive(facts));
    if (facts.isMeasuredAsDrive() && facts.isRefused()) {
        Finding finding = refusedFinding(facts);
        return finding;
    }
    Finding finding = device.drive ? findingOf(*device.drive) : Finding();
    addContradiction(finding, facts.isDrive(), "drive");
    return finding;
}

Finding partitionsOf(const ExplainContext& context, const DeviceFacts& facts) {
    Verdict verdict = judgePartitions(facts);
    if (context.partitionsUnknown) return byRulesAlone(*context.partitionsUnknown, std::move(verdict));
    if (facts.isCandidate && facts.isRefused()) return refusedFinding(facts);
    Finding finding;
    finding.isReported = verdict.isReported;
    finding.reasons = std::move(verdict.reasons);
    return finding;
}

void addFacts(DeviceExplanation& explanation, const DeviceFacts& facts) {
    if (facts.isDrive()) explanation.sizeBytes = facts.sizeBytes;
    explanation.tableCount = facts.tableCount;
    explanation.countOnDrive = facts.isDrive() ? facts.countOnDrive() : 0;
    explanation.shownByKernel = facts.kernelPartitions.size();
}

/// How CIM's values of a partition differ from the kernel's.
void addDifferences(const ExplainContext& context, const BlockDevice& kernel, const CimAnswer& answer,
                    std::vector<Reason>& reasons) {
    if (answer.differsIn("name")) {
        std::string text = "The plug-in names it " + answer.as + ".";
        const std::string disk = kernel.disk ? context.account.device(*kernel.disk).path() : "";
        if (isOnDrive(answer.as, disk)) {
            text = "The plug-in numbers the used entries of a table in order: the kernel's " + kernel.name +
                   " is its " + answer.as + ".";
            for (std::size_t i = 0; i < context.account.devices.size(); ++i)
                if (const auto& other = context.account.devices[i].partition;
                    other && other->isReported() && other->as == kernel.path())
                    text += " Its " + kernel.path() + " is the kernel's " + context.account.device(i).name + ".";
        }
        reasons.push_back({"other-name", "as " + answer.as, text});
    }
    if (answer.differsIn("size"))
        reasons.push_back({"other-size", "other size",
                           "CIM gives its size as " + sizeText(answer.size.value_or(0)) + ", the kernel as " +
                               sizeText(kernel.sizeBytes.value_or(0)) + "."});
    if (answer.differsIn("start"))
        reasons.push_back({"other-start", "other start",
                           "CIM has it begin at byte " + std::to_string(answer.start.value_or(0)) + ", the kernel at " +
                               std::to_string(kernel.startBytes.value_or(0)) + "."});
}

void addUse(DeviceExplanation& explanation, const ExplainContext& context, std::size_t position) {
    const ServerAccount& account = context.account;
    const DeviceAccount& device = account.devices[position];
    DeviceUsage& usage = explanation.usage;
    usage.text = useText(account.machine, device.use);
    const auto& disk = account.device(position).disk;
    if (disk && device.use.any() && !account.uses.ofItself(position).any())
        usage.text = "in use as part of " + account.device(*disk).name + ", which is " + usage.text;
    usage.holds = holdsText(account, position);
    for (const std::size_t holder : device.use.holders) usage.holders.push_back(account.device(holder).name);
    usage.holders.insert(usage.holders.end(), device.use.unlistedHolders.begin(), device.use.unlistedHolders.end());
    usage.mountPoints = mountPointsOf(account.machine, device.use);
    usage.isSwap = !device.use.swaps.empty();
    usage.isBtrfsMember = !device.use.btrfs.empty();
    usage.content = device.udev.content;
    usage.table = device.udev.table;
    const auto named = context.named.find(position);
    if (named == context.named.end()) return;
    for (const std::size_t mount : named->second)
        if (!contains(account.uses.devicesOf(mount), position))
            usage.namedBy.push_back(account.machine.mounts[mount].mountPoint);
}

/// By number, never by name: the source of a mount is anybody's text.
void addMounts(DeviceExplanation& explanation, const ServerAccount& account, std::size_t position) {
    std::vector<std::size_t> mounts = account.uses.mountsOn(position);
    for (const std::size_t upper : account.device(position).carries)
        if (account.device(upper).disk == position)
            mounts.insert(mounts.end(), account.uses.mountsOn(upper).begin(), account.uses.mountsOn(upper).end());
    std::sort(mounts.begin(), mounts.end());
    mounts.erase(std::unique(mounts.begin(), mounts.end()), mounts.end());
    for (const std::size_t mount : mounts) {
        const diskmgt_machine::Mount& line = account.machine.mounts[mount];
        explanation.mounts.push_back(
            {line.source, line.mountPoint, line.type, account.mounts[mount].logicalDisk.isReported()});
    }
}

DeviceForm formOf(const BlockDevice& device) {
    if (device.kind == Kind::kLoop && device.backingFile.empty() && device.sizeBytes.value_or(0) == 0)
        return DeviceForm::kEmptyLoop;
    return device.kind == Kind::kMemory ? DeviceForm::kMemory : DeviceForm::kDrive;
}

std::string volumeKind(const BlockDevice& device) {
    switch (device.kind) {
        case Kind::kLvm:
            return "LVM ";
        case Kind::kCrypt:
            return "encryption ";
        case Kind::kMultipath:
            return "multipath ";
        default:
            return "";
    }
}

/// Sentences that say more where the kernel's account is at hand.
void addNames(DeviceExplanation& explanation, const ServerAccount& account, const BlockDevice& device) {
    for (Reason& reason : explanation.drive.reasons) {
        if (reason.rule == "dm-prefix" && !device.volume.empty())
            reason.text = "It is a device-mapper volume (" + volumeKind(device) + device.volume +
                          "); names that begin with \"dm-\" never become drives.";
        if (reason.rule == "hidden-path" && device.disk)
            reason.text = "It is a path to the multipath disk " + account.device(*device.disk).name +
                          ". The kernel hides it, so it has no node and is never opened.";
    }
    for (Reason& reason : explanation.partitions.reasons)
        if (reason.rule == "not-a-candidate" && explanation.shownByKernel > 0)
            reason.text = "The kernel has " + counted(explanation.shownByKernel, "partition") +
                          "; the plug-in publishes none, because the name " + device.name + " is not searched, only " +
                          kCandidateNames + ".";
}

void explainPart(const ExplainContext& context, std::size_t position, DeviceExplanation& explanation) {
    const ServerAccount& account = context.account;
    const BlockDevice& device = account.device(position);
    const DeviceAccount& row = account.devices[position];
    const BlockDevice& disk = account.device(*device.disk);
    const DeviceFacts* const facts = account.devices[*device.disk].facts;
    explanation.form = DeviceForm::kPartition;
    explanation.partitionOf = disk.path();
    explanation.drive.reasons.push_back(
        {"is-partition", "partition of " + disk.path(), "It is a partition of " + disk.path() + ", not a drive."});
    if (facts != nullptr && facts->isCandidate && facts->isRefused() && !context.partitionsUnknown) {
        explanation.partitions = refusedFinding(*facts);
        return;
    }
    explanation.partitions = findingOf(*row.partition);
    std::vector<Reason>& reasons = explanation.partitions.reasons;
    if (row.partition->isReported()) {
        if (row.partition->differsIn("name")) explanation.reportedAs = row.partition->as;
        addDifferences(context, device, *row.partition, reasons);
        explanation.pairs = context.pairs.of(*row.partition->instance);
    }
    const std::string about = "About " + disk.path() + ": ";  // said once
    bool isFirst = true;
    for (Reason& reason : reasons) {
        if (reason.text.compare(0, about.size(), about) != 0) continue;
        if (!isFirst) reason.text.erase(0, about.size());
        isFirst = false;
    }
}

}  // namespace

std::vector<std::string> publishedOn(const ServerAccount& account, const DeviceFacts& disk) {
    std::vector<std::string> names;
    for (std::size_t i = 0; i < account.devices.size(); ++i) {
        const auto& answer = account.devices[i].partition;
        if (answer && answer->isReported() && account.device(i).disk &&
            account.devices[*account.device(i).disk].facts == &disk)
            names.push_back(answer->as);
    }
    for (const CimOnly& only : account.cimOnly)
        if (only.disk == &disk) names.push_back(only.name);
    return names;
}

DeviceExplanation explainDevice(const ExplainContext& context, std::size_t position) {
    const ServerAccount& account = context.account;
    const BlockDevice& device = account.device(position);
    const DeviceAccount& row = account.devices[position];
    DeviceExplanation explanation;
    explanation.path = device.path();
    explanation.isListed = true;
    explanation.form = formOf(device);
    if (row.partition) {
        explainPart(context, position, explanation);
    } else if (row.facts == nullptr) {
        explanation.drive = findingOf(*row.drive);
        explanation.partitions = unknownFor(context.partitionsUnknown.value_or(context.unasked.notLookedAt()));
        explanation.shownByKernel = row.partitionsByKernel;
    } else {
        addFacts(explanation, *row.facts);
        explanation.drive = driveOf(context, row, *row.facts);
        explanation.partitions = partitionsOf(context, *row.facts);
        if (row.drive->isReported()) {
            if (row.drive->differsIn("name")) explanation.reportedAs = row.drive->as;
            addDifferences(context, device, *row.drive, explanation.drive.reasons);
            for (PairExplanation& pair : context.pairs.of(*row.drive->instance))
                if (!pair.isRight) explanation.pairs.push_back(std::move(pair));
        }
        addNames(explanation, account, device);
    }
    addMounts(explanation, account, position);
    addUse(explanation, context, position);
    explanation.liesOn = layersBeneath(account, {position}, false);
    return explanation;
}

DeviceExplanation explainBeside(const ExplainContext& context, const DeviceFacts& facts) {
    DeviceExplanation explanation;
    explanation.path = facts.path;
    explanation.isListed = facts.isListed;
    addFacts(explanation, facts);
    if (context.drivesUnknown) {
        explanation.drive = byRulesAlone(*context.drivesUnknown, judgeDrive(facts));
    } else {
        static_cast<Verdict&>(explanation.drive) = judgeDrive(facts);
        const std::vector<Drive>& drives = context.account.inventory().drives;
        const bool isExpected = explanation.drive.isReported;
        explanation.drive.isReported = std::any_of(drives.begin(), drives.end(),
                                                   [&facts](const Drive& drive) { return drive.device == facts.path; });
        addContradiction(explanation.drive, isExpected, "drive");
    }
    explanation.partitions = partitionsOf(context, facts);
    return explanation;
}

DeviceExplanation explainCimOnly(const ExplainContext& context, const CimOnly& only) {
    DeviceExplanation explanation;
    explanation.path = only.name;
    const std::vector<Drive>& drives = context.account.inventory().drives;
    const bool isDrive = std::any_of(drives.begin(), drives.end(),
                                     [&only](const Drive& drive) { return drive.instance == only.instance; });
    Finding& finding = isDrive ? explanation.drive : explanation.partitions;
    finding.isReported = true;
    finding.reasons = only.reasons;
    if (isDrive) {
        explanation.partitions.reasons.push_back({"not-in-sysfs", "", "The kernel lists no such disk."});
        addContradiction(finding, false, "drive");
        return explanation;
    }
    explanation.form = DeviceForm::kPartition;
    explanation.partitionOf = only.disk == nullptr ? "" : only.disk->path;
    explanation.drive.reasons.push_back({"is-partition", "a partition", "It is a partition, not a drive."});
    explanation.pairs = context.pairs.of(*only.instance);
    return explanation;
}

}  // namespace diskmgt
