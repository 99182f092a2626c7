// What views say of a device: whether it is worth a place, its identity and the type of a partition.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "inventory/server_account.h"

namespace diskmgt {

/// An empty loop device, a RAM disk that nothing uses, or a hidden path, whose disk is shown.
bool isLeftOut(const ServerAccount& account, std::size_t device);

/// The kernel's, else udev's; empty: unknown, or the device is a part of another one.
std::string serialOf(const ServerAccount& account, std::size_t device);
std::string wwidOf(const ServerAccount& account, std::size_t device);

/// What a gap is of; a device by its node, not by its name in sysfs.
std::string nodeOfGap(const Gap& gap);

/// A text is empty when it is not known.
struct PartitionDescription {
    std::string table;     // "gpt", "mbr" or udev's word for another one
    std::string type;      // stable: a GUID, or a type byte such as "0x83"
    std::string typeName;  // in words
};
/// By udev where it knows the partition, else as published.
PartitionDescription describePartition(const ServerAccount& account, std::size_t device);

/// Of a partition that only holds other ones: nothing but them can use it. Without udev and CIM by the size that the
/// kernel gives such a partition.
bool isExtended(const ServerAccount& account, std::size_t device);
/// "holds sda5 and sda6": what is said of an extended partition in place of its use; empty for any other device.
std::string holdsText(const ServerAccount& account, std::size_t device);

/// What the device is for: by its type, its content, or what uses it.
Purpose devicePurpose(const ServerAccount& account, std::size_t device);

/// The first mount with figures, else the first that does not answer, else the first. `mounts` must not be empty.
std::size_t mainMountOf(const ServerAccount& account, const std::vector<std::size_t>& mounts);
bool doesNotAnswer(const MountAccount& mount);

}  // namespace diskmgt
