// Sorts by the first byte and fills what is left between.
#include "inventory/drive_map.h"

#include <algorithm>

#include "inventory/device_names.h"

namespace diskmgt {

namespace {

using Positions = std::vector<std::size_t>;

bool contains(const Positions& positions, std::size_t position) {
    return std::find(positions.begin(), positions.end(), position) != positions.end();
}

bool holds(const Inventory& inventory, const Drive& drive, std::size_t position) {
    return std::any_of(drive.partitions.begin(), drive.partitions.end(), [&](std::size_t top) {
        return top == position || contains(inventory.partitions[top].logicals, position);
    });
}

bool isPairedByAccident(const Inventory& inventory, const Drive& drive, std::size_t position) {
    const std::string& device = inventory.partitions[position].device;
    if (isOnDrive(device, drive.device)) return false;
    return std::any_of(inventory.drives.begin(), inventory.drives.end(), [&](const Drive& other) {
        return isOnDrive(device, other.device) && holds(inventory, other, position);
    });
}

/// True when every one has a start, those in extended partitions too.
bool haveStarts(const Inventory& inventory, const Positions& positions) {
    return std::all_of(positions.begin(), positions.end(), [&inventory](std::size_t position) {
        const Partition& partition = inventory.partitions[position];
        return partition.start && haveStarts(inventory, partition.logicals);
    });
}

/// Fills the bytes from `begin` to `end`.
class Filling {
public:
    Filling(const Inventory& all, DriveMap& map) : inventory(all), drawn(map) {}

    std::vector<Stretch> fill(Positions positions, std::uint64_t begin, std::uint64_t end, const char* whole) {
        std::stable_sort(positions.begin(), positions.end(), [this](std::size_t one, std::size_t other) {
            return inventory.partitions[one].start < inventory.partitions[other].start;
        });
        std::vector<Stretch> stretches;
        std::uint64_t reached = begin;
        for (const std::size_t position : positions) {
            const Partition& partition = inventory.partitions[position];
            const std::uint64_t start = std::max(*partition.start, begin);
            const std::uint64_t size = std::min(partition.size, UINT64_MAX - start);  // hostile tables: no overflow
            if (start < reached) odd(partition, " overlaps what lies before it");
            if (start + size > end || *partition.start < begin) odd(partition, std::string(" reaches past ") + whole);
            const std::uint64_t from = std::min(std::max(start, reached), end);
            const std::uint64_t to = std::min(std::max(start + size, from), end);
            if (from > reached) stretches.push_back({std::nullopt, from - reached, {}});
            stretches.push_back({position, to - from, {}});
            if (!partition.logicals.empty())
                stretches.back().inner = fill(partition.logicals, start, start + size, "its extended partition");
            reached = to;
        }
        if (end > reached) stretches.push_back({std::nullopt, end - reached, {}});
        return stretches;
    }

private:
    void odd(const Partition& partition, const std::string& what) {
        drawn.oddities.push_back(partition.device + what + ".");
    }

    const Inventory& inventory;
    DriveMap& drawn;
};

/// What the sizes leave of the whole stands behind them.
std::vector<Stretch> inPublishedOrder(const Inventory& inventory, const Positions& positions, std::uint64_t whole) {
    std::vector<Stretch> stretches;
    for (const std::size_t position : positions) {
        const Partition& partition = inventory.partitions[position];
        stretches.push_back({position, partition.size, {}});
        if (!partition.logicals.empty())
            stretches.back().inner = inPublishedOrder(inventory, partition.logicals, partition.size);
        whole -= std::min(whole, partition.size);
    }
    if (whole > 0) stretches.push_back({std::nullopt, whole, {}});
    return stretches;
}

/// The reported drive that a source is named after; null when it is named after none.
const Drive* driveNamedIn(const Inventory& inventory, const std::string& source) {
    const auto named = std::find_if(inventory.drives.begin(), inventory.drives.end(),
                                    [&source](const Drive& drive) { return isOnDrive(source, drive.device); });
    return named == inventory.drives.end() ? nullptr : &*named;
}

void append(Positions& all, const Positions& more) {
    for (const std::size_t position : more)
        if (!contains(all, position)) all.push_back(position);
}

}  // namespace

Positions ownPartitions(const Inventory& inventory, const Drive& drive) {
    Positions own;
    for (const std::size_t position : drive.partitions)
        if (!isPairedByAccident(inventory, drive, position)) own.push_back(position);
    return own;
}

std::size_t listedPartitions(const Inventory& inventory, const Drive& drive) {
    std::size_t count = 0;
    for (const std::size_t position : ownPartitions(inventory, drive))
        count += 1 + inventory.partitions[position].logicals.size();
    return count;
}

Positions ownLogicalDisks(const Inventory& inventory, const Partition& partition) {
    Positions own;
    for (const std::size_t position : partition.logicalDisks) {
        const std::string& source = inventory.logicalDisks[position].source;
        const bool isElsewhere =
            source != partition.device &&
            std::any_of(inventory.partitions.begin(), inventory.partitions.end(), [&](const Partition& other) {
                return other.device == source && contains(other.logicalDisks, position);
            });
        if (!isElsewhere) own.push_back(position);
    }
    return own;
}

Positions ownLogicalDisks(const Inventory& inventory, const Drive& drive) {
    Positions own;
    for (const Drive& paired : inventory.drives) {
        for (const std::size_t position : paired.logicalDisks) {
            const Drive* const named = driveNamedIn(inventory, inventory.logicalDisks[position].source);
            if ((named == nullptr ? &paired : named) == &drive) append(own, {position});
        }
    }
    for (const std::size_t top : ownPartitions(inventory, drive)) {
        append(own, ownLogicalDisks(inventory, inventory.partitions[top]));
        for (const std::size_t logical : inventory.partitions[top].logicals)
            append(own, ownLogicalDisks(inventory, inventory.partitions[logical]));
    }
    return own;
}

DriveMap mapOfDrive(const Inventory& inventory, const Drive& drive) {
    DriveMap map;
    const Positions own = ownPartitions(inventory, drive);
    map.isPlaced = haveStarts(inventory, own);
    map.stretches = map.isPlaced ? Filling(inventory, map).fill(own, 0, drive.size, "the end of the drive")
                                 : inPublishedOrder(inventory, own, drive.size);
    return map;
}

}  // namespace diskmgt
