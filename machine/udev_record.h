// What udev's database knows of a block device: its content and its place in a partition table.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "machine/device_number.h"

namespace diskmgt_machine {

/// A text is empty when udev does not know it.
struct UdevRecord {
    std::string content;  // "ext4", "LVM2_member", "crypto_LUKS", ...
    std::string label;
    std::string uuid;
    std::string table;  // of the device itself: "gpt", "dos"
    std::string partitionTable;
    std::string partitionType;  // a type byte or a GUID
    std::string partitionName;
    std::string partitionUuid;
    std::optional<std::uint64_t> partitionNumber;
    std::optional<std::uint64_t> startBytes;
    std::optional<std::uint64_t> sizeBytes;
    std::string serial;
    std::string wwn;
};

/// Reads the lines "E:KEY=VALUE". If a key comes twice, the last one counts.
UdevRecord udevRecordFrom(std::string_view text);

/// Whether udev keeps records on this machine, in /run/udev/data.
bool hasUdevRecords();
/// Reads one; all texts are empty when udev does not know the device.
UdevRecord readUdevRecord(const DeviceNumber& number);

}  // namespace diskmgt_machine
