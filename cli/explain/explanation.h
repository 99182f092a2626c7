// What is said about devices, mounts and pairs: what CIM reports, why, and what the kernel shows. The printers show it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "inventory/reason.h"

namespace diskmgt {

/// `isReported` of something that is not known is what the rules say.
struct Finding : Verdict {
    bool isKnown = true;
};

struct MountedOn {
    std::string source;
    std::string mountPoint;
    std::string type;
    bool isReported = false;
};

/// What the kernel shows to use a device, through every layer. An empty text: nothing is seen to.
struct DeviceUsage {
    std::string text;   // "in use by dm-0 (vg-root), mounted on /"
    std::string holds;  // "holds sda5 and sda6", of an extended partition
    std::vector<std::string> holders;
    std::vector<std::string> mountPoints;
    bool isSwap = false;
    bool isBtrfsMember = false;
    std::string content;               // udev's word for it; empty: not known
    std::string table;                 // "gpt" or "dos", by udev
    std::vector<std::string> namedBy;  // mount points of what only names the device as its source
};

/// The names below /dev of what something lies on: the nearest first, the disks last. Empty: nothing that is listed.
using Layers = std::vector<std::vector<std::string>>;

/// A published pair, held against what the kernel shows.
struct PairExplanation {
    std::string association;  // class name
    std::string antecedent;   // the drive or partition that, CIM says,
    std::string dependent;    // this partition or logical disk lies on
    bool isRight = true;
    std::string text;  // of a wrong one, whole sentences
};

/// What a device is, apart from its verdicts.
enum class DeviceForm { kDrive, kPartition, kEmptyLoop, kMemory };

struct DeviceExplanation {
    std::string asked;  // the operand, when it is not the path itself
    std::string path;
    DeviceForm form = DeviceForm::kDrive;
    bool isListed = false;    // sysfs lists it
    std::string partitionOf;  // the disk; empty: no partition
    std::string reportedAs;   // CIM's name, when it is another one
    Finding drive;
    std::optional<std::uint64_t> sizeBytes;  // when reported
    Finding partitions;                      // of a partition: itself
    unsigned long tableCount = 0;            // in the device's own tables
    unsigned long countOnDrive = 0;          // NoOfPartitions of the drive
    std::size_t shownByKernel = 0;
    std::vector<MountedOn> mounts;  // of the device and of its partitions
    DeviceUsage usage;
    Layers liesOn;
    std::vector<PairExplanation> pairs;  // that it is part of: all of a partition, the wrong ones of a drive
};

/// Where the space figures of a logical disk come from.
enum class SpaceFigures { kMountPoint, kSource, kNone, kNotAsked };

struct MountExplanation {
    std::string source;
    std::string mountPoint;
    std::string type;
    Finding logicalDisk;
    SpaceFigures space = SpaceFigures::kNotAsked;
    Layers liesOn;
    std::vector<PairExplanation> pairs;
};

/// A path that is no mount point.
struct PathExplanation {
    std::string path;
    std::string mountPoint;  // of what it lies on
    Layers liesOn;
};

/// What CIM reports and the kernel does not have.
struct CimOnlyExplanation {
    std::string name;
    std::vector<Reason> reasons;
};

struct Explanation {
    bool isWholeMachine = true;
    std::vector<PathExplanation> paths;
    std::vector<DeviceExplanation> devices;
    std::vector<MountExplanation> mounts;
    std::vector<CimOnlyExplanation> cimOnly;  // of the whole machine: partitions
    std::vector<std::string> diagnosis;       // whole sentences
    std::vector<std::string> unknownNames;    // operands that name nothing, each with a sentence
};

}  // namespace diskmgt
