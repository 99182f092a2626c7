// PartitionInformation: the partitions of every disk under one of the names it looks for.
#pragma once

#include <vector>

#include "base/property_map.h"
#include "collect/ldm_data_base.h"

namespace diskmgt_col {

class PartitionInformation {
public:
    PartitionInformation() = default;
    PartitionInformation(const PartitionInformation&) = default;
    PartitionInformation& operator=(const PartitionInformation&) = default;
    virtual ~PartitionInformation() = default;

    /// One map per partition: 280 disk names are tried, from hda, sda, hdb, ... over md0 to md127 to nvme9n9; other
    /// names are never looked at. The store is neither read nor written.
    std::vector<PropertyMap> doEnumeration(LDMStore& store);
};

}  // namespace diskmgt_col
