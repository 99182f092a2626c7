// What CIM reports beside each row of the machine, and what keeps the account from being complete.
#include "inventory/server_account.h"

#include <unistd.h>

#include <gmock/gmock.h>

#include "tests/unit/inventory/joined_scene.h"

namespace diskmgt {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using State = CimAnswer::State;

constexpr std::uint64_t kMiB = 1 << 20;
constexpr unsigned kGptData = 17;

/// The published StartingOffset of a GPT partition is its last block.
std::uint64_t lastBlock(std::uint64_t start, std::uint64_t size) { return (start + size) / 512 - 1; }

struct Accounts : ::testing::Test {
    /// A disk with one GPT partition, in both accounts.
    void diskWithOnePartition(const std::string& name, const std::string& partition) {
        scene.disk(name, 100 * kMiB).tableCount = 1;
        scene.partition(partition, 1, kMiB, 50 * kMiB);
        scene.cim.drive("/dev/" + name, 100 * kMiB, 1);
        scene.cim.gpt("/dev/" + partition, 50 * kMiB, lastBlock(kMiB, 50 * kMiB), kGptData);
    }

    static std::vector<std::string> gapsOf(const ServerAccount& account) {
        std::vector<std::string> gaps;
        for (const Gap& gap : account.gaps) gaps.push_back(gap.rule + " " + gap.of);
        return gaps;
    }

