// What is said about devices and mounts: verdicts, and the reasons for them. The printers show it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "inventory/reason.h"

namespace diskmgt {

struct MountedOn {
    std::string source;
    std::string mountPoint;
    std::string type;
    bool isReported = false;
};

/// What the kernel shows to use a device, through every layer. An empty text: nothing is seen to.
struct DeviceUsage {
    std::string text;  // "in use by dm-0 (vg-root), mounted on /"
    std::vector<std::string> holders;
    std::vector<std::string> mountPoints;
    bool isSwap = false;
    bool isBtrfsMember = false;

    bool isMoreThanMounted() const { return !holders.empty() || isSwap || isBtrfsMember; }
};

struct DeviceExplanation {
    std::string asked;  // the operand, when it is not the path itself
    std::string path;
    bool isListed = false;    // sysfs lists it
    bool isUnknown = false;   // neither a node nor anything the kernel lists
    std::string partitionOf;  // the disk; empty: no partition
    Verdict drive;
    std::optional<std::uint64_t> sizeBytes;  // when reported
    Verdict partitions;                      // of a partition: itself
    unsigned long tableCount = 0;            // in the device's own tables
    unsigned long countOnDrive = 0;          // NoOfPartitions of the drive
    std::size_t shownByKernel = 0;
    std::vector<MountedOn> mounts;  // of the device and of its partitions
    DeviceUsage usage;
};

/// Where the space figures of a mount come from.
enum class SpaceFigures { kMountPoint, kSource, kNone, kNotAsked };

struct MountExplanation {
    std::string source;
    std::string mountPoint;
    std::string type;
    Verdict logicalDisk;
    SpaceFigures space = SpaceFigures::kNotAsked;
};

struct Explanation {
    bool isWholeMachine = true;
    std::vector<DeviceExplanation> devices;
    std::vector<MountExplanation> mounts;
    std::vector<std::string> diagnosis;  // whole sentences
};

}  // namespace diskmgt
