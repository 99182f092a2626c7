// Reads the values, then follows the pairs.
#include "inventory/inventory.h"

#include <unistd.h>

#include <algorithm>
#include <string_view>
#include <unordered_map>

#include "inventory/device_names.h"
#include "inventory/instance_values.h"
#include "schema/vocabulary.h"
#include "text/wording.h"

namespace diskmgt {

namespace {

using namespace diskmgt_col;  // the names of classes and properties

using Positions = std::vector<std::size_t>;
using PositionsByPath = std::unordered_map<std::string_view, Positions>;  // equal keys: several instances

/// The mount point as it was before it was split at its commas; empty pieces are lost.
std::string joinedElements(const refhost::Instance& instance, const std::string& name) {
    const refhost::PropertyValue* const property = find(instance, name);
    return property == nullptr ? std::string() : joined(property->elements, ",");
}

Drive readDrive(const refhost::Instance& instance, const Observations& observations) {
    Drive drive;
    drive.instance = &instance;
    drive.device = textOf(instance, kDeviceId);
    drive.size = numberOf<std::uint64_t>(instance, kSize).value_or(0);
    drive.partitionCount = numberOf<std::uint64_t>(instance, kNoOfPartitions).value_or(0);
    const auto identity = observations.identities.find(drive.device);
    if (identity != observations.identities.end()) drive.identity = identity->second;
    const auto use = observations.uses.find(drive.device);
    if (use != observations.uses.end()) drive.use = use->second;
    return drive;
}

/// The first byte of a GPT partition, exactly.
std::uint64_t gptStartByte(std::uint64_t startingOffset, std::uint64_t sizeBytes) {
    constexpr std::uint64_t kSectorSize = 512;
    return (startingOffset + 1) * kSectorSize - sizeBytes;
}

Partition readPartition(const refhost::Instance& instance, const Observations& observations) {
    Partition partition;
    partition.instance = &instance;
    partition.device = textOf(instance, kDeviceId);
    const auto size = numberOf<std::uint64_t>(instance, kSize);
    partition.size = size.value_or(0);
    partition.type = numberOf<unsigned>(instance, kPartitionType);
    partition.typeByte = numberOf<unsigned>(instance, kPartitionSubType);
    partition.table = partition.typeByte ? TableKind::kMbr : TableKind::kGpt;  // only an MBR entry has a type byte
    partition.typeName = partitionTypeName(instance, partition.typeByte);
    partition.purpose = partitionPurpose(partition.typeByte, partition.type);
    partition.isBootable = textOf(instance, kBootable) == "true";
    if (partition.table == TableKind::kGpt) {
        const auto startingOffset = numberOf<std::uint64_t>(instance, kStartingOffset);
        if (startingOffset && size) partition.start = gptStartByte(*startingOffset, partition.size);
    } else if (const auto observed = observations.startBytes.find(partition.device);
               observed != observations.startBytes.end()) {
        partition.start = observed->second;
        partition.startOrigin = StartOrigin::kObserved;
    }
    return partition;
}

std::optional<Space> readSpace(const refhost::Instance& instance, const std::string& mountPoint,
                               const Observations& observations) {
    const auto total = numberOf<std::uint64_t>(instance, kTotalSpace);
    const auto free = numberOf<std::uint64_t>(instance, kFreeSpace);
    if (!total || !free) return std::nullopt;
    Space space{*total, *free, std::nullopt, false};
    if (!observations.isSpaceMeasured) return space;
    const auto available = observations.availableBytes.find(mountPoint);
    if (available == observations.availableBytes.end())
        space.isOfSourcePath = true;
    else
        space.available = available->second;
    return space;
}

LogicalDisk readLogicalDisk(const refhost::Instance& instance, const Observations& observations) {
    LogicalDisk disk;
    disk.instance = &instance;
    disk.source = textOf(instance, kDeviceId);
    disk.mountPoint = joinedElements(instance, kOtherIdentifyingInfo);
    const auto observed = observations.mountPoints.find(disk.source);
    if (observed != observations.mountPoints.end() && !observed->second.empty()) {
        disk.mountPoint = observed->second.front();  // whole even where it has odd commas
        disk.furtherMountPoints.assign(observed->second.begin() + 1, observed->second.end());
    }
    disk.fileSystem = textOf(instance, kFileSystemName);
    disk.options = textOf(instance, kMountOptions);
    disk.space = readSpace(instance, disk.mountPoint, observations);
    return disk;
}

template <typename Element>
PositionsByPath byPath(const std::vector<Element>& elements) {
    PositionsByPath positions;
    positions.reserve(elements.size());
    for (std::size_t i = 0; i < elements.size(); ++i) positions[elements[i].instance->path].push_back(i);
    return positions;
}

/// Visits what the pairs of an association name, as positions, each pair of positions once.
template <typename Visit>
void eachPair(const Published& published, const std::string& association, const PositionsByPath& antecedents,
              const PositionsByPath& dependents, const Visit& visit) {
    std::unordered_map<std::string_view, std::vector<std::string_view>> seen;  // equal instances give equal pairs
    for (const refhost::Instance& pair : instancesOf(published, association)) {
        const refhost::PropertyValue* const antecedent = find(pair, kAntecedent);
        const refhost::PropertyValue* const dependent = find(pair, kDependent);
        if (antecedent == nullptr || dependent == nullptr) continue;
        const auto supporting = antecedents.find(antecedent->elements.front());
        const auto resting = dependents.find(dependent->elements.front());
        if (supporting == antecedents.end() || resting == dependents.end()) continue;
        std::vector<std::string_view>& paired = seen[resting->first];
        if (std::find(paired.begin(), paired.end(), supporting->first) != paired.end()) continue;
        paired.push_back(supporting->first);
        for (const std::size_t above : supporting->second)
            for (const std::size_t below : resting->second) visit(above, below);
    }
}

/// The drive that a device belongs to by its name, the longest name when there are several; empty when it is none of
/// the reported ones.
std::string likelyDrive(const std::vector<Drive>& drives, const std::string& device,
                        bool (*belongs)(const std::string&, const std::string&)) {
    std::string likely;
    for (const Drive& drive : drives)
        if (drive.device.size() > likely.size() && belongs(device, drive.device)) likely = drive.device;
    return likely;
}

/// Puts the logicals of a drive beneath the extended partition that is published right behind them.
void nestLogicals(Drive& drive, std::vector<Partition>& partitions) {
    constexpr unsigned kExtended = 2;
    constexpr unsigned kLogical = 3;
    std::sort(drive.partitions.begin(), drive.partitions.end());  // in the order published
    Positions top, waiting;
    for (const std::size_t position : drive.partitions) {
        if (partitions[position].type == kLogical) {
            waiting.push_back(position);
            continue;
        }
        if (partitions[position].type == kExtended) partitions[position].logicals.swap(waiting);
        top.insert(top.end(), waiting.begin(), waiting.end());  // those that no extended partition follows
        waiting.clear();
        top.push_back(position);
    }
    top.insert(top.end(), waiting.begin(), waiting.end());
    drive.partitions = std::move(top);
}

void pairPartitions(Inventory& inventory, const PositionsByPath& drives, const PositionsByPath& partitions) {
    std::vector<bool> isPlaced(inventory.partitions.size());
    eachPair(inventory.published, kPartitionPresent, drives, partitions, [&](std::size_t drive, std::size_t partition) {
        inventory.drives[drive].partitions.push_back(partition);
        isPlaced[partition] = true;
        const std::string& device = inventory.partitions[partition].device;
        const std::string& driveName = inventory.drives[drive].device;
        const std::string likely = likelyDrive(inventory.drives, device, isPartitionOf);
        if (likely != driveName) inventory.doubtfulPairs.push_back({kPartitionPresent, device, driveName, likely});
    });
    for (Drive& drive : inventory.drives) nestLogicals(drive, inventory.partitions);
    for (std::size_t i = 0; i < isPlaced.size(); ++i)
        if (!isPlaced[i]) inventory.loosePartitions.push_back(i);
}

void pairLogicalDisks(Inventory& inventory, const PositionsByPath& drives, const PositionsByPath& partitions) {
    const PositionsByPath logicalDisks = byPath(inventory.logicalDisks);
    std::vector<bool> isPlaced(inventory.logicalDisks.size());
    std::vector<bool> isOnPartition(inventory.logicalDisks.size());
    eachPair(
        inventory.published, kLogicalDiskBasedOnPartition, partitions, logicalDisks,
        [&](std::size_t partition, std::size_t disk) {
            inventory.partitions[partition].logicalDisks.push_back(disk);
            isPlaced[disk] = isOnPartition[disk] = true;
            const std::string& device = inventory.partitions[partition].device;
            const std::string& source = inventory.logicalDisks[disk].source;
            if (device == source) return;
            const bool isReported = std::any_of(inventory.logicalDisks.begin(), inventory.logicalDisks.end(),
                                                [&](const LogicalDisk& other) { return other.source == device; });
            inventory.doubtfulPairs.push_back({kLogicalDiskBasedOnPartition, device, source, isReported ? device : ""});
        });
    eachPair(inventory.published, kMediaPresent, drives, logicalDisks, [&](std::size_t drive, std::size_t disk) {
        isPlaced[disk] = true;
        if (!isOnPartition[disk]) inventory.drives[drive].logicalDisks.push_back(disk);
        const std::string& source = inventory.logicalDisks[disk].source;
        const std::string& driveName = inventory.drives[drive].device;
        const bool isLink = source.find(driveName) == std::string::npos;  // paired by what the link names
        if (isLink) return;
        const std::string likely = likelyDrive(inventory.drives, source, isOnDrive);
        if (likely != driveName) inventory.doubtfulPairs.push_back({kMediaPresent, source, driveName, likely});
    });
    for (std::size_t i = 0; i < isPlaced.size(); ++i)
        if (!isPlaced[i]) inventory.looseLogicalDisks.push_back(i);
}

std::string readHostName() {
    char name[256] = "";
    (void)::gethostname(name, sizeof name - 1);  // unknown: empty
    return name;
}

}  // namespace

SplitOptions splitMountOptions(const std::string& published) {
    constexpr const char* kBefore = ", ";  // only the last one counts: options may hold any text
    constexpr const char* kDigits = "0123456789";
    const std::size_t mark = published.rfind(kBefore);
    if (mark == std::string::npos) return {published, {}};
    std::string identifier = published.substr(mark + 2);
    const std::size_t blank = identifier.find_first_not_of(kDigits);
    const bool isPairOfNumbers = blank != std::string::npos && blank > 0 && identifier[blank] == ' ' &&
                                 blank + 1 < identifier.size() &&
                                 identifier.find_first_not_of(kDigits, blank + 1) == std::string::npos;
    if (!isPairOfNumbers) return {published, {}};
    return {published.substr(0, mark), std::move(identifier)};
}

Inventory arrangeInventory(Published published, const Observations& observations) {
    Inventory inventory;
    inventory.published = std::move(published);
    inventory.hostName = readHostName();
    for (const refhost::Instance& instance : instancesOf(inventory.published, kDiskDrive))
        inventory.drives.push_back(readDrive(instance, observations));
    for (const refhost::Instance& instance : instancesOf(inventory.published, kDiskPartition))
        inventory.partitions.push_back(readPartition(instance, observations));
    for (const refhost::Instance& instance : instancesOf(inventory.published, kLogicalDisk))
        inventory.logicalDisks.push_back(readLogicalDisk(instance, observations));
    const PositionsByPath drives = byPath(inventory.drives);
    const PositionsByPath partitions = byPath(inventory.partitions);
    pairPartitions(inventory, drives, partitions);
    pairLogicalDisks(inventory, drives, partitions);
    return inventory;
}

}  // namespace diskmgt
