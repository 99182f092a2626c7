// PhysDiskInformation: the disks that sysfs lists. LinuxDiskInfo measures them.
#pragma once

#include <string>
#include <vector>

#include "base/property_map.h"
#include "collect/ldm_data_base.h"

namespace diskmgt_col {

class PhysDiskInformation {
public:
    PhysDiskInformation() = default;
    PhysDiskInformation(const PhysDiskInformation&) = default;
    PhysDiskInformation& operator=(const PhysDiskInformation&) = default;
    virtual ~PhysDiskInformation() = default;

    /// One map per disk, in the order of sysfs, for the disk drive class; nothing for any other class. The store is
    /// neither read nor written.
    std::vector<PropertyMap> doEnumeration(std::string className, LDMStore& store) const;
};

}  // namespace diskmgt_col
