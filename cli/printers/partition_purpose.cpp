// By the type byte of an MBR entry, else by the published number of the GPT type.
#include "cli/printers/partition_purpose.h"

namespace diskmgt_cli {

namespace {

Purpose purposeOfTypeByte(unsigned byte) {
    switch (byte) {
        case 0x05:
        case 0x0F:
        case 0x85:
            return Purpose::kContainer;
        case 0x12:
        case 0x27:
        case 0xEA:
        case 0xEF:
            return Purpose::kStart;
        case 0x82:
        case 0xFC:
            return Purpose::kSwap;
        case 0x42:
        case 0x8E:
        case 0xFD:
            return Purpose::kPool;
        case 0x01:
        case 0x04:
        case 0x06:
        case 0x07:
        case 0x0B:
        case 0x0C:
        case 0x0E:
        case 0x83:
        case 0xA5:
        case 0xA6:
        case 0xA9:
        case 0xAF:
        case 0xBF:
        case 0xFB:
            return Purpose::kData;
        default:
            return Purpose::kOther;
    }
}

Purpose purposeOfGptType(unsigned type) {
    switch (type) {
        case 6:   // EFI system
        case 7:   // BIOS boot
        case 12:  // recovery
            return Purpose::kStart;
        case 9:   // basic data
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

Purpose purposeOf(const Partition& partition) {
    if (partition.typeByte) return purposeOfTypeByte(*partition.typeByte);
    return partition.type ? purposeOfGptType(*partition.type) : Purpose::kOther;
}

}  // namespace diskmgt_cli
