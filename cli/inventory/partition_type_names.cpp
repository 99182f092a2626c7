// The type bytes that servers meet, named as partitioning tools name them.
#include "cli/inventory/partition_type_names.h"

#include "cli/inventory/instance_values.h"

namespace diskmgt_cli {

namespace {

struct TypeByte {
    unsigned byte;
    const char* name;
};

constexpr TypeByte kTypeBytes[] = {
    {0x01, "FAT12"},
    {0x04, "FAT16 below 32 MB"},
    {0x05, "Extended"},
    {0x06, "FAT16"},
    {0x07, "NTFS or exFAT"},
    {0x0B, "FAT32"},
    {0x0C, "FAT32 LBA"},
    {0x0E, "FAT16 LBA"},
    {0x0F, "Extended LBA"},
    {0x12, "Diagnostics"},
    {0x27, "Windows recovery"},
    {0x42, "Windows dynamic disk"},
    {0x82, "Linux swap"},
    {0x83, "Linux"},
    {0x85, "Linux extended"},
    {0x8E, "Linux LVM"},
    {0xA5, "FreeBSD"},
    {0xA6, "OpenBSD"},
    {0xA9, "NetBSD"},
    {0xAF, "HFS"},
    {0xBF, "Solaris"},
    {0xDA, "Data without file system"},
    {0xEA, "Boot loader specification"},
    {0xEE, "GPT protective"},
    {0xEF, "EFI system"},
    {0xFB, "VMFS"},
    {0xFC, "VMware swap"},
    {0xFD, "Linux RAID"},
};

}  // namespace

const char* typeByteName(unsigned typeByte) {
    for (const TypeByte& type : kTypeBytes)
        if (type.byte == typeByte) return type.name;
    return nullptr;
}

std::string partitionTypeName(const refhost::Instance& partition, std::optional<unsigned> typeByte) {
    if (typeByte)
        if (const char* const name = typeByteName(*typeByte)) return name;
    const refhost::PropertyValue* const type = find(partition, "PartitionType");
    if (type == nullptr || type->elements.empty()) return "unknown";
    for (const auto& [value, meaning] : type->declaration->valueNames)
        if (value == type->elements.front()) return meaning;
    return "type " + type->elements.front();
}

}  // namespace diskmgt_cli
