// The inventory: drives, their partitions and the mounted file systems, joined as the association instances say, with
// the observed truth beside the values that mislead.
#pragma once

#include <cstdint>
#include <ctime>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "inventory/partition_types.h"
#include "inventory/space.h"
#include "machine/drive_identity.h"
#include "refhost/api/reference_host.h"
#include "session/published.h"

namespace diskmgt {

/// A partition as the kernel has it, in bytes.
struct KernelPartition {
    std::optional<std::uint64_t> start;  // absent: sysfs does not show it
    std::optional<std::uint64_t> size;
};

/// What the kernel shows of a drive beside the plug-in's account.
struct DriveUse {
    std::string text;     // "in use by dm-0 (vg-root), mounted on /"; empty: nothing is seen to use it
    std::string ofWhole;  // the same of what lies on the drive itself, not on its partitions
    std::vector<KernelPartition> partitions;
};

/// What the kernel says beside the plug-in. Everything is by the texts of the instances.
struct Observations {
    std::map<std::string, std::vector<std::string>> mountPoints;  // of a mount source, in mount-table order
    std::map<std::string, std::uint64_t> availableBytes;          // by mount point; a missing one cannot be measured
    std::map<std::string, std::uint64_t> startBytes;              // by partition device, from sysfs
    std::map<std::string, diskmgt_machine::DriveIdentity> identities;  // by drive device
    std::map<std::string, DriveUse> uses;                              // by drive device
    bool isSpaceMeasured = false;                                      // false: `availableBytes` says nothing
};

struct LogicalDisk {
    const refhost::Instance* instance = nullptr;
    std::string source;      // the device, or what the mount table has in its place
    std::string mountPoint;  // the first one
    std::vector<std::string> furtherMountPoints;
    std::string fileSystem;
    std::string options;  // as published: the file-system identifier is at their end
    std::optional<Space> space;

    /// Null when there are no figures, or when they are those of another file system.
    const Space* ownSpace() const { return space && !space->isOfSourcePath ? &*space : nullptr; }
};

enum class TableKind { kMbr, kGpt };
enum class StartOrigin { kComputed, kObserved };  // from the GPT entry, or from sysfs

struct Partition {
    const refhost::Instance* instance = nullptr;
    std::string device;
    std::uint64_t size = 0;
    TableKind table = TableKind::kMbr;
    std::optional<unsigned> type;
    std::string typeName;              // in words, the type byte's where it says more
    std::optional<unsigned> typeByte;  // of an MBR entry
    Purpose purpose = Purpose::kOther;
    bool isBootable = false;
    /// The first byte; never the published StartingOffset, which is none.
    std::optional<std::uint64_t> start;
    StartOrigin startOrigin = StartOrigin::kComputed;
    std::vector<std::size_t> logicals;      // of an extended partition: positions in Inventory::partitions
    std::vector<std::size_t> logicalDisks;  // positions in Inventory::logicalDisks
};

struct Drive {
    const refhost::Instance* instance = nullptr;
    std::string device;
    std::uint64_t size = 0;
    diskmgt_machine::DriveIdentity identity;
    DriveUse use;
    std::uint64_t partitionCount = 0;       // as published, which may differ from what is listed
    std::vector<std::size_t> partitions;    // without the logicals that an extended one holds
    std::vector<std::size_t> logicalDisks;  // on the drive, but on none of its partitions
};

/// A pair that exists only because one name begins with, or contains, the other.
struct DoubtfulPair {
    std::string association;  // class name
    std::string device;       // the partition or mount source that was paired
    std::string pairedWith;
    std::string likely;  // what it should have been paired with; empty: nothing that is reported
};

struct Inventory {
    Published published;  // owns the instances that the rest points to
    std::string hostName;
    std::time_t collectedAt = 0;
    double durationSeconds = 0;
    std::vector<Drive> drives;  // in the order published, as the other lists
    std::vector<Partition> partitions;
    std::vector<LogicalDisk> logicalDisks;
    std::vector<std::size_t> loosePartitions;    // on no reported drive
    std::vector<std::size_t> looseLogicalDisks;  // on no reported drive or partition
    std::vector<DoubtfulPair> doubtfulPairs;

    bool isComplete() const { return published.missingClasses.empty(); }
};

/// Joins what was published. Without observations the fields that rest on them stay empty.
Inventory arrangeInventory(Published published, const Observations& observations);

struct SplitOptions {
    std::string options;       // as in the mount table
    std::string fileSystemId;  // two decimal numbers and a blank between; empty: there was none
};
/// Takes the file-system identifier off the published options of a disk that was measured.
SplitOptions splitMountOptions(const std::string& published);

}  // namespace diskmgt
