// /sys/block as it is on servers, and as it is not.
#include "machine/block_reader.h"

#include <gmock/gmock.h>

#include <algorithm>

#include "tests/unit/machine/described_tree.h"

namespace diskmgt_machine {
namespace {

using diskmgt_test::DescribedTree;
using diskmgt_test::Effect;
using diskmgt_test::Fault;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::vector<std::string> namesOf(const BlockDevices& blocks) {
    std::vector<std::string> names;
    for (const BlockDevice& device : blocks.devices) names.push_back(device.name);
    return names;
}

std::vector<std::string> namesAt(const BlockDevices& blocks, const std::vector<std::size_t>& positions) {
    std::vector<std::string> names;
    for (const std::size_t position : positions) names.push_back(blocks.devices[position].name);
    return names;
}

const BlockDevice& deviceIn(const BlockDevices& blocks, const std::string& name) {
    return blocks.devices.at(blocks.find(name).value());
}

TEST(BlockReader, ADiskHasItsFactsAndItsPartitions) {
    DescribedTree tree;
    tree.disk("sda", "8:0", 4096)
        .file("/sys/block/sda/ro", "0\n")
        .file("/sys/block/sda/removable", "1\n")
        .file("/sys/block/sda/queue/logical_block_size", "4096\n")
        .file("/sys/block/sda/queue/rotational", "1\n")
        .file("/sys/block/sda/device/model", "MODEL  \n")
        .file("/sys/block/sda/device/wwid", "naa.5\n")
        .file("/sys/block/sda/device/vpd_pg80", std::string("\0\x80\0\x04 S1 ", 8))
        .partition("sda", "sda1", "8:1", 2048, 8)
        .file("/sys/block/sda/sda1/ro", "1\n")
        .folder("/sys/block/sda/power");
    const BlockDevices blocks = readBlockDevices();
    ASSERT_THAT(namesOf(blocks), ElementsAre("sda", "sda1"));
    const BlockDevice& disk = blocks.devices[0];
    EXPECT_EQ(disk.path(), "/dev/sda");
    EXPECT_EQ(textOf(disk.number.value()), "8:0");
    EXPECT_EQ(disk.kind, Kind::kDisk);
    EXPECT_EQ(disk.sizeBytes, 4096U * 512);
    EXPECT_EQ(disk.sectorSize, 4096U);
    EXPECT_FALSE(disk.isReadOnly);
    EXPECT_TRUE(disk.isRemovable);
    EXPECT_EQ(disk.isRotational, true);
    EXPECT_EQ(disk.identity.model, "MODEL");
    EXPECT_EQ(disk.identity.serial, "S1");
    EXPECT_EQ(disk.identity.wwid, "naa.5");
    EXPECT_THAT(disk.on, IsEmpty());
    EXPECT_THAT(namesAt(blocks, disk.carries), ElementsAre("sda1"));
    const BlockDevice& partition = blocks.devices[1];
    EXPECT_EQ(partition.kind, Kind::kPartition);
    EXPECT_EQ(partition.partitionNumber, 1U);
    EXPECT_EQ(partition.startBytes, 2048U * 512);
    EXPECT_EQ(partition.sizeBytes, 8U * 512);
    EXPECT_EQ(partition.sectorSize, 4096U);
    EXPECT_TRUE(partition.isReadOnly);
    EXPECT_THAT(namesAt(blocks, partition.on), ElementsAre("sda"));
    EXPECT_EQ(partition.disk, 0U);
    EXPECT_EQ(tree.machine.openHandles(), 0);
    EXPECT_THAT(tree.machine.inheritablePaths(), IsEmpty());
}

TEST(BlockReader, EveryKindIsKnown) {
    DescribedTree tree;
    const auto volume = [&tree](const std::string& name, const std::string& number, const std::string& uuid) {
        tree.disk(name, number, 8).file("/sys/block/" + name + "/dm/uuid", uuid + "\n");
    };
    volume("dm-0", "253:0", "LVM-a");
    volume("dm-1", "253:1", "CRYPT-a");
    volume("dm-2", "253:2", "mpath-a");
    volume("dm-3", "253:3", "part3-mpath-a");
    volume("dm-4", "253:4", "");
    tree.disk("md0", "9:0", 8)
        .file("/sys/block/md0/md/level", "raid1\n")
        .disk("loop0", "7:0", 8)
        .file("/sys/block/loop0/loop/backing_file", "/srv/a b\n")
        .disk("sr0", "11:0", 8)
        .disk("fd0", "2:0", 8)
        .disk("ram0", "1:0", 8)
        .disk("zram0", "252:0", 8)
        .disk("nvme0c0n1", "", 8)
        .file("/sys/block/nvme0c0n1/hidden", "1\n")
        .disk("nvme0n1", "259:0", 8);
    const BlockDevices blocks = readBlockDevices();
    const auto kind = [&blocks](const char* name) { return std::string(nameOf(deviceIn(blocks, name).kind)); };
    EXPECT_EQ(kind("dm-0"), "lvm");
    EXPECT_EQ(kind("dm-1"), "crypt");
    EXPECT_EQ(kind("dm-2"), "multipath");
    EXPECT_EQ(kind("dm-3"), "partition");
    EXPECT_EQ(deviceIn(blocks, "dm-3").partitionNumber, 3U);
    EXPECT_EQ(kind("dm-4"), "dm");
    EXPECT_EQ(kind("md0"), "raid");
    EXPECT_EQ(deviceIn(blocks, "md0").level, "raid1");
    EXPECT_EQ(kind("loop0"), "loop");
    EXPECT_EQ(deviceIn(blocks, "loop0").backingFile, "/srv/a b");
    EXPECT_EQ(kind("sr0"), "optical");
    EXPECT_EQ(kind("fd0"), "floppy");
    EXPECT_EQ(kind("ram0"), "memory");
    EXPECT_EQ(kind("zram0"), "compressed-memory");
    EXPECT_EQ(kind("nvme0c0n1"), "path");
    EXPECT_TRUE(deviceIn(blocks, "nvme0c0n1").isHidden);
    EXPECT_FALSE(deviceIn(blocks, "nvme0c0n1").number.has_value());
    EXPECT_EQ(deviceIn(blocks, "nvme0c0n1").disk, blocks.find("nvme0n1"));
    EXPECT_THAT(deviceIn(blocks, "nvme0n1").on, IsEmpty());
    EXPECT_EQ(kind("nvme0n1"), "disk");
}

TEST(BlockReader, ExclamationMarksAreSlashesBelowDev) {
    DescribedTree tree;
    tree.disk("cciss!c0d0", "104:0", 8)
        .partition("cciss!c0d0", "cciss!c0d0p1", "104:1", 1, 2)
        .disk("dm-0", "253:0", 1)
        .lies("dm-0", "cciss!c0d0/cciss!c0d0p1");
    const BlockDevices blocks = readBlockDevices();
    EXPECT_THAT(namesOf(blocks), ElementsAre("cciss/c0d0", "cciss/c0d0p1", "dm-0"));
    EXPECT_THAT(namesAt(blocks, deviceIn(blocks, "dm-0").on), ElementsAre("cciss/c0d0p1"));
    EXPECT_THAT(deviceIn(blocks, "dm-0").unlistedSlaves, IsEmpty());
}

TEST(BlockReader, BothEndsOfWhatLiesOnWhatAreOneLink) {
    DescribedTree tree;
    tree.disk("sda", "8:0", 8).partition("sda", "sda1", "8:1", 1, 2).disk("sdb", "8:16", 8).disk("md0", "9:0", 8);
    tree.lies("md0", "sda/sda1").lies("md0", "sdb");
    const BlockDevices blocks = readBlockDevices();
    EXPECT_THAT(namesAt(blocks, deviceIn(blocks, "md0").on), ElementsAre("sda1", "sdb"));
    EXPECT_THAT(namesAt(blocks, deviceIn(blocks, "sda1").carries), ElementsAre("md0"));
}

TEST(BlockReader, OneEndAloneIsEnough) {
    DescribedTree tree;
    tree.disk("sda", "8:0", 8).disk("dm-0", "253:0", 8).disk("dm-1", "253:1", 8);
    tree.folder("/sys/block/dm-0/slaves/sda").folder("/sys/block/sda/holders/dm-1");
    const BlockDevices blocks = readBlockDevices();
    EXPECT_THAT(namesAt(blocks, deviceIn(blocks, "sda").carries), ElementsAre("dm-0", "dm-1"));
}

TEST(BlockReader, HoldersThatAreNotListedAreKeptByName) {
    DescribedTree tree;
    tree.disk("sda", "8:0", 8).folder("/sys/block/sda/holders/bcache!0").folder("/sys/block/sda/slaves/gone");
    const BlockDevices blocks = readBlockDevices();
    EXPECT_THAT(blocks.devices[0].unlistedHolders, ElementsAre("bcache/0"));
    EXPECT_THAT(blocks.devices[0].unlistedSlaves, ElementsAre("gone"));
}

TEST(BlockReader, AFolderThatTheKernelListsAsADiskIsNotAPartition) {
    DescribedTree tree;
    tree.disk("xvda", "202:0", 8).partition("xvda", "xvda1", "202:1", 1, 2).disk("xvda1", "202:1", 8);
    const BlockDevices blocks = readBlockDevices();
    EXPECT_THAT(namesOf(blocks), ElementsAre("xvda", "xvda1"));
    EXPECT_EQ(deviceIn(blocks, "xvda1").kind, Kind::kDisk);
}

TEST(BlockReader, TextsThatSayNothingLeaveTheirFieldsOut) {
    DescribedTree tree;
    tree.file("/sys/block/sda/dev", "8\n")
        .file("/sys/block/sda/size", "18446744073709551615\n")
        .file("/sys/block/sda/queue/logical_block_size", "-1\n")
        .folder("/sys/block/sda/sda1")
        .folder("/sys/block/sda/sda99999999999999999999");
    const BlockDevices blocks = readBlockDevices();
    ASSERT_THAT(namesOf(blocks), ElementsAre("sda", "sda1"));
    EXPECT_FALSE(blocks.devices[0].number.has_value());
    EXPECT_FALSE(blocks.devices[0].sizeBytes.has_value());
    EXPECT_FALSE(blocks.devices[0].sectorSize.has_value());
    EXPECT_FALSE(blocks.devices[0].isRotational.has_value());
    EXPECT_FALSE(blocks.devices[1].startBytes.has_value());
}

TEST(BlockReader, TextsEndAfterAPage) {
    DescribedTree tree;
    tree.disk("loop0", "7:0", 8).file("/sys/block/loop0/loop/backing_file", std::string(5000, 'x'));
    EXPECT_EQ(readBlockDevices().devices[0].backingFile.size(), 4096U);
}

TEST(BlockReader, NamesThatAreNotUtf8StayAsTheyAre) {
    DescribedTree tree;
    tree.disk("sd\xE9", "8:0", 8).partition("sd\xE9", "sd\xE9\x31", "8:1", 1, 2);
    EXPECT_THAT(namesOf(readBlockDevices()), ElementsAre("sd\xE9", "sd\xE9\x31"));
}

TEST(BlockReader, WithoutAListSaysWhy) {
    const DescribedTree tree;
    const BlockDevices blocks = readBlockDevices();
    EXPECT_TRUE(blocks.devices.empty());
    EXPECT_EQ(blocks.error, ENOENT);
}

TEST(BlockReader, EachFolderIsListedOnceAndNoDeviceIsOpened) {
    DescribedTree tree;
    tree.disk("sda", "8:0", 8).partition("sda", "sda1", "8:1", 1, 2).disk("dm-0", "253:0", 8).lies("dm-0", "sda/sda1");
    (void)readBlockDevices();
    std::vector<std::string> listed;
    for (const std::string& call : tree.machine.callTexts()) {
        EXPECT_EQ(call.find("/dev/"), std::string::npos) << call;
        if (call.compare(0, 8, "opendir(") == 0) listed.push_back(call);
    }
    std::sort(listed.begin(), listed.end());
    EXPECT_EQ(std::adjacent_find(listed.begin(), listed.end()), listed.end());
}

TEST(BlockReader, CallsGrowWithTheDisksAlone) {
    const auto callsWith = [](int disks) {
        DescribedTree tree;
        for (int i = 0; i < disks; ++i) {
            const std::string name = std::string("sd") + static_cast<char>('a' + i);
            tree.disk(name, "8:0", 8).partition(name, name + "1", "8:1", 1, 2);
        }
        (void)readBlockDevices();
        return tree.machine.calls();
    };
    EXPECT_EQ(callsWith(20) - callsWith(10), callsWith(12) - callsWith(2));
}

TEST(BlockReader, EntriesThatVanishMeanwhileLeakNothingAndTheRestIsThere) {
    DescribedTree tree;
    tree.disk("sda", "8:0", 8).partition("sda", "sda1", "8:1", 1, 2).disk("dm-0", "253:0", 8).lies("dm-0", "sda/sda1");
    const auto clean = namesOf(readBlockDevices());
    const int calls = tree.machine.calls();
    for (const Fault how : {Fault::once, Fault::fromThenOn})
        for (int n = 1; n <= calls; ++n) {
            SCOPED_TRACE("failing call " + std::to_string(n) + " of " + std::to_string(calls));
            tree.machine.failCall(n, how, Effect::failsWith(ENOENT));
            const auto found = namesOf(readBlockDevices());
            EXPECT_TRUE(std::includes(clean.begin(), clean.end(), found.begin(), found.end(), comesBeforeNaturally));
            EXPECT_EQ(tree.machine.openHandles(), 0);
        }
    tree.machine.heal();
    EXPECT_EQ(namesOf(readBlockDevices()), clean);
}

}  // namespace
}  // namespace diskmgt_machine
