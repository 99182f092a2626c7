// DiskInfoAssociator: pairs the instances that the host already holds. It collects nothing from disks and logs nothing;
// exceptions of the host pass.
#pragma once

#include <boost/shared_ptr.hpp>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "collect/ldm_data_base.h"
#include "plugin/host/cim_model.h"
#include "provider/reference_map.h"

namespace diskmgt_col {

/// Instances by the text of one key property, "Unknown" where it is null; equal keys in the host's order.
using InstanceIndex = std::multimap<std::string, boost::shared_ptr<NVEXTAL20::ICIMInstance>>;
using InstanceIndexEntry = std::pair<std::string, boost::shared_ptr<NVEXTAL20::ICIMInstance>>;

/// True when the second entry's key lies within the first's, which pairs them. Equal keys match, and the empty key lies
/// within every key. The rule itself, entry by entry; the pairings find the same entries through ContainedKeySearch.
bool isSubString(InstanceIndexEntry containing, InstanceIndexEntry contained);

/// Made for one class of one request.
class DiskInfoAssociator {
public:
    DiskInfoAssociator() = default;
    explicit DiskInfoAssociator(LDMStore& store);
    DiskInfoAssociator(const DiskInfoAssociator&) = default;
    DiskInfoAssociator& operator=(const DiskInfoAssociator&) = default;
    virtual ~DiskInfoAssociator() = default;

    /// The instances of the class and its subclasses. Throws `std::runtime_error` when the host gives no class,
    /// instance or property.
    InstanceIndex enumerateInstancesByProperty(boost::shared_ptr<NVEXTAL20::ICIMNamespace> nameSpace,
                                               const std::string& className, const std::string& keyProperty);
    InstanceIndex enumerateLogicalDriveNames(boost::shared_ptr<NVEXTAL20::ICIMNamespace> nameSpace);
    InstanceIndex enumeratePhysicalDriveNames(boost::shared_ptr<NVEXTAL20::ICIMNamespace> nameSpace);
    InstanceIndex enumeratePhysicalDrivePartitions(boost::shared_ptr<NVEXTAL20::ICIMNamespace> nameSpace);

    // Each goes through one index in key order and pairs every entry with the first entry of the other index, in key
    // order, whose key lies within its own. Intended: the first, not the best. Held by
    // DiskInfoAssociator.APartitionIsPairedWithTheFirstDriveWhoseNameItContains.

    /// A partition supports the logical disk whose key lies within its own.
    std::vector<ReferenceMap> enumerateDiskBasedOnPartitionAssociations(
        boost::shared_ptr<NVEXTAL20::ICIMNamespace> nameSpace);
    /// A drive supports the partitions whose keys contain its name.
    std::vector<ReferenceMap> enumeratePartitionPresentAssociations(
        boost::shared_ptr<NVEXTAL20::ICIMNamespace> nameSpace);
    /// A drive supports the logical disks whose keys contain its name. When a key contains no drive's name and is a
    /// symbolic link, its target is searched instead: unresolved, cut at 256 bytes.
    std::vector<ReferenceMap> enumerateMediaPresentAssociations(boost::shared_ptr<NVEXTAL20::ICIMNamespace> nameSpace);

private:
    LDMStore collected;  // always empty on Linux, and never read
};

}  // namespace diskmgt_col
