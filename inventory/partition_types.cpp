// The type bytes that servers meet, named as partitioning tools name them. The types of GPT entries have their words
// from the schema.
#include "inventory/partition_types.h"

#include "inventory/instance_values.h"
#include "schema/vocabulary.h"

namespace diskmgt {

namespace {

struct TypeByte {
    unsigned byte;
    Purpose purpose;
    const char* name;
};

constexpr TypeByte kTypeBytes[] = {
    {0x01, Purpose::kData, "FAT12"},
    {0x04, Purpose::kData, "FAT16 below 32 MB"},
    {0x05, Purpose::kContainer, "Extended"},
    {0x06, Purpose::kData, "FAT16"},
    {0x07, Purpose::kData, "NTFS or exFAT"},
    {0x0B, Purpose::kData, "FAT32"},
    {0x0C, Purpose::kData, "FAT32 LBA"},
    {0x0E, Purpose::kData, "FAT16 LBA"},
    {0x0F, Purpose::kContainer, "Extended LBA"},
    {0x12, Purpose::kStart, "Diagnostics"},
    {0x27, Purpose::kStart, "Windows recovery"},
    {0x42, Purpose::kPool, "Windows dynamic disk"},
    {0x82, Purpose::kSwap, "Linux swap"},
    {0x83, Purpose::kData, "Linux"},
    {0x85, Purpose::kContainer, "Linux extended"},
    {0x8E, Purpose::kPool, "Linux LVM"},
    {0xA5, Purpose::kData, "FreeBSD"},
    {0xA6, Purpose::kData, "OpenBSD"},
    {0xA9, Purpose::kData, "NetBSD"},
    {0xAF, Purpose::kData, "HFS"},
    {0xBF, Purpose::kData, "Solaris"},
    {0xDA, Purpose::kOther, "Data without file system"},
    {0xEA, Purpose::kStart, "Boot loader specification"},
    {0xEE, Purpose::kOther, "GPT protective"},
    {0xEF, Purpose::kStart, "EFI system"},
    {0xFB, Purpose::kData, "VMFS"},
    {0xFC, Purpose::kSwap, "VMware swap"},
    {0xFD, Purpose::kPool, "Linux RAID"},
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

}  // namespace diskmgt
