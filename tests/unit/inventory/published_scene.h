// Instances as a plug-in would have published them, made by hand against the real schema.
#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "inventory/inventory.h"
#include "refhost/api/reference_host.h"

namespace diskmgt {

/// Several elements for an array.
using Values = std::vector<std::pair<std::string, std::vector<std::string>>>;

class PublishedScene {
public:
    PublishedScene() {
        for (const std::string& name : inventoryClasses()) published.classes.push_back({host.findClass(name), {}});
    }

    /// Answers the path. Instances with one DeviceID have one path.
    std::string add(const std::string& className, const Values& values);

    void drive(const std::string& device, std::uint64_t size, unsigned partitions) {
        add("VEXSG_DiskDrive", {{"DeviceID", {device}},
                                {"Size", {std::to_string(size)}},
                                {"NoOfPartitions", {std::to_string(partitions)}}});
    }
    void gpt(const std::string& device, std::uint64_t size, std::uint64_t lastBlock, unsigned type) {
        add("VEXSG_DiskPartition", {{"DeviceID", {device}},
                                    {"Size", {std::to_string(size)}},
                                    {"StartingOffset", {std::to_string(lastBlock)}},
                                    {"PartitionType", {std::to_string(type)}},
                                    {"Bootable", {"true"}}});
    }
    /// 1 primary, 2 extended, 3 logical.
    void mbr(const std::string& device, std::uint64_t size, unsigned kind, unsigned typeByte, bool bootable = false) {
        add("VEXSG_DiskPartition", {{"DeviceID", {device}},
                                    {"Size", {std::to_string(size)}},
                                    {"StartingOffset", {"447"}},
                                    {"PartitionType", {std::to_string(kind)}},
                                    {"PartitionSubType", {std::to_string(typeByte)}},
                                    {"Bootable", {bootable ? "true" : "false"}}});
    }
    void mounted(const std::string& source, const std::vector<std::string>& mountPoint,
                 const std::string& fileSystem = "ext4") {
        add("VEXSG_LogicalDisk",
            {{"DeviceID", {source}}, {"OtherIdentifyingInfo", mountPoint}, {"FileSystemName", {fileSystem}}});
    }
    void mountedWithSpace(const std::string& source, const std::string& mountPoint, std::uint64_t total,
                          std::uint64_t free) {
        add("VEXSG_LogicalDisk", {{"DeviceID", {source}},
                                  {"OtherIdentifyingInfo", {mountPoint}},
                                  {"FileSystemName", {"ext4"}},
                                  {"TotalSpace", {std::to_string(total)}},
                                  {"FreeSpace", {std::to_string(free)}}});
    }
    void partitionOn(const std::string& drive, const std::string& partition) {
        pair("VEXSG_PartitionPresent", pathOf("VEXSG_DiskDrive", drive), pathOf("VEXSG_DiskPartition", partition));
    }
    void mountedOnPartition(const std::string& partition, const std::string& source) {
        pair("VEXSG_LogicalDiskBasedOnPartition", pathOf("VEXSG_DiskPartition", partition),
             pathOf("VEXSG_LogicalDisk", source));
    }
    void mountedOnDrive(const std::string& drive, const std::string& source) {
        pair("VEXSG_MediaPresent", pathOf("VEXSG_DiskDrive", drive), pathOf("VEXSG_LogicalDisk", source));
    }

    Inventory arranged() const { return arrangeInventory(published, observations); }

    Published published;
    Observations observations;

private:
    static std::string pathOf(const std::string& className, const std::string& device) {
        return className + ".DeviceID=\"" + device + "\"";
    }
    void pair(const std::string& className, const std::string& antecedent, const std::string& dependent) {
        add(className, {{"Antecedent", {antecedent}}, {"Dependent", {dependent}}});
    }

    refhost::ReferenceHost host{[] {
        refhost::HostOptions options;
        options.discoverVirtualDevices = false;
        return options;
    }()};
};

inline std::string PublishedScene::add(const std::string& className, const Values& values) {
    refhost::Instance instance;
    instance.className = className;
    for (const refhost::PropertyDeclaration& declaration : host.findClass(className)->properties) {
        refhost::PropertyValue& property = instance.properties.emplace_back();
        property.declaration = &declaration;
        for (const auto& [name, elements] : values) {
            if (name != declaration.name) continue;
            property.isNull = false;
            property.elements = elements;
            if (name == "DeviceID") instance.path = pathOf(className, elements.front());
        }
    }
    for (PublishedClass& cls : published.classes)
        if (cls.declaration->name == className) cls.instances.push_back(instance);
    return instance.path;
}

}  // namespace diskmgt
