// PartitionTableParser: reads the partition tables of devices and describes each partition. The layouts are in
// partition_format; the caller chooses the devices.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/property_map.h"
#include "collect/partition_format.h"

namespace diskmgt_col {

/// The walk along a chain of extended boot records ends at a table already read. These bounds, for all chains of a
/// disk together, end it on a chain without a repeat: past either, the next table counts as unreadable. What was
/// collected stays. The kernel shows 256 partitions of a disk.
constexpr std::size_t kMaxChainLinks = std::size_t{1} << 20;
constexpr std::size_t kMaxChainEntries = 262144;

/// The most pairs that the accumulating maps of one GPT disk may hold together (773 used entries). Above it the
/// entry count is taken as corrupt.
constexpr std::size_t kMaxGptPairs = std::size_t{1} << 21;

/// The "PartitionType" number of a GPT type GUID, in decimal: "0" when unknown.
std::string partTypeNumParser(GUID_t type);

/// What went wrong when the tables of a device were read. The partitions found do not show it.
struct TableReading {
    int error = 0;                 // of the first read that failed; 0: all succeeded
    std::int64_t errorOffset = 0;  // where that read began, in bytes
    /// Where the GPT's entries ended before their count: the end of the device, or a part that cannot be read.
    std::optional<std::int64_t> cutAt;
    /// The GPT's entry count, when it was taken as corrupt: negative, beyond memory or beyond the pair budget.
    std::optional<std::int32_t> refusedCount;
};

/// How many partitions `enumPartitions` finds on the device, without describing or naming them. Reads the same tables,
/// under the same bounds. 0 when the device cannot be opened or read.
std::size_t partitionCountOf(const std::string& devicePath, TableReading* reading = nullptr);
/// What `enumPartitions` gives for this one device.
std::vector<PropertyMap> partitionsOf(const std::string& devicePath, TableReading& reading);

/// Keeps no state, logs nothing and throws nothing of its own; a device that cannot be opened or read contributes
/// nothing. Descriptors passed in stay the caller's; paths are not changed.
class PartitionTableParser {
public:
    PartitionTableParser() = default;
    PartitionTableParser(const PartitionTableParser&) = default;
    PartitionTableParser& operator=(const PartitionTableParser&) = default;
    virtual ~PartitionTableParser() = default;

    /// One map per partition of every device, device by device in list order. A floppy gives one empty map, unread.
    std::vector<PropertyMap> enumPartitions(std::vector<std::string> devicePaths);

    /// One map per partition of the MBR-style table in sector `startSector`; the partitions inside an extended one
    /// come before it. `inExtended`: the table is the first extended boot record of a chain, which is walked.
    std::vector<PropertyMap> parsePartitionTables(int fd, std::string& path, long long startSector, bool inExtended);

    /// One map per used GPT entry. Intended: each map also holds every pair of the maps before it. Held by
    /// PartitionTableParser.EveryGptMapCarriesThePairsOfTheMapsBeforeIt.
    std::vector<PropertyMap> parsePartitionTablesGPT(int fd, std::string& path);

    /// The used entries of the table whose slots lie at byte `offset` of the device; with `inExtended`, of the whole
    /// chain that begins there, links left out. A table that cannot be read ends the walk.
    std::vector<PartitionDescriptor> readPartitionEntries(int fd, long long offset, bool inExtended);
};

}  // namespace diskmgt_col
