// What is so about a block device, asked of the kernel step by step as the plug-in asks it. Judging is left to
// device_reasons.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "collect/device_rules.h"
#include "collect/partition_table_parser.h"
#include "inventory/progress.h"
#include "inventory/stalling_nodes.h"
#include "machine/device_number.h"

namespace diskmgt {

/// The kernel's list of block devices, in its order.
struct KernelList {
    std::vector<std::string> names;
    int error = 0;  // why it could not be opened; 0: it was

    bool has(const std::string& name) const;
};
KernelList readKernelList();

struct DeviceFacts {
    std::string path;
    std::string name;  // below /sys/block
    bool isListed = false;
    diskmgt_col::EntryName nameVerdict = diskmgt_col::EntryName::kDisk;
    diskmgt_col::SysfsDisk sysfs;                             // read when the name is a disk's
    std::string virtualEntry;                                 // that names the device; empty: none does
    bool isCandidate = false;                                 // one of the disks whose partitions are looked for
    bool hasNode = false;                                     // something can be reached under the path
    std::optional<diskmgt_machine::DeviceNumber> nodeNumber;  // of the block device that the node leads to
    StallingNode stalling;  // a collector would open it and wait, so it was not opened here
    bool isTried = false;   // opened, because a collector would
    int openError = 0;      // of the open; 0: it succeeded or was not tried
    int sizeError = 0;      // of the question for the size
    int readError = 0;      // of reading the first partition slot
    std::optional<std::uint64_t> sizeBytes;
    bool hasSysfsDirectory = false;
    std::vector<std::string> kernelPartitions;  // names that sysfs shows beneath the device
    unsigned long tableCount = 0;               // partitions in the device's own tables
    diskmgt_col::TableReading table;            // what reading them ran into
    bool hasBootSignature = false;              // at the end of the first sector, as behind any partition table
    unsigned long logicalSectorSize = 0;        // bytes; 0: unknown
    bool isHeld = false;                        // a volume or array lies on it directly
    bool isHiddenPath = false;                  // to a multipath disk, which has no node of its own
    std::string content;                        // of the whole device, by udev's word; empty: none known

    /// Whether the kernel's list offers it to be measured as a drive.
    bool isOffered() const { return isListed && nameVerdict == diskmgt_col::EntryName::kDisk && sysfs.isOffered(); }
    bool isMeasuredAsDrive() const { return isOffered() && virtualEntry.empty(); }
    bool isDrive() const { return isMeasuredAsDrive() && sizeBytes.has_value(); }
    bool hasPartitions() const { return isCandidate && tableCount > 0; }
    bool isReadable() const { return isTried && openError == 0 && readError == 0; }
    /// Opening failed, and not because there is no medium or nothing behind the node.
    bool isRefused() const;
    /// The kernel or the tables know partitions that are never looked for.
    bool hasUnaskedPartitions() const { return !isCandidate && (tableCount > 0 || !kernelPartitions.empty()); }
    bool differsFromKernel() const { return isReadable() && isListed && tableCount != kernelPartitions.size(); }
    /// Tables are read in sectors of 512 bytes, whatever the device has.
    bool hasLargeSectors() const { return logicalSectorSize > 512 && (isCandidate || tableCount > 0); }
    /// The device has no medium, or there is nothing behind its node.
    bool hasNoMedium() const;
    /// Whether the kernel, told to read the table again, could come to the same number.
    bool canBeReadAgain() const;
    /// What a drive's NoOfPartitions says.
    unsigned long countOnDrive() const { return kernelPartitions.empty() ? 0 : tableCount; }
};

/// Asks everything about one device. It is opened only when the plug-in would open it.
DeviceFacts examineDevice(const std::string& path, const KernelList& list,
                          const std::vector<std::string>& virtualDevices, Progress& progress);

/// The candidate disks that have a node, in their order.
std::vector<std::string> presentCandidates();

/// The devices of the kernel's list, then the candidate disks beside it that have a node.
std::vector<DeviceFacts> examineAllDevices(const KernelList& list, const std::vector<std::string>& virtualDevices,
                                           Progress& progress);

/// The names that the disk's own table gives to its partitions.
std::vector<std::string> partitionNamesInTable(const std::string& diskPath);

/// The disk among these names that a name like a partition's belongs to, such as sda for sda1 and nvme0n1 for
/// nvme0n1p1; empty when there is none.
std::string diskOfPartition(const std::string& partition, const std::vector<std::string>& disks);

}  // namespace diskmgt
