#include "collect/partition_format.h"

#include <cstring>
#include <stdexcept>

namespace diskmgt_col {

namespace {

constexpr std::uint8_t kProtectiveTypeId = 0xEE;
constexpr std::size_t kTypeIdOffset = offsetof(PartitionDescriptor, partitionTypeId);
constexpr std::size_t kEntryCountOffset = 80;  // in the GPT header
constexpr std::size_t kFirstLbaOffset = 32;    // in a GPT entry
constexpr std::size_t kLastLbaOffset = 40;

/// Makes the compiler reject a malformed GUID text: a call of this is not a constant expression.
[[noreturn]] void malformedGuidText() { throw std::invalid_argument("malformed GUID text"); }

constexpr std::uint8_t hexDigit(char digit) {
    if (digit >= '0' && digit <= '9') return static_cast<std::uint8_t>(digit - '0');
    if (digit >= 'A' && digit <= 'F') return static_cast<std::uint8_t>(digit - 'A' + 10);
    malformedGuidText();
}

constexpr std::uint64_t hexNumber(const char* text, int digits) {
    std::uint64_t number = 0;
    for (int i = 0; i < digits; ++i) number = number << 4 | hexDigit(text[i]);
    return number;
}

/// A GUID from its canonical form, as the public lists print it.
constexpr GUID_t guid(const char (&text)[37]) {
    if (text[8] != '-' || text[13] != '-' || text[18] != '-' || text[23] != '-') malformedGuidText();
    GUID_t parsed{static_cast<std::uint32_t>(hexNumber(text, 8)),
                  static_cast<std::uint16_t>(hexNumber(text + 9, 4)),
                  static_cast<std::uint16_t>(hexNumber(text + 14, 4)),
                  {}};
    for (std::size_t i = 0; i < 2; ++i) parsed.data4[i] = static_cast<std::uint8_t>(hexNumber(text + 19 + 2 * i, 2));
    for (std::size_t i = 0; i < 6; ++i)
        parsed.data4[2 + i] = static_cast<std::uint8_t>(hexNumber(text + 24 + 2 * i, 2));
    return parsed;
}

struct GptType {
    GUID_t type;
    unsigned long number;
};

constexpr GptType kGptTypes[] = {
    {guid("024DEE41-33E7-11D3-9D69-0008C781F39F"), 5},   // MBR partition scheme
    {guid("C12A7328-F81F-11D2-BA4B-00A0C93EC93B"), 6},   // EFI system partition
    {guid("21686148-6449-6E6F-744E-656564454649"), 7},   // BIOS boot partition
    {guid("E3C9E316-0B5C-4DB8-817D-F92DF00215AE"), 8},   // Microsoft reserved partition
    {guid("EBD0A0A2-B9E5-4433-87C0-68B6B72699C7"), 9},   // Microsoft basic data partition
    {guid("5808C8AA-7E8F-42E0-85D2-E1E90434CFB3"), 10},  // Logical Disk Manager metadata partition
    {guid("AF9B60A0-1431-4F62-BC68-3311714A69AD"), 11},  // Logical Disk Manager data partition
    {guid("DE94BBA4-06D1-4D40-A16A-BFD50179D6AC"), 12},  // Windows recovery environment
    {guid("A19D880F-05FC-4D3B-A006-743F0F84911E"), 13},  // Linux RAID partition
    {guid("0657FD6D-A4AB-43C4-84E5-0933C84B4F4F"), 14},  // Linux swap partition
    {guid("E6D6D379-F507-44C2-A23C-238F2A3DF928"), 15},  // Linux LVM partition
    {guid("8DA63339-0007-60C0-C436-083AC8230908"), 16},  // Linux reserved
    {guid("0FC63DAF-8483-4772-8E79-3D69D8477DE4"), 17},  // Linux filesystem data
    {guid("AA31E02A-400F-11DB-9590-000C2911D1B8"), 19},  // VMware VMFS partition
};
constexpr unsigned long kZeroHalfType = 19;

struct GuidHalves {
    std::uint64_t first;
    std::uint64_t last;
};

GuidHalves halvesOf(const GUID_t& guid) {
    GuidHalves halves;
    std::memcpy(&halves, &guid, sizeof halves);
    return halves;
}

}  // namespace

PartitionDescriptor slotAt(const ByteView& slots, std::size_t index) {
    return slots.record<PartitionDescriptor>(index * sizeof(PartitionDescriptor)).value_or(PartitionDescriptor{});
}

bool isProtective(const ByteView& firstSlot) {
    return firstSlot.little<std::uint8_t>(kTypeIdOffset) == kProtectiveTypeId;
}

std::int32_t gptEntryCount(const ByteView& header) {
    return static_cast<std::int32_t>(header.little<std::uint32_t>(kEntryCountOffset).value_or(0));
}

std::optional<GptEntry> gptEntryAt(const ByteView& entries, std::size_t offset) {
    if (!entries.holds(offset, kGptEntrySize)) return std::nullopt;
    const GUID_t type = *entries.record<GUID_t>(offset);
    const GuidHalves halves = halvesOf(type);
    if (halves.first == 0 && halves.last == 0) return std::nullopt;
    return GptEntry{type, *entries.little<std::uint64_t>(offset + kFirstLbaOffset),
                    *entries.little<std::uint64_t>(offset + kLastLbaOffset)};
}

unsigned long gptTypeNumber(const GUID_t& type) {
    const GuidHalves halves = halvesOf(type);
    // Intended: checked before the table, without the second half. Held by
    // PartTypeNumParser.AZeroFirstHalfIsType19WithAnySecondHalf.
    if (halves.first == 0) return kZeroHalfType;
    for (const GptType& known : kGptTypes) {
        const GuidHalves other = halvesOf(known.type);
        if (halves.first == other.first && halves.last == other.last) return known.number;
    }
    return 0;
}

}  // namespace diskmgt_col
