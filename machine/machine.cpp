#include "machine/machine.h"

#include <utility>

#include "machine/block_reader.h"
#include "machine/files.h"
#include "machine/texts.h"

namespace diskmgt_machine {

namespace {

std::vector<BtrfsFileSystem> readBtrfs() {
    const std::string folder = "/sys/fs/btrfs";
    std::vector<BtrfsFileSystem> all;
    for (const std::string& name : readNamesIn(folder)) {
        if (name == "features") continue;  // features of the kernel, not a file system
        std::vector<std::string> members = readNamesIn(std::string(folder).append("/").append(name).append("/devices"));
        for (std::string& member : members) member = nodeOfSysfsName(std::move(member));
        if (!members.empty()) all.push_back({name, std::move(members)});
    }
    return all;
}

/// A machine without udev has no folder of records, and none is looked for then.
std::vector<UdevRecord> readUdevRecords(const std::vector<BlockDevice>& devices) {
    std::vector<UdevRecord> records;
    if (!hasUdevRecords()) return records;
    records.reserve(devices.size());
    for (const BlockDevice& device : devices)
        records.push_back(device.number ? readUdevRecord(*device.number) : UdevRecord());
    return records;
}

}  // namespace

KernelMounts readKernelMounts() {
    const WholeFile table = readWholeFile("/proc/self/mountinfo");
    return {mountsIn(table.text), table.error};
}

Machine readMachine() {
    Machine machine;
    machine.blocks = readBlockDevices();
    machine.udev = readUdevRecords(machine.blocks.devices);
    KernelMounts mounts = readKernelMounts();
    machine.mounts = std::move(mounts.mounts);
    machine.mountError = mounts.error;
    const WholeFile swaps = readWholeFile("/proc/swaps");
    machine.swaps = swapsIn(swaps.text);
    machine.swapError = swaps.error;
    machine.btrfs = readBtrfs();
    return machine;
}

}  // namespace diskmgt_machine
