#include "provider/hardware_associations.h"

#include <cxxabi.h>

#include <exception>
#include <utility>

#include "base/text.h"
#include "plugin/host/schema_helper.h"
#include "provider/disk_info_associator.h"
#include "provider/host_access.h"
#include "provider/reference_builder.h"
#include "schema/vocabulary.h"

namespace diskmgt_col {

using NVEXTAL20::ICIMClass;
using NVEXTAL20::ICIMNamespace;
using NVEXTAL20::TCIMSchemaHelper;

HardwareAssociations::HardwareAssociations(boost::shared_ptr<ICIMNamespace> nameSpace)
    : hostNamespace(std::move(nameSpace)), log(LogMessage::getInstance()) {
    funcPtrList = getFuncPtrList();
    className = TCIMSchemaHelper::GetSystemCreationClassName(hostNamespace);
    systemName = TCIMSchemaHelper::GetSystemName(hostNamespace);
}

HardwareAssociations::FuncPtrList HardwareAssociations::getFuncPtrList() {
    return {
        {kMediaPresent, &HardwareAssociations::associateMediaPresence},
        {kPartitionPresent, &HardwareAssociations::associatePartitionPresence},
        {kLogicalDiskBasedOnExtent, &HardwareAssociations::associateLogicalDisksBasedOnExtent},
        {kLogicalDiskBasedOnPartition, &HardwareAssociations::associateLogicalDisksBasedOnPartition},
        {kDynamicVolumeBasedOnExtent, &HardwareAssociations::associateDynamicVolumesBasedOnExtent},
        {kDynamicExtentBasedOn, &HardwareAssociations::associateDynamicExtentBasedOn},
        {kDriveInDynamicDiskGroup, &HardwareAssociations::associateDriveInDiskGroup},
        {kDynamicExtentInDiskGroup, &HardwareAssociations::associateDynamicExtentInDiskGroup},
    };
}

// The unwinding of a thread is caught as a null reference, which sanitizers would report.
__attribute__((no_sanitize("null"))) int HardwareAssociations::associate(boost::shared_ptr<ICIMClass> cls) {
    className = nameOf(*cls);
    const auto row = funcPtrList.find(className);
    if (row == funcPtrList.end()) return 0;
    try {
        try {
            for (ReferenceMap& map : (this->*row->second)()) (void)ReferenceBuilder()(cls, map);
        } catch (const std::exception& failure) {
            // Intended: the text, with a blank after the class name, is composed and dropped. Held by
            // HardwareAssociationsOn.AFailureLeavesNoLineAndNoException.
            const std::string text =
                className + " " + kCollectionEncounteredException + dataToString<const char*>(failure.what());
            (void)text;
        }
    } catch (abi::__forced_unwind&) {
        throw;  // the host's thread is being cancelled or exits; swallowing this would end the process
    } catch (...) {
        // Intended: any other failure is dropped here too, without a text. Held by
        // HardwareAssociationsOn.AFailureLeavesNoLineAndNoException.
    }
    return 0;
}

std::vector<ReferenceMap> HardwareAssociations::associateMediaPresence() {
    log->writeDebug("MediaPresent associations...");
    return DiskInfoAssociator(store).enumerateMediaPresentAssociations(hostNamespace);
}

std::vector<ReferenceMap> HardwareAssociations::associatePartitionPresence() {
    log->writeDebug("PartitionPresent associations...");
    return DiskInfoAssociator(store).enumeratePartitionPresentAssociations(hostNamespace);
}

std::vector<ReferenceMap> HardwareAssociations::associateLogicalDisksBasedOnPartition() {
    log->writeDebug("LogicalDiskBasedOnPartition associations...");
    return DiskInfoAssociator(store).enumerateDiskBasedOnPartitionAssociations(hostNamespace);
}

std::vector<ReferenceMap> HardwareAssociations::associateLogicalDisksBasedOnExtent() {
    log->writeDebug("LogicalDiskBasedOnExtent associations...");
    return {};
}

// Intended: the trailing blank of this and the next three texts. Held by AssociationTexts.DebugTextsAreExact.
std::vector<ReferenceMap> HardwareAssociations::associateDynamicVolumesBasedOnExtent() {
    log->writeDebug("DynamicVolumeBasedOnExtent associations... ");
    return {};
}

std::vector<ReferenceMap> HardwareAssociations::associateDynamicExtentBasedOn() {
    log->writeDebug("DynamicExtentBasedOn associations... ");
    return {};
}

std::vector<ReferenceMap> HardwareAssociations::associateDriveInDiskGroup() {
    log->writeDebug("DriveInDiskGroup associations... ");
    return {};
}

std::vector<ReferenceMap> HardwareAssociations::associateDynamicExtentInDiskGroup() {
    log->writeDebug("DynamicExtentInDiskGroup associations... ");
    return {};
}

}  // namespace diskmgt_col
