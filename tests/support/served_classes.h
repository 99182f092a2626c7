// The classes that the plug-in serves, in the order of its tables. Written down apart from the product's own names.
#pragma once

#include <string>
#include <vector>

namespace diskmgt_test {

inline const std::vector<std::string>& instanceClasses() {
    static const std::vector<std::string> names{"VEXSG_LogicalDisk", "VEXSG_DynamicExtent", "VEXSG_DiskPartition",
                                                "VEXSG_DiskDrive",   "VEXSG_CDROMDrive",    "VEXSG_DisketteDrive",
                                                "VEXSG_DVDDrive",    "VEXSG_TapeDrive",     "VEXSG_DynamicDiskGroup"};
    return names;
}

inline const std::vector<std::string>& associationClasses() {
    static const std::vector<std::string> names{"VEXSG_MediaPresent",
                                                "VEXSG_PartitionPresent",
                                                "VEXSG_LogicalDiskBasedOnExtent",
                                                "VEXSG_LogicalDiskBasedOnPartition",
                                                "VEXSG_DynamicVolumeBasedOnExtent",
                                                "VEXSG_DynamicExtentBasedOn",
                                                "VEXSG_DriveInDynamicDiskGroup",
                                                "VEXSG_DynamicExtentInDiskGroup"};
    return names;
}

/// Instances first, so that the associations of one request find them.
inline const std::vector<std::string>& servedClasses() {
    static const std::vector<std::string> names = [] {
        std::vector<std::string> all = instanceClasses();
        all.insert(all.end(), associationClasses().begin(), associationClasses().end());
        return all;
    }();
    return names;
}

}  // namespace diskmgt_test
