// DiskInfoAssociator: which instances are paired, in which roles and order, and the calls to the host.
#include "provider/disk_info_associator.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <boost/make_shared.hpp>
#include <stdexcept>

#include "tests/support/association_scene.h"
#include "tests/support/renamed_class.h"
#include "tests/support/scripted_instance.h"

namespace diskmgt_col {
namespace {

using diskmgt_test::AssociationScene;
using diskmgt_test::callsByPlugin;
using diskmgt_test::Classes;
using diskmgt_test::RenamedClass;
using diskmgt_test::ScriptedInstance;
using refhost::FaultKind;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::SizeIs;

constexpr auto kOnPartition = &DiskInfoAssociator::enumerateDiskBasedOnPartitionAssociations;
constexpr auto kPartitionOnDrive = &DiskInfoAssociator::enumeratePartitionPresentAssociations;
constexpr auto kDiskOnDrive = &DiskInfoAssociator::enumerateMediaPresentAssociations;

TEST(DiskInfoAssociator, EachPartitionNamesItsDriveAsAntecedentInKeyOrder) {
    AssociationScene scene;
    scene.partitions({"/dev/sdb1", "/dev/sda1"}).drives({"/dev/sdb", "/dev/sda"});
    EXPECT_THAT(scene.pairs(kPartitionOnDrive),
                ElementsAre(Pair("VEXSG_DiskDrive /dev/sda", "VEXSG_DiskPartition /dev/sda1"),
                            Pair("VEXSG_DiskDrive /dev/sdb", "VEXSG_DiskPartition /dev/sdb1")));
}

TEST(DiskInfoAssociator, APartitionIsPairedWithTheFirstDriveWhoseNameItContains) {
    AssociationScene scene;
    scene.partitions({"/dev/sdaa1"}).drives({"/dev/sdaa", "/dev/sda"});
    EXPECT_THAT(scene.pairs(kPartitionOnDrive),
                ElementsAre(Pair("VEXSG_DiskDrive /dev/sda", "VEXSG_DiskPartition /dev/sdaa1")));
}

TEST(DiskInfoAssociator, APartitionIsBasedOnTheFirstLogicalDiskThatLiesWithinIt) {
    AssociationScene scene;
    scene.partitions({"/dev/sda10"}).logicalDisks({"/dev/sda10", "/dev/sda1"});
    EXPECT_THAT(scene.pairs(kOnPartition),
                ElementsAre(Pair("VEXSG_DiskPartition /dev/sda10", "VEXSG_LogicalDisk /dev/sda1")));
}

TEST(DiskInfoAssociator, ALogicalDiskLongerThanThePartitionIsNotBasedOnIt) {
    AssociationScene scene;
    scene.partitions({"/dev/sda1"}).logicalDisks({"/dev/sda10"});
    EXPECT_THAT(scene.pairs(kOnPartition), IsEmpty());
}

TEST(DiskInfoAssociator, ADriveWithAnEmptyNameMatchesEverything) {
    AssociationScene scene;
    scene.partitions({"/dev/sda1"}).logicalDisks({"proc"}).drives({"/dev/sda", ""});
    EXPECT_THAT(scene.pairs(kPartitionOnDrive), ElementsAre(Pair("VEXSG_DiskDrive ", "VEXSG_DiskPartition /dev/sda1")));
    EXPECT_THAT(scene.pairs(kDiskOnDrive), ElementsAre(Pair("VEXSG_DiskDrive ", "VEXSG_LogicalDisk proc")));
}

TEST(DiskInfoAssociator, ALogicalDiskOnADriveHasTheDriveAsAntecedent) {
    AssociationScene scene;
    scene.logicalDisks({"tmpfs", "/dev/sda2"}).drives({"/dev/sda"});
    EXPECT_THAT(scene.pairs(kDiskOnDrive),
                ElementsAre(Pair("VEXSG_DiskDrive /dev/sda", "VEXSG_LogicalDisk /dev/sda2")));
}

TEST(DiskInfoAssociator, ARelativeLinkTargetIsNotMadeAbsolute) {
    AssociationScene scene;
    scene.logicalDisks({"/dev/mapper/vg-root"}).drives({"/dev/dm-0"});
    scene.machine.link("/dev/mapper/vg-root", "../dm-0");
    EXPECT_THAT(scene.pairs(kDiskOnDrive), IsEmpty());
}

TEST(DiskInfoAssociator, ARelativeLinkTargetIsSearchedUnchanged) {
    AssociationScene scene;
    scene.logicalDisks({"/dev/mapper/vg-root"}).drives({"dm-0"});
    scene.machine.link("/dev/mapper/vg-root", "../dm-0");
    EXPECT_THAT(scene.pairs(kDiskOnDrive),
                ElementsAre(Pair("VEXSG_DiskDrive dm-0", "VEXSG_LogicalDisk /dev/mapper/vg-root")));
}

TEST(DiskInfoAssociator, AnAbsoluteLinkTargetFindsItsDriveAndOnlyOneLevelIsRead) {
    AssociationScene scene;
    scene.logicalDisks({"/dev/disk/by-label/a", "/dev/disk/by-label/b"}).drives({"/dev/sda"});
    scene.machine.link("/dev/disk/by-label/a", "/dev/sda1").link("/dev/disk/by-label/b", "/dev/disk/by-label/a");
    EXPECT_THAT(scene.pairs(kDiskOnDrive),
                ElementsAre(Pair("VEXSG_DiskDrive /dev/sda", "VEXSG_LogicalDisk /dev/disk/by-label/a")));
}

TEST(DiskInfoAssociator, ALinkTargetIsCutAt256Bytes) {
    const std::string padding(248, 'x');
    AssociationScene scene;
    scene.logicalDisks({"/fits", "/is-cut"}).drives({"/dev/sda"});
    scene.machine.link("/fits", padding + "/dev/sda1").link("/is-cut", padding + "x/dev/sda");
    EXPECT_THAT(scene.pairs(kDiskOnDrive), ElementsAre(Pair("VEXSG_DiskDrive /dev/sda", "VEXSG_LogicalDisk /fits")));
}

TEST(DiskInfoAssociator, ALinkTargetOfOneLetterCounts) {
    AssociationScene scene;
    scene.logicalDisks({"/dev/root"}).drives({"q"});
    scene.machine.link("/dev/root", "q");
    EXPECT_THAT(scene.pairs(kDiskOnDrive), ElementsAre(Pair("VEXSG_DiskDrive q", "VEXSG_LogicalDisk /dev/root")));
}

TEST(DiskInfoAssociator, TheLinkIsReadWith256BytesAndOnlyWhenNoDriveMatches) {
    AssociationScene scene;
    scene.logicalDisks({"/dev/sda1", "proc"}).drives({"/dev/sda"});
    (void)scene.pairs(kDiskOnDrive);
    EXPECT_THAT(scene.machine.callTexts(), ElementsAre("readlink(proc, 256)"));
}

TEST(DiskInfoAssociator, LinksAreReadInKeyOrderOncePerLogicalDiskThatNoDriveMatches) {
    AssociationScene scene;
    scene.logicalDisks({"c", "/dev/sda1", "a", "b", "a"}).drives({"/dev/sda"});
    scene.machine.link("a", "/dev/sda2").link("c", "/dev/sda3");
    EXPECT_THAT(scene.pairs(kDiskOnDrive), SizeIs(4));
    EXPECT_THAT(scene.machine.callTexts(),
                ElementsAre("readlink(a, 256)", "readlink(a, 256)", "readlink(b, 256)", "readlink(c, 256)"));
}

TEST(DiskInfoAssociator, WithoutDrivesEveryLogicalDiskStillReadsItsLink) {
    AssociationScene scene;
    scene.logicalDisks({"a", "b"});
    EXPECT_THAT(scene.pairs(kDiskOnDrive), IsEmpty());
    EXPECT_THAT(scene.machine.callTexts(), SizeIs(2));
}

TEST(DiskInfoAssociator, BothQueriesRunInOrderEvenWhenTheFirstFindsNothing) {
    struct Row {
        AssociationScene::Operation operation;
        const char* outer;
        const char* inner;
    };
    for (const Row& row : {Row{kOnPartition, "VEXSG_DiskPartition", "VEXSG_LogicalDisk"},
                           Row{kPartitionOnDrive, "VEXSG_DiskPartition", "VEXSG_MediaAccessDevice"},
                           Row{kDiskOnDrive, "VEXSG_LogicalDisk", "VEXSG_MediaAccessDevice"}}) {
        AssociationScene scene;
        std::vector<refhost::TraceEntry> trace;
        (void)scene.publish([&](auto nameSpace, Classes&) {
            scene.session.host.startTrace();
            EXPECT_THAT((DiskInfoAssociator().*row.operation)(nameSpace), IsEmpty());
            trace = scene.session.host.takeTrace();
        });
        ASSERT_THAT(callsByPlugin(trace),
                    ElementsAre("getClass", "enumerateInstances", "getClass", "enumerateInstances"));
        EXPECT_EQ(std::get<std::string>(trace[0].arguments[0].second), row.outer);
        EXPECT_EQ(std::get<std::string>(trace[2].arguments[0].second), row.inner);
    }
}

TEST(DiskInfoAssociator, WithoutLogicalDisksTheDriveQueryStillRuns) {
    AssociationScene scene;
    scene.drives({"/dev/sda"});
    std::vector<refhost::TraceEntry> trace;
    (void)scene.publish([&](auto nameSpace, Classes&) {
        scene.session.host.startTrace();
        EXPECT_THAT(DiskInfoAssociator().enumerateMediaPresentAssociations(nameSpace), IsEmpty());
        trace = scene.session.host.takeTrace();
    });
    EXPECT_THAT(callsByPlugin(trace), ElementsAre("getClass", "enumerateInstances", "getClass", "enumerateInstances",
                                                  "getProperty", "getValue"));
    EXPECT_EQ(std::get<std::string>(trace[0].arguments[0].second), "VEXSG_LogicalDisk");
    EXPECT_EQ(std::get<std::string>(trace[2].arguments[0].second), "VEXSG_MediaAccessDevice");
}

TEST(DiskInfoAssociator, MakesOneLookupAndOneEnumerationPerIndexAndTwoReferencesPerPair) {
    AssociationScene scene;
    scene.partitions({"/dev/sda1", "/dev/sda2", "/dev/sdc1"}).drives({"/dev/sda"});
    std::vector<refhost::TraceEntry> trace;
    (void)scene.publish([&](auto nameSpace, Classes&) {
        scene.session.host.startTrace();
        (void)DiskInfoAssociator().enumeratePartitionPresentAssociations(nameSpace);
        trace = scene.session.host.takeTrace();
    });
    EXPECT_THAT(callsByPlugin(trace),
                ElementsAre("getClass", "enumerateInstances", "getProperty", "getValue", "getProperty", "getValue",
                            "getProperty", "getValue", "getClass", "enumerateInstances", "getProperty", "getValue",
                            "getReference", "getReference", "getReference", "getReference"));
}

TEST(DiskInfoAssociator, InstancesWithNullKeysMatchEachOther) {
    AssociationScene scene;
    scene.partitionWithoutKey().driveWithoutKey();
    EXPECT_THAT(scene.pairs(kPartitionOnDrive), ElementsAre(Pair("VEXSG_DiskDrive nameless", "VEXSG_DiskPartition")));
}

TEST(DiskInfoAssociator, EveryPartitionOfEqualKeyGetsAnAssociation) {
    AssociationScene scene;
    scene.partitions({"/dev/sda5", "/dev/sda5"}).drives({"/dev/sda"});
    EXPECT_THAT(scene.pairs(kPartitionOnDrive), SizeIs(2));
}

TEST(DiskInfoAssociator, TheIndexKeepsEqualKeysInTheHostsOrderAndCallsNullUnknown) {
    AssociationScene scene;
    scene.partitions({"b", "a", "b"}).partitionWithoutKey();
    std::vector<std::string> keys;
    (void)scene.publish([&](auto nameSpace, Classes&) {
        for (const auto& [key, instance] : DiskInfoAssociator().enumeratePhysicalDrivePartitions(nameSpace)) {
            keys.push_back(key);
            EXPECT_NE(instance, nullptr);
        }
    });
    EXPECT_THAT(keys, ElementsAre("Unknown", "a", "b", "b"));
}

TEST(DiskInfoAssociator, AKeyPropertyThatTheClassDoesNotDeclareThrows) {
    AssociationScene scene;
    scene.drives({"/dev/sda"});
    const auto result = scene.publish([&](auto nameSpace, Classes&) {
        (void)DiskInfoAssociator().enumerateInstancesByProperty(nameSpace, "VEXSG_DiskDrive", "Colour");
    });
    EXPECT_TRUE(result.failure.has_value());
}

TEST(DiskInfoAssociator, ANullClassOrPropertyThrowsAStandardException) {
    AssociationScene scene;
    scene.drives({"/dev/sda"});
    (void)scene.publish([&](auto nameSpace, Classes&) {
        const auto expectRefusal = [](const auto& where, const std::string& text) {
            EXPECT_THAT([&] { (void)DiskInfoAssociator().enumeratePhysicalDriveNames(where); },
                        ::testing::ThrowsMessage<std::runtime_error>(text));
        };
        scene.session.host.setFaultPlan({1, false, FaultKind::kNullResult});  // the class lookup
        expectRefusal(nameSpace, "the host gave no class");
        scene.session.host.setFaultPlan({3, false, FaultKind::kNullResult});  // the first instance's property lookup
        expectRefusal(nameSpace, "the host gave no property");
        scene.session.host.clearFaultPlan();
        expectRefusal(boost::shared_ptr<NVEXTAL20::ICIMNamespace>(), "the host gave no namespace");
    });
}

class KeyProperty final : public NVEXTAL20::ICIMProperty {
public:
    NVEXTAL20::TCIMValue::TCIMType GetType(NVEXTAL20::TCIMOptions& /*options*/) override {
        return NVEXTAL20::TCIMValue::TCIMType("string");
    }
    bool IsArray(NVEXTAL20::TCIMOptions& /*options*/) override { return false; }
    NVEXTAL20::TCIMValue GetValue(NVEXTAL20::TCIMOptions& /*options*/) override { return {}; }
};

/// Has three instances; records what it delivers and which keys are read.
class WatchedClass final : public RenamedClass {
public:
    WatchedClass() : RenamedClass(nullptr, "") {}
    void EnumerateInstances(boost::function<bool(boost::shared_ptr<NVEXTAL20::ICIMInstance>)> callback, int /*flag*/,
                            NVEXTAL20::TCIMOptions& /*options*/) override {
        for (int i = 0; i < 3; ++i) {
            const auto instance = boost::make_shared<ScriptedInstance>();
            instance->onGetProperty = [this](const std::string& key) {
                events.push_back("key " + key);
                return boost::make_shared<KeyProperty>();
            };
            EXPECT_TRUE(callback(instance));
            events.emplace_back("instance");
        }
        events.emplace_back("end");
    }

