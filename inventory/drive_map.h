// What lies where on a drive, gaps included: the drive as a picture of it needs it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "inventory/inventory.h"

namespace diskmgt {

/// A stretch of a drive, in bytes.
struct Stretch {
    std::optional<std::size_t> partition;  // position in Inventory::partitions; absent: nothing lies there
    std::uint64_t size = 0;                // as far as it is neither covered by what lies before it nor past the end
    std::vector<Stretch> inner;            // of an extended partition
};

struct DriveMap {
    std::vector<Stretch> stretches;     // without gaps between them
    bool isPlaced = true;               // false: a start is unknown, so these are the sizes in published order
    std::vector<std::string> oddities;  // sentences on what does not fit
};

DriveMap mapOfDrive(const Inventory& inventory, const Drive& drive);

/// The drive's partitions without those that only an accident of names pairs with it, since the drive they are on has
/// them too. Logicals stay within their extended partition.
std::vector<std::size_t> ownPartitions(const Inventory& inventory, const Drive& drive);

/// How many its own partitions are, logicals included.
std::size_t listedPartitions(const Inventory& inventory, const Drive& drive);

/// The file systems on the drive and its own partitions, each once; accidents of names as above.
std::vector<std::size_t> ownLogicalDisks(const Inventory& inventory, const Drive& drive);
/// Those on a partition itself.
std::vector<std::size_t> ownLogicalDisks(const Inventory& inventory, const Partition& partition);

}  // namespace diskmgt
