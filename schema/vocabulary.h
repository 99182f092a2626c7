// The names the plug-in and its host match as text: CIM classes, properties and roles, and the one shared
// message. Texts are interface; the constants' names are not. They exist only once the library's static
// constants are set up, so nothing on the registration path may use them.
#pragma once

#include <string>

namespace diskmgt_col {

// Instance classes served, in the order of their table.
inline const std::string kLogicalDisk = "VEXSG_LogicalDisk";
inline const std::string kDynamicExtent = "VEXSG_DynamicExtent";
inline const std::string kDiskPartition = "VEXSG_DiskPartition";
inline const std::string kDiskDrive = "VEXSG_DiskDrive";
inline const std::string kCdromDrive = "VEXSG_CDROMDrive";
inline const std::string kDisketteDrive = "VEXSG_DisketteDrive";
inline const std::string kDvdDrive = "VEXSG_DVDDrive";
inline const std::string kTapeDrive = "VEXSG_TapeDrive";
inline const std::string kDynamicDiskGroup = "VEXSG_DynamicDiskGroup";

// Association classes served, in the order of their table.
inline const std::string kMediaPresent = "VEXSG_MediaPresent";
inline const std::string kPartitionPresent = "VEXSG_PartitionPresent";
inline const std::string kLogicalDiskBasedOnExtent = "VEXSG_LogicalDiskBasedOnExtent";
inline const std::string kLogicalDiskBasedOnPartition = "VEXSG_LogicalDiskBasedOnPartition";
inline const std::string kDynamicVolumeBasedOnExtent = "VEXSG_DynamicVolumeBasedOnExtent";
inline const std::string kDynamicExtentBasedOn = "VEXSG_DynamicExtentBasedOn";
inline const std::string kDriveInDynamicDiskGroup = "VEXSG_DriveInDynamicDiskGroup";
inline const std::string kDynamicExtentInDiskGroup = "VEXSG_DynamicExtentInDiskGroup";

// Queried, never served: enumerating it gives the drives.
inline const std::string kMediaAccessDevice = "VEXSG_MediaAccessDevice";

// Roles of every association.
inline const std::string kAntecedent = "Antecedent";  // the supporting element
inline const std::string kDependent = "Dependent";    // the element that depends on it

// Identity of the hosting system.
inline const std::string kCreationClassName = "CreationClassName";
inline const std::string kSystemCreationClassName = "SystemCreationClassName";
inline const std::string kSystemName = "SystemName";
inline const std::string kCsCreationClassName = "CSCreationClassName";
inline const std::string kCsName = "CSName";

// Properties of drives, partitions and logical disks.
inline const std::string kDeviceId = "DeviceID";
inline const std::string kName = "Name";
inline const std::string kElementName = "ElementName";
inline const std::string kNoOfPartitions = "NoOfPartitions";
inline const std::string kSize = "Size";  // bytes
inline const std::string kBootable = "Bootable";
inline const std::string kFaultTolerant = "FaultTolerant";
inline const std::string kPartitionType = "PartitionType";
inline const std::string kPartitionSubType = "PartitionSubType";
inline const std::string kStartingOffset = "StartingOffset";
inline const std::string kFileSystemName = "FileSystemName";
inline const std::string kFreeSpace = "FreeSpace";    // bytes
inline const std::string kTotalSpace = "TotalSpace";  // bytes
inline const std::string kOtherIdentifyingInfo = "OtherIdentifyingInfo";
inline const std::string kMountOptions = "MountOptions";

// The context of a class lookup: whose classes are meant.
inline const std::string kNspId = "nspID";
inline const std::string kPluginContext = "plugin";

// The key of an instance whose key property is null.
inline const std::string kUnknownKey = "Unknown";

// Log lines about a caught exception: the one comes behind the name of a class that was given up, the other before the
// class of an instance.
inline const std::string kCollectionEncounteredException = "collection encountered exception: ";
inline const std::string kAttemptedCreation = "Attempted creation of instance for ";

}  // namespace diskmgt_col
