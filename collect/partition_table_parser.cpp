#include "collect/partition_table_parser.h"

#define BOOST_LEXICAL_CAST_ASSUME_C_LOCALE  // a host's locale must not group the digits
#include <algorithm>
#include <boost/lexical_cast.hpp>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <unordered_set>
#include <utility>

#include "base/handles.h"
#include "base/text.h"
#include "schema/vocabulary.h"

namespace diskmgt_col {

namespace {

constexpr int kPrimaryKind = 1;
constexpr int kExtendedKind = 2;
constexpr int kLogicalKind = 3;
constexpr unsigned int kNumberBeforeFirstLogical = 4;

constexpr std::size_t kFirstSlotSize = sizeof(PartitionDescriptor);
constexpr std::size_t kPairsPerGptEntry = 7;

// A GPT entry array up to this size is read at once, a larger one in pieces of it.
constexpr std::size_t kGptPieceSize = std::size_t{1} << 20;
// The most that one read(2) returns on Linux.
constexpr std::size_t kMaxReadSize = 0x7ffff000;
static_assert(kGptPieceSize % kGptEntrySize == 0 && kMaxReadSize % kGptEntrySize == 0);

/// Where the slots of the table in `sector` lie, in bytes from the start of the device.
std::int64_t slotsOffsetOf(std::int64_t sector) {
    // Unsigned: an absurd sector wraps instead of being undefined behaviour; the seek then fails.
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(sector) * kSectorSize + kSlotsOffset);
}

/// The first error counts; later ones may result from it.
void noteError(TableReading& reading, std::int64_t offset) {
    if (reading.error != 0) return;
    reading.error = errno;
    reading.errorOffset = offset;
}

/// Reads tables, one at a time. Keeps where each read began and how far the chains of the disk were walked.
class TableReader {
public:
    TableReader(int descriptor, TableReading& told) : fd(descriptor), reading(told) {}

    /// Seeks to the slots of a table. Intended: the seek is unchecked. When it fails, the next read continues where the
    /// last one ended. Held by PartitionTableParser.FirstReadOfATableGoesOnWhereTheLastEndedWhenItsSeekFails
    /// and ExtendedChain.ALinkPastTheEndOfTheDiskIsReadWhereTheLastReadEnded.
    void seek(std::int64_t offset) {
        if (os::seekTo(fd, offset) >= 0) position = offset;
    }
    /// Where the next read begins, in bytes; negative until a seek has succeeded.
    std::int64_t nextRead() const { return position; }
    /// False at the end of the device or when the read fails. Bytes behind a short read are zero.
    bool readSlots() {
        std::memset(bytes, 0, sizeof bytes);
        const ssize_t got = os::readSome(fd, bytes, sizeof bytes);
        if (got > 0) position += got;
        if (got < 0) noteError(reading, position);
        return got > 0;
    }
    PartitionDescriptor slot(std::size_t index) const { return slotAt(ByteView(bytes, sizeof bytes), index); }

