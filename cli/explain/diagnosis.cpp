#include "cli/explain/diagnosis.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <functional>

#include "inventory/device_reasons.h"
#include "inventory/failure_text.h"
#include "text/wording.h"

namespace diskmgt {

namespace {

using Names = std::vector<std::string>;

class Diagnosis {
public:
    Diagnosis(const ExplainContext& asked, const Explanation& shown)
        : context(asked), account(asked.account), explanation(shown) {
        if (context.hasFacts())
            for (const DeviceFacts& facts : account.collection.facts.devices->devices) devices.push_back(&facts);
        for (const DeviceAccount& device : account.devices)
            if (device.facts != nullptr && device.use.any()) inUse.push_back(device.facts);
    }

    std::vector<std::string> take() {
        addEarlyEnd();
        addSilentMounts();
        addDrives();
        addRights();
        addStallingNodes();
        addMissingNodes();
        addUnsearchedNames();
        addTables();
        addVirtualDevices();
        addMounts();
        addPairs();
        return std::move(sentences);
    }

private:
    Names namesWhere(const std::function<bool(const DeviceFacts&)>& holds) const {
        Names names;
        for (const DeviceFacts* const device : devices)
            if (holds(*device)) names.push_back(device->name);
        return names;
    }

    void addEarlyEnd() {
        if (account.collection.end.isEarly())
            sentences.push_back("What CIM reports is not known, or not all of it. " + account.collection.end.text);
    }

    void addSilentMounts() {
        Names silent;
        for (std::size_t i = 0; i < account.mounts.size(); ++i)
            if (account.mounts[i].reason && account.mounts[i].reason->rule == "mount-does-not-answer")
                silent.push_back(account.machine.mounts[i].mountPoint + " (" + account.machine.mounts[i].type + ")");
        if (!silent.empty())
            sentences.push_back("No answer came from what is mounted on " + listed(silent) +
                                ", so logical disks were not asked for: the plug-in would wait there.");
    }

    void addDrives() {
        if (account.machine.blocks.error != 0) {
            sentences.push_back(
                std::string("The kernel's list ") + diskmgt_col::kBlockDirectory +
                " cannot be opened, so no drive is reported: " + failureText(account.machine.blocks.error) + ".");
            return;
        }
        if (context.drivesUnknown) return;
        Names drives;
        std::size_t count = 0;
        for (const DeviceExplanation& device : explanation.devices) {
            if (!device.isListed) continue;
            ++count;
            if (device.drive.isReported) drives.push_back(device.path.substr(device.path.find('/', 1) + 1));
        }
        sentences.push_back(
            "Of " + counted(count, "device") + " in the kernel's list, " +
            (drives.empty() ? "none is reported as a drive."
                            : std::to_string(drives.size()) +
                                  (drives.size() == 1 ? " is reported as a drive: " : " are reported as drives: ") +
                                  listed(drives) + "."));
    }

    void addRights() {
        const Names refused = namesWhere([](const DeviceFacts& device) { return isRefusal(device.openError); });
        const auto& table = account.collection.facts.mountTable;
        const bool isTableRefused = table && isRefusal(table->updateError);
        if (refused.empty() && !isTableRefused) return;
        const std::string what = (refused.empty() ? "" : listed(refused) + " cannot be opened") +
                                 (refused.empty() || !isTableRefused ? "" : ", and ") +
                                 (isTableRefused ? "the mount table opens for update only as root" : "");
        if (::geteuid() == 0)
            sentences.push_back("Although this is root, access is refused: " + what +
                                ". A container or a security policy forbids it; run diskmgt on the host.");
        else
            sentences.push_back("Run as root to see " +
                                std::string(refused.empty()  ? "logical disks"
                                            : isTableRefused ? "drives, partitions and logical disks"
                                                             : "drives and partitions") +
                                ": for this user " + what + ".");
    }

    void addStallingNodes() {
        for (const DeviceFacts* const device : devices)
            if (device->stalling) sentences.push_back(device->stalling.sentence() + ".");
    }

    void addMissingNodes() {
        const Names missing = namesWhere([](const DeviceFacts& device) {
            return device.isMeasuredAsDrive() && device.openError == ENOENT && !device.isHiddenPath;
        });
        if (!missing.empty())
            sentences.push_back("/dev has no nodes for " + listed(missing) +
                                ", which the kernel lists, as in a container: pass the devices in, or run diskmgt on "
                                "the host.");
    }

    void addUnsearchedNames() {
        const Names uncovered =
            namesWhere([](const DeviceFacts& device) { return device.isDrive() && device.hasUnaskedPartitions(); });
        if (!uncovered.empty())
            sentences.push_back("Partitions of " + listed(uncovered) + " are never reported: only " + kCandidateNames +
                                " are searched.");
    }

    bool isInUse(const DeviceFacts& device) const { return contains(inUse, &device); }

