// One request for every class that the plug-in serves, crossing by crossing.
#include <gmock/gmock.h>

#include "session/request_failure.h"
#include "tests/support/fake_os.h"
#include "tests/support/host_session.h"

namespace {

using diskmgt_test::DiskImage;
using diskmgt_test::FakeOs;
using diskmgt_test::HostWithPlugin;
using refhost::TraceEntry;
using refhost::TraceValue;
using ::testing::ElementsAreArray;

using Lines = std::vector<std::string>;

struct Property {
    const char* name;
    const char* type;
    std::string text;
};

std::string textOf(const TraceValue& value) {
    if (const auto* text = std::get_if<std::string>(&value)) return *text;
    if (const auto* number = std::get_if<std::int64_t>(&value)) return std::to_string(*number);
    if (const auto* number = std::get_if<std::uint64_t>(&value)) return std::to_string(*number);
    if (const auto* truth = std::get_if<bool>(&value)) return *truth ? "true" : "false";
    std::string joined;
    if (const auto* texts = std::get_if<std::vector<std::string>>(&value))
        for (const std::string& text : *texts) joined += "[" + text + "]";
    return joined;
}

/// The call and its arguments: "log 3 Partition information..".
std::string lineOf(const TraceEntry& entry) {
    std::string line = entry.call;
    for (const auto& [name, value] : entry.arguments) line += " " + textOf(value);
    return line;
}

/// The crossings expected of a request.
class Expectation {
public:
    void add(const std::string& line) { lines.push_back(line); }

    void identity() {
        add("getSystemCreationClassName");
        add("getSystemName");
    }
    void log(const std::string& text) {
        add("getCoreLogger");
        add("log 3 " + text);
    }
    void beginClass(const std::string& className, const std::string& text) {
        add("isAssociation " + className);
        add("className " + className);
        log(text);
    }
    void instance(const std::string& className, const std::vector<Property>& properties) {
        add("createInstance " + className);
        for (const Property& property : properties) {
            const std::string place = className + " " + property.name;
            add("getProperty " + place);
            add("propertyType " + place);
            add("isArray " + place);
            const bool isArray = std::string(property.name) == "OtherIdentifyingInfo";
            if (isArray) add("makeType string");
            add("classNamespace " + className);
            add(std::string("parseValue ") + property.type + " " + property.text);
            if (isArray) add("setArray string 1");
            add("setProperty " + place + " " + (isArray ? "[" + property.text + "]" : property.text));
        }
        add("commit " + className);
    }
    void index(const std::string& className, const std::string& key, const std::vector<std::string>& classesFound) {
        add("getClass " + className);
        add("enumerateInstances " + className + " 1");
        for (const std::string& found : classesFound) {
            add("getProperty " + found + " " + key);
            add("getValue " + found + " " + key);
        }
    }
    void references(const std::string& antecedentClass, const std::string& dependentClass) {
        add("getReference " + antecedentClass);
        add("getReference " + dependentClass);
    }
    void association(const std::string& className, const std::string& antecedent, const std::string& dependent) {
        add("createInstance " + className);
        add("getProperty " + className + " Antecedent");
        add("setProperty " + className + " Antecedent " + antecedent);
        add("getProperty " + className + " Dependent");
        add("setProperty " + className + " Dependent " + dependent);
        add("commit " + className);
    }

    Lines lines;
};

std::string pathOf(const std::string& className, const std::string& deviceId) {
    return className + ".CreationClassName=\"" + className + "\",DeviceID=\"" + deviceId +
           "\",SystemCreationClassName=\"VEXSG_ComputerSystem\",SystemName=\"server1\"";
}

/// A disk with one partition, which is mounted.
class WholeRequest : public ::testing::Test {
protected:
    WholeRequest() {
        machine.sysfsDisk("sda", 2048, "8:0", {"sda1"});
        machine.device("/dev/sda", DiskImage(1048576).slot(0, 0x83, 64, 100, 0, 0x80));
        machine.file("/etc/mtab", "/dev/sda1 /boot ext4 rw 0 0\n");
        diskmgt_test::SpaceFigures space;
        space.blockBytes = 1024;
        space.blocks = 50;
        space.freeBlocks = 20;
        space.idFirst = 2049;
        machine.fileSystem("/boot", space);
    }

