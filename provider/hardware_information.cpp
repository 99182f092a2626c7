#include "provider/hardware_information.h"

#include <utility>

#include "base/text.h"
#include "collect/logical_disk_information.h"
#include "collect/partition_information.h"
#include "collect/phys_disk_information.h"
#include "plugin/host/schema_helper.h"
#include "provider/host_access.h"
#include "provider/result_builder.h"
#include "schema/vocabulary.h"

namespace diskmgt_col {

using NVEXTAL20::ICIMClass;
using NVEXTAL20::ICIMNamespace;
using NVEXTAL20::TCIMSchemaHelper;
using NVEXTAL20::TTALException;

HardwareInformation::HardwareInformation(boost::shared_ptr<ICIMNamespace> nameSpace)
    : hostNamespace(std::move(nameSpace)), log(LogMessage::getInstance()) {
    funcPtrList = getFuncPtrList();
    systemClassName = TCIMSchemaHelper::GetSystemCreationClassName(hostNamespace);
    systemName = TCIMSchemaHelper::GetSystemName(hostNamespace);
    elementSystemClassName = systemClassName;
}

HardwareInformation::FuncPtrList HardwareInformation::getFuncPtrList() {
    return {
        {kLogicalDisk, &HardwareInformation::enumLogicalDiskInformation},
        {kDynamicExtent, &HardwareInformation::enumDynamicExtentInformation},
        {kDiskPartition, &HardwareInformation::enumPartitionInformation},
        {kDiskDrive, &HardwareInformation::enumPhysicalDiskInformation},
        {kCdromDrive, &HardwareInformation::enumPhysicalDiskInformation},
        {kDisketteDrive, &HardwareInformation::enumPhysicalDiskInformation},
        {kDvdDrive, &HardwareInformation::enumPhysicalDiskInformation},
        {kTapeDrive, &HardwareInformation::enumPhysicalDiskInformation},
        // Intended: shares the drives' row. Held by
        // HardwareInformationAlone.TheTableHasNineRowsAndDynamicDiskGroupsShareTheDrivesRow.
        {kDynamicDiskGroup, &HardwareInformation::enumPhysicalDiskInformation},
    };
}

bool HardwareInformation::enumerateInstances(boost::shared_ptr<ICIMClass> cls) {
    className = nameOf(*cls);
    const auto row = funcPtrList.find(className);
    if (row == funcPtrList.end()) return false;
    // Intended: no blank between class name and message. Held by
    // HardwareInformation.TheExceptionLineRunsTheClassNameIntoTheMessage.
    const auto logFailure = [this](const char* what) {
        logIfPossible(
            [&] { log->writeDebug(className + kCollectionEncounteredException + dataToString<const char*>(what)); });
    };
    try {
        for (PropertyMap& map : (this->*row->second)()) {
            (void)ResultBuilder()(cls, map);
            map.clear();  // its memory serves the instances that follow
        }
    } catch (const TTALException& failure) {
        logFailure(failure.what());
    } catch (const std::exception& failure) {
        logFailure(failure.what());
    }  // any other exception passes on to the host
    return false;
}

std::vector<PropertyMap> HardwareInformation::enumPhysicalDiskInformation() {
    log->writeDebug("Physical disk information.. " + className);
    return stamped(PhysDiskInformation().doEnumeration(className, store));
}

std::vector<PropertyMap> HardwareInformation::enumPartitionInformation() {
    log->writeDebug("Partition information..");
    return stamped(PartitionInformation().doEnumeration(store));
}

std::vector<PropertyMap> HardwareInformation::enumLogicalDiskInformation() {
    log->writeDebug("Logical disk information..");
    return stamped(LogicalDiskInformation().doEnumeration(store));
}

std::vector<PropertyMap> HardwareInformation::enumDynamicExtentInformation() {
    log->writeDebug("Dynamic Extent information..");
    return {};
}

std::vector<PropertyMap> HardwareInformation::enumDynamicDiskGroupInformation() {
    log->writeDebug("Dynamic Disk Group information..");
    return {};
}

void HardwareInformation::addLogicalDeviceParams(PropertyMap& map) {
    map.emplace(kSystemCreationClassName, systemClassName);
    map.emplace(kCreationClassName, className);
    map.emplace(kSystemName, systemName);
}

void HardwareInformation::addLogicalElementParams(PropertyMap& map) {
    map.emplace(kCsCreationClassName, elementSystemClassName);
    map.emplace(kCreationClassName, className);
    map.emplace(kCsName, systemName);
}

std::vector<PropertyMap> HardwareInformation::stamped(std::vector<PropertyMap> maps) {
    for (PropertyMap& map : maps) addLogicalDeviceParams(map);
    return maps;
}

}  // namespace diskmgt_col
