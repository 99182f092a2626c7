"""The classes that the plug-in serves, in the order of its tables. Written down apart from the product's own names."""

INSTANCES = ["VEXSG_LogicalDisk", "VEXSG_DynamicExtent", "VEXSG_DiskPartition", "VEXSG_DiskDrive", "VEXSG_CDROMDrive",
             "VEXSG_DisketteDrive", "VEXSG_DVDDrive", "VEXSG_TapeDrive", "VEXSG_DynamicDiskGroup"]
ASSOCIATIONS = ["VEXSG_MediaPresent", "VEXSG_PartitionPresent", "VEXSG_LogicalDiskBasedOnExtent",
                "VEXSG_LogicalDiskBasedOnPartition", "VEXSG_DynamicVolumeBasedOnExtent", "VEXSG_DynamicExtentBasedOn",
                "VEXSG_DriveInDynamicDiskGroup", "VEXSG_DynamicExtentInDiskGroup"]
