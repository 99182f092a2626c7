// HardwareInformation: the nine rows, their lines, the stamp, and the effect of failures.
#include "provider/hardware_information.h"

#include <gmock/gmock.h>

#include <stdexcept>

#include "session/request_failure.h"
#include "tests/support/fake_os.h"
#include "tests/support/host_session.h"
#include "tests/support/scripted_instance.h"
#include "tests/support/silent_failure.h"

namespace diskmgt_col {
namespace {

using diskmgt_test::Classes;
using diskmgt_test::column;
using diskmgt_test::crossingOf;
using diskmgt_test::DiskImage;
using diskmgt_test::FakeOs;
using diskmgt_test::HostSession;
using diskmgt_test::HostWithPlugin;
using diskmgt_test::linesOf;
using diskmgt_test::RenamedClass;
using diskmgt_test::ScriptedClass;
using diskmgt_test::SilentHostFailure;
using diskmgt_test::SilentStandardFailure;
using diskmgt_test::textsOf;
using refhost::FaultKind;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::SizeIs;
using ::testing::StartsWith;
using ::testing::UnorderedElementsAre;

/// Two disks, the first with two partitions, and two mounts.
class HardwareInformationOn : public ::testing::Test {
protected:
    HardwareInformationOn() {
        machine.sysfsDisk("sda", 2048, "8:0", {"sda1", "sda2"}).sysfsDisk("sdb", 2048, "8:16", {});
        machine.device("/dev/sda", DiskImage().slot(0, 0x83, 64, 100).slot(1, 0x82, 200, 100));
        machine.device("/dev/sdb", DiskImage());
        machine.file("/etc/mtab", "/dev/sda1 / ext4 rw 0 0\nproc /proc proc rw 0 0\n");
    }

