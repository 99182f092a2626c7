// What lies where on a disk by the kernel's starts and sizes, gaps included, and what lies on that: as a picture needs
// it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "inventory/server_account.h"

namespace diskmgt {

/// A stretch of a disk, in bytes.
struct Stretch {
    std::optional<std::size_t> device;  // position of the partition; absent: outside the partitions
    std::uint64_t size = 0;             // as far as it is neither covered by what lies before it nor past the end
    std::vector<Stretch> inner;         // of an extended partition
};

struct DriveMap {
    std::vector<Stretch> stretches;     // without gaps between them
    bool isPlaced = true;               // false: a start is unknown, so these are the sizes in the kernel's order
    std::vector<std::string> oddities;  // sentences on what does not fit
};

DriveMap mapOfDrive(const ServerAccount& account, std::size_t disk);

/// A device and what lies on it, depth first, as the page lists them.
struct DeviceRow {
    std::size_t device = 0;
    std::size_t depth = 0;
    std::optional<std::size_t> shownBeneath;  // it is shown whole there; absent: it is shown here
};

struct DeviceGroup {
    std::size_t root = 0;  // lies on no device that is shown
    std::vector<DeviceRow> rows;
};

/// Disks first, else natural order; without what is left out.
std::vector<DeviceGroup> deviceGroups(const ServerAccount& account);

/// Of all disks; what several paths lead to counts once.
std::uint64_t capacityOf(const ServerAccount& account);

/// Of the file systems on devices that could be measured, each once.
Space spaceOnDevices(const ServerAccount& account);

}  // namespace diskmgt
