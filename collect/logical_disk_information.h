// LogicalDiskInformation: the sources of the mount table and the space on them. The associations
// relate them to disks.
#pragma once

#include <vector>

#include "base/property_map.h"
#include "collect/ldm_data_base.h"

namespace diskmgt_col {

class LogicalDiskInformation {
public:
    LogicalDiskInformation() = default;
    LogicalDiskInformation(const LogicalDiskInformation&) = default;
    LogicalDiskInformation& operator=(const LogicalDiskInformation&) = default;
    virtual ~LogicalDiskInformation() = default;

    /// One map per distinct mount source, in ascending byte order of the source; the first entry of a source counts.
    /// Empty when the mount table cannot be opened for update. The store is neither read nor written.
    std::vector<PropertyMap> doEnumeration(LDMStore& store) const;
};

}  // namespace diskmgt_col
