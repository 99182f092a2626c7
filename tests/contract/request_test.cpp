// One request, as the host sees it: log lines, calls and their order, arguments, stamps.
#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "tests/contract/loop_disk.h"
#include "tests/contract/machine_witness.h"
#include "tests/contract/opened_plugin.h"

namespace contract {
namespace {

using second_host::Call;
using second_host::LogLine;

/// "operation class argument", without the parts that are empty.
std::vector<std::string> summary(const std::vector<Call>& calls) {
    std::vector<std::string> lines;
    for (const Call& call : calls) {
        std::string line = call.operation;
        if (!call.className.empty()) line += " " + call.className;
        if (!call.argument.empty()) line += " " + call.argument;
        lines.push_back(line);
    }
    return lines;
}

using Lines = std::vector<std::string>;

const Lines kOpening = {"GetSystemCreationClassName", "GetSystemName", "GetSystemCreationClassName", "GetSystemName"};

Lines afterOpening(const Lines& rest) {
    Lines all = kOpening;
    all.insert(all.end(), rest.begin(), rest.end());
    return all;
}

TEST(Request, AllSeventeenClassesLogTheirLinesInOrder) {
    Loaded loaded;
    (void)whileStill(listedDevices, [&] {  // a disk that vanishes during the request adds a line
        loaded.host.clearRecords();
        loaded.request(servedClasses());
    });
    const std::vector<LogLine> expected = {
        {3, "Logical disk information.."},
        {3, "Dynamic Extent information.."},
        {3, "Partition information.."},
        {3, "Physical disk information.. VEXSG_DiskDrive"},
        {3, "Physical disk information.. VEXSG_CDROMDrive"},
        {3, "Physical disk information.. VEXSG_DisketteDrive"},
        {3, "Physical disk information.. VEXSG_DVDDrive"},
        {3, "Physical disk information.. VEXSG_TapeDrive"},
        {3, "Physical disk information.. VEXSG_DynamicDiskGroup"},
        {3, "MediaPresent associations..."},
        {3, "PartitionPresent associations..."},
        {3, "LogicalDiskBasedOnExtent associations..."},
        {3, "LogicalDiskBasedOnPartition associations..."},
        {3, "DynamicVolumeBasedOnExtent associations... "},
        {3, "DynamicExtentBasedOn associations... "},
        {3, "DriveInDiskGroup associations... "},
        {3, "DynamicExtentInDiskGroup associations... "},
    };
    const std::vector<LogLine> logged = loaded.host.log();
    ASSERT_EQ(logged.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(logged[i].severity, expected[i].severity) << i;
        EXPECT_EQ(logged[i].text, expected[i].text) << i;
    }
}

TEST(Request, ClassesWithoutAContentOnLinuxStayEmpty) {
    Loaded loaded;
    loaded.request(servedClasses());
    for (const char* name :
         {"VEXSG_DynamicExtent", "VEXSG_CDROMDrive", "VEXSG_DisketteDrive", "VEXSG_DVDDrive", "VEXSG_TapeDrive",
          "VEXSG_DynamicDiskGroup", "VEXSG_LogicalDiskBasedOnExtent", "VEXSG_DynamicVolumeBasedOnExtent",
          "VEXSG_DynamicExtentBasedOn", "VEXSG_DriveInDynamicDiskGroup", "VEXSG_DynamicExtentInDiskGroup"}) {
        EXPECT_TRUE(loaded.nameSpace->instances(name).empty()) << name;
    }
}

TEST(Request, AnEmptyListQueriesTheSystemTwiceAndNothingElse) {
    Loaded loaded;
    loaded.request({});
    EXPECT_EQ(summary(loaded.host.calls()), kOpening);
    EXPECT_TRUE(loaded.host.log().empty());
}

TEST(Request, AnUnservedClassIsQueriedForItsNameOnly) {
    Loaded loaded;
    loaded.request({"VEXSG_MediaAccessDevice"});
    EXPECT_EQ(summary(loaded.host.calls()),
              afterOpening({"IsAssociation VEXSG_MediaAccessDevice", "GetName VEXSG_MediaAccessDevice"}));
    EXPECT_TRUE(loaded.host.log().empty());
}

TEST(Request, AClassNamedTwiceIsServedTwice) {
    Loaded loaded;
    loaded.request({"VEXSG_DynamicExtent", "VEXSG_TapeDrive", "VEXSG_DynamicExtent"});
    EXPECT_EQ(loaded.host.log(), (std::vector<LogLine>{{3, "Dynamic Extent information.."},
                                                       {3, "Physical disk information.. VEXSG_TapeDrive"},
                                                       {3, "Dynamic Extent information.."}}));
}

TEST(Request, ADriveIsBuiltPropertyByPropertyInByteOrderThenCommitted) {
    const LoopDisk disk;
    Loaded loaded;
    (void)whileStill(listedDevices, [&] {
        loaded.host.clearRecords();
        loaded.nameSpace = second_host::Namespace::create();
        loaded.request({"VEXSG_DiskDrive"});
    });
    Lines expected = {"IsAssociation VEXSG_DiskDrive", "GetName VEXSG_DiskDrive",
                      "Log Physical disk information.. VEXSG_DiskDrive", "getBmcVirtualDevices 0"};
    const auto drives = loaded.nameSpace->instances("VEXSG_DiskDrive");
    if (drives.empty()) GTEST_SKIP() << "no disk opens, and none can be attached: " << disk.failure();
    for (const auto& drive : drives) {
        expected.push_back("CreateInstance VEXSG_DiskDrive");
        for (const char* property : {"CreationClassName", "DeviceID", "ElementName", "Name", "NoOfPartitions", "Size",
                                     "SystemCreationClassName", "SystemName"}) {
            for (const char* operation : {"GetProperty", "GetType", "IsArray"}) {
                expected.push_back(std::string(operation) + " VEXSG_DiskDrive " + property);
            }
            expected.push_back("GetNamespace VEXSG_DiskDrive");
            expected.push_back("parse " + drive->text(property).value_or("null"));
            expected.push_back("assignToNull " + drive->text(property).value_or("null"));
            expected.push_back(std::string("SetProperty VEXSG_DiskDrive ") + property);
        }
        expected.push_back("CommitToClass VEXSG_DiskDrive");
    }
    EXPECT_EQ(summary(loaded.host.calls()), afterOpening(expected));
}

TEST(Request, AnAssociationIndexesBothClassesThenPairsThenBuilds) {
    Loaded loaded;
    loaded.nameSpace->seed("VEXSG_DiskDrive", {{"Name", "/dev/sdq"}});
    loaded.nameSpace->seed("VEXSG_DiskPartition", {{"DeviceID", "/dev/sdq2"}});
    loaded.nameSpace->seed("VEXSG_DiskPartition", {{"DeviceID", "/dev/sdq1"}});
    loaded.request({"VEXSG_PartitionPresent"});
    const Lines references = {"GetReference VEXSG_DiskDrive", "GetReference VEXSG_DiskPartition", "wrap", "wrap"};
    const Lines building = {
        "CreateInstance VEXSG_PartitionPresent",         "GetProperty VEXSG_PartitionPresent Antecedent",
        "SetProperty VEXSG_PartitionPresent Antecedent", "GetProperty VEXSG_PartitionPresent Dependent",
        "SetProperty VEXSG_PartitionPresent Dependent",  "CommitToClass VEXSG_PartitionPresent"};
    Lines expected = {"IsAssociation VEXSG_PartitionPresent",
                      "GetName VEXSG_PartitionPresent",
                      "Log PartitionPresent associations...",
                      "GetClass VEXSG_DiskPartition",
                      "EnumerateInstances VEXSG_DiskPartition 1",
                      "GetProperty VEXSG_DiskPartition DeviceID",
                      "GetValue VEXSG_DiskPartition DeviceID",
                      "GetProperty VEXSG_DiskPartition DeviceID",
                      "GetValue VEXSG_DiskPartition DeviceID",
                      "GetClass VEXSG_MediaAccessDevice",
                      "EnumerateInstances VEXSG_MediaAccessDevice 1",
                      "GetProperty VEXSG_DiskDrive Name",
                      "GetValue VEXSG_DiskDrive Name"};
    for (const Lines& part : {references, references, building, building}) {
        expected.insert(expected.end(), part.begin(), part.end());
    }
    EXPECT_EQ(summary(loaded.host.calls()), afterOpening(expected));
}

TEST(Request, EveryOptionsMapIsFreshAndOnlyTheClassLookupFillsIt) {
    Loaded loaded;
    loaded.nameSpace->seed("VEXSG_DiskDrive", {{"Name", "/dev/sdq"}});
    loaded.nameSpace->seed("VEXSG_DiskPartition", {{"DeviceID", "/dev/sdq1"}});
    loaded.request(servedClasses());
    const std::map<std::string, std::string> lookupContext = {{"nspID", "plugin"}};
    std::set<std::string> operations;
    for (const Call& call : loaded.host.calls()) {
        operations.insert(call.operation);
        const bool isLookup = call.operation == "GetClass";
        EXPECT_EQ(call.options, isLookup ? lookupContext : (std::map<std::string, std::string>{}))
            << call.operation << " " << call.className << " " << call.argument;
    }
    for (const char* operation : {"GetClass", "GetName", "IsAssociation", "CreateInstance", "EnumerateInstances",
                                  "CommitToClass", "GetProperty", "SetProperty", "GetReference", "GetValue"}) {
        EXPECT_EQ(operations.count(operation), 1U) << operation << " was never called";
    }
}

TEST(Request, EnumerationsAlwaysIncludeSubclasses) {
    Loaded loaded;
    loaded.request(servedClasses());
    const auto enumerations = loaded.calls("EnumerateInstances");
    ASSERT_EQ(enumerations.size(), 6U);  // two for each of the three computed associations
    for (const Call& call : enumerations) EXPECT_EQ(call.argument, "1") << call.className;
}

TEST(Request, ArraysAreSetWithTheFlag256) {
    if (!mountTableIsOpenToUs()) GTEST_SKIP() << "the mount table cannot be opened for update";
    Loaded loaded;
    loaded.request({"VEXSG_LogicalDisk"});
    const auto settings = loaded.calls("Set");
    ASSERT_EQ(settings.size(), loaded.nameSpace->instances("VEXSG_LogicalDisk").size());
    ASSERT_FALSE(settings.empty());
    for (const Call& call : settings) EXPECT_EQ(call.argument, "256");
}

TEST(Request, ElementsAreOfTheElementTypeAndTheArrayIsOfTheDeclaredOne) {
    Loaded loaded;
    const auto cls = loaded.nameSpace->find("VEXSG_LogicalDisk");
    if (!mountTableIsOpenToUs()) GTEST_SKIP() << "the mount table cannot be opened for update";
    loaded.request({"VEXSG_LogicalDisk"});
    ASSERT_FALSE(cls->committed().empty());
    for (const auto& instance : cls->committed()) EXPECT_TRUE(instance->elements("OtherIdentifyingInfo").has_value());
    EXPECT_EQ(loaded.host.log(), (std::vector<LogLine>{{3, "Logical disk information.."}}));
}

TEST(Request, EveryInstanceIsStampedWithItsClassAndTheHostsIdentity) {
    const LoopDisk disk;
    Loaded loaded;
    loaded.request(servedClasses());
    for (const char* name : {"VEXSG_DiskDrive", "VEXSG_DiskPartition", "VEXSG_LogicalDisk"}) {
        for (const auto& instance : loaded.nameSpace->instances(name)) {
            EXPECT_EQ(instance->text("CreationClassName"), name);
            EXPECT_EQ(instance->text("SystemCreationClassName"), "VEXSG_SecondSystem");
            EXPECT_EQ(instance->text("SystemName"), "second.example");
        }
    }
}

}  // namespace
}  // namespace contract
