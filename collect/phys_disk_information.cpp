#include "collect/phys_disk_information.h"

#include <utility>

#include "collect/core_log.h"
#include "collect/device_rules.h"
#include "collect/linux_disk_info.h"
#include "schema/vocabulary.h"

namespace diskmgt_col {

namespace {

std::vector<std::string> listDisks() {
    std::vector<std::string> devicePaths;
    const UniqueDirectory directory(os::openDirectory(kBlockDirectory));
    if (directory == nullptr) {
        writeToCoreLog(std::string("PhysDiskInformation::doEnumeration : fail to open the dir ") + kBlockDirectory);
        return devicePaths;
    }
    while (const char* const entryName = os::nextEntryName(directory.get())) {
        if (judgeEntryName(entryName) == EntryName::kDisk && readSysfsDisk(entryName).isOffered()) {
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
