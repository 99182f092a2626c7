// HardwareAssociations: the eight rows, their lines, and that failures log nothing.
#include "provider/hardware_associations.h"

#include <gmock/gmock.h>

#include "provider/reference_builder.h"
#include "tests/support/association_scene.h"
#include "tests/support/scripted_instance.h"
#include "tests/support/silent_failure.h"

namespace diskmgt_col {
namespace {

using diskmgt_test::AssociationScene;
using diskmgt_test::callsByPlugin;
using diskmgt_test::Classes;
using diskmgt_test::column;
using diskmgt_test::crossingOf;
using diskmgt_test::DiskImage;
using diskmgt_test::FakeOs;
using diskmgt_test::HostSession;
using diskmgt_test::HostWithPlugin;
using diskmgt_test::linesOf;
using diskmgt_test::ScriptedClass;
using diskmgt_test::ScriptedInstance;
using diskmgt_test::SilentHostFailure;
using diskmgt_test::SilentStandardFailure;
using refhost::FaultKind;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::SizeIs;

struct TextCase {
    const char* className;
    const char* text;
};

class AssociationTexts : public ::testing::TestWithParam<TextCase> {};

TEST_P(AssociationTexts, DebugTextsAreExact) {
    FakeOs machine;
    HostWithPlugin session;
    const auto result = session.host.request({GetParam().className});
    EXPECT_THAT(linesOf(result.log), ElementsAre(std::string("3 ") + GetParam().text));
    EXPECT_THAT(session.host.instances(GetParam().className), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    HardwareAssociations, AssociationTexts,
    ::testing::Values(TextCase{"VEXSG_MediaPresent", "MediaPresent associations..."},
                      TextCase{"VEXSG_PartitionPresent", "PartitionPresent associations..."},
                      TextCase{"VEXSG_LogicalDiskBasedOnPartition", "LogicalDiskBasedOnPartition associations..."},
                      TextCase{"VEXSG_LogicalDiskBasedOnExtent", "LogicalDiskBasedOnExtent associations..."},
                      TextCase{"VEXSG_DynamicVolumeBasedOnExtent", "DynamicVolumeBasedOnExtent associations... "},
                      TextCase{"VEXSG_DynamicExtentBasedOn", "DynamicExtentBasedOn associations... "},
                      TextCase{"VEXSG_DriveInDynamicDiskGroup", "DriveInDiskGroup associations... "},
                      TextCase{"VEXSG_DynamicExtentInDiskGroup", "DynamicExtentInDiskGroup associations... "}),
    [](const auto& row) { return row.param.className; });

/// A disk with three partitions, the first of them mounted.
class HardwareAssociationsOn : public ::testing::Test {
protected:
    HardwareAssociationsOn() {
        machine.sysfsDisk("sda", 2048, "8:0", {"sda1"});
        machine.device("/dev/sda", DiskImage().slot(0, 0x83, 64, 1).slot(1, 0x83, 65, 1).slot(2, 0x83, 66, 1));
        machine.file("/etc/mtab", "/dev/sda1 / ext4 rw 0 0\n");
        (void)session.host.request({"VEXSG_DiskDrive", "VEXSG_DiskPartition", "VEXSG_LogicalDisk"});
    }

    std::vector<refhost::TraceEntry> cleanTrace(const char* className) {
        session.host.startTrace();
        (void)session.host.request({className});
        return session.host.takeTrace();
    }

    FakeOs machine;
    HostWithPlugin session;
};

TEST_F(HardwareAssociationsOn, ThreePartitionsOnOneDriveMakeThreeAssociationsInKeyOrder) {
    (void)session.host.request({"VEXSG_PartitionPresent"});
    EXPECT_THAT(column(session.host, "VEXSG_PartitionPresent", "Dependent"),
                ElementsAre(HasSubstr("/dev/sda1"), HasSubstr("/dev/sda2"), HasSubstr("/dev/sda3")));
    for (const std::string& drive : column(session.host, "VEXSG_PartitionPresent", "Antecedent")) {
        EXPECT_THAT(drive, HasSubstr("VEXSG_DiskDrive."));
        EXPECT_THAT(drive, HasSubstr("DeviceID=\"/dev/sda\""));
    }
}

TEST_F(HardwareAssociationsOn, EachComputedClassReadsWhatWasPublishedBefore) {
    (void)session.host.request({"VEXSG_LogicalDiskBasedOnPartition", "VEXSG_MediaPresent"});
    EXPECT_THAT(column(session.host, "VEXSG_LogicalDiskBasedOnPartition", "Antecedent"),
                ElementsAre(HasSubstr("VEXSG_DiskPartition.")));
    EXPECT_THAT(column(session.host, "VEXSG_LogicalDiskBasedOnPartition", "Dependent"),
                ElementsAre(HasSubstr("VEXSG_LogicalDisk.")));
    EXPECT_THAT(column(session.host, "VEXSG_MediaPresent", "Antecedent"), ElementsAre(HasSubstr("VEXSG_DiskDrive.")));
    EXPECT_THAT(column(session.host, "VEXSG_MediaPresent", "Dependent"), ElementsAre(HasSubstr("VEXSG_LogicalDisk.")));
}

TEST_F(HardwareAssociationsOn, InstancesOfTheSameRequestAreSeen) {
    session.host.clear();
    (void)session.host.request({"VEXSG_DiskDrive", "VEXSG_DiskPartition", "VEXSG_PartitionPresent"});
    EXPECT_THAT(session.host.instances("VEXSG_PartitionPresent"), SizeIs(3));
}

TEST_F(HardwareAssociationsOn, WithoutPublishedInstancesThereAreNoAssociationsAndNoMessage) {
    session.host.clear();
    const auto result = session.host.request({"VEXSG_PartitionPresent"});
    EXPECT_THAT(session.host.instances("VEXSG_PartitionPresent"), IsEmpty());
    EXPECT_THAT(result.log, SizeIs(1));
}

TEST_F(HardwareAssociationsOn, ABuilderThatThrowsOnTheSecondOfThreeKeepsTheFirst) {
    const auto creation = crossingOf(cleanTrace("VEXSG_PartitionPresent"), "createInstance", 2);
    for (const FaultKind kind : {FaultKind::kStandardException, FaultKind::kForeignException}) {
        session.host.setFaultPlan({creation, false, kind});
        const auto result = session.host.request({"VEXSG_PartitionPresent"});
        session.host.clearFaultPlan();
        EXPECT_THAT(column(session.host, "VEXSG_PartitionPresent", "Dependent"), ElementsAre(HasSubstr("/dev/sda1")));
        EXPECT_FALSE(result.failure.has_value());
        EXPECT_THAT(linesOf(result.log), ElementsAre("3 PartitionPresent associations..."));
    }
}

TEST_F(HardwareAssociationsOn, AHostFailureInOneInstanceIsLoggedAndTheOthersAreBuilt) {
    const auto trace = cleanTrace("VEXSG_PartitionPresent");
    for (const char* const step : {"createInstance", "commit"}) {
        SCOPED_TRACE(step);
        session.host.setFaultPlan({crossingOf(trace, step, 2), false, FaultKind::kTalException});
        const auto result = session.host.request({"VEXSG_PartitionPresent"});
        session.host.clearFaultPlan();
        EXPECT_THAT(column(session.host, "VEXSG_PartitionPresent", "Dependent"),
                    ElementsAre(HasSubstr("/dev/sda1"), HasSubstr("/dev/sda3")));
        EXPECT_THAT(
            linesOf(result.log),
            ElementsAre("3 PartitionPresent associations...",
                        HasSubstr("3 Attempted creation of instance for VEXSG_PartitionPresent threw exception ")));
    }
}

TEST_F(HardwareAssociationsOn, AFailureLeavesNoLineAndNoException) {
    const auto lookup = crossingOf(cleanTrace("VEXSG_PartitionPresent"), "getClass");
    for (const FaultKind kind : {FaultKind::kTalException, FaultKind::kStandardException, FaultKind::kForeignException,
                                 FaultKind::kNullResult}) {
        session.host.setFaultPlan({lookup, false, kind});
        const auto result = session.host.request({"VEXSG_PartitionPresent"});
        session.host.clearFaultPlan();
        EXPECT_FALSE(result.failure.has_value());
        EXPECT_THAT(linesOf(result.log), ElementsAre("3 PartitionPresent associations..."));
        EXPECT_THAT(session.host.instances("VEXSG_PartitionPresent"), IsEmpty());
    }
}

TEST_F(HardwareAssociationsOn, AFailingNameQueryEndsTheRequest) {
    const auto query = crossingOf(cleanTrace("VEXSG_PartitionPresent"), "className");
    session.host.setFaultPlan({query, false, FaultKind::kTalException});
    EXPECT_TRUE(session.host.request({"VEXSG_PartitionPresent"}).failure.has_value());
    session.host.clearFaultPlan();
}

TEST(HardwareAssociations, TheTableHasEightRowsAndEveryResultIsZero) {
    FakeOs machine;
    HostSession session;
    (void)session.insideRequest({"VEXSG_PartitionPresent", "VEXSG_DynamicExtentBasedOn", "CIM_BasedOn"},
                                [&](auto nameSpace, Classes& classes) {
                                    HardwareAssociations provider(nameSpace);
                                    EXPECT_THAT(provider.getFuncPtrList(), SizeIs(8));
                                    for (const auto& cls : classes) EXPECT_EQ(provider.associate(cls), 0);
                                });
    EXPECT_THAT(linesOf(session.host.log()),
                ElementsAre("3 PartitionPresent associations...", "3 DynamicExtentBasedOn associations... "));
}

TEST(HardwareAssociations, TheResultIsZeroAfterAFailureToo) {
    AssociationScene scene;
    scene.partitions({"/dev/sda1"}).drives({"/dev/sda"});
    (void)scene.publish([](auto, Classes&) {});
    for (const FaultKind kind :
         {FaultKind::kTalException, FaultKind::kStandardException, FaultKind::kForeignException}) {
        int answer = -1;
        bool isRaised = false;
        (void)scene.session.insideRequest({"VEXSG_PartitionPresent"}, [&](auto nameSpace, Classes& classes) {
            HardwareAssociations provider(nameSpace);
            scene.session.host.startTrace();
            (void)provider.associate(classes[0]);
            const auto lookup = crossingOf(scene.session.host.takeTrace(), "getClass");
            isRaised = lookup > 0;
            scene.session.host.setFaultPlan({lookup, false, kind});
            answer = provider.associate(classes[0]);
            scene.session.host.clearFaultPlan();
        });
        EXPECT_TRUE(isRaised);
        EXPECT_EQ(answer, 0);
        EXPECT_THAT(scene.session.host.instances("VEXSG_PartitionPresent"), SizeIs(1));  // of the first call
    }
}

TEST(HardwareAssociations, AFailureWithoutATextEndsTheClassInSilence) {
    AssociationScene scene;
    scene.partitions({"/dev/sda1"}).drives({"/dev/sda"});
    (void)scene.publish([](auto, Classes&) {});
    const auto result = scene.session.insideRequest({"VEXSG_PartitionPresent"}, [&](auto nameSpace, Classes& classes) {
        const auto cls = boost::make_shared<ScriptedClass>(
            classes[0], "VEXSG_PartitionPresent",
            []() -> boost::shared_ptr<NVEXTAL20::ICIMInstance> { throw SilentStandardFailure(); });
        EXPECT_EQ(HardwareAssociations(nameSpace).associate(cls), 0);
    });
    EXPECT_FALSE(result.failure.has_value());
    EXPECT_THAT(linesOf(result.log), ElementsAre("3 PartitionPresent associations..."));
}

TEST(ReferenceBuilder, AnInstanceIsRequestedEvenForAnEmptyMap) {
    AssociationScene scene;
    (void)scene.session.insideRequest({"VEXSG_PartitionPresent"}, [&](auto, Classes& classes) {
        ReferenceMap empty;
        scene.session.host.startTrace();
        EXPECT_FALSE(ReferenceBuilder()(classes[0], empty));
        EXPECT_THAT(callsByPlugin(scene.session.host.takeTrace()), ElementsAre("createInstance"));
    });
}

TEST(ReferenceBuilder, AFailureWithoutATextIsLoggedWithoutIt) {
    AssociationScene scene;
    const auto result = scene.session.insideRequest({"VEXSG_PartitionPresent"}, [&](auto, Classes& classes) {
        const auto instance = boost::make_shared<ScriptedInstance>();
        instance->onCommit = [] { throw SilentHostFailure(); };
        const auto cls =
            boost::make_shared<ScriptedClass>(classes[0], "VEXSG_PartitionPresent", [&] { return instance; });
        ReferenceMap references = {{"Antecedent", NVEXTAL20::TCIMValue()}};
        EXPECT_FALSE(ReferenceBuilder()(cls, references));
    });
    EXPECT_FALSE(result.failure.has_value());
    EXPECT_THAT(linesOf(result.log),
                ElementsAre("3 Attempted creation of instance for VEXSG_PartitionPresent threw exception "));
}

TEST(ReferenceBuilder, AnEmptyMapOrARefusedInstanceCreatesAndLogsNothing) {
    AssociationScene scene;
    const auto result = scene.session.insideRequest({"VEXSG_PartitionPresent"}, [&](auto, Classes& classes) {
        ReferenceMap empty;
        EXPECT_FALSE(ReferenceBuilder()(classes[0], empty));
        ReferenceMap filled = {{"Antecedent", NVEXTAL20::TCIMValue()}};
        scene.session.host.setFaultPlan({1, false, FaultKind::kNullResult});
        EXPECT_FALSE(ReferenceBuilder()(classes[0], filled));
        scene.session.host.clearFaultPlan();
    });
    EXPECT_THAT(result.log, IsEmpty());
    EXPECT_THAT(scene.session.host.instances("VEXSG_PartitionPresent"), IsEmpty());
}

TEST(ReferenceBuilder, AnUndeclaredRoleAbandonsTheWholeInstance) {
    AssociationScene scene;
    scene.drives({"/dev/sda"});
    const auto result = scene.session.insideRequest({"VEXSG_PartitionPresent"}, [&](auto, Classes& classes) {
        ReferenceMap references = {{"Antecedent", NVEXTAL20::TCIMValue()}, {"Supporter", NVEXTAL20::TCIMValue()}};
        EXPECT_FALSE(ReferenceBuilder()(classes[0], references));
    });
    EXPECT_THAT(scene.session.host.instances("VEXSG_PartitionPresent"), IsEmpty());
    EXPECT_THAT(linesOf(result.log),
                ElementsAre(HasSubstr("3 Attempted creation of instance for VEXSG_PartitionPresent threw exception ")));
}

}  // namespace
}  // namespace diskmgt_col