    FakeOs machine;
    HostWithPlugin session;
};

TEST_F(WholeRequest, OfAllSeventeenClassesCrossesTheBoundaryAsWritten) {
    const std::string drive = "VEXSG_DiskDrive";
    const std::string partition = "VEXSG_DiskPartition";
    const std::string logical = "VEXSG_LogicalDisk";
    const Property systemClass{"SystemCreationClassName", "string", "VEXSG_ComputerSystem"};
    const Property systemName{"SystemName", "string", "server1"};

    Expectation expected;
    expected.identity();  // of the instance provider
    expected.identity();  // of the association provider
    expected.beginClass(drive, "Physical disk information.. VEXSG_DiskDrive");
    expected.add("getBmcVirtualDevices 0 false");
    expected.instance(drive, {{"CreationClassName", "string", drive},
                              {"DeviceID", "string", "/dev/sda"},
                              {"ElementName", "string", "/dev/sda"},
                              {"Name", "string", "/dev/sda"},
                              {"NoOfPartitions", "uint32", "1"},
                              {"Size", "uint64", "1048576"},
                              systemClass,
                              systemName});
    expected.beginClass(partition, "Partition information..");
    expected.instance(partition, {{"Bootable", "boolean", "true"},
                                  {"CreationClassName", "string", partition},
                                  {"DeviceID", "string", "/dev/sda1"},
                                  {"ElementName", "string", "/dev/sda1"},
                                  {"FaultTolerant", "boolean", "false"},
                                  {"PartitionSubType", "uint16", "131"},
                                  {"PartitionType", "uint16", "1"},
                                  {"Size", "uint64", "51200"},
                                  {"StartingOffset", "uint64", "33214"},
                                  systemClass,
                                  systemName});
    expected.beginClass(logical, "Logical disk information..");
    expected.instance(logical, {{"CreationClassName", "string", logical},
                                {"DeviceID", "string", "/dev/sda1"},
                                {"ElementName", "string", "/dev/sda1"},
                                {"FileSystemName", "string", "ext4"},
                                {"FreeSpace", "uint64", "20480"},
                                {"MountOptions", "string", "rw, 2049 0"},
                                {"OtherIdentifyingInfo", "string", "/boot"},
                                systemClass,
                                systemName,
                                {"TotalSpace", "uint64", "51200"}});
    expected.beginClass("VEXSG_PartitionPresent", "PartitionPresent associations...");
    expected.index(partition, "DeviceID", {partition});
    expected.index("VEXSG_MediaAccessDevice", "Name", {drive});
    expected.references(drive, partition);
    expected.association("VEXSG_PartitionPresent", pathOf(drive, "/dev/sda"), pathOf(partition, "/dev/sda1"));
    expected.beginClass("VEXSG_LogicalDiskBasedOnPartition", "LogicalDiskBasedOnPartition associations...");
    expected.index(partition, "DeviceID", {partition});
    expected.index(logical, "DeviceID", {logical});
    expected.references(partition, logical);
    expected.association("VEXSG_LogicalDiskBasedOnPartition", pathOf(partition, "/dev/sda1"),
                         pathOf(logical, "/dev/sda1"));
    expected.beginClass("VEXSG_MediaPresent", "MediaPresent associations...");
    expected.index(logical, "DeviceID", {logical});
    expected.index("VEXSG_MediaAccessDevice", "Name", {drive});
    expected.references(drive, logical);
    expected.association("VEXSG_MediaPresent", pathOf(drive, "/dev/sda"), pathOf(logical, "/dev/sda1"));
    expected.beginClass("VEXSG_LogicalDiskBasedOnExtent", "LogicalDiskBasedOnExtent associations...");
    expected.beginClass("VEXSG_DynamicVolumeBasedOnExtent", "DynamicVolumeBasedOnExtent associations... ");
    expected.beginClass("VEXSG_DynamicExtentBasedOn", "DynamicExtentBasedOn associations... ");
    expected.beginClass("VEXSG_DriveInDynamicDiskGroup", "DriveInDiskGroup associations... ");
    expected.beginClass("VEXSG_DynamicExtentInDiskGroup", "DynamicExtentInDiskGroup associations... ");
    expected.beginClass("VEXSG_DynamicExtent", "Dynamic Extent information..");
    for (const std::string empty :
         {"VEXSG_CDROMDrive", "VEXSG_DisketteDrive", "VEXSG_DVDDrive", "VEXSG_TapeDrive", "VEXSG_DynamicDiskGroup"})
        expected.beginClass(empty, "Physical disk information.. " + empty);

    session.host.startTrace();
    const auto result = session.host.request(
        {drive, partition, logical, "VEXSG_PartitionPresent", "VEXSG_LogicalDiskBasedOnPartition", "VEXSG_MediaPresent",
         "VEXSG_LogicalDiskBasedOnExtent", "VEXSG_DynamicVolumeBasedOnExtent", "VEXSG_DynamicExtentBasedOn",
         "VEXSG_DriveInDynamicDiskGroup", "VEXSG_DynamicExtentInDiskGroup", "VEXSG_DynamicExtent", "VEXSG_CDROMDrive",
         "VEXSG_DisketteDrive", "VEXSG_DVDDrive", "VEXSG_TapeDrive", "VEXSG_DynamicDiskGroup"});
    Lines made;
    for (const TraceEntry& entry : session.host.takeTrace()) {
        if (entry.byPlugin) made.push_back(lineOf(entry));
    }
    EXPECT_THAT(made, ElementsAreArray(expected.lines));
    EXPECT_EQ(diskmgt::failureClause(result), "");
}

}  // namespace
