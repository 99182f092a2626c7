#include "inventory/observation.h"

#include <charconv>
#include <system_error>
#include <unordered_map>

#include "collect/device_rules.h"
#include "collect/mount_rules.h"
#include "collect/sysfs_text.h"
#include "inventory/device_names.h"
#include "inventory/instance_values.h"
#include "inventory/machine_account.h"
#include "inventory/mount_table.h"
#include "inventory/use_text.h"
#include "schema/vocabulary.h"

namespace diskmgt {

namespace {

using namespace diskmgt_col;

std::map<std::string, std::vector<std::string>> readMountPoints() {
    std::map<std::string, std::vector<std::string>> mountPoints;
    for (const MountEntry& entry : readMountTable(kMountTable, "re").entries)
        mountPoints[entry.source].push_back(entry.mountPoint);
    return mountPoints;
}

/// Where sysfs lets a partition start, in bytes; absent when it does not know the partition.
std::optional<std::uint64_t> observedStart(const std::string& device) {
    const std::string name = sysfsNameOf(device);
    const std::string path = kBlockDirectory + driveNameOf(name) + "/" + name + "/start";
    const std::string line = firstLineOf(path).value_or("");
    std::uint64_t sector = 0;
    if (std::from_chars(line.data(), line.data() + line.size(), sector).ec != std::errc()) return std::nullopt;
    return sector * 512;  // counted in 512 bytes whatever the device's sectors are
}

void observeDrives(const Published& published, Observations& observations) {
    const diskmgt_machine::Machine& machine = machineAccount();
    const diskmgt_machine::Uses uses(machine);
    for (const refhost::Instance& instance : instancesOf(published, kDiskDrive)) {
        const std::string& drive = textOf(instance, kDeviceId);
        const auto device = deviceOf(uses, drive);
        if (!device) continue;
        const diskmgt_machine::BlockDevice& shown = machine.blocks.devices[*device];
        observations.identities[drive] = shown.identity;
        DriveUse use;
        use.text = useText(machine, uses.of(*device));
        use.ofWhole = useText(machine, uses.ofItself(*device));
        for (const std::size_t upper : shown.carries) {
            const diskmgt_machine::BlockDevice& part = machine.blocks.devices[upper];
            if (part.disk == device) use.partitions.push_back({part.startBytes, part.sizeBytes});
        }
        observations.uses[drive] = std::move(use);
    }
}

void observeSpace(const MountFigures& figures, Observations& observations) {
    observations.isSpaceMeasured = true;
    std::unordered_map<std::uint64_t, const MountFigure*> byId;
    for (const MountFigure& figure : figures)
        if (figure.outcome == MountFigure::Outcome::kMeasured && figure.space.available) byId[figure.mountId] = &figure;
    for (const diskmgt_machine::Mount& mount : machineAccount().mounts) {
        const auto figure = byId.find(mount.id);
        if (figure != byId.end() && figure->second->number == mount.number)
            observations.availableBytes[mount.mountPoint] = *figure->second->space.available;
    }
}

}  // namespace

Observations observe(const Published& published, const std::optional<MountFigures>& figures) {
    Observations observations;
    observeDrives(published, observations);
    observations.mountPoints = readMountPoints();
    if (figures) observeSpace(*figures, observations);
    for (const refhost::Instance& instance : instancesOf(published, kDiskPartition)) {
        if (find(instance, kPartitionSubType) == nullptr) continue;  // GPT: the start follows from the entry
        if (const auto start = observedStart(textOf(instance, kDeviceId)))
            observations.startBytes[textOf(instance, kDeviceId)] = *start;
    }
    return observations;
}

}  // namespace diskmgt
