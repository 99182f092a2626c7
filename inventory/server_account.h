// Both accounts of a server: each row of the machine as the kernel has it, with what CIM reports of it beside it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "inventory/collection.h"
#include "inventory/file_system_groups.h"
#include "inventory/reason.h"
#include "machine/machine.h"
#include "machine/udev_record.h"
#include "machine/uses.h"

namespace diskmgt {

/// What CIM reports of one row.
struct CimAnswer {
    enum class State { kReported, kNotReported, kUnknown };

    State state = State::kUnknown;
    const refhost::Instance* instance = nullptr;  // when reported
    std::string as;                               // the name that it is reported under
    // As reported, in bytes; a start is that of the table, not the published StartingOffset.
    std::optional<std::uint64_t> size;
    std::optional<std::uint64_t> start;
    std::optional<std::uint64_t> partitionCount;
    std::vector<std::string> differs;  // which of "name", "size", "start", "partitionCount" the machine has otherwise
    std::vector<Reason> reasons;       // why not, or why unknown; when reported: remarks

    bool isReported() const { return state == State::kReported; }
    bool isUnknown() const { return state == State::kUnknown; }
    bool differsIn(const char* what) const;
};

/// A block device, at the same position as in `BlockDevices::devices`.
struct DeviceAccount {
    diskmgt_machine::UdevRecord udev;
    diskmgt_machine::InUse use;
    std::vector<std::size_t> mounts;       // that are listed here: positions in Machine::mounts
    std::optional<std::size_t> mountsAt;   // the device that lists its mounts: a btrfs lies on several
    std::vector<std::size_t> swaps;        // positions in Machine::swaps
    const DeviceFacts* facts = nullptr;    // null: it was not looked at, as no partition is
    std::optional<std::size_t> published;  // of a reported partition: position in Inventory::partitions
    std::size_t partitionsByKernel = 0;    // of a disk
    std::optional<CimAnswer> drive, partition, logicalDisk;  // absent: CIM has no such thing for it
};

/// A mount, at the same position as in `Machine::mounts`.
struct MountAccount {
    FileSystemGroup group = FileSystemGroup::kOther;
    std::optional<Space> space;
    std::optional<Reason> reason;  // why there are no figures
    CimAnswer logicalDisk;
};

/// A file system on no listed block device, with all its mounts.
struct FileSystemAccount {
    FileSystemGroup group = FileSystemGroup::kOther;
    std::vector<std::size_t> mounts;  // positions in Machine::mounts, in the table's order
};

/// What CIM reports and the machine does not have.
struct CimOnly {
    const refhost::Instance* instance = nullptr;
    std::string name;
    std::vector<Reason> reasons;
    const DeviceFacts* disk = nullptr;  // of a partition: whose table it is in
};

/// What keeps the account from being complete.
struct Gap {
    std::string rule;
    std::string of;  // the device, class or mount point
    std::string text;
};

struct ServerAccount {
    const diskmgt_machine::Machine& machine;
    const Collection& collection;
    diskmgt_machine::Uses uses;
    std::vector<DeviceAccount> devices;
    std::vector<MountAccount> mounts;
    std::vector<FileSystemAccount> fileSystems;  // pseudo ones too, in the table's order
    std::vector<CimOnly> cimOnly;
    std::vector<Gap> gaps;

    ServerAccount(const diskmgt_machine::Machine& kernels, const Collection& cims)
        : machine(kernels), collection(cims), uses(kernels) {}

    const Inventory& inventory() const { return collection.inventory; }
    bool isComplete() const { return gaps.empty(); }
    const diskmgt_machine::BlockDevice& device(std::size_t position) const { return machine.blocks.devices[position]; }
    std::size_t countOf(FileSystemGroup group) const;
};

/// Joins the two. Both must outlive the answer. Asks the kernel nothing.
ServerAccount joinAccounts(const diskmgt_machine::Machine& machine, Collection& collection);

}  // namespace diskmgt