    void countLink() { ++links; }
    void countEntry() { ++entries; }
    bool isExhausted() const { return links >= kMaxChainLinks || entries >= kMaxChainEntries; }

private:
    int fd;
    TableReading& reading;
    std::int64_t position = std::numeric_limits<std::int64_t>::min();
    unsigned char bytes[kSlotsSize] = {};
    std::size_t links = 0;
    std::size_t entries = 0;
};

/// The device name of partition `number`. An NVMe device (known by a marker in its path) gets the first name
/// that exists, or else the bare number.
std::string partitionName(const std::string& devicePath, const char* nvmeMarker, int number) {
    const std::string digits = dataToString<int>(number);
    std::string plain = devicePath + digits;
    if (devicePath.find(nvmeMarker) == std::string::npos || os::checkAccess(plain) == 0) return plain;
    std::string separated = devicePath + "p" + digits;
    return os::checkAccess(separated) == 0 ? separated : digits;
}

PropertyMap describe(const PartitionDescriptor& entry, int kind, const std::string& name) {
    const std::uint64_t sizeBytes = std::uint64_t{entry.sectorCount} * kSectorSize;
    // Intended: 32-bit, relative to the table's own sector, and 446 too high. Held by
    // PartitionTableParser.MbrStartingOffsetWrapsAt32BitsAndAdds446.
    const std::uint32_t startingOffset = entry.startSector * std::uint32_t{kSectorSize} + std::uint32_t{kSlotsOffset};
    PropertyMap map;
    const auto add = [&map](const std::string& key, auto&& value) {  // fastest in the order of the names
        map.emplace_hint(map.end(), key, std::forward<decltype(value)>(value));
    };
    add(kBootable, entry.bootIndicator != 0 ? "true" : "false");
    add(kDeviceId, name);
    add(kElementName, name);
    add(kFaultTolerant, "false");
    add(kPartitionSubType, dataToString<unsigned int>(entry.partitionTypeId));
    add(kPartitionType, dataToString<int>(kind));
    add(kSize, boost::lexical_cast<std::string>(sizeBytes));
    add(kStartingOffset, dataToString<unsigned int>(startingOffset));
    return map;
}

void addGptPairs(PropertyMap& map, const GptEntry& entry, const std::string& name) {
    map.emplace(kPartitionType, partTypeNumParser(entry.type));
    map.emplace(kSize, dataToString<unsigned long>(entry.sizeBytes()));
    // Intended: whatever the attribute flags say. Held by PartitionTableParser.EveryGptPartitionIsBootable.
    map.emplace(kBootable, "true");
    map.emplace(kDeviceId, name);
    map.emplace(kElementName, name);
    // Intended: the number of the last sector, not a byte offset. Held by
    // PartitionTableParser.GptStartingOffsetIsTheLastLba.
    map.emplace(kStartingOffset, dataToString<unsigned long>(entry.lastLba));
    map.emplace(kFaultTolerant, "false");
}

struct UsedGptEntry {
    int slot;  // counted from 1, unused ones included
    GptEntry entry;
};

struct Freer {
    void operator()(unsigned char* block) const noexcept { std::free(block); }
};

/// Appends the used entries among these bytes, whose first entry is number `slot`; false when the disk's maps would
/// outgrow the pair budget.
bool scanGptEntries(const ByteView& entries, int slot, std::vector<UsedGptEntry>& used) {
    for (std::size_t offset = 0; offset < entries.size(); offset += kGptEntrySize) {
        if (const auto entry = gptEntryAt(entries, offset)) {
            used.push_back({slot, *entry});
            if (kPairsPerGptEntry * used.size() * (used.size() + 1) / 2 > kMaxGptPairs) return false;
        }
        ++slot;
    }
    return true;
}

/// The used entries among `count` from the descriptor's position on; empty when the count exceeds the memory or the
/// pair budget. Entries behind a short read count as unused.
std::vector<UsedGptEntry> readUsedGptEntries(int fd, std::int32_t count, TableReading& reading) {
    std::vector<UsedGptEntry> used;
    if (count < 0) reading.refusedCount = count;
    if (count <= 0) return used;
    const auto entryCount = static_cast<std::size_t>(count);
    // The allocator decides whether so many entries fit. Only pages that are written to take memory.
    const std::unique_ptr<unsigned char, Freer> block(
        static_cast<unsigned char*>(std::calloc(entryCount, kGptEntrySize)));
    if (block == nullptr) {
        reading.refusedCount = count;
        return used;
    }

    std::size_t remaining = std::min(entryCount * kGptEntrySize, kMaxReadSize);
    std::int64_t position = kGptHeaderOffset + std::int64_t{kGptHeaderSize};
    int slot = 1;
    while (remaining > 0) {
        const std::size_t pieceSize = std::min(remaining, kGptPieceSize);
        const ssize_t got = os::readSome(fd, block.get(), pieceSize);
        if (got < 0) noteError(reading, position);
        if (got <= 0) break;
        const auto bytesRead = static_cast<std::size_t>(got);
        const std::size_t entriesRead = (bytesRead + kGptEntrySize - 1) / kGptEntrySize;
        const std::size_t scanned = entriesRead * kGptEntrySize;
        std::memset(block.get() + bytesRead, 0, scanned - bytesRead);  // the missing part of a cut entry
        if (!scanGptEntries(ByteView(block.get(), scanned), slot, used)) {
            reading.refusedCount = count;
            return {};
        }
        position += got;
        if (bytesRead < pieceSize) {
            reading.cutAt = position;
            break;
        }
        slot += static_cast<int>(entriesRead);
        remaining -= pieceSize;
    }
    return used;
}

std::vector<PartitionDescriptor> readEntries(TableReader& table, std::int64_t offset, bool inExtended) {
    std::vector<PartitionDescriptor> found;
    if (inExtended && table.isExhausted()) return found;
    table.seek(offset);
    // Keyed by where a read really begins: after a failed seek, reads continue through the device and never go back.
    std::unordered_set<std::int64_t> begun{table.nextRead()};
    if (!table.readSlots()) return found;

    const std::int64_t baseSector = (offset - kSlotsOffset) / kSectorSize;
    for (std::size_t slot = 0; slot < kSlotCount;) {
        const PartitionDescriptor entry = table.slot(slot);
        if (inExtended && entry.isExtended()) {
            if (table.isExhausted()) break;
            table.seek(slotsOffsetOf(entry.startSector + baseSector));
            if (!begun.insert(table.nextRead()).second || !table.readSlots()) break;
            table.countLink();
            slot = 0;
            continue;
        }
        if (entry.isUsed()) {
            found.push_back(entry);
            if (inExtended) table.countEntry();
        }
        ++slot;
    }
    return found;
}

/// Visits every partition of the table in sector `startSector` with its entry, kind and number; those inside an
/// extended one come before it.
template <typename Visit>
void walkTables(TableReader& table, std::int64_t startSector, bool inExtended, const Visit& visit) {
    unsigned int number = inExtended ? kNumberBeforeFirstLogical : static_cast<unsigned int>(startSector) * 4;
    for (const PartitionDescriptor& entry : readEntries(table, slotsOffsetOf(startSector), inExtended)) {
        int kind = startSector == 0 ? kPrimaryKind : kLogicalKind;
        if (entry.isExtended()) {
            walkTables(table, startSector + entry.startSector, true, visit);
            kind = kExtendedKind;
        }
        ++number;
        visit(entry, kind, static_cast<int>(number));
    }
}

void appendPartitions(int fd, const std::string& path, std::int64_t startSector, bool inExtended,
                      std::vector<PropertyMap>& all, TableReading& reading) {
    TableReader table(fd, reading);
    walkTables(table, startSector, inExtended, [&](const PartitionDescriptor& entry, int kind, int number) {
        all.push_back(describe(entry, kind, partitionName(path, "dev/nvme", number)));
    });
}

std::vector<UsedGptEntry> readGpt(int fd, TableReading& reading) {
    unsigned char header[kGptHeaderSize] = {};
    (void)os::seekTo(fd, kGptHeaderOffset);  // unchecked, like the read: a header of zeros has no entries
    if (os::readSome(fd, header, sizeof header) < 0) noteError(reading, kGptHeaderOffset);
    return readUsedGptEntries(fd, gptEntryCount(ByteView(header, sizeof header)), reading);
}

void appendGptPartitions(int fd, const std::string& path, std::vector<PropertyMap>& all, TableReading& reading) {
    const std::vector<UsedGptEntry> entries = readGpt(fd, reading);
    for (const UsedGptEntry& used : entries) {
        const bool isFirst = &used == &entries.front();
        all.push_back(isFirst ? PropertyMap() : PropertyMap(all.back()));
        addGptPairs(all.back(), used.entry, partitionName(path, "/dev/nvme", used.slot));
    }
}

/// How a device is read.
enum class Layout { kUnreadable, kFloppy, kMbr, kGpt };

Layout layoutOf(int fd, const std::string& path, TableReading& reading) {
    if (path.find("/dev/fd") != std::string::npos) return Layout::kFloppy;  // counts as one partition, unread
    unsigned char firstSlot[kFirstSlotSize] = {};
    if (os::seekTo(fd, kSlotsOffset) >= 0 && os::readSome(fd, firstSlot, sizeof firstSlot) < 0) {
        noteError(reading, kSlotsOffset);
        return Layout::kUnreadable;
    }
    (void)os::seekTo(fd, 0);  // not checked: both parsers seek for themselves
    return isProtective(ByteView(firstSlot, sizeof firstSlot)) ? Layout::kGpt : Layout::kMbr;
}

void appendPartitionsOf(const std::string& path, std::vector<PropertyMap>& all, TableReading& reading) {
    const UniqueFd device = openDevice(path);
    if (!device.valid()) return;
    switch (layoutOf(device.get(), path, reading)) {
        case Layout::kUnreadable:
            break;
        case Layout::kFloppy:
            all.emplace_back();
            break;
        case Layout::kMbr:
            appendPartitions(device.get(), path, 0, false, all, reading);
            break;
        case Layout::kGpt:
            appendGptPartitions(device.get(), path, all, reading);
            break;
    }
}

}  // namespace

