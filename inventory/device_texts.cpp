#include "inventory/device_texts.h"

#include "machine/texts.h"
#include "text/wording.h"

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

constexpr std::uint64_t kFirstLogical = 5;

std::uint64_t numberOf(const BlockDevice& partition) { return partition.partitionNumber.value_or(0); }

/// The partitions of its disk that have a logical one's number and begin behind it.
std::vector<std::size_t> logicalsBehind(const ServerAccount& account, std::size_t device) {
    std::vector<std::size_t> found;
    const BlockDevice& extended = account.device(device);
    if (!extended.disk || numberOf(extended) >= kFirstLogical) return found;
    for (const std::size_t other : account.device(*extended.disk).carries) {
        const BlockDevice& logical = account.device(other);
        if (logical.kind == Kind::kPartition && logical.disk == extended.disk && numberOf(logical) >= kFirstLogical &&
            logical.startBytes.value_or(0) > extended.startBytes.value_or(0))
            found.push_back(other);
    }
    return found;
}

/// The kernel shows of an extended partition two sectors of 512 bytes alone, or one where it is larger.
bool hasSizeOfExtended(const ServerAccount& account, std::size_t device) {
    constexpr std::uint64_t kShown = 1024;
    const BlockDevice& partition = account.device(device);
    if (!partition.disk || !partition.sizeBytes) return false;
    const std::uint64_t sector = account.device(*partition.disk).sectorSize.value_or(0);
    return *partition.sizeBytes <= std::max(kShown, sector) && !logicalsBehind(account, device).empty();
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
    if (published != nullptr) return published->purpose == Purpose::kContainer;
    return type.empty() && account.devices[device].udev.partitionTable != "gpt" && hasSizeOfExtended(account, device);
}

std::string holdsText(const ServerAccount& account, std::size_t device) {
    if (!isExtended(account, device)) return {};
    std::vector<std::string> names;
    for (const std::size_t logical : logicalsBehind(account, device)) names.push_back(account.device(logical).name);
    return "holds " + (names.empty() ? "logical partitions" : listed(names));
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
