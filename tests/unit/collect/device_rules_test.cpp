// The decisions about block devices, one at a time.
#include "collect/device_rules.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <set>

#include "tests/support/fake_os.h"

namespace {

using namespace diskmgt_col;
using diskmgt_test::DiskImage;
using diskmgt_test::Effect;
using diskmgt_test::FakeOs;
using ::testing::ElementsAre;
using ::testing::Pointee;
using ::testing::SizeIs;

TEST(DeviceRules, OnlyDotEntriesAndDeviceMapperNamesAreDroppedByName) {
    EXPECT_EQ(judgeEntryName("."), EntryName::kDotEntry);
    EXPECT_EQ(judgeEntryName(".."), EntryName::kDotEntry);
    EXPECT_EQ(judgeEntryName("dm-0"), EntryName::kDeviceMapper);
    EXPECT_EQ(judgeEntryName("dm-"), EntryName::kDeviceMapper);
    for (const char* name : {"sda", "dm", "dmx", "...", ".sda", "loop0", ""})
        EXPECT_EQ(judgeEntryName(name), EntryName::kDisk) << name;
}

TEST(DeviceRules, ADiskWithASizeIsOfferedUnlessItIsARamDisk) {
    FakeOs machine;
    machine.sysfsDisk("sda", 128, "8:0", {}).sysfsDisk("ram0", 128, "1:0", {}).sysfsDisk("sr0", 0, "11:0", {});
    EXPECT_TRUE(readSysfsDisk("sda").isOffered());
    const SysfsDisk ram = readSysfsDisk("ram0");
    EXPECT_TRUE(ram.hasSize() && ram.isRamDisk() && !ram.isOffered());
    const SysfsDisk empty = readSysfsDisk("sr0");
    EXPECT_TRUE(!empty.hasSize() && !empty.isRamDisk() && !empty.isOffered());
}

TEST(DeviceRules, AMissingSizeFileDiffersFromAZeroSize) {
    FakeOs machine;
    machine.sysfsDisk("sr0", 0, "11:0", {}).directory("/sys/block/sdx", {}).file("/sys/block/sdx/dev", "8:16\n");
    EXPECT_EQ(readSysfsDisk("sr0").sizeLine, "0");
    const SysfsDisk without = readSysfsDisk("sdx");
    EXPECT_EQ(without.sizeLine, std::nullopt);
    EXPECT_EQ(without.majorNumber, 8);
    EXPECT_FALSE(without.isOffered());
}

TEST(DeviceRules, AMissingNumberFileMeansMajorZeroAndDropsNothing) {
    FakeOs machine;
    machine.file("/sys/block/sda/size", "8\n");
    const SysfsDisk disk = readSysfsDisk("sda");
    EXPECT_EQ(disk.numberLine, std::nullopt);
    EXPECT_TRUE(disk.isOffered());
}

TEST(DeviceRules, TheSizeIsReadBeforeTheNumber) {
    FakeOs machine;
    machine.sysfsDisk("sda", 8, "8:0", {});
    (void)readSysfsDisk("sda");
    const std::vector<std::string> calls = machine.callTexts();
    ASSERT_FALSE(calls.empty());
    EXPECT_THAT(calls.front(), ::testing::HasSubstr("/sys/block/sda/size"));
    EXPECT_EQ(machine.openHandles(), 0);
}

TEST(DeviceRules, TheFirstVirtualEntryThatContainsThePathIsTheOneThatDropsIt) {
    const std::vector<std::string> entries = {"/dev/sr0: drive", "/dev/sdbc: disk", "/dev/sdb: disk"};
    EXPECT_THAT(virtualEntryFor("/dev/sdb", entries), Pointee(std::string("/dev/sdbc: disk")));
    EXPECT_EQ(virtualEntryFor("/dev/sdc", entries), nullptr);
    EXPECT_EQ(virtualEntryFor("/dev/sdb", {}), nullptr);
}

TEST(DeviceRules, AMeasuredDeviceStaysOpenWhileItIsHeld) {
    FakeOs machine;
    machine.device("/dev/sda", DiskImage(4096));
    {
        const MeasuredDevice measured = measureDevice("/dev/sda");
        EXPECT_EQ(measured.sizeBytes, 4096U);
        EXPECT_EQ(machine.openDescriptors(), 1);
    }
    EXPECT_EQ(machine.openDescriptors(), 0);
}

TEST(DeviceRules, AnUnmeasuredDeviceShowsWhichStepFailedAndHow) {
    FakeOs machine;
    machine.file("/dev/sdb", "no device").device("/dev/sda", DiskImage(4096));
    const MeasuredDevice missing = measureDevice("/dev/sdx");
    EXPECT_FALSE(missing.device.valid());
    EXPECT_EQ(missing.error, ENOENT);
    const MeasuredDevice file = measureDevice("/dev/sdb");
    EXPECT_TRUE(file.device.valid());
    EXPECT_FALSE(file.sizeBytes);
    EXPECT_EQ(file.error, ENOTTY);
    machine.failCallsLike("open(/dev/sda", Effect::failsWith(EACCES));
    EXPECT_EQ(measureDevice("/dev/sda").error, EACCES);
}

TEST(DeviceRules, ADevicesSysfsNameIsWhatFollowsTheLastSlash) {
    EXPECT_EQ(sysfsNameOf("/dev/sda"), "sda");
    EXPECT_EQ(sysfsNameOf("sda"), "sda");
    EXPECT_EQ(sysfsNameOf("/dev/"), "");
}

TEST(DeviceRules, EntriesThatBeginWithTheDevicesNameAreItsPartitions) {
    EXPECT_TRUE(isPartitionEntry("sda1", "sda"));
    EXPECT_TRUE(isPartitionEntry("sda", "sda"));
    EXPECT_TRUE(isPartitionEntry("nvme0n1p1", "nvme0n1"));
    EXPECT_FALSE(isPartitionEntry("queue", "sda"));
    EXPECT_FALSE(isPartitionEntry("sd", "sda"));
}

TEST(DeviceRules, The280CandidatesAreAllDifferent) {
    const std::vector<std::string> disks = candidateDisks();
    EXPECT_THAT(disks, SizeIs(280));
    EXPECT_THAT(std::set<std::string>(disks.begin(), disks.end()), SizeIs(280));
    EXPECT_THAT((std::vector<std::string>{disks[0], disks[1], disks[51], disks[52], disks[180], disks[279]}),
                ElementsAre("/dev/hda", "/dev/sda", "/dev/sdz", "/dev/md0", "/dev/nvme0n0", "/dev/nvme9n9"));
}

}  // namespace