    void addTables() {
        const Names large = namesWhere([](const DeviceFacts& device) { return device.hasLargeSectors(); });
        if (!large.empty())
            sentences.push_back("The logical sectors of " + listed(large) +
                                " are larger than the 512 bytes that tables are read with, so their partitions are "
                                "wrong or missing.");
        const std::string disagree = "The kernel and the partition table disagree about the number of partitions on ";
        const auto names = [this](bool canBeReadAgain, bool isUsed) {
            return namesWhere([&](const DeviceFacts& device) {
                return device.differsFromKernel() && device.canBeReadAgain() == canBeReadAgain &&
                       (!canBeReadAgain || isInUse(device) == isUsed);
            });
        };
        if (const Names stale = names(true, false); !stale.empty())
            sentences.push_back(disagree + listed(stale) +
                                "; \"blockdev --rereadpt\" makes the kernel read the table again.");
        if (const Names used = names(true, true); !used.empty())
            sentences.push_back(disagree + listed(used) +
                                "; while a disk is in use the kernel does not read its whole table again.");
        if (const Names lasting = names(false, false); !lasting.empty())
            sentences.push_back(disagree + listed(lasting) + ". It will stay so: \"diskmgt explain DEVICE\" says why.");
        const Names unreadable = namesWhere([](const DeviceFacts& device) { return device.readError != 0; });
        if (!unreadable.empty())
            sentences.push_back("The first sector of " + listed(unreadable) +
                                " cannot be read: the disk may be failing.");
    }

    void addVirtualDevices() {
        const Names dropped =
            namesWhere([](const DeviceFacts& device) { return device.isOffered() && !device.virtualEntry.empty(); });
        if (dropped.empty()) return;
        const Names byAccident =
            namesWhere([](const DeviceFacts& device) { return device.isOffered() && isVirtualByAccident(device); });
        sentences.push_back(listed(dropped) + (dropped.size() == 1 ? " is" : " are") +
                            " left out because of the management controller's list of virtual devices" +
                            (byAccident.empty() ? "." : ", " + listed(byAccident) + " only because of the name."));
    }

    void addMounts() {
        const auto& table = account.collection.facts.mountTable;
        if (table && table->updateError != 0 && !isRefusal(table->updateError))
            sentences.push_back(std::string("The mount table ") + diskmgt_col::kMountTable +
                                " cannot be opened for update, so no logical disk is reported: " +
                                failureText(table->updateError) + ".");
        Names automounts;
        for (const MountExplanation& mount : explanation.mounts)
            if (mount.type == "autofs" && !contains(automounts, mount.mountPoint))
                automounts.push_back(mount.mountPoint);
        if (!automounts.empty())
            sentences.push_back("Automounts: " + listed(automounts) +
                                "; asking for VEXSG_LogicalDisk mounts those that are idle, and this command asks.");
    }

    void addPairs() {
        constexpr std::size_t kMostNamed = 3;
        const std::vector<PairExplanation> wrong = context.pairs.wrongOnes();
        for (std::size_t i = 0; i < std::min(wrong.size(), kMostNamed); ++i) sentences.push_back(wrong[i].text);
        if (wrong.size() > kMostNamed)
            sentences.push_back(counted(wrong.size() - kMostNamed, "more pair") +
                                (wrong.size() == kMostNamed + 1 ? " is" : " are") +
                                " wrong in the same way; \"diskmgt explain DEVICE\" names them.");
    }

    const ExplainContext& context;
    const ServerAccount& account;
    const Explanation& explanation;
    std::vector<const DeviceFacts*> devices;
    std::vector<const DeviceFacts*> inUse;
    std::vector<std::string> sentences;
};

constexpr const char* kAdvice =
    " Something may have changed meanwhile; run the command again. If the difference stays, the plug-in does not "
    "belong to this command (see \"diskmgt plugin\").";

bool isContradicted(const Finding& finding) {
    return std::any_of(finding.reasons.begin(), finding.reasons.end(),
                       [](const Reason& reason) { return reason.rule == "plug-in-disagrees"; });
}

}  // namespace

std::vector<std::string> diagnose(const ExplainContext& context, const Explanation& explanation) {
    return Diagnosis(context, explanation).take();
}

void addContradictions(const ExplainContext& context, Explanation& explanation) {
    Names differing;
    for (const DeviceExplanation& device : explanation.devices)
        if (isContradicted(device.drive) || isContradicted(device.partitions)) differing.push_back(device.path);
    if (!differing.empty())
        explanation.diagnosis.push_back("The plug-in's answer differs from what is explained here for " +
                                        listed(differing) + "." + kAdvice);
    if (!explanation.isWholeMachine) return;
    Names unexplained;
    for (const CimOnly& only : context.account.cimOnly)
        for (const Drive& drive : context.account.inventory().drives)
            if (drive.instance == only.instance) unexplained.push_back(drive.device);
    if (!unexplained.empty())
        explanation.diagnosis.push_back(
            "The plug-in reports drives that are not explained here: " + listed(unexplained) + "." + kAdvice);
    const std::size_t published = context.account.inventory().partitions.size();
    if (!context.partitionsUnknown && context.expectedPartitions() != published)
        explanation.diagnosis.push_back("The plug-in reports " + counted(published, "partition") + ", but " +
                                        std::to_string(context.expectedPartitions()) + " are explained here." +
                                        kAdvice);
}

}  // namespace diskmgt
