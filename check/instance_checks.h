// Whether published instances can be told from each other.
#pragma once

#include <vector>

#include "check/finding.h"
#include "session/published.h"

namespace diskmgt {

/// Every key has a value, and no two instances have the same keys. Two things that the disks themselves give one name
/// are a remark: logical partitions of two extended ones, partitions without a node that are called by a bare number,
/// and pairs that name such a partition.
CheckFindings checkKeys(const std::vector<PublishedClass>& published);

}  // namespace diskmgt
