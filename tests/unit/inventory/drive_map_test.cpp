// What a picture of a disk is drawn from: what lies where, what lies on that, and sums that count shared storage once.
#include "inventory/drive_map.h"

#include <gmock/gmock.h>

#include "tests/unit/inventory/joined_scene.h"

namespace diskmgt {
namespace {

using diskmgt_machine::BlockDevice;
using diskmgt_machine::Kind;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::uint64_t kMiB = 1 << 20;
constexpr unsigned kExtended = 2;
constexpr unsigned kLogical = 3;

struct DriveMaps : ::testing::Test {
    /// "sda1 5, gap 3, ..." in MiB, what an extended partition holds in parentheses.
    static std::string textOf(const ServerAccount& account, const std::vector<Stretch>& stretches) {
        std::string text;
        for (const Stretch& stretch : stretches) {
            text += (text.empty() ? "" : ", ") + (stretch.device ? account.device(*stretch.device).name : "gap") + " " +
                    std::to_string(stretch.size / kMiB);
            if (!stretch.inner.empty()) text += " (" + textOf(account, stretch.inner) + ")";
        }
        return text;
    }
    std::string mapText() {
        const ServerAccount account = scene.joined();
        const DriveMap map = mapOfDrive(account, 0);
        isPlaced = map.isPlaced;
        oddities = map.oddities;
        return textOf(account, map.stretches);
    }

    /// An MBR as the kernel shows it, and as CIM publishes it if it gives the extended partition a size.
    void mbrWithLogicals(std::uint64_t publishedSize) {
        scene.disk("sda", 100 * kMiB).tableCount = publishedSize == 0 ? 0 : 3;
        scene.partition("sda1", 1, 10 * kMiB, 1024);  // an extended partition is 1 KiB to the kernel
        scene.partition("sda5", 5, 12 * kMiB, 20 * kMiB);
        scene.partition("sda6", 6, 34 * kMiB, 16 * kMiB);
        if (publishedSize == 0) return;
        scene.cim.mbr("/dev/sda5", 20 * kMiB, kLogical, 0x83);
        scene.cim.mbr("/dev/sda6", 16 * kMiB, kLogical, 0x83);
        published(kExtended, 0x05, publishedSize, 10 * kMiB);
    }

    /// Of the first partition, with the start that joins it to the kernel's.
    void published(unsigned kind, unsigned typeByte, std::uint64_t size, std::uint64_t start) {
        scene.cim.add("VEXSG_DiskPartition", {{"DeviceID", {"/dev/sda1"}},
                                              {"Size", {std::to_string(size)}},
                                              {"StartingOffset", {std::to_string(start + 446)}},
                                              {"PartitionType", {std::to_string(kind)}},
                                              {"PartitionSubType", {std::to_string(typeByte)}}});
    }

    /// A volume, or anything else that lies on these devices.
    BlockDevice& above(const std::string& name, Kind kind, const std::vector<std::size_t>& lowers, std::uint64_t size) {
        BlockDevice& device = scene.machine.blocks.devices.emplace_back();
        device.name = name;
        device.kind = kind;
        device.sizeBytes = size;
        device.on = lowers;
        for (const std::size_t lower : lowers)
            scene.machine.blocks.devices[lower].carries.push_back(scene.machine.blocks.devices.size() - 1);
        return device;
    }

    /// "sda: sda 0, sda1 1; ..." with the depth of each row, and what a row is shown beneath behind an arrow.
    std::string groupText() {
        const ServerAccount account = scene.joined();
        std::string text;
        for (const DeviceGroup& group : deviceGroups(account)) {
            text += (text.empty() ? "" : "; ") + account.device(group.root).name + ":";
            for (const DeviceRow& row : group.rows) {
                text += " " + account.device(row.device).name + std::to_string(row.depth);
                if (row.shownBeneath) text += ">" + account.device(*row.shownBeneath).name;
            }
        }
        return text;
    }

