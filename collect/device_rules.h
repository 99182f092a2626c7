// The decisions about block devices, one function each: which become drives, and under which names partitions are
// looked for. The collectors act on them, and explanations ask them too.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/handles.h"

namespace diskmgt_col {

/// The kernel's list of block devices.
constexpr const char* kBlockDirectory = "/sys/block/";

/// What the name of an entry of the kernel's list decides about it.
enum class EntryName { kDisk, kDotEntry, kDeviceMapper };
EntryName judgeEntryName(const char* entryName);

/// What sysfs says about a listed disk.
struct SysfsDisk {
    std::optional<std::string> sizeLine;  // nothing: the file is missing, unreadable or empty
    std::optional<std::string> numberLine;
    unsigned long sectorCount = 0;
    int majorNumber = 0;

    bool hasSize() const { return sectorCount != 0; }
    bool isRamDisk() const;
    /// Whether the disk is worth measuring.
    bool isOffered() const { return hasSize() && !isRamDisk(); }
};
/// Reads the texts "size" and "dev" of an entry of the kernel's list.
SysfsDisk readSysfsDisk(const std::string& entryName);

/// The first of the texts that contains the path; null when none does: the device is not virtual.
const std::string* virtualEntryFor(const std::string& devicePath, const std::vector<std::string>& virtualDevices);

/// An opened and measured device. Without a size it does not count as a drive, and `error` says why.
struct MeasuredDevice {
    UniqueFd device;
    std::optional<std::uint64_t> sizeBytes;
    int error = 0;  // of the open when `device` is not valid, else of reading the size
};
MeasuredDevice measureDevice(const std::string& devicePath);

/// The device's name below /sys/block: what follows the last '/', or the whole text.
std::string sysfsNameOf(const std::string& devicePath);
/// Whether an entry of the device's sysfs directory counts as one of its partitions.
bool isPartitionEntry(const char* entryName, const std::string& deviceName);

/// The 280 disks whose partitions are looked for, in order: hda, sda, hdb, ... over md0 to md127 to nvme9n9.
std::vector<std::string> candidateDisks();

}  // namespace diskmgt_col