std::string partTypeNumParser(GUID_t type) { return dataToString<unsigned long>(gptTypeNumber(type)); }

std::size_t partitionCountOf(const std::string& devicePath, TableReading* reading) {
    TableReading unasked;
    TableReading& told = reading == nullptr ? unasked : *reading;
    const UniqueFd device = openDevice(devicePath);
    if (!device.valid()) return 0;
    std::size_t count = 0;
    switch (layoutOf(device.get(), devicePath, told)) {
        case Layout::kUnreadable:
            break;
        case Layout::kFloppy:
            return 1;
        case Layout::kMbr: {
            TableReader table(device.get(), told);
            walkTables(table, 0, false, [&count](const auto&, int, int) { ++count; });
            return count;
        }
        case Layout::kGpt:
            return readGpt(device.get(), told).size();
    }
    return 0;
}

std::vector<PropertyMap> partitionsOf(const std::string& devicePath, TableReading& reading) {
    std::vector<PropertyMap> all;
    appendPartitionsOf(devicePath, all, reading);
    return all;
}

std::vector<PropertyMap> PartitionTableParser::enumPartitions(std::vector<std::string> devicePaths) {
    std::vector<PropertyMap> all;
    TableReading unasked;
    for (const std::string& path : devicePaths) appendPartitionsOf(path, all, unasked);
    return all;
}

std::vector<PropertyMap> PartitionTableParser::parsePartitionTables(int fd, std::string& path, long long startSector,
                                                                    bool inExtended) {
    std::vector<PropertyMap> all;
    TableReading unasked;
    appendPartitions(fd, path, startSector, inExtended, all, unasked);
    return all;
}

std::vector<PropertyMap> PartitionTableParser::parsePartitionTablesGPT(int fd, std::string& path) {
    std::vector<PropertyMap> all;
    TableReading unasked;
    appendGptPartitions(fd, path, all, unasked);
    return all;
}

std::vector<PartitionDescriptor> PartitionTableParser::readPartitionEntries(int fd, long long offset, bool inExtended) {
    TableReading unasked;
    TableReader table(fd, unasked);
    return readEntries(table, offset, inExtended);
}

}  // namespace diskmgt_col