    JoinedScene scene;
    bool isPlaced = false;
    std::vector<std::string> oddities;
};

TEST_F(DriveMaps, WhatLiesOutsideThePartitionsIsAStretchToo) {
    scene.disk("sda", 100 * kMiB);
    scene.partition("sda1", 1, 1 * kMiB, 20 * kMiB);
    scene.partition("sda2", 2, 21 * kMiB, 9 * kMiB);
    scene.partition("sda3", 3, 40 * kMiB, 10 * kMiB);
    EXPECT_EQ(mapText(), "gap 1, sda1 20, sda2 9, gap 10, sda3 10, gap 50");
    EXPECT_TRUE(isPlaced);
    EXPECT_THAT(oddities, IsEmpty());
}

TEST_F(DriveMaps, StretchesFollowTheStartsNotTheNumbers) {
    scene.disk("sda", 30 * kMiB);
    scene.partition("sda1", 1, 20 * kMiB, 10 * kMiB);
    scene.partition("sda2", 2, 0, 20 * kMiB);
    EXPECT_EQ(mapText(), "sda2 20, sda1 10");
}

TEST_F(DriveMaps, ADiskWithoutPartitionsIsOneStretchAndOneWithoutASizeNone) {
    scene.disk("sda", 7 * kMiB);
    EXPECT_EQ(mapText(), "gap 7");
    scene.machine.blocks.devices[0].sizeBytes.reset();
    EXPECT_EQ(mapText(), "");
}

TEST_F(DriveMaps, AVolumeOnTheDiskIsNoStretch) {
    scene.disk("sda", 30 * kMiB);
    scene.partition("sda1", 1, 0, 10 * kMiB);
    above("vol", Kind::kLvm, {0}, 30 * kMiB);
    EXPECT_EQ(mapText(), "sda1 10, gap 20");
}

TEST_F(DriveMaps, AnExtendedPartitionReachesAsFarAsItsLastLogical) {
    mbrWithLogicals(38 * kMiB);
    EXPECT_EQ(mapText(), "gap 10, sda1 40 (gap 2, sda5 20, gap 2, sda6 16), gap 50");
    EXPECT_THAT(oddities, IsEmpty());
}

TEST_F(DriveMaps, AnExtendedPartitionHasThePublishedSizeWhereThatIsMore) {
    mbrWithLogicals(60 * kMiB);
    EXPECT_EQ(mapText(), "gap 10, sda1 60 (gap 2, sda5 20, gap 2, sda6 16, gap 20), gap 30");
}

TEST_F(DriveMaps, AnExtendedPartitionKeepsTheKernelsSizeWhereThatIsMore) {
    mbrWithLogicals(38 * kMiB);
    scene.machine.blocks.devices[1].sizeBytes = 50 * kMiB;
    EXPECT_EQ(mapText(), "gap 10, sda1 50 (gap 2, sda5 20, gap 2, sda6 16, gap 10), gap 40");
}

TEST_F(DriveMaps, ALogicalBeforeItsExtendedPartitionDoesNotFit) {
    mbrWithLogicals(60 * kMiB);
    scene.machine.blocks.devices[2].startBytes = 4 * kMiB;
    scene.machine.blocks.devices[2].sizeBytes = 4 * kMiB;
    EXPECT_THAT(mapText(), ::testing::StartsWith("gap 10, sda1 60 ("));
    EXPECT_THAT(oddities, ElementsAre("/dev/sda5 reaches past the end of its extended partition."));
}

TEST_F(DriveMaps, HighNumbersOfAGptAreNoLogicals) {
    scene.disk("sda", 100 * kMiB).tableCount = 2;
    scene.partition("sda1", 1, 10 * kMiB, 10 * kMiB);
    scene.partition("sda5", 5, 30 * kMiB, 10 * kMiB);
    scene.cim.gpt("/dev/sda1", 10 * kMiB, 20 * kMiB / 512 - 1, 17);
    scene.cim.gpt("/dev/sda5", 10 * kMiB, 40 * kMiB / 512 - 1, 17);
    EXPECT_EQ(mapText(), "gap 10, sda1 10, gap 10, sda5 10, gap 60");
}

TEST_F(DriveMaps, AnOverlapIsDrawnOnceAndSaid) {
    scene.disk("sda", 100 * kMiB);
    scene.partition("sda1", 1, 10 * kMiB, 20 * kMiB);
    scene.partition("sda2", 2, 20 * kMiB, 20 * kMiB);
    scene.partition("sda3", 3, 22 * kMiB, 5 * kMiB);  // lies in both
    EXPECT_EQ(mapText(), "gap 10, sda1 20, sda2 10, sda3 0, gap 60");
    EXPECT_THAT(oddities,
                ElementsAre("/dev/sda2 overlaps what lies before it.", "/dev/sda3 overlaps what lies before it."));
}

TEST_F(DriveMaps, WhatReachesPastTheEndOfTheDiskIsCutAndSaid) {
    scene.disk("sda", 20 * kMiB);
    scene.partition("sda1", 1, 10 * kMiB, 50 * kMiB);
    scene.partition("sda2", 2, 70 * kMiB, 5 * kMiB);
    EXPECT_EQ(mapText(), "gap 10, sda1 10, sda2 0");
    EXPECT_THAT(oddities, ElementsAre("/dev/sda1 reaches past the end of the disk.",
                                      "/dev/sda2 reaches past the end of the disk."));
}

TEST_F(DriveMaps, NoSumOfStartAndSizeIsTooLarge) {
    scene.disk("sda", 20 * kMiB);
    scene.partition("sda1", 1, 10 * kMiB, UINT64_MAX);
    EXPECT_EQ(mapText(), "gap 10, sda1 10");
}

TEST_F(DriveMaps, WithoutAStartTheSizesStandInTheKernelsOrderAndTheRestBehind) {
    scene.disk("sda", 100 * kMiB);
    scene.partition("sda1", 1, 50 * kMiB, 20 * kMiB);
    scene.partition("sda2", 2, 0, 30 * kMiB).startBytes.reset();
    EXPECT_EQ(mapText(), "sda1 20, sda2 30, gap 50");
    EXPECT_FALSE(isPlaced);
}

TEST_F(DriveMaps, SizesThatAreMoreThanTheDiskLeaveNoRest) {
    scene.disk("sda", 10 * kMiB);
    scene.partition("sda1", 1, 0, 20 * kMiB).startBytes.reset();
    EXPECT_EQ(mapText(), "sda1 20");
}

TEST_F(DriveMaps, DisksComeFirstAndWhatLiesOnThemBeneath) {
    scene.disk("loop0", kMiB);
    scene.machine.blocks.devices[0].kind = Kind::kLoop;
    scene.machine.blocks.devices[0].backingFile = "/srv/image";
    scene.disk("sda", 10 * kMiB);
    scene.partition("sda1", 1, 0, 5 * kMiB);
    above("vol", Kind::kLvm, {2}, kMiB);
    EXPECT_EQ(groupText(), "sda: sda0 sda11 vol2; loop0: loop00");
}

TEST_F(DriveMaps, WhatLiesOnTwoDisksIsWholeBeneathTheFirst) {
    scene.disk("sda", 10 * kMiB);
    scene.disk("sdb", 10 * kMiB);
    above("vol", Kind::kRaid, {0, 1}, 10 * kMiB);
    above("vol1", Kind::kLvm, {2}, kMiB);
    EXPECT_EQ(groupText(), "sda: sda0 vol1 vol12; sdb: sdb0 vol1>sda");
}

TEST_F(DriveMaps, AHiddenPathAndAnEmptyLoopHaveNoRow) {
    scene.disk("loop0", 0);
    scene.machine.blocks.devices[0].kind = Kind::kLoop;
    scene.disk("sda", 10 * kMiB);
    scene.disk("sdb", 10 * kMiB);
    scene.machine.blocks.devices[2].kind = Kind::kPath;
    EXPECT_EQ(groupText(), "sda: sda0");
}

TEST_F(DriveMaps, CapacityIsThatOfAllDisks) {
    scene.disk("sda", 10 * kMiB);
    scene.partition("sda1", 1, 0, 5 * kMiB);
    scene.disk("sdb", 20 * kMiB);
    scene.disk("sdc", 0);
    scene.machine.blocks.devices.back().sizeBytes.reset();
    above("vol", Kind::kLvm, {0}, 10 * kMiB);
    EXPECT_EQ(capacityOf(scene.joined()), 30 * kMiB);
}

TEST_F(DriveMaps, CapacityCountsWhatSeveralPathsLeadToOnce) {
    scene.disk("sda", 10 * kMiB);
    scene.disk("sdb", 10 * kMiB);
    scene.disk("sdc", 3 * kMiB);
    above("vol", Kind::kMultipath, {0, 1}, 10 * kMiB);
    above("vol1", Kind::kPartition, {3}, 10 * kMiB);  // a partition that device-mapper made
    EXPECT_EQ(capacityOf(scene.joined()), 13 * kMiB);
}

TEST_F(DriveMaps, ATargetThatLiesOnNoDiskAddsNoCapacity) {
    scene.disk("sda", 10 * kMiB);
    above("vol", Kind::kLvm, {0}, 10 * kMiB);
    above("vol1", Kind::kMultipath, {1}, 10 * kMiB);
    EXPECT_EQ(capacityOf(scene.joined()), 10 * kMiB);
}

TEST_F(DriveMaps, SpaceCountsAFileSystemOnceHoweverOftenItIsMounted) {
    scene.disk("sda", 10 * kMiB);
    scene.disk("sdb", 10 * kMiB);
    scene.disk("sdc", 10 * kMiB);
    scene.mount("sda", "/dev/sda", "/one");
    scene.mount("sda", "/dev/sda", "/again");
    scene.mount("sdb", "/dev/sdb", "/two");
    scene.mount("sdc", "/dev/sdc", "/unmeasured");
    scene.mount("", "tmpfs", "/memory", "tmpfs");
    ServerAccount account = scene.joined();
    ASSERT_TRUE(account.mounts[0].space);
    account.mounts[0].space.reset();  // the second one is measured
    account.mounts[2].space = Space{};
    account.mounts[2].space->total = 7;
    account.mounts[2].space->free = 3;  // nothing is known of what is available
    account.mounts[3].space.reset();
    const Space sum = spaceOnDevices(account);
    EXPECT_THAT((std::vector<std::uint64_t>{sum.total, sum.free, sum.available.value()}),
                ElementsAre(100 + 7, 60 + 3, 50));
}

}  // namespace
}  // namespace diskmgt
