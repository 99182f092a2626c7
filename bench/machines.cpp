#include "bench/machines.h"

#include <algorithm>

namespace diskmgt_bench {

using diskmgt_test::DiskImage;
using diskmgt_test::FakeOs;

namespace {

constexpr std::uint32_t kPartitionSectors = 2048;
constexpr std::uint64_t kDiskBytes = std::uint64_t{64} << 20;
const char* const kLinuxData = "0FC63DAF-8483-4772-8E79-3D69D8477DE4";

/// Every name that the partition collector looks for: SCSI, IDE, RAID, NVMe.
std::vector<std::string> candidateNames() {
    std::vector<std::string> names;
    for (const char* const prefix : {"sd", "hd"})
        for (char letter = 'a'; letter <= 'z'; ++letter) names.push_back(prefix + std::string(1, letter));
    for (int controller = 0; controller < 10; ++controller)
        for (int space = 0; space < 10; ++space)
            names.push_back("nvme" + std::to_string(controller) + "n" + std::to_string(space));
    for (int device = 0; device < 128; ++device) names.push_back("md" + std::to_string(device));
    return names;
}

std::vector<std::string> partitionNames(const std::string& disk, unsigned count) {
    const bool endsInDigit = disk.back() >= '0' && disk.back() <= '9';
    std::vector<std::string> names;
    for (unsigned number = 1; number <= count; ++number)
        names.push_back(disk + (endsInDigit ? "p" : "") + std::to_string(number));
    return names;
}

}  // namespace

DiskImage mbrDisk(unsigned partitions) {
    DiskImage disk(kDiskBytes);
    const unsigned primaries = partitions <= 4 ? partitions : 3;
    std::uint32_t start = kPartitionSectors;
    for (unsigned slot = 0; slot < primaries; ++slot, start += kPartitionSectors)
        disk.slot(slot, 0x83, start, kPartitionSectors);
    if (primaries == partitions) return disk;
    const unsigned logicals = partitions - primaries - 1;
    const std::uint32_t extendedStart = start;
    disk.slot(3, 0x05, extendedStart, 2 * kPartitionSectors * logicals);
    for (unsigned logical = 0; logical < logicals; ++logical) {
        const std::uint32_t link = 2 * kPartitionSectors * logical;  // from the start of the extended partition
        disk.slot(0, 0x83, kPartitionSectors, kPartitionSectors, extendedStart + link);
        if (logical + 1 < logicals)
            disk.slot(1, 0x05, link + 2 * kPartitionSectors, 2 * kPartitionSectors, extendedStart + link);
    }
    return disk;
}

DiskImage gptDisk(unsigned used, int entries) {
    DiskImage disk(kDiskBytes);
    disk.gpt(entries);
    std::uint64_t start = kPartitionSectors;
    for (unsigned number = 1; number <= used; ++number, start += kPartitionSectors)
        disk.gptEntry(number, kLinuxData, start, start + kPartitionSectors - 1);
    return disk;
}

void describe(FakeOs& machine, const MachineSize& size) {
    machine.keepNoTexts();
    const DiskImage disk =
        size.layout == Layout::gpt ? gptDisk(size.partitionsPerDisk) : mbrDisk(size.partitionsPerDisk);
    const std::vector<std::string> names = candidateNames();
    std::string table;
    std::size_t mounts = 0;
    const auto mount = [&](const std::string& source, const std::string& where, const std::string& type) {
        if (mounts == size.mounts) return;
        ++mounts;
        table += source + " " + where + " " + type + " rw,relatime 0 0\n";
        machine.fileSystem(where, {4096, 262144, 131072, 131072, static_cast<std::uint32_t>(mounts), 0});
    };
    for (std::size_t i = 0; i < std::min(size.disks, names.size()); ++i) {
        const std::vector<std::string> partitions = partitionNames(names[i], size.partitionsPerDisk);
        machine.device("/dev/" + names[i], disk);
        machine.sysfsDisk(names[i], kDiskBytes / diskmgt_test::kSectorBytes, "8:" + std::to_string(i), partitions);
        for (const std::string& partition : partitions) {
            machine.node("/dev/" + partition);
            mount("/dev/" + partition, "/mnt/" + partition, "ext4");
        }
    }
    while (mounts < size.mounts) mount("pseudo" + std::to_string(mounts), "/run/" + std::to_string(mounts), "tmpfs");
    machine.file("/etc/mtab", table);
}

}  // namespace diskmgt_bench
