// Listing of the disks in sysfs.
#include "collect/phys_disk_information.h"

#include <cstring>
#include <utility>

#include "base/handles.h"
#include "collect/core_log.h"
#include "collect/linux_disk_info.h"
#include "collect/sysfs_text.h"
#include "schema/vocabulary.h"

namespace diskmgt_col {

namespace {

const char* const kBlockDirectory = "/sys/block/";
constexpr int kRamDiskMajor = 1;

bool isListed(const char* entryName) {
    return std::strcmp(entryName, ".") != 0 && std::strcmp(entryName, "..") != 0 &&
           std::strncmp(entryName, "dm-", 3) != 0;  // device-mapper volumes
}

/// Whether the disk has a size and is no RAM disk, as far as sysfs tells.
bool isCandidate(const std::string& entryPath) {
    const unsigned long sectorCount = sectorCountFrom(firstLineOf(entryPath + "/size").value_or(""));
    const int majorNumber = majorNumberFrom(firstLineOf(entryPath + "/dev").value_or(""));
    return sectorCount != 0 && majorNumber != kRamDiskMajor;
}

std::vector<std::string> listDisks() {
    std::vector<std::string> devicePaths;
    const UniqueDirectory directory(os::openDirectory(kBlockDirectory));
    if (directory == nullptr) {
        writeToCoreLog(std::string("PhysDiskInformation::doEnumeration : fail to open the dir ") + kBlockDirectory);
        return devicePaths;
    }
    while (const char* const entryName = os::nextEntryName(directory.get())) {
        if (isListed(entryName) && isCandidate(std::string(kBlockDirectory) + entryName)) {
            devicePaths.push_back(std::string("/dev/") + entryName);
        }
    }
    return devicePaths;
}

}  // namespace

std::vector<PropertyMap> PhysDiskInformation::doEnumeration(std::string className, LDMStore& /*store*/) const {
    if (className != kDiskDrive) return {};
    std::vector<std::string> devicePaths = listDisks();
    return LinuxDiskInfo().enumDiskInfo(std::move(devicePaths));
}

}  // namespace diskmgt_col
