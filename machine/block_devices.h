// The kernel's block devices, partitions included, and what lies on what.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "machine/device_number.h"
#include "machine/drive_identity.h"

namespace diskmgt_machine {

enum class Kind {
    kDisk,
    kPartition,
    kLvm,
    kCrypt,
    kMultipath,
    kRaid,
    kDeviceMapper,  // any other kind of mapping
    kLoop,
    kOptical,
    kFloppy,
    kMemory,
    kPath,  // hidden path to a multipath disk
    kCompressedMemory
};
/// "disk", "partition", "lvm", ...
const char* nameOf(Kind kind);

struct BlockDevice {
    std::string name;  // below /dev, with "/" where sysfs writes "!"
    std::optional<DeviceNumber> number;
    Kind kind = Kind::kDisk;
    std::optional<std::uint64_t> sizeBytes;
    std::optional<std::uint64_t> sectorSize;       // logical, in bytes
    std::optional<std::uint64_t> partitionNumber;  // of a partition
    std::optional<std::uint64_t> startBytes;       // of a partition that is not a volume of device-mapper
    bool isReadOnly = false;
    bool isRemovable = false;
    bool isHidden = false;
    std::optional<bool> isRotational;
    std::string volume;       // the name of a volume of device-mapper
    std::string volumeUuid;   // begins with its kind
    std::string level;        // of an array
    std::string backingFile;  // of a loop device
    std::string transport;    // of a disk: "usb", "sata", ...; empty: unknown
    DriveIdentity identity;

    // Positions in BlockDevices::devices, ascending.
    std::vector<std::size_t> on;               // what it lies on
    std::vector<std::size_t> carries;          // what lies on it
    std::optional<std::size_t> disk;           // of a partition or a path
    std::vector<std::string> unlistedHolders;  // holders that the kernel's list lacks
    std::vector<std::string> unlistedSlaves;   // slaves that the kernel's list lacks

    std::string path() const { return "/dev/" + name; }
};

struct BlockDevices {
    std::vector<BlockDevice> devices;  // in natural order
    int error = 0;                     // why the kernel's list could not be opened; 0: success

    /// Finds a device by its name below /dev.
    std::optional<std::size_t> find(std::string_view name) const;
};

/// What the "dm/uuid" of a volume says.
struct VolumeKind {
    Kind kind = Kind::kDeviceMapper;
    std::optional<std::uint64_t> partitionNumber;  // from "part2-" at the start: a partition of the volume beneath
};
VolumeKind volumeKindFrom(std::string_view uuid);

/// The disk that a hidden path of native multipath leads to: nvme0n1 for nvme0c1n1; empty for any other name.
std::string diskOfPath(std::string_view name);
/// The number of a partition, from its name and its disk's: 2 for sda2 of sda, 1 for md0p1 of md0.
std::optional<std::uint64_t> partitionNumberIn(std::string_view name, std::string_view disk);

/// How a disk is attached, from the path of its folder in sysfs, such as
/// "../devices/pci0000:00/0000:00:1f.2/ata1/host0/target0:0:0/0:0:0:0/block/sda"; empty when it does not tell.
std::string transportIn(std::string_view sysfsPath);

/// The order that people expect: sda, sda1, sda2, sda10, sdb, sdz, sdaa.
bool comesBeforeNaturally(const std::string& one, const std::string& other);

}  // namespace diskmgt_machine
