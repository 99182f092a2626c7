#include "inventory/device_texts.h"

#include "machine/texts.h"

namespace diskmgt {

using diskmgt_machine::BlockDevice;
using diskmgt_machine::Kind;

bool isLeftOut(const ServerAccount& account, std::size_t device) {
    const BlockDevice& shown = account.device(device);
    if (shown.kind == Kind::kPath) return true;
    if (account.devices[device].use.any() || !shown.carries.empty()) return false;
    if (shown.kind == Kind::kMemory) return true;
    return shown.kind == Kind::kLoop && shown.backingFile.empty() && shown.sizeBytes.value_or(0) == 0;
}

std::string serialOf(const ServerAccount& account, std::size_t device) {
    const std::string& kernels = account.device(device).identity.serial;
    return kernels.empty() ? account.devices[device].udev.serial : kernels;
}

std::string wwidOf(const ServerAccount& account, std::size_t device) {
    const std::string& kernels = account.device(device).identity.wwid;
    return kernels.empty() ? account.devices[device].udev.wwn : kernels;
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
    if (!more.published) return found;
    const Partition& published = account.inventory().partitions[*more.published];
    if (found.table.empty()) found.table = published.table == TableKind::kGpt ? "gpt" : "mbr";
    if (found.type.empty() && published.typeByte) found.type = typeByteText(*published.typeByte);
    if (found.typeName.empty()) found.typeName = published.typeName;
    return found;
}

}  // namespace diskmgt
