// The names the plug-in and its host match as text: CIM classes, properties and roles, and the one shared
// message. Texts are interface; the constants' names are not. They exist only once the library's static
// constants are set up, so nothing on the registration path may use them.
#pragma once

#include <string>

namespace diskmgt_col {

// Instance classes served, in the order of their table.
const std::string kLogicalDisk = "VEXSG_LogicalDisk";
const std::string kDynamicExtent = "VEXSG_DynamicExtent";
const std::string kDiskPartition = "VEXSG_DiskPartition";
const std::string kDiskDrive = "VEXSG_DiskDrive";
const std::string kCdromDrive = "VEXSG_CDROMDrive";
const std::string kDisketteDrive = "VEXSG_DisketteDrive";
const std::string kDvdDrive = "VEXSG_DVDDrive";
const std::string kTapeDrive = "VEXSG_TapeDrive";
const std::string kDynamicDiskGroup = "VEXSG_DynamicDiskGroup";

// Association classes served, in the order of their table.
const std::string kMediaPresent = "VEXSG_MediaPresent";
const std::string kPartitionPresent = "VEXSG_PartitionPresent";
const std::string kLogicalDiskBasedOnExtent = "VEXSG_LogicalDiskBasedOnExtent";
const std::string kLogicalDiskBasedOnPartition = "VEXSG_LogicalDiskBasedOnPartition";
const std::string kDynamicVolumeBasedOnExtent = "VEXSG_DynamicVolumeBasedOnExtent";
const std::string kDynamicExtentBasedOn = "VEXSG_DynamicExtentBasedOn";
const std::string kDriveInDynamicDiskGroup = "VEXSG_DriveInDynamicDiskGroup";
const std::string kDynamicExtentInDiskGroup = "VEXSG_DynamicExtentInDiskGroup";

// Queried, never served: its enumeration delivers the drives.
const std::string kMediaAccessDevice = "VEXSG_MediaAccessDevice";

// Roles of every association.
const std::string kAntecedent = "Antecedent";  // the supporting element
const std::string kDependent = "Dependent";    // the element that rests on it

// Identity of the hosting system.
const std::string kCreationClassName = "CreationClassName";
const std::string kSystemCreationClassName = "SystemCreationClassName";
const std::string kSystemName = "SystemName";
const std::string kCsCreationClassName = "CSCreationClassName";
const std::string kCsName = "CSName";

// Properties of drives, partitions and logical disks.
const std::string kDeviceId = "DeviceID";
const std::string kName = "Name";
const std::string kElementName = "ElementName";
const std::string kNoOfPartitions = "NoOfPartitions";
const std::string kSize = "Size";  // bytes
const std::string kBootable = "Bootable";
const std::string kFaultTolerant = "FaultTolerant";
const std::string kPartitionType = "PartitionType";
const std::string kPartitionSubType = "PartitionSubType";
const std::string kStartingOffset = "StartingOffset";
const std::string kFileSystemName = "FileSystemName";
const std::string kFreeSpace = "FreeSpace";    // bytes
const std::string kTotalSpace = "TotalSpace";  // bytes
const std::string kOtherIdentifyingInfo = "OtherIdentifyingInfo";
const std::string kMountOptions = "MountOptions";

// The context of a class lookup: whose classes are meant.
const std::string kNspId = "nspID";
const std::string kPluginContext = "plugin";

// The key of an instance whose key property is null.
const std::string kUnknownKey = "Unknown";

// Comes before an exception's text.
const std::string kCollectionEncounteredException = "collection encountered exception: ";

}  // namespace diskmgt_col
