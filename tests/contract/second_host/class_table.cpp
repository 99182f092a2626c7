// The class table: the 17 classes that the plug-in serves, and the parent of the drives.
#include "tests/contract/second_host/class_table.h"

namespace second_host {

namespace {

using Properties = std::vector<PropertyRow>;

Properties device(const Properties& own = {}) {
    Properties all = {{"SystemCreationClassName", Kind::kString},
                      {"SystemName", Kind::kString},
                      {"CreationClassName", Kind::kString},
                      {"DeviceID", Kind::kString},
                      {"Name", Kind::kString},
                      {"ElementName", Kind::kString},
                      {"OtherIdentifyingInfo", Kind::kString, true}};
    all.insert(all.end(), own.begin(), own.end());
    return all;
}

ClassRow association(const char* name, const char* antecedent, const char* dependent) {
    return {name,
            "",
            true,
            {{"Antecedent", Kind::kReference, false, antecedent}, {"Dependent", Kind::kReference, false, dependent}}};
}

}  // namespace

const std::vector<ClassRow>& classTable() {
    static const std::vector<ClassRow> table = {
        {"VEXSG_MediaAccessDevice", "", false, device()},
        {"VEXSG_DiskDrive", "VEXSG_MediaAccessDevice", false,
         device({{"Size", Kind::kUint64}, {"NoOfPartitions", Kind::kUint32}})},
        {"VEXSG_CDROMDrive", "VEXSG_MediaAccessDevice", false, device()},
        {"VEXSG_DVDDrive", "VEXSG_MediaAccessDevice", false, device()},
        {"VEXSG_DisketteDrive", "VEXSG_MediaAccessDevice", false, device()},
        {"VEXSG_TapeDrive", "VEXSG_MediaAccessDevice", false, device()},
        {"VEXSG_DiskPartition", "", false,
         device({{"Size", Kind::kUint64},
                 {"StartingOffset", Kind::kUint64},
                 {"PartitionType", Kind::kUint16},
                 {"PartitionSubType", Kind::kUint16},
                 {"Bootable", Kind::kBoolean},
                 {"FaultTolerant", Kind::kBoolean}})},
        {"VEXSG_LogicalDisk", "", false,
         device({{"FileSystemName", Kind::kString},
                 {"MountOptions", Kind::kString},
                 {"TotalSpace", Kind::kUint64},
                 {"FreeSpace", Kind::kUint64}})},
        {"VEXSG_DynamicExtent", "", false, device()},
        {"VEXSG_DynamicDiskGroup", "", false, device()},
        association("VEXSG_MediaPresent", "VEXSG_MediaAccessDevice", "VEXSG_LogicalDisk"),
        association("VEXSG_PartitionPresent", "VEXSG_MediaAccessDevice", "VEXSG_DiskPartition"),
        association("VEXSG_LogicalDiskBasedOnPartition", "VEXSG_DiskPartition", "VEXSG_LogicalDisk"),
        association("VEXSG_LogicalDiskBasedOnExtent", "VEXSG_DynamicExtent", "VEXSG_LogicalDisk"),
        association("VEXSG_DynamicVolumeBasedOnExtent", "VEXSG_DynamicExtent", "VEXSG_LogicalDisk"),
        association("VEXSG_DynamicExtentBasedOn", "VEXSG_DiskPartition", "VEXSG_DynamicExtent"),
        association("VEXSG_DriveInDynamicDiskGroup", "VEXSG_MediaAccessDevice", "VEXSG_DynamicDiskGroup"),
        association("VEXSG_DynamicExtentInDiskGroup", "VEXSG_DynamicDiskGroup", "VEXSG_DynamicExtent"),
    };
    return table;
}

}  // namespace second_host