    JoinedScene scene;
};

TEST_F(Accounts, ADriveAndItsPartitionAreReportedAsTheyAre) {
    diskWithOnePartition("sda", "sda1");
    const ServerAccount account = scene.joined();
    const CimAnswer& drive = *rowOf(account, "sda").drive;
    EXPECT_EQ(drive.state, State::kReported);
    EXPECT_EQ(drive.as, "/dev/sda");
    EXPECT_EQ(drive.partitionCount, 1U);
    EXPECT_THAT(drive.differs, IsEmpty());
    const CimAnswer& partition = *rowOf(account, "sda1").partition;
    EXPECT_EQ(partition.state, State::kReported);
    EXPECT_EQ(partition.start, kMiB);
    EXPECT_THAT(partition.differs, IsEmpty());
    EXPECT_TRUE(account.isComplete());
}

TEST_F(Accounts, ADriveBelongsToTheDeviceWithTheNumberOfItsNode) {
    scene.disk("sda", kMiB);
    scene.disk("sdb", 2 * kMiB);
    std::swap(scene.factsOf("/dev/sda").nodeNumber, scene.factsOf("/dev/sdb").nodeNumber);
    scene.cim.drive("/dev/sda", 2 * kMiB, 0);
    scene.cim.drive("/dev/sdb", kMiB, 0);
    const ServerAccount account = scene.joined();
    EXPECT_EQ(rowOf(account, "sda").drive->as, "/dev/sdb");
    EXPECT_THAT(rowOf(account, "sda").drive->differs, ElementsAre("name"));
    EXPECT_EQ(rowOf(account, "sdb").drive->as, "/dev/sda");
}

TEST_F(Accounts, APartitionUnderAnotherNameIsFoundByItsPlace) {
    diskWithOnePartition("md0", "md0p1");
    scene.cim.published.classes[1].instances.clear();
    scene.cim.gpt("/dev/md01", 50 * kMiB, lastBlock(kMiB, 50 * kMiB), kGptData);
    const ServerAccount account = scene.joined();
    EXPECT_EQ(rowOf(account, "md0p1").partition->as, "/dev/md01");
    EXPECT_THAT(rowOf(account, "md0p1").partition->differs, ElementsAre("name"));
}

TEST_F(Accounts, AGrownPartitionDiffersInSize) {
    diskWithOnePartition("sda", "sda1");
    scene.machine.blocks.devices[1].sizeBytes = 10 * kMiB;
    const ServerAccount account = scene.joined();
    const CimAnswer& partition = *rowOf(account, "sda1").partition;
    EXPECT_THAT(partition.differs, ElementsAre("size"));
    EXPECT_EQ(partition.size, 50 * kMiB);
}

TEST_F(Accounts, PartitionsOfADiskWhoseNameIsNotSearchedAreNotReported) {
    scene.disk("vda", 100 * kMiB, false).tableCount = 1;
    scene.partition("vda1", 1, kMiB, 50 * kMiB);
    scene.cim.drive("/dev/vda", 100 * kMiB, 1);
    const ServerAccount account = scene.joined();
    EXPECT_EQ(rowOf(account, "vda").drive->state, State::kReported);
    EXPECT_EQ(rowOf(account, "vda1").partition->state, State::kNotReported);
    EXPECT_EQ(rulesOf(rowOf(account, "vda1").partition->reasons).front(), "not-a-candidate");
    EXPECT_TRUE(account.isComplete());
}

TEST_F(Accounts, APartitionThatOnlyCimHasKeepsWhatIsWrongWithIt) {
    DeviceFacts& disk = scene.disk("sda", kMiB);
    disk.tableCount = 1;
    disk.hasBootSignature = false;
    scene.cim.drive("/dev/sda", kMiB, 0);
    scene.cim.mbr("/dev/sda1", 5 * kMiB, 1, 0x41);
    const ServerAccount account = scene.joined();
    ASSERT_EQ(account.cimOnly.size(), 1U);
    EXPECT_EQ(account.cimOnly[0].name, "/dev/sda1");
    EXPECT_THAT(rulesOf(account.cimOnly[0].reasons),
                ElementsAre("larger-than-drive", "no-boot-signature", "no-such-device"));
}

TEST_F(Accounts, TablesThatChangedMeanwhileMakePartitionsUnknown) {
    diskWithOnePartition("sda", "sda1");
    scene.factsOf("/dev/sda").tableCount = 2;
    const ServerAccount account = scene.joined();
    EXPECT_EQ(rowOf(account, "sda1").partition->state, State::kUnknown);
    EXPECT_THAT(rulesOf(rowOf(account, "sda1").partition->reasons), ElementsAre("changed-meanwhile"));
    EXPECT_THAT(gapsOf(account), ElementsAre("changed-meanwhile VEXSG_DiskPartition"));
    ASSERT_EQ(account.cimOnly.size(), 1U);
    EXPECT_EQ(account.cimOnly[0].name, "/dev/sda1");
}

TEST_F(Accounts, ARefusedDeviceIsUnknownAndTheAccountIncomplete) {
    diskWithOnePartition("sda", "sda1");
    DeviceFacts& refused = scene.disk("sdb", kMiB);
    refused.openError = EIO;
    refused.sizeBytes.reset();
    scene.partition("sdb1", 1, 2048, 512);
    const ServerAccount account = scene.joined();
    EXPECT_EQ(rowOf(account, "sdb").drive->state, State::kUnknown);
    EXPECT_EQ(rowOf(account, "sdb1").partition->state, State::kUnknown);
    EXPECT_EQ(rowOf(account, "sda1").partition->state, State::kReported);
    EXPECT_THAT(gapsOf(account), ElementsAre("open-failed /dev/sdb"));
}

TEST_F(Accounts, ADeviceWithoutAMediumIsNotReportedAndNothingIsMissing) {
    for (const int error : {ENOMEDIUM, ENXIO, ENODEV}) {
        DeviceFacts& empty = scene.disk("sr" + std::to_string(error), kMiB, false);
        empty.openError = error;
        empty.sizeBytes.reset();
    }
    const ServerAccount account = scene.joined();
    for (const DeviceAccount& device : account.devices) EXPECT_EQ(device.drive->state, State::kNotReported);
    EXPECT_TRUE(account.isComplete());
}

TEST_F(Accounts, AHiddenPathWithoutANodeIsNoGap) {
    DeviceFacts& path = scene.disk("nvme0c0n1", kMiB, false);
    path.openError = ENOENT;
    path.nodeNumber.reset();
    path.sizeBytes.reset();
    scene.machine.blocks.devices[0].kind = diskmgt_machine::Kind::kPath;
    const ServerAccount account = scene.joined();
    EXPECT_EQ(rowOf(account, "nvme0c0n1").drive->state, State::kNotReported);
    EXPECT_TRUE(account.isComplete());
}

TEST_F(Accounts, ALogicalDiskBelongsToItsLineOfTheMountTable) {
    diskWithOnePartition("sda", "sda1");
    scene.mount("sda1", "/dev/root", "/");
    scene.mount("", "/dev/sda", "/media/usb", "fuse.anything");
    scene.cim.mounted("/dev/root", {"/"});
    scene.cim.mounted("/dev/sda", {"/media/usb"}, "fuse.anything");
    const ServerAccount account = scene.joined();
    EXPECT_EQ(rowOf(account, "sda1").logicalDisk->as, "/dev/root");
    EXPECT_FALSE(rowOf(account, "sda").logicalDisk);
    ASSERT_EQ(account.fileSystems.size(), 1U);
    EXPECT_EQ(account.fileSystems[0].group, FileSystemGroup::kFuse);
    EXPECT_TRUE(account.mounts[1].logicalDisk.isReported());
}

TEST_F(Accounts, ALaterMountOfASourceIsNotReportedAndItsDeviceIs) {
    diskWithOnePartition("sda", "sda1");
    scene.mount("sda1", "/dev/sda1", "/");
    scene.mount("sda1", "/dev/sda1", "/srv");
    scene.cim.mounted("/dev/sda1", {"/"});
    const ServerAccount account = scene.joined();
    EXPECT_TRUE(account.mounts[0].logicalDisk.isReported());
    EXPECT_THAT(rulesOf(account.mounts[1].logicalDisk.reasons), ElementsAre("later-mount"));
    EXPECT_TRUE(rowOf(account, "sda1").logicalDisk->isReported());
    EXPECT_THAT(rowOf(account, "sda1").mounts, ElementsAre(0, 1));
}

TEST_F(Accounts, ALineThatIsInTheMountTableTwiceIsALaterMountTheSecondTime) {
    for (int i = 0; i < 2; ++i) scene.mount("", "tmpfs", "/tmp", "tmpfs");
    scene.cim.mounted("tmpfs", {"/tmp"}, "tmpfs");
    const ServerAccount account = scene.joined();
    EXPECT_TRUE(account.mounts[0].logicalDisk.isReported());
    EXPECT_THAT(rulesOf(account.mounts[1].logicalDisk.reasons), ElementsAre("later-mount"));
}

TEST_F(Accounts, ALogicalDiskWithoutAMountIsOnlyCims) {
    scene.cim.mounted("/dev/sdz1", {"/gone"});
    const ServerAccount account = scene.joined();
    ASSERT_EQ(account.cimOnly.size(), 1U);
    EXPECT_THAT(rulesOf(account.cimOnly[0].reasons), ElementsAre("not-mounted"));
}

TEST_F(Accounts, AMountThatDoesNotAnswerIsNamedAndLogicalDisksAreUnknown) {
    diskWithOnePartition("sda", "sda1");
    scene.mount("sda1", "/dev/sda1", "/");
    scene.mount("", "nas:/home", "/home", "nfs4");
    (*scene.collection.facts.figures)[1] = {
        scene.machine.mounts[1].id, scene.machine.mounts[1].number, MountFigure::Outcome::kNoAnswer, 0, {}};
    for (const char* const missing : {"VEXSG_LogicalDisk", "VEXSG_MediaPresent"}) {
        scene.cim.published.missingClasses.emplace_back(missing);
        scene.collection.facts.leftOut[missing] = {"mount-does-not-answer", "a mount does not answer",
                                                   "/home is silent"};
    }
    const ServerAccount account = scene.joined();
    EXPECT_EQ(rowOf(account, "sda1").partition->state, State::kReported);
    EXPECT_EQ(rowOf(account, "sda1").logicalDisk->state, State::kUnknown);
    EXPECT_THAT(rulesOf(rowOf(account, "sda1").logicalDisk->reasons), ElementsAre("mount-does-not-answer"));
    EXPECT_EQ(account.mounts[0].space->total, 100U);
    EXPECT_EQ(account.mounts[1].reason->rule, "mount-does-not-answer");
    EXPECT_THAT(gapsOf(account), Contains("mount-does-not-answer /home"));
    EXPECT_THAT(gapsOf(account), Contains("mount-does-not-answer VEXSG_MediaPresent"));
}

TEST_F(Accounts, AnEarlyEndCostsOnlyCimsPart) {
    diskWithOnePartition("sda", "sda1");
    scene.mount("sda1", "/dev/sda1", "/");
    scene.collection.facts.devices.reset();
    scene.cim.published.missingClasses = inventoryClasses();
    scene.cim.published.classes.clear();
    scene.collection.end = {"crashed", "the plug-in crashed", "It crashed.", kPluginUnusable};
    const ServerAccount account = scene.joined();
    EXPECT_THAT(rulesOf(rowOf(account, "sda").drive->reasons), ElementsAre("crashed"));
    EXPECT_THAT(rulesOf(rowOf(account, "sda1").partition->reasons), ElementsAre("crashed"));
    EXPECT_THAT(rulesOf(rowOf(account, "sda1").logicalDisk->reasons), ElementsAre("crashed"));
    EXPECT_EQ(rowOf(account, "sda1").mounts.size(), 1U);
    EXPECT_FALSE(account.isComplete());
}

TEST_F(Accounts, AMountHiddenByALaterOneHasNoFigures) {
    diskWithOnePartition("sda", "sda1");
    scene.mount("sda1", "/dev/sda1", "/data");
    scene.mount("", "tmpfs", "/data", "tmpfs");
    const ServerAccount account = scene.joined();
    EXPECT_EQ(account.mounts[0].reason->rule, "hidden-by-later-mount");
    EXPECT_FALSE(account.mounts[0].space);
    EXPECT_TRUE(account.mounts[1].space);
}

TEST_F(Accounts, FiguresOfAMountThatIsGoneAreNotThoseOfTheNextWithItsId) {
    diskWithOnePartition("sda", "sda1");
    scene.mount("sda1", "/dev/sda1", "/data");
    scene.collection.facts.figures->front().number = {0, 99};
    EXPECT_FALSE(scene.joined().mounts[0].space);
}

TEST_F(Accounts, ASecondDriveOnOneDeviceIsOnlyCims) {
    scene.disk("sda", kMiB);
    scene.disk("sdb", kMiB);
    scene.factsOf("/dev/sdb").nodeNumber = scene.factsOf("/dev/sda").nodeNumber;
    scene.cim.drive("/dev/sda", kMiB, 0);
    scene.cim.drive("/dev/sdb", kMiB, 0);
    const ServerAccount account = scene.joined();
    EXPECT_EQ(rowOf(account, "sda").drive->as, "/dev/sda");
    ASSERT_EQ(account.cimOnly.size(), 1U);
    EXPECT_THAT(rulesOf(account.cimOnly[0].reasons), ElementsAre("same-device"));
}

TEST_F(Accounts, ABtrfsOnTwoDisksIsListedAtTheFirst) {
    scene.disk("sda", kMiB);
    scene.disk("sdb", kMiB);
    scene.mount("", "/dev/sdb", "/pool", "btrfs");
    scene.machine.btrfs.push_back({"uuid", {"sda", "sdb"}});
    const ServerAccount account = scene.joined();
    EXPECT_THAT(rowOf(account, "sda").mounts, ElementsAre(0));
    EXPECT_THAT(rowOf(account, "sdb").mounts, IsEmpty());
    EXPECT_EQ(rowOf(account, "sdb").mountsAt, 0U);
    EXPECT_THAT(account.fileSystems, IsEmpty());
}

TEST_F(Accounts, AFailedClassIsAGap) {
    scene.cim.published.failures.push_back({"VEXSG_DiskDrive", "an error was logged: no", false});
    EXPECT_THAT(gapsOf(scene.joined()), ElementsAre("class-failed VEXSG_DiskDrive"));
}

TEST_F(Accounts, TheMountTableThatCannotBeOpenedForUpdateIsAGap) {
    diskWithOnePartition("sda", "sda1");
    scene.mount("sda1", "/dev/sda1", "/");
    scene.collection.facts.mountTable->updateError = EROFS;
    const ServerAccount account = scene.joined();
    EXPECT_THAT(gapsOf(account), ElementsAre("mount-table-not-opened /etc/mtab"));
    EXPECT_EQ(rowOf(account, "sda1").logicalDisk->state, State::kNotReported);
    EXPECT_THAT(rulesOf(rowOf(account, "sda1").logicalDisk->reasons), ElementsAre("mount-table-not-opened"));
}

}  // namespace
}  // namespace diskmgt
