#include "collect/device_rules.h"

#include <cerrno>
#include <cstring>
#include <utility>

#include "base/text.h"
#include "collect/sysfs_text.h"

namespace diskmgt_col {

namespace {

constexpr int kRamDiskMajor = 1;

constexpr std::size_t kCandidateCount = 280;
constexpr int kRaidDevices = 128;
constexpr int kNvmeControllers = 10;
constexpr int kNvmeNamespaces = 10;

}  // namespace

EntryName judgeEntryName(const char* entryName) {
    if (std::strcmp(entryName, ".") == 0 || std::strcmp(entryName, "..") == 0) return EntryName::kDotEntry;
    return std::strncmp(entryName, "dm-", 3) == 0 ? EntryName::kDeviceMapper : EntryName::kDisk;
}

bool SysfsDisk::isRamDisk() const { return majorNumber == kRamDiskMajor; }

SysfsDisk readSysfsDisk(const std::string& entryName) {
    const std::string entryPath = kBlockDirectory + entryName;
    SysfsDisk disk;
    disk.sizeLine = firstLineOf(entryPath + "/size");
    disk.numberLine = firstLineOf(entryPath + "/dev");
    disk.sectorCount = sectorCountFrom(disk.sizeLine.value_or(""));
    disk.majorNumber = majorNumberFrom(disk.numberLine.value_or(""));
    return disk;
}

// Intended: the path is searched for within the entry, so /dev/sdb is dropped for /dev/sdbc too. Held by
// LinuxDiskInfo.AnEntryThatOnlyContainsThePathDropsTheDevice.
const std::string* virtualEntryFor(const std::string& devicePath, const std::vector<std::string>& virtualDevices) {
    for (const std::string& entry : virtualDevices) {
        if (entry.find(devicePath) != std::string::npos) return &entry;
    }
    return nullptr;
}

MeasuredDevice measureDevice(const std::string& devicePath) {
    MeasuredDevice measured{openDevice(devicePath), std::nullopt, 0};
    std::uint64_t sizeBytes = 0;
    if (measured.device.valid() && os::blockDeviceSize(measured.device.get(), sizeBytes) >= 0) {
        measured.sizeBytes = sizeBytes;
    } else {
        measured.error = errno;
    }
    return measured;
}

std::string sysfsNameOf(const std::string& devicePath) {
    return devicePath.substr(devicePath.rfind('/') + 1);  // the whole path when it has no '/'
}

bool isPartitionEntry(const char* entryName, const std::string& deviceName) {
    return std::strncmp(entryName, deviceName.c_str(), deviceName.size()) == 0;
}

std::vector<std::string> candidateDisks() {
    std::vector<std::string> devicePaths;
    devicePaths.reserve(kCandidateCount);
    for (char letter = 'a'; letter <= 'z'; ++letter) {
        devicePaths.push_back("/dev/hd" + dataToString<char>(letter));
        devicePaths.push_back("/dev/sd" + dataToString<char>(letter));
    }
    for (int device = 0; device < kRaidDevices; ++device) {
        devicePaths.push_back("/dev/md" + dataToString<int>(device));
    }
    for (int controller = 0; controller < kNvmeControllers; ++controller) {
        for (int nvmeNamespace = 0; nvmeNamespace < kNvmeNamespaces; ++nvmeNamespace) {
            devicePaths.push_back("/dev/nvme" + dataToString<int>(controller) + "n" + dataToString<int>(nvmeNamespace));
        }
    }
    return devicePaths;
}

}  // namespace diskmgt_col
