// HardwareInformation: serves the instance classes. When a class is requested, it runs the collector, adds
// the hosting system's identity to the result and has the instances built.
#pragma once

#include <boost/shared_ptr.hpp>
#include <map>
#include <string>
#include <vector>

#include "base/property_map.h"
#include "collect/ldm_data_base.h"
#include "plugin/host/cim_model.h"

namespace diskmgt_col {

class LogMessage;

/// Made for one request.
class HardwareInformation {
public:
    using Collection = std::vector<PropertyMap> (HardwareInformation::*)();
    using FuncPtrList = std::multimap<std::string, Collection>;

    /// Asks the host for the hosting system's identity; exceptions of the host pass. Collects nothing yet.
    explicit HardwareInformation(boost::shared_ptr<NVEXTAL20::ICIMNamespace> nameSpace);
    HardwareInformation(const HardwareInformation&) = delete;
    HardwareInformation& operator=(const HardwareInformation&) = delete;
    virtual ~HardwareInformation() = default;

    /// Class name to collection, names matched exactly.
    FuncPtrList getFuncPtrList();

    /// Publishes the instances of the class; always false. A class that is not in the table is ignored. A failure
    /// of the host or of the standard library is logged and ends this class; exceptions of the class's name query pass.
    bool enumerateInstances(boost::shared_ptr<NVEXTAL20::ICIMClass> cls);

    std::vector<PropertyMap> enumPhysicalDiskInformation();
    std::vector<PropertyMap> enumPartitionInformation();
    std::vector<PropertyMap> enumLogicalDiskInformation();
    /// Always empty: Linux has no dynamic disks.
    std::vector<PropertyMap> enumDynamicExtentInformation();
    /// Always empty, and in no table: the drives' row serves that class.
    std::vector<PropertyMap> enumDynamicDiskGroupInformation();

    /// Adds the identity of a logical device; existing entries of those names stay.
    void addLogicalDeviceParams(PropertyMap& map);
    /// The same for a logical element.
    void addLogicalElementParams(PropertyMap& map);

private:
    std::vector<PropertyMap> stamped(std::vector<PropertyMap> maps);

    FuncPtrList funcPtrList;
    LDMStore store;
    boost::shared_ptr<NVEXTAL20::ICIMNamespace> hostNamespace;
    LogMessage* log;
    std::string elementSystemClassName;  // the hosting system's creation class name, for logical elements
    std::string systemClassName;         // the hosting system's creation class name
    std::string className;               // the class being served
    std::string systemName;              // the hosting system's name
};

}  // namespace diskmgt_col
