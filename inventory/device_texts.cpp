#include "inventory/device_texts.h"

#include "machine/texts.h"

#include <algorithm>
#include <initializer_list>

namespace diskmgt {

using diskmgt_machine::BlockDevice;
using diskmgt_machine::Kind;

namespace {

const Partition* publishedPartition(const ServerAccount& account, std::size_t device) {
    const auto& position = account.devices[device].published;
    return position ? &account.inventory().partitions[*position] : nullptr;
}

/// A partition or volume has its disk's identity in udev's record.
bool isWhole(const BlockDevice& device) { return device.kind != Kind::kPartition && device.on.empty(); }

bool hasOneOf(const std::string& text, std::initializer_list<const char*> words) {
    return std::any_of(words.begin(), words.end(),
                       [&text](const char* word) { return text.find(word) != std::string::npos; });
}

Purpose purposeOfType(const std::string& typeName) {
    if (hasOneOf(typeName, {"EFI", "boot", "recovery"})) return Purpose::kStart;
    if (hasOneOf(typeName, {"swap"})) return Purpose::kSwap;
    if (hasOneOf(typeName, {"LVM", "RAID", "LUKS", "encryption", "LDM", "storage spaces", "Ceph", "ZFS"}))
        return Purpose::kPool;
    return Purpose::kOther;
}

Purpose purposeOfContent(const std::string& content) {
    if (content == "swap") return Purpose::kSwap;
    if (hasOneOf(content, {"_member", "crypto_"})) return Purpose::kPool;
    return content.empty() ? Purpose::kOther : Purpose::kData;
}

}  // namespace

bool isLeftOut(const ServerAccount& account, std::size_t device) {
    const BlockDevice& shown = account.device(device);
    if (shown.kind == Kind::kPath) return true;
    if (account.devices[device].use.any() || !shown.carries.empty()) return false;
    if (shown.kind == Kind::kMemory) return true;
    return shown.kind == Kind::kLoop && shown.backingFile.empty() && shown.sizeBytes.value_or(0) == 0;
}

std::string serialOf(const ServerAccount& account, std::size_t device) {
    const std::string& kernels = account.device(device).identity.serial;
    return kernels.empty() && isWhole(account.device(device)) ? account.devices[device].udev.serial : kernels;
}

std::string wwidOf(const ServerAccount& account, std::size_t device) {
    const std::string& kernels = account.device(device).identity.wwid;
    return kernels.empty() && isWhole(account.device(device)) ? account.devices[device].udev.wwn : kernels;
}

std::string nodeOfGap(const Gap& gap) {
    const bool isDevice = gap.of.rfind("/dev/", 0) == 0;
    return isDevice ? diskmgt_machine::nodeOfSysfsName(gap.of) : gap.of;
}

PartitionDescription describePartition(const ServerAccount& account, std::size_t device) {
    const DeviceAccount& more = account.devices[device];
    PartitionDescription found;
    found.table = more.udev.partitionTable == "dos" ? "mbr" : more.udev.partitionTable;
    found.type = more.udev.partitionType;
    found.typeName = partitionTypeNameOf(found.type);
    const Partition* const published = publishedPartition(account, device);
    if (published == nullptr) return found;
    if (found.table.empty()) found.table = published->table == TableKind::kGpt ? "gpt" : "mbr";
    if (found.type.empty() && published->typeByte) found.type = typeByteText(*published->typeByte);
    if (found.typeName.empty()) found.typeName = published->typeName;
    return found;
}

bool isExtended(const ServerAccount& account, std::size_t device) {
    const std::string& type = account.devices[device].udev.partitionType;
    if (type == "0x5" || type == "0xf" || type == "0x85") return true;
    const Partition* const published = publishedPartition(account, device);
    return published != nullptr && published->purpose == Purpose::kContainer;
}

Purpose devicePurpose(const ServerAccount& account, std::size_t device) {
    const DeviceAccount& more = account.devices[device];
    const Partition* const published = publishedPartition(account, device);
    if (isExtended(account, device)) return Purpose::kContainer;
    const Purpose byType = purposeOfType(describePartition(account, device).typeName);
    if (byType != Purpose::kOther) return byType;
    const Purpose byContent = purposeOfContent(more.udev.content);
    if (byContent != Purpose::kOther) return byContent;
    if (!more.mounts.empty() || more.mountsAt) return Purpose::kData;
    if (!more.swaps.empty()) return Purpose::kSwap;
    if (!more.use.holders.empty() || !more.use.unlistedHolders.empty()) return Purpose::kPool;
    return published == nullptr ? Purpose::kOther : published->purpose;
}

bool doesNotAnswer(const MountAccount& mount) { return mount.reason && mount.reason->rule == "mount-does-not-answer"; }

std::size_t mainMountOf(const ServerAccount& account, const std::vector<std::size_t>& mounts) {
    for (const std::size_t mount : mounts)
        if (account.mounts[mount].space) return mount;
    for (const std::size_t mount : mounts)
        if (doesNotAnswer(account.mounts[mount])) return mount;
    return mounts.front();
}

}  // namespace diskmgt
