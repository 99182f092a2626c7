// The type bytes that servers meet, named as partitioning tools name them. The types of GPT entries have their words
// from the schema.
#include "cli/inventory/partition_types.h"

#include "cli/inventory/instance_values.h"
#include "schema/vocabulary.h"

namespace diskmgt_cli {

namespace {

struct TypeByte {
    unsigned byte;
    const char* name;
    Purpose purpose;
};

constexpr TypeByte kTypeBytes[] = {
    {0x01, "FAT12", Purpose::kData},
    {0x04, "FAT16 below 32 MB", Purpose::kData},
    {0x05, "Extended", Purpose::kContainer},
    {0x06, "FAT16", Purpose::kData},
    {0x07, "NTFS or exFAT", Purpose::kData},
    {0x0B, "FAT32", Purpose::kData},
    {0x0C, "FAT32 LBA", Purpose::kData},
    {0x0E, "FAT16 LBA", Purpose::kData},
    {0x0F, "Extended LBA", Purpose::kContainer},
    {0x12, "Diagnostics", Purpose::kStart},
    {0x27, "Windows recovery", Purpose::kStart},
    {0x42, "Windows dynamic disk", Purpose::kPool},
    {0x82, "Linux swap", Purpose::kSwap},
    {0x83, "Linux", Purpose::kData},
    {0x85, "Linux extended", Purpose::kContainer},
    {0x8E, "Linux LVM", Purpose::kPool},
    {0xA5, "FreeBSD", Purpose::kData},
    {0xA6, "OpenBSD", Purpose::kData},
    {0xA9, "NetBSD", Purpose::kData},
    {0xAF, "HFS", Purpose::kData},
    {0xBF, "Solaris", Purpose::kData},
    {0xDA, "Data without file system", Purpose::kOther},
    {0xEA, "Boot loader specification", Purpose::kStart},
    {0xEE, "GPT protective", Purpose::kOther},
    {0xEF, "EFI system", Purpose::kStart},
    {0xFB, "VMFS", Purpose::kData},
    {0xFC, "VMware swap", Purpose::kSwap},
    {0xFD, "Linux RAID", Purpose::kPool},
};

const TypeByte* findTypeByte(unsigned byte) {
    for (const TypeByte& type : kTypeBytes)
        if (type.byte == byte) return &type;
    return nullptr;
}

Purpose purposeOfGptType(unsigned type) {
    switch (type) {
        case 6:   // EFI system
        case 7:   // BIOS boot
        case 12:  // Windows recovery
            return Purpose::kStart;
        case 9:   // Microsoft basic data
        case 17:  // Linux file system
        case 19:  // VMFS
            return Purpose::kData;
        case 10:  // LDM metadata
        case 11:  // LDM data
        case 13:  // Linux RAID
        case 15:  // Linux LVM
            return Purpose::kPool;
        case 14:
            return Purpose::kSwap;
        default:
            return Purpose::kOther;
    }
}

}  // namespace

std::string partitionTypeName(const refhost::Instance& partition, std::optional<unsigned> typeByte) {
    if (typeByte)
        if (const TypeByte* const known = findTypeByte(*typeByte)) return known->name;
    const refhost::PropertyValue* const type = find(partition, diskmgt_col::kPartitionType);
    if (type == nullptr || type->elements.empty()) return "unknown";
    for (const auto& [value, meaning] : type->declaration->valueNames)
        if (value == type->elements.front()) return meaning;
    return "type " + type->elements.front();
}

Purpose partitionPurpose(std::optional<unsigned> typeByte, std::optional<unsigned> type) {
    if (!typeByte) return type ? purposeOfGptType(*type) : Purpose::kOther;
    const TypeByte* const known = findTypeByte(*typeByte);
    return known == nullptr ? Purpose::kOther : known->purpose;
}

}  // namespace diskmgt_cli
