// What explain says of hand-made accounts: verdicts, use, names, pairs and advice.
#include "cli/explain/explain_machine.h"
#include "cli/explain/explain_named.h"
#include "cli/tables/explain_text.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <functional>

#include "tests/unit/inventory/joined_scene.h"
#include "text/wording.h"

namespace diskmgt {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

constexpr std::uint64_t kMiB = 1 << 20;
constexpr unsigned kGptData = 17;

std::uint64_t lastBlock(std::uint64_t start, std::uint64_t size) { return (start + size) / 512 - 1; }

struct Explanations : ::testing::Test {
    void diskWithOnePartition(const std::string& name, const std::string& partition, const std::string& publishedAs) {
        scene.disk(name, 100 * kMiB).tableCount = 1;
        scene.collection.facts.devices->devices.back().kernelPartitions = {partition};
        scene.partition(partition, 1, kMiB, 50 * kMiB);
        scene.cim.drive("/dev/" + name, 100 * kMiB, 1);
        scene.cim.gpt(publishedAs, 50 * kMiB, lastBlock(kMiB, 50 * kMiB), kGptData);
        scene.cim.partitionOn("/dev/" + name, publishedAs);
    }
    /// To be listed before the disks, whose names come behind it.
    void volume(const std::string& name, const std::string& volumeName) {
        DeviceFacts& facts = scene.disk(name, 10 * kMiB, false);
        facts.nameVerdict = diskmgt_col::EntryName::kDeviceMapper;
        facts.sizeBytes.reset();
        facts.isTried = false;
        diskmgt_machine::BlockDevice& device = scene.machine.blocks.devices.back();
        device.kind = diskmgt_machine::Kind::kLvm;
        device.volume = volumeName;
    }
    void lay(const std::string& upper, const std::string& lower) {
        diskmgt_machine::BlockDevices& blocks = scene.machine.blocks;
        const std::size_t above = blocks.find(upper).value();
        const std::size_t below = blocks.find(lower).value();
        blocks.devices[above].on = {below};
        blocks.devices[below].carries.push_back(above);
    }
    void volumeOnPartition() {
        volume("dm-0", "vg0-root");
        diskWithOnePartition("sda", "sda1", "/dev/sda1");
        lay("dm-0", "sda1");
    }

    Explanation whole() {
        const ServerAccount account = scene.joined();
        return explainMachine(ExplainContext(account));
    }
    Explanation about(const std::vector<std::string>& operands) {
        const ServerAccount account = scene.joined();
        return explainNamed(ExplainContext(account), operands);
    }
    DeviceExplanation device(const std::string& operand) { return about({operand}).devices.at(0); }

    static std::string textOf(const Explanation& explanation) { return explanationText(explanation, {}, 0); }
    static std::string diagnosisOf(const Explanation& explanation) { return joined(explanation.diagnosis, " "); }