    FakeOs machine;
    HostWithPlugin session;
};

TEST_F(HardwareInformationOn, EveryInstanceCarriesTheIdentityOfTheHostingSystem) {
    for (const char* const className : {"VEXSG_DiskDrive", "VEXSG_DiskPartition", "VEXSG_LogicalDisk"}) {
        (void)session.host.request({className});
        EXPECT_THAT(column(session.host, className, "CreationClassName"), ElementsAre(className, className));
        EXPECT_THAT(column(session.host, className, "SystemCreationClassName"),
                    ElementsAre("VEXSG_ComputerSystem", "VEXSG_ComputerSystem"));
        EXPECT_THAT(column(session.host, className, "SystemName"), ElementsAre("server1", "server1"));
    }
}

TEST_F(HardwareInformationOn, TheThreeInstanceClassesLogTheirLinesInTheOrderRequested) {
    const auto result = session.host.request({"VEXSG_DiskDrive", "VEXSG_DiskPartition", "VEXSG_LogicalDisk"});
    EXPECT_THAT(linesOf(result.log), ElementsAre("3 Physical disk information.. VEXSG_DiskDrive",
                                                 "3 Partition information..", "3 Logical disk information.."));
    EXPECT_THAT(column(session.host, "VEXSG_DiskDrive", "DeviceID"), ElementsAre("/dev/sda", "/dev/sdb"));
    EXPECT_THAT(column(session.host, "VEXSG_DiskDrive", "NoOfPartitions"), ElementsAre("2", "0"));
    EXPECT_THAT(column(session.host, "VEXSG_DiskPartition", "DeviceID"), ElementsAre("/dev/sda1", "/dev/sda2"));
    EXPECT_THAT(column(session.host, "VEXSG_LogicalDisk", "DeviceID"), ElementsAre("/dev/sda1", "proc"));
    EXPECT_THAT(column(session.host, "VEXSG_LogicalDisk", "OtherIdentifyingInfo"), ElementsAre("/", "/proc"));
}

TEST_F(HardwareInformationOn, EachClassLogsItsLineBeforeAnySystemCall) {
    for (const char* const className : {"VEXSG_DiskDrive", "VEXSG_DiskPartition", "VEXSG_LogicalDisk"}) {
        SCOPED_TRACE(className);
        session.host.startTrace();
        (void)session.host.request({className});
        const auto line = crossingOf(session.host.takeTrace(), "log");
        machine.forgetCalls();
        session.host.setFaultPlan({line, false, FaultKind::kStandardException});  // ends the class there
        (void)session.host.request({className});
        session.host.clearFaultPlan();
        EXPECT_EQ(machine.calls(), 0);
    }
}

TEST_F(HardwareInformationOn, TheOtherDriveClassesLogTheirNameAndStayEmpty) {
    for (const std::string className :
         {"VEXSG_CDROMDrive", "VEXSG_DisketteDrive", "VEXSG_DVDDrive", "VEXSG_TapeDrive", "VEXSG_DynamicDiskGroup"}) {
        machine.forgetCalls();
        const auto result = session.host.request({className});
        EXPECT_THAT(linesOf(result.log), ElementsAre("3 Physical disk information.. " + className));
        EXPECT_THAT(session.host.instances(className), IsEmpty());
        EXPECT_EQ(machine.calls(), 0) << className;
    }
}

TEST_F(HardwareInformationOn, DynamicExtentsLogALineAndPublishNothing) {
    const auto result = session.host.request({"VEXSG_DynamicExtent"});
    EXPECT_THAT(linesOf(result.log), ElementsAre("3 Dynamic Extent information.."));
    EXPECT_THAT(session.host.instances("VEXSG_DynamicExtent"), IsEmpty());
}

TEST_F(HardwareInformationOn, AnUnservedClassIsIgnoredSilently) {
    const auto result = session.host.request({"VEXSG_MediaAccessDevice"});
    EXPECT_THAT(result.log, IsEmpty());
    EXPECT_EQ(machine.calls(), 0);
}

TEST_F(HardwareInformationOn, AFailureEndsItsClassAndTheNextIsStillServed) {
    session.host.startTrace();
    (void)session.host.request({"VEXSG_DiskDrive", "VEXSG_DynamicExtent"});
    const auto secondCreation = crossingOf(session.host.takeTrace(), "createInstance", 2);
    for (const FaultKind kind : {FaultKind::kTalException, FaultKind::kStandardException}) {
        session.host.setFaultPlan({secondCreation, false, kind});
        const auto result = session.host.request({"VEXSG_DiskDrive", "VEXSG_DynamicExtent"});
        session.host.clearFaultPlan();
        EXPECT_THAT(column(session.host, "VEXSG_DiskDrive", "DeviceID"), ElementsAre("/dev/sda"));
        EXPECT_THAT(linesOf(result.log), ElementsAre("3 Physical disk information.. VEXSG_DiskDrive",
                                                     StartsWith("3 VEXSG_DiskDrivecollection encountered exception: "),
                                                     "3 Dynamic Extent information.."));
        EXPECT_FALSE(result.failure.has_value());
        EXPECT_THAT(diskmgt::failureClause(result), StartsWith("an exception was logged: VEXSG_DiskDrive"));
    }
}

TEST_F(HardwareInformationOn, AForeignExceptionPassesToTheHost) {
    session.host.startTrace();
    (void)session.host.request({"VEXSG_DiskDrive"});
    const auto creation = crossingOf(session.host.takeTrace(), "createInstance");
    session.host.setFaultPlan({creation, false, FaultKind::kForeignException});
    const auto result = session.host.request({"VEXSG_DiskDrive"});
    session.host.clearFaultPlan();
    EXPECT_TRUE(result.failure.has_value());
    EXPECT_THAT(linesOf(result.log), ElementsAre("3 Physical disk information.. VEXSG_DiskDrive"));
}

TEST_F(HardwareInformationOn, AFailingNameQueryEndsTheRequest) {
    session.host.startTrace();
    (void)session.host.request({"VEXSG_DynamicExtent"});
    const auto nameQuery = crossingOf(session.host.takeTrace(), "className");
    session.host.setFaultPlan({nameQuery, false, FaultKind::kTalException});
    const auto result = session.host.request({"VEXSG_DynamicExtent"});
    session.host.clearFaultPlan();
    EXPECT_TRUE(result.failure.has_value());
    EXPECT_THAT(result.log, IsEmpty());
}

TEST_F(HardwareInformationOn, AFailureOfTheVirtualDeviceQueryCostsTheDriveClassOnly) {
    session.host.startTrace();
    (void)session.host.request({"VEXSG_DiskDrive", "VEXSG_DynamicExtent"});
    const auto query = crossingOf(session.host.takeTrace(), "getBmcVirtualDevices");
    session.host.setFaultPlan({query, false, FaultKind::kTalException});
    const auto result = session.host.request({"VEXSG_DiskDrive", "VEXSG_DynamicExtent"});
    session.host.clearFaultPlan();
    EXPECT_THAT(session.host.instances("VEXSG_DiskDrive"), IsEmpty());
    EXPECT_THAT(result.log, SizeIs(3));
    EXPECT_EQ(machine.openHandles(), 0);
}

TEST(HardwareInformation, TheExceptionLineRunsTheClassNameIntoTheMessage) {
    FakeOs machine;
    machine.sysfsDisk("sda", 8, "8:0", {}).device("/dev/sda", DiskImage());
    HostWithPlugin session;
    session.host.startTrace();
    (void)session.host.request({"VEXSG_DiskDrive"});
    const auto creation = crossingOf(session.host.takeTrace(), "createInstance");
    session.host.setFaultPlan({creation, false, FaultKind::kStandardException});
    const auto result = session.host.request({"VEXSG_DiskDrive"});
    session.host.clearFaultPlan();
    ASSERT_THAT(result.log, SizeIs(2));
    EXPECT_EQ(result.log[1].severity, 3);
    EXPECT_THAT(result.log[1].text, StartsWith("VEXSG_DiskDrivecollection encountered exception: "));
}

/// Calls the provider directly, inside a request.
class HardwareInformationAlone : public ::testing::Test {
protected:
    void with(const std::function<void(HardwareInformation&)>& work) {
        result = session.insideRequest({"VEXSG_DiskDrive"}, [&](auto nameSpace, Classes& classes) {
            HardwareInformation provider(nameSpace);
            served = classes[0];
            work(provider);
        });
    }