    std::vector<std::string> events;
};

class WatchedNamespace final : public NVEXTAL20::ICIMNamespace {
public:
    boost::shared_ptr<NVEXTAL20::ICIMClass> GetClass(const std::string& /*className*/,
                                                     NVEXTAL20::TCIMOptions& /*options*/) override {
        return cls;
    }

    const boost::shared_ptr<WatchedClass> cls = boost::make_shared<WatchedClass>();
};

TEST(DiskInfoAssociator, TheWholeEnumerationIsGatheredBeforeAnyKeyIsRead) {
    const auto watched = boost::make_shared<WatchedNamespace>();
    EXPECT_THAT(DiskInfoAssociator().enumeratePhysicalDriveNames(watched), SizeIs(3));
    EXPECT_THAT(watched->cls->events,
                ElementsAre("instance", "instance", "instance", "end", "key Name", "key Name", "key Name"));
}

/// A class of any name with one null instance.
class HollowClass final : public RenamedClass {
public:
    HollowClass() : RenamedClass(nullptr, "") {}
    void EnumerateInstances(boost::function<bool(boost::shared_ptr<NVEXTAL20::ICIMInstance>)> callback, int /*flag*/,
                            NVEXTAL20::TCIMOptions& /*options*/) override {
        (void)callback(nullptr);
    }
};

class HollowNamespace final : public NVEXTAL20::ICIMNamespace {
public:
    boost::shared_ptr<NVEXTAL20::ICIMClass> GetClass(const std::string& /*className*/,
                                                     NVEXTAL20::TCIMOptions& options) override {
        for (const auto& [name, value] : options) lookupOptions.emplace_back(name, static_cast<std::string>(value));
        return boost::make_shared<HollowClass>();
    }

    std::vector<std::pair<std::string, std::string>> lookupOptions;
};

TEST(DiskInfoAssociator, LooksClassesUpInTheContextOfThePluginAndRefusesANullInstance) {
    const auto hollow = boost::make_shared<HollowNamespace>();
    EXPECT_THAT([&] { (void)DiskInfoAssociator().enumerateLogicalDriveNames(hollow); },
                ::testing::ThrowsMessage<std::runtime_error>("the host enumerated no instance"));
    EXPECT_THAT(hollow->lookupOptions, ElementsAre(Pair("nspID", "plugin")));
}

TEST(DiskInfoAssociator, AFilledStoreChangesNothing) {
    LDMStore store;
    store["any"].texts[0]["name"] = "text";
    AssociationScene scene;
    scene.partitions({"/dev/sda1"}).drives({"/dev/sda"});
    (void)scene.publish([&](auto nameSpace, Classes&) {
        EXPECT_THAT(DiskInfoAssociator(store).enumeratePartitionPresentAssociations(nameSpace), SizeIs(1));
    });
}

}  // namespace
}  // namespace diskmgt_col