    JoinedScene scene;
};

TEST_F(Explanations, ADiskUnderAVolumeIsInUseByIt) {
    volumeOnPartition();
    scene.mount("dm-0", "/dev/mapper/vg0-root", "/mnt/dm");
    const Explanation explanation = about({"sda"});
    EXPECT_THAT(textOf(explanation), HasSubstr("In use by dm-0 (vg0-root), mounted on /mnt/dm. Content not known."));
    EXPECT_THAT(explanation.devices[0].usage.holders, ElementsAre("dm-0"));
}

TEST_F(Explanations, ADeviceWithoutATraceOfUseIsNotSeenInUse) {
    diskWithOnePartition("sda", "sda1", "/dev/sda1");
    EXPECT_THAT(textOf(about({"sda1"})), HasSubstr("Not seen in use. Content not known."));
}

TEST_F(Explanations, AnExtendedPartitionHoldsOthersAndNothingIsSaidOfItsUse) {
    scene.disk("sda", 100 * kMiB);
    scene.partition("sda1", 1, kMiB, 1024);
    scene.partition("sda5", 5, 2 * kMiB, 10 * kMiB);
    scene.mount("sda5", "/dev/sda5", "/var");
    const std::string text = textOf(about({"sda1"}));
    EXPECT_THAT(text, HasSubstr("Use:         Holds sda5.\n"));
    EXPECT_THAT(text, Not(HasSubstr("seen in use")));
}

TEST_F(Explanations, ASourceWithoutANumberOfTheDeviceIsNoUse) {
    diskWithOnePartition("sda", "sda1", "/dev/sda1");
    scene.mount("", "/dev/sda1", "/memory", "tmpfs");
    const Explanation explanation = about({"/dev/sda1"});
    EXPECT_THAT(explanation.devices[0].mounts, IsEmpty());
    EXPECT_THAT(explanation.mounts, IsEmpty());
    EXPECT_THAT(textOf(explanation),
                HasSubstr("Not seen in use. Only the source of what is mounted on /memory names it."));
}

TEST_F(Explanations, AVolumeIsNamedByItsVolumeOrItsKernelName) {
    volumeOnPartition();
    for (const char* const name : {"vg0-root", "/dev/mapper/vg0-root", "dm-0"}) {
        const DeviceExplanation found = device(name);
        EXPECT_EQ(found.path, "/dev/dm-0");
        EXPECT_EQ(rulesOf(found.drive.reasons).front(), "dm-prefix");
        EXPECT_THAT(found.drive.reasons.front().text, HasSubstr("device-mapper volume (LVM vg0-root)"));
        EXPECT_EQ(found.liesOn, (Layers{{"sda1"}, {"sda"}}));
    }
}

TEST_F(Explanations, APartitionIsFoundByTheNameOfTheKernelAndOfCim) {
    diskWithOnePartition("md0", "md0p1", "/dev/md01");
    for (const char* const name : {"md0p1", "/dev/md01"}) {
        const DeviceExplanation found = device(name);
        EXPECT_EQ(found.path, "/dev/md0p1");
        EXPECT_EQ(found.reportedAs, "/dev/md01");
        EXPECT_THAT(rulesOf(found.partitions.reasons), Contains("other-name"));
    }
    EXPECT_THAT(textOf(about({"md0p1"})), HasSubstr("Reported as /dev/md01. The plug-in names it /dev/md01."));
}

TEST_F(Explanations, SlotsThatAreNumberedInOrderAreToldApart) {
    scene.disk("sds", 100 * kMiB).tableCount = 2;
    scene.partition("sds2", 2, kMiB, kMiB);
    scene.partition("sds3", 3, 3 * kMiB, kMiB);
    scene.cim.drive("/dev/sds", 100 * kMiB, 2);
    scene.cim.gpt("/dev/sds1", kMiB, lastBlock(kMiB, kMiB), kGptData);
    scene.cim.gpt("/dev/sds2", kMiB, lastBlock(3 * kMiB, kMiB), kGptData);
    EXPECT_THAT(device("sds2").partitions.reasons.at(0).text,
                HasSubstr("the kernel's sds2 is its /dev/sds1. Its /dev/sds2 is the kernel's sds3."));
}

TEST_F(Explanations, ADeviceThatOnlyCimHasKeepsItsRules) {
    DeviceFacts& disk = scene.disk("sda", kMiB);
    disk.tableCount = 1;
    disk.hasBootSignature = false;
    scene.cim.drive("/dev/sda", kMiB, 0);
    scene.cim.mbr("/dev/sda1", 5 * kMiB, 1, 0x41);
    const DeviceExplanation found = device("sda1");
    EXPECT_TRUE(found.partitions.isReported);
    EXPECT_EQ(found.partitionOf, "/dev/sda");
    EXPECT_THAT(rulesOf(found.partitions.reasons),
                ElementsAre("larger-than-drive", "no-boot-signature", "no-such-device"));
    EXPECT_EQ(whole().cimOnly.at(0).name, "/dev/sda1");
}

TEST_F(Explanations, WhatExistsNowhereHasASentenceAndTheRestIsExplained) {
    diskWithOnePartition("sda", "sda1", "/dev/sda1");
    const Explanation explanation = about({"sda", "sda7", "nix"});
    EXPECT_EQ(explanation.devices.size(), 1U);
    EXPECT_THAT(explanation.unknownNames,
                ElementsAre("nothing here is named \"sda7\": no device, mount or path; sda has sda1",
                            HasSubstr("nothing here is named \"nix\": no device, mount or path")));
}

TEST_F(Explanations, AFileSystemIsLinkedToNoDriveBecauseOfItsName) {
    volumeOnPartition();
    scene.mount("dm-0", "/dev/mapper/vg0-root", "/");
    scene.cim.mounted("/dev/mapper/vg0-root", {"/"});
    const MountExplanation mount = about({"/"}).mounts.at(0);
    ASSERT_THAT(rulesOf(mount.logicalDisk.reasons), Contains("not-linked"));
    EXPECT_EQ(mount.liesOn, (Layers{{"dm-0"}, {"sda1"}, {"sda"}}));
    EXPECT_THAT(textOf(about({"/"})), HasSubstr("no drive's name lies in /dev/mapper/vg0-root."));
}

TEST_F(Explanations, AWrongPairSaysWhatTheFileSystemReallyLiesOn) {
    scene.disk("sda", 100 * kMiB).tableCount = 2;
    scene.partition("sda1", 1, kMiB, kMiB);
    scene.partition("sda15", 15, 3 * kMiB, kMiB);
    scene.cim.drive("/dev/sda", 100 * kMiB, 2);
    scene.cim.gpt("/dev/sda1", kMiB, lastBlock(kMiB, kMiB), kGptData);
    scene.cim.gpt("/dev/sda15", kMiB, lastBlock(3 * kMiB, kMiB), kGptData);
    scene.mount("sda1", "/dev/sda1", "/");
    scene.mount("sda15", "/dev/sda15", "/boot/efi");
    scene.cim.mounted("/dev/sda1", {"/"});
    scene.cim.mounted("/dev/sda15", {"/boot/efi"});
    for (const char* const partition : {"/dev/sda1", "/dev/sda15"})
        scene.cim.mountedOnPartition(partition, "/dev/sda1");
    for (const char* const source : {"/dev/sda1", "/dev/sda15"}) scene.cim.mountedOnDrive("/dev/sda", source);
    const std::string wrong =
        "CIM says that file system /dev/sda1 (/) lies on partition /dev/sda15, because one name contains the other. "
        "It lies on sda1, on sda. On /dev/sda15 lies /boot/efi.";
    EXPECT_THAT(whole().diagnosis, Contains(wrong));
    const Explanation named = about({"/dev/sda15"});
    EXPECT_THAT(named.mounts.at(0).logicalDisk.reasons.back().text,
                "It is linked to no partition: CIM puts /dev/sda1 on /dev/sda15 instead, because one name contains the "
                "other.");
}

TEST_F(Explanations, ADriveThatOnlyContainsTheNameIsAWrongPair) {
    scene.disk("sda", kMiB);
    scene.disk("sdaa", kMiB, false);
    scene.cim.drive("/dev/sda", kMiB, 0);
    scene.cim.drive("/dev/sdaa", kMiB, 0);
    scene.mount("sdaa", "/dev/sdaa", "/data");
    scene.cim.mounted("/dev/sdaa", {"/data"});
    scene.cim.mountedOnDrive("/dev/sda", "/dev/sdaa");
    const MountExplanation mount = about({"/dev/sdaa"}).mounts.at(0);
    ASSERT_EQ(mount.pairs.size(), 1U);
    EXPECT_FALSE(mount.pairs[0].isRight);
    EXPECT_THAT(mount.pairs[0].text, HasSubstr("It lies on sdaa."));
}

/// The diagnosis of a disk with a table of one partition that the kernel does not have.
std::string diagnosisOfStaleTable(const std::function<void(DeviceFacts&)>& change, bool isMounted = false) {
    JoinedScene scene;
    scene.disk("sda", 100 * kMiB).tableCount = 1;
    scene.cim.drive("/dev/sda", 100 * kMiB, 0);
    scene.cim.gpt("/dev/sda1", 50 * kMiB, lastBlock(kMiB, 50 * kMiB), kGptData);
    if (isMounted) scene.mount("sda", "/dev/sda", "/data");
    const ServerAccount account = scene.joined();
    change(scene.collection.facts.devices->devices.front());  // after joining, which notes what the kernel knows
    return joined(explainMachine(ExplainContext(account)).diagnosis, " ");
}

TEST(ExplanationsOfTables, ReadingTheTableAgainIsAdvisedOnlyForATableThatCouldBeOne) {
    const auto isAdvised = HasSubstr("rereadpt");
    EXPECT_THAT(diagnosisOfStaleTable([](DeviceFacts&) {}), isAdvised);
    EXPECT_THAT(diagnosisOfStaleTable([](DeviceFacts& facts) { facts.hasBootSignature = false; }), Not(isAdvised));
    for (const char* const content : {"crypto_LUKS", "LVM2_member", "linux_raid_member", "vfat"})
        EXPECT_THAT(diagnosisOfStaleTable([content](DeviceFacts& facts) { facts.content = content; }), Not(isAdvised));
    EXPECT_THAT(diagnosisOfStaleTable([](DeviceFacts& facts) { facts.logicalSectorSize = 4096; }), Not(isAdvised));
    EXPECT_THAT(diagnosisOfStaleTable([](DeviceFacts& facts) { facts.isHiddenPath = true; }), Not(isAdvised));
    EXPECT_THAT(diagnosisOfStaleTable([](DeviceFacts& facts) { facts.isHeld = true; }), Not(isAdvised));
    EXPECT_THAT(diagnosisOfStaleTable([](DeviceFacts&) {}, true), HasSubstr("while a disk is in use"));
}

TEST(ExplanationsOfMedia, AnOpenWithoutAMediumIsARuleOfItsOwn) {
    for (const int error : {ENOMEDIUM, ENXIO, ENODEV}) {
        JoinedScene empty;
        DeviceFacts& facts = empty.disk("sr0", kMiB, false);
        facts.openError = error;
        facts.sizeBytes.reset();
        const ServerAccount account = empty.joined();
        const Explanation explanation = explainMachine(ExplainContext(account));
        EXPECT_THAT(rulesOf(explanation.devices.at(0).drive.reasons), ElementsAre("no-medium"));
        EXPECT_TRUE(explanation.devices[0].drive.isKnown);
    }
}

TEST_F(Explanations, AHiddenPathIsNeverCalledAContainersLack) {
    DeviceFacts& path = scene.disk("nvme0c0n1", kMiB, false);
    path.openError = ENOENT;
    path.nodeNumber.reset();
    path.sizeBytes.reset();
    scene.machine.blocks.devices[0].kind = diskmgt_machine::Kind::kPath;
    const Explanation explanation = whole();
    EXPECT_THAT(rulesOf(explanation.devices.at(0).drive.reasons), ElementsAre("hidden-path"));
    EXPECT_THAT(diagnosisOf(explanation), Not(HasSubstr("container")));
}

TEST_F(Explanations, APlugInThatContradictsTheRulesIsNamed) {
    scene.disk("sda", kMiB);
    const Explanation explanation = whole();
    EXPECT_THAT(rulesOf(explanation.devices.at(0).drive.reasons), Contains("plug-in-disagrees"));
    EXPECT_THAT(diagnosisOf(explanation), HasSubstr("differs from what is explained here for /dev/sda."));
}

TEST_F(Explanations, AnEarlyEndLeavesTheKernelsPart) {
    diskWithOnePartition("sda", "sda1", "/dev/sda1");
    scene.mount("sda1", "/dev/sda1", "/");
    scene.collection.facts.devices.reset();
    scene.cim.published.missingClasses = inventoryClasses();
    scene.cim.published.classes.clear();
    scene.collection.end = {"crashed", "the plug-in crashed", "It crashed.", kPluginUnusable};
    const Explanation explanation = whole();
    const DeviceExplanation& disk = explanation.devices.at(0);
    EXPECT_FALSE(disk.drive.isKnown);
    EXPECT_FALSE(disk.partitions.isKnown);
    EXPECT_THAT(disk.usage.mountPoints, ElementsAre("/"));
    EXPECT_FALSE(explanation.mounts.at(0).logicalDisk.isKnown);
    EXPECT_THAT(diagnosisOf(explanation), HasSubstr("What CIM reports is not known, or not all of it. It crashed."));
}

TEST_F(Explanations, AClassThatWasNotAskedForLeavesWhatTheRulesSay) {
    scene.disk("sda", kMiB);
    scene.cim.published.missingClasses = {"VEXSG_DiskDrive"};
    scene.cim.published.classes.erase(scene.cim.published.classes.begin());
    scene.collection.facts.leftOut["VEXSG_DiskDrive"] = {"not-a-block-device", "a FIFO", "/dev/sdb is a FIFO"};
    const DeviceExplanation disk = whole().devices.at(0);
    EXPECT_FALSE(disk.drive.isKnown);
    EXPECT_TRUE(disk.drive.isReported);
}

TEST_F(Explanations, AMountThatDoesNotAnswerIsNamed) {
    scene.mount("", "nas:/home", "/home", "nfs4");
    (*scene.collection.facts.figures)[0].outcome = MountFigure::Outcome::kNoAnswer;
    scene.cim.published.missingClasses = {"VEXSG_LogicalDisk"};
    scene.collection.facts.leftOut["VEXSG_LogicalDisk"] = {"mount-does-not-answer", "a mount does not answer",
                                                           "silent"};
    const Explanation explanation = whole();
    EXPECT_FALSE(explanation.mounts.at(0).logicalDisk.isKnown);
    EXPECT_THAT(rulesOf(explanation.mounts[0].logicalDisk.reasons), ElementsAre("mount-does-not-answer"));
    EXPECT_THAT(diagnosisOf(explanation), HasSubstr("/home (nfs4)"));
}

TEST_F(Explanations, DisksWithTheSameVerdictAreOneRow) {
    for (const char letter : {'a', 'b', 'c', 'd'}) {
        const std::string name = std::string("sd") + letter;
        scene.disk(name, kMiB);
        scene.cim.drive("/dev/" + name, kMiB, 0);
    }
    scene.mount("sdd", "/dev/sdd", "/data");
    const std::string text = textOf(whole());
    EXPECT_THAT(text, HasSubstr("/dev/sda to /dev/sdc (3)"));
    EXPECT_THAT(text, HasSubstr("\n/dev/sdd "));
}

TEST_F(Explanations, LoopsWithoutAFileAreOneRowWithACount) {
    for (const char* const name : {"loop0", "loop1", "loop7"}) {
        DeviceFacts& facts = scene.disk(name, 0, false);
        facts.sysfs.sizeLine = "0";
        facts.sizeBytes.reset();
        facts.isTried = false;
        scene.machine.blocks.devices.back().kind = diskmgt_machine::Kind::kLoop;
    }
    EXPECT_THAT(textOf(whole()), HasSubstr("3 loops without a file"));
}

}  // namespace
}  // namespace diskmgt
