// Partition tables as on disk: MBR, extended boot records and GPT. Bytes in, structs out; the parser
// reads the devices. Sectors are 512 bytes. The layouts of MBR and GPT are published in the UEFI
// specification, chapter "GUID Partition Table (GPT) Disk Layout".
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <type_traits>

#include "base/byte_view.h"

namespace diskmgt_col {

constexpr std::int64_t kSectorSize = 512;

/// One slot of an MBR or extended boot record, byte for byte as on disk (little-endian, like every machine that
/// this runs on).
struct PartitionDescriptor {
    std::uint8_t bootIndicator;    // non-zero: marked bootable
    std::uint8_t startChs[3];      // unused
    std::uint8_t partitionTypeId;  // 0: the slot is free
    std::uint8_t endChs[3];        // unused
    std::uint32_t startSector;     // relative to this table's own sector; a link's to the first extended record
    std::uint32_t sectorCount;

    bool isUsed() const { return partitionTypeId != 0; }
    /// An extended partition, or a link to the next extended boot record. Intended: 0x85 is neither. Held by
    /// PartitionTableParser.Type0x85IsAnOrdinaryPrimaryPartition.
    bool isExtended() const { return partitionTypeId == 0x05 || partitionTypeId == 0x0F; }
};
static_assert(sizeof(PartitionDescriptor) == 16 && offsetof(PartitionDescriptor, startSector) == 8);
static_assert(std::is_trivially_copyable_v<PartitionDescriptor>, "slots are copied as bytes");
static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "descriptors and GUIDs are copied as they lie on disk");

constexpr std::int64_t kSlotsOffset = 446;  // of the first slot, within the sector of a table
constexpr std::size_t kSlotCount = 4;
constexpr std::size_t kSlotsSize = 66;  // four slots and the signature, which is not checked

/// Slot `index` (0 to 3) of the `kSlotsSize` bytes read at a table's slots; an empty slot when the view ends
/// before it.
PartitionDescriptor slotAt(const ByteView& slots, std::size_t index);

/// True when the first slot, of which the view holds the first bytes, marks a disk whose real table is a GPT.
bool isProtective(const ByteView& firstSlot);

/// A GUID in the order in which GPT stores it: the first three groups little-endian, the rest as written.
struct GUID_t {
    std::uint32_t data1;
    std::uint16_t data2;
    std::uint16_t data3;
    std::uint8_t data4[8];
};
static_assert(sizeof(GUID_t) == 16 && std::is_trivially_copyable_v<GUID_t>);

constexpr std::int64_t kGptHeaderOffset = 512;
constexpr std::size_t kGptHeaderSize = 512;  // as read; the entries follow immediately
constexpr std::size_t kGptEntrySize = 128;   // used even if the header gives another size

/// The header's number of entries, used or not; signed, so a corrupt one can be negative. 0 when the view ends
/// before it.
std::int32_t gptEntryCount(const ByteView& header);

/// The fields of a used GPT entry that are needed.
struct GptEntry {
    GUID_t type;
    std::uint64_t firstLba;
    std::uint64_t lastLba;  // inclusive

    /// In bytes; wraps for a corrupt entry that ends before it begins.
    std::uint64_t sizeBytes() const { return (lastLba + 1 - firstLba) * static_cast<std::uint64_t>(kSectorSize); }
};

/// The entry at `offset`; nothing when the slot is unused (all bytes of the type zero) or reaches past the view.
std::optional<GptEntry> gptEntryAt(const ByteView& entries, std::size_t offset);

/// The "PartitionType" number of a GPT type: 0 when unknown.
unsigned long gptTypeNumber(const GUID_t& type);

}  // namespace diskmgt_col
