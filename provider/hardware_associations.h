// HardwareAssociations: serves the association classes. When a class is requested, it has the pairs computed and an
// instance built for each.
#pragma once

#include <boost/shared_ptr.hpp>
#include <map>
#include <string>
#include <vector>

#include "collect/ldm_data_base.h"
#include "plugin/host/cim_model.h"
#include "provider/reference_map.h"

namespace diskmgt_col {

class LogMessage;

/// Made for one request.
class HardwareAssociations {
public:
    using Computation = std::vector<ReferenceMap> (HardwareAssociations::*)();
    using FuncPtrList = std::map<std::string, Computation>;

    /// Asks the host for the hosting system's identity; exceptions of the host pass.
    explicit HardwareAssociations(boost::shared_ptr<NVEXTAL20::ICIMNamespace> nameSpace);
    HardwareAssociations(const HardwareAssociations&) = delete;
    HardwareAssociations& operator=(const HardwareAssociations&) = delete;
    virtual ~HardwareAssociations() = default;

    /// Class name to computation, names matched exactly.
    FuncPtrList getFuncPtrList();

    /// Publishes the associations of the class; always 0. A class that is not in the table is ignored. A failure ends
    /// this class without a log line; what was published before stays; exceptions of the class's name query pass.
    int associate(boost::shared_ptr<NVEXTAL20::ICIMClass> cls);

    std::vector<ReferenceMap> associateMediaPresence();
    std::vector<ReferenceMap> associatePartitionPresence();
    std::vector<ReferenceMap> associateLogicalDisksBasedOnPartition();
    // Always empty: Linux has no dynamic disks.
    std::vector<ReferenceMap> associateLogicalDisksBasedOnExtent();
    std::vector<ReferenceMap> associateDynamicVolumesBasedOnExtent();
    std::vector<ReferenceMap> associateDynamicExtentBasedOn();
    std::vector<ReferenceMap> associateDriveInDiskGroup();
    std::vector<ReferenceMap> associateDynamicExtentInDiskGroup();

private:
    FuncPtrList funcPtrList;
    boost::shared_ptr<NVEXTAL20::ICIMNamespace> hostNamespace;
    LogMessage* log;
    LDMStore store;
    std::string className;   // the class being served; before the first, the hosting system's creation class name
    std::string systemName;  // the hosting system's name
};

}  // namespace diskmgt_col
