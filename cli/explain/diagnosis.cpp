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
using Sentences = std::vector<std::string>;

Names namesWhere(const std::vector<DeviceFacts>& devices, const std::function<bool(const DeviceFacts&)>& holds) {
    Names names;
    for (const DeviceFacts& device : devices)
        if (holds(device)) names.push_back(device.name);
    return names;
}

void tellOfDrives(const KernelList& list, const std::vector<DeviceFacts>& devices, Sentences& told) {
    if (list.error != 0) {
        told.push_back(std::string("The kernel's list ") + diskmgt_col::kBlockDirectory +
                       " cannot be opened, so no drive is reported: " + failureText(list.error) + ".");
        return;
    }
    const Names drives = namesWhere(devices, [](const DeviceFacts& device) { return device.isDrive(); });
    told.push_back("Of " + counted(list.names.size(), "device") + " in the kernel's list, " +
                   (drives.empty()
                        ? "none is reported as a drive."
                        : std::to_string(drives.size()) +
                              (drives.size() == 1 ? " is reported as a drive: " : " are reported as drives: ") +
                              listed(drives) + "."));
}

void tellOfRights(const std::vector<DeviceFacts>& devices, const MountTableFacts& table, Sentences& told) {
    const Names refused = namesWhere(devices, [](const DeviceFacts& device) { return isRefusal(device.openError); });
    const bool isTableRefused = isRefusal(table.updateError);
    if (refused.empty() && !isTableRefused) return;
    const std::string what = (refused.empty() ? "" : listed(refused) + " cannot be opened") +
                             (refused.empty() || !isTableRefused ? "" : ", and ") +
                             (isTableRefused ? "the mount table opens for update only as root" : "");
    if (::geteuid() == 0)
        told.push_back("Although this is root, access is refused: " + what +
                       ". A container or a security policy forbids it; run diskmgt on the host.");
    else
        told.push_back("Run as root to see " +
                       std::string(refused.empty()  ? "logical disks"
                                   : isTableRefused ? "drives, partitions and logical disks"
                                                    : "drives and partitions") +
                       ": for this user " + what + ".");
}

void tellOfStallingNodes(const std::vector<DeviceFacts>& devices, Sentences& told) {
    for (const DeviceFacts& device : devices)
        if (device.stalling) told.push_back(device.stalling.sentence() + ".");
}

void tellOfMissingNodes(const std::vector<DeviceFacts>& devices, Sentences& told) {
    const Names missing = namesWhere(devices, [](const DeviceFacts& device) {
        return device.isOffered() && device.virtualEntry.empty() && device.openError == ENOENT && !device.isHiddenPath;
    });
    if (!missing.empty())
        told.push_back("/dev has no nodes for " + listed(missing) +
                       ", which the kernel lists, as in a container: pass the devices in, or run diskmgt on the host.");
}

void tellOfNames(const std::vector<DeviceFacts>& devices, Sentences& told) {
    const Names uncovered =
        namesWhere(devices, [](const DeviceFacts& device) { return device.hasUnaskedPartitions(); });
    if (!uncovered.empty())
        told.push_back("Partitions of " + listed(uncovered) + " are never reported: they are looked for under " +
                       kCandidateNames + " only.");
}

void tellOfTables(const std::vector<DeviceFacts>& devices, Sentences& told) {
    const Names large = namesWhere(devices, [](const DeviceFacts& device) { return device.hasLargeSectors(); });
    if (!large.empty())
        told.push_back("The logical sectors of " + listed(large) +
                       " are larger than the 512 bytes that tables are read with, so their partitions are wrong or "
                       "missing.");
    const std::string disagree = "The kernel and the partition table disagree about the number of partitions on ";
    const Names stale = namesWhere(
        devices, [](const DeviceFacts& device) { return device.differsFromKernel() && device.canBeReadAgain(); });
    if (!stale.empty())
        told.push_back(disagree + listed(stale) + "; \"blockdev --rereadpt\" makes the kernel read the table again.");
    const Names lasting = namesWhere(
        devices, [](const DeviceFacts& device) { return device.differsFromKernel() && !device.canBeReadAgain(); });
    if (!lasting.empty())
        told.push_back(disagree + listed(lasting) +
                       ". That is expected: a volume holds the whole disk, or its sectors are larger than 512 bytes.");
    const Names unreadable = namesWhere(devices, [](const DeviceFacts& device) { return device.readError != 0; });
    if (!unreadable.empty())
        told.push_back("The first sector of " + listed(unreadable) + " cannot be read: the disk may be failing.");
}

void tellOfVirtualDevices(const std::vector<DeviceFacts>& devices, Sentences& told) {
    const Names dropped = namesWhere(
        devices, [](const DeviceFacts& device) { return device.isOffered() && !device.virtualEntry.empty(); });
    if (dropped.empty()) return;
    const Names byAccident = namesWhere(
        devices, [](const DeviceFacts& device) { return device.isOffered() && isVirtualByAccident(device); });
    told.push_back(listed(dropped) + (dropped.size() == 1 ? " is" : " are") +
                   " left out because of the management controller's list of virtual devices" +
                   (byAccident.empty() ? "." : ", " + listed(byAccident) + " only because of the name."));
}

void tellOfMounts(const MountTableFacts& table, Sentences& told) {
    if (table.updateError != 0 && !isRefusal(table.updateError))
        told.push_back(
            std::string("The mount table ") + diskmgt_col::kMountTable +
            " cannot be opened for update, so no logical disk is reported: " + failureText(table.updateError) + ".");
    Names automounts;
    Names unasked;
    for (const MountFacts& mount : table.mounts)
        if (mount.kind == FileSystemKind::kAutomount)
            automounts.push_back(mount.mountPoint);
        else if (!mount.isLater && (mount.kind != FileSystemKind::kLocal || mount.isBelowUntouchable))
            unasked.push_back(mount.mountPoint + " (" + mount.type + ")");
    if (!automounts.empty())
        told.push_back("Automounts: " + listed(automounts) +
                       ". They were left alone here, but asking for VEXSG_LogicalDisk mounts those that are idle.");
    if (!unasked.empty())
        told.push_back("Measuring " + listed(unasked) +
                       " may block. Nothing was asked of them here, but the plug-in measures them for "
                       "VEXSG_LogicalDisk; --timeout ends that.");
}

}  // namespace

std::vector<std::string> diagnose(const KernelList& list, const std::vector<DeviceFacts>& devices,
                                  const MountTableFacts& table) {
    Sentences told;
    tellOfDrives(list, devices, told);
    tellOfRights(devices, table, told);
    tellOfStallingNodes(devices, told);
    tellOfMissingNodes(devices, told);
    tellOfNames(devices, told);
    tellOfTables(devices, told);
    tellOfVirtualDevices(devices, told);
    tellOfMounts(table, told);
    return told;
}

}  // namespace diskmgt