    FakeOs machine;
    HostSession session;
    boost::shared_ptr<NVEXTAL20::ICIMClass> served;
    refhost::RequestResult result;
};

TEST_F(HardwareInformationAlone, TheTableHasNineRowsAndDynamicDiskGroupsShareTheDrivesRow) {
    with([](HardwareInformation& provider) {
        const auto table = provider.getFuncPtrList();
        EXPECT_THAT(table, UnorderedElementsAre(
                               Pair("VEXSG_LogicalDisk", &HardwareInformation::enumLogicalDiskInformation),
                               Pair("VEXSG_DynamicExtent", &HardwareInformation::enumDynamicExtentInformation),
                               Pair("VEXSG_DiskPartition", &HardwareInformation::enumPartitionInformation),
                               Pair("VEXSG_DiskDrive", &HardwareInformation::enumPhysicalDiskInformation),
                               Pair("VEXSG_CDROMDrive", &HardwareInformation::enumPhysicalDiskInformation),
                               Pair("VEXSG_DisketteDrive", &HardwareInformation::enumPhysicalDiskInformation),
                               Pair("VEXSG_DVDDrive", &HardwareInformation::enumPhysicalDiskInformation),
                               Pair("VEXSG_TapeDrive", &HardwareInformation::enumPhysicalDiskInformation),
                               Pair("VEXSG_DynamicDiskGroup", &HardwareInformation::enumPhysicalDiskInformation)));
    });
}

TEST_F(HardwareInformationAlone, TheStampIsAddedToEntriesOfTheSameName) {
    with([&](HardwareInformation& provider) {
        EXPECT_FALSE(provider.enumerateInstances(served));
        PropertyMap device = {{"SystemName", "other"}};
        provider.addLogicalDeviceParams(device);
        EXPECT_THAT(device, ElementsAre(Pair("CreationClassName", "VEXSG_DiskDrive"),
                                        Pair("SystemCreationClassName", "VEXSG_ComputerSystem"),
                                        Pair("SystemName", "other"), Pair("SystemName", "server1")));
        PropertyMap element;
        provider.addLogicalElementParams(element);
        EXPECT_THAT(element, ElementsAre(Pair("CSCreationClassName", "VEXSG_ComputerSystem"), Pair("CSName", "server1"),
                                         Pair("CreationClassName", "VEXSG_DiskDrive")));
    });
    EXPECT_FALSE(result.failure.has_value());
}

TEST_F(HardwareInformationAlone, AnUnservedClassStillBecomesTheCurrentOne) {
    with([&](HardwareInformation& provider) {
        EXPECT_FALSE(provider.enumerateInstances(boost::make_shared<RenamedClass>(served, "Unserved")));
        PropertyMap device;
        provider.addLogicalDeviceParams(device);
        EXPECT_THAT(device, ElementsAre(Pair("CreationClassName", "Unserved"),
                                        Pair("SystemCreationClassName", testing::_), Pair("SystemName", testing::_)));
    });
    EXPECT_THAT(result.log, IsEmpty());
}

TEST_F(HardwareInformationAlone, AFailureWithoutATextEndsTheClassWithALineWithoutIt) {
    machine.sysfsDisk("sda", 8, "8:0", {}).device("/dev/sda", DiskImage());
    using Creation = std::function<boost::shared_ptr<NVEXTAL20::ICIMInstance>()>;
    const Creation failures[] = {
        []() -> boost::shared_ptr<NVEXTAL20::ICIMInstance> { throw SilentHostFailure(); },
        []() -> boost::shared_ptr<NVEXTAL20::ICIMInstance> { throw SilentStandardFailure(); },
    };
    for (const Creation& failure : failures) {
        with([&](HardwareInformation& provider) {
            (void)provider.enumerateInstances(boost::make_shared<ScriptedClass>(served, "VEXSG_DiskDrive", failure));
        });
        EXPECT_FALSE(result.failure.has_value());
        EXPECT_THAT(linesOf(result.log), ElementsAre("3 Physical disk information.. VEXSG_DiskDrive",
                                                     "3 VEXSG_DiskDrivecollection encountered exception: "));
    }
}

TEST_F(HardwareInformationAlone, AHostThatFailsWhileAFailureIsLoggedLosesOnlyTheLine) {
    machine.sysfsDisk("sda", 8, "8:0", {}).device("/dev/sda", DiskImage());
    with([&](HardwareInformation& provider) {
        session.host.startTrace();
        EXPECT_FALSE(provider.enumerateInstances(served));
        const auto creation = crossingOf(session.host.takeTrace(), "createInstance");
        session.host.setFaultPlan({creation, true, FaultKind::kTalException});
        EXPECT_FALSE(provider.enumerateInstances(served));
        session.host.clearFaultPlan();
    });
    EXPECT_FALSE(result.failure.has_value());
    const char* const line = "3 Physical disk information.. VEXSG_DiskDrive";
    EXPECT_THAT(linesOf(result.log), ElementsAre(line, line));
}

TEST_F(HardwareInformationAlone, TheCollectionForDynamicDiskGroupsLogsAndPublishesNothing) {
    with([](HardwareInformation& provider) { EXPECT_THAT(provider.enumDynamicDiskGroupInformation(), IsEmpty()); });
    EXPECT_THAT(linesOf(result.log), ElementsAre("3 Dynamic Disk Group information.."));
}

}  // namespace
}  // namespace diskmgt_col
