// The types that servers meet, named as partitioning tools name them. The published numbers of GPT types have their
// words from the schema.
#include "inventory/partition_types.h"

#include <charconv>
#include <cstdio>
#include <string_view>

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

struct TypeGuid {
    std::string_view guid;  // as udev writes it
    const char* name;
};

constexpr TypeGuid kTypeGuids[] = {
    {"c12a7328-f81f-11d2-ba4b-00a0c93ec93b", "EFI system"},
    {"21686148-6449-6e6f-744e-656564454649", "BIOS boot"},
    {"bc13c2ff-59e6-4262-a352-b275fd6f7172", "Linux extended boot"},
    {"024dee41-33e7-11d3-9d69-0008c781f39f", "MBR partition scheme"},
    {"9e1a2d38-c612-4316-aa26-8b49521e5a8b", "PReP boot"},
    {"0fc63daf-8483-4772-8e79-3d69d8477de4", "Linux file system"},
    {"44479540-f297-41b2-9af7-d131d5f0458a", "Linux root (x86)"},
    {"4f68bce3-e8cd-4db1-96e7-fbcaf984b709", "Linux root (x86-64)"},
    {"69dad710-2ce4-4e3c-b16c-21a1d49abed3", "Linux root (ARM)"},
    {"b921b045-1df0-41c3-af44-4c6f280d3fae", "Linux root (ARM64)"},
    {"72ec70a6-cf74-40e6-bd49-4bda08e8f224", "Linux root (RISC-V 64)"},
    {"c31c45e6-3f39-412e-80fb-4809c4980599", "Linux root (PPC64le)"},
    {"5eead9a9-fe09-4a1e-a1d7-520d00531306", "Linux root (s390x)"},
    {"d13c5d3b-b5d1-422a-b29f-9454fdc89d76", "Linux root verity (x86)"},
    {"2c7357ed-ebd2-46d9-aec1-23d437ec2bf5", "Linux root verity (x86-64)"},
    {"df3300ce-d69f-4c92-978c-9bfb0f38d820", "Linux root verity (ARM64)"},
    {"8484680c-9521-48c6-9c11-b0720656f69e", "Linux /usr (x86-64)"},
    {"b0e01050-ee5f-4390-949a-9101b17104e9", "Linux /usr (ARM64)"},
    {"933ac7e1-2eb4-4f13-b844-0e14e2aef915", "Linux home"},
    {"3b8f8425-20e0-4f3b-907f-1a25a76f98e8", "Linux server data"},
    {"4d21b016-b534-45c2-a9fb-5c16e091fd2d", "Linux variable data"},
    {"7ec6f557-3bc5-4aca-b293-16ef5df639d1", "Linux temporary data"},
    {"773f91ef-66d4-49b5-bd83-d683bf40ad16", "Linux user's home"},
    {"0657fd6d-a4ab-43c4-84e5-0933c84b4f4f", "Linux swap"},
    {"a19d880f-05fc-4d3b-a006-743f0f84911e", "Linux RAID"},
    {"e6d6d379-f507-44c2-a23c-238f2a3df928", "Linux LVM"},
    {"ca7d7ccb-63ed-4c53-861c-1742536059cc", "Linux LUKS"},
    {"7ffec5c9-2d00-49b7-8941-3ea10a5586b7", "Linux plain encryption"},
    {"8da63339-0007-60c0-c436-083ac8230908", "Linux reserved"},
    {"e3c9e316-0b5c-4db8-817d-f92df00215ae", "Microsoft reserved"},
    {"ebd0a0a2-b9e5-4433-87c0-68b6b72699c7", "Microsoft basic data"},
    {"5808c8aa-7e8f-42e0-85d2-e1e90434cfb3", "Microsoft LDM metadata"},
    {"af9b60a0-1431-4f62-bc68-3311714a69ad", "Microsoft LDM data"},
    {"de94bba4-06d1-4d40-a16a-bfd50179d6ac", "Windows recovery"},
    {"e75caf8f-f680-4cee-afa3-b001e56efc2d", "Microsoft storage spaces"},
    {"48465300-0000-11aa-aa11-00306543ecac", "Apple HFS+"},
    {"7c3457ef-0000-11aa-aa11-00306543ecac", "Apple APFS"},
    {"516e7cb4-6ecf-11d6-8ff8-00022d09712b", "FreeBSD data"},
    {"83bd6b9d-7f41-11dc-be0b-001560b84f0f", "FreeBSD boot"},
    {"516e7cb5-6ecf-11d6-8ff8-00022d09712b", "FreeBSD swap"},
    {"516e7cb6-6ecf-11d6-8ff8-00022d09712b", "FreeBSD UFS"},
    {"516e7cba-6ecf-11d6-8ff8-00022d09712b", "FreeBSD ZFS"},
    {"6a898cc3-1dd2-11b2-99a6-080020736631", "Solaris /usr or ZFS"},
    {"6a945a3b-1dd2-11b2-99a6-080020736631", "Solaris reserved"},
    {"aa31e02a-400f-11db-9590-000c2911d1b8", "VMFS"},
    {"9d275380-40ad-11db-bf97-000c2911d1b8", "VMware diagnostics"},
    {"9198effc-31c0-11db-8f78-000c2911d1b8", "VMware reserved"},
    {"cafecafe-9b03-4f30-b4c6-b4b80ceff106", "Ceph block"},
    {"4fbd7e29-9d25-41b8-afd0-062c0ceff05d", "Ceph OSD"},
    {"45b0969e-9b03-4f30-b4c6-b4b80ceff106", "Ceph journal"},
    {"fe3a2a5d-4f32-41a7-b725-accc3285a309", "ChromeOS kernel"},
    {"3cb8e202-3b7e-47dd-8a3c-7ff2a13cfcec", "ChromeOS root"},
    {"5dfbf5f4-2848-4bac-aa5e-0d9a20b745a6", "CoreOS /usr"},
    {"3884dd41-8582-4404-b9a8-e9b84f2df50e", "CoreOS resizable root"},
    {"c95dc21a-df0e-4340-8d7b-26cbfa9a03e0", "CoreOS OEM"},
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

std::string partitionTypeNameOf(const std::string& type) {
    for (const TypeGuid& known : kTypeGuids)
        if (known.guid == type) return known.name;
    unsigned byte = 0;
    const char* const end = type.data() + type.size();
    if (type.compare(0, 2, "0x") != 0 || std::from_chars(type.data() + 2, end, byte, 16).ptr != end) return {};
    const TypeByte* const known = findTypeByte(byte);
    return known == nullptr ? "" : known->name;
}

std::string typeByteText(unsigned typeByte) {
    char text[16];
    (void)std::snprintf(text, sizeof text, "0x%x", typeByte);
    return text;
}

}  // namespace diskmgt
