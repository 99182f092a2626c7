// Opening, probing and closing of devices; what a failed call costs.
#include <gmock/gmock.h>

#include <algorithm>
#include <map>
#include <new>

#include "tests/unit/collect/partition_fixture.h"

namespace {

using diskmgt_test::DiskImage;
using diskmgt_test::Effect;
using diskmgt_test::FakeOs;
using diskmgt_test::Fault;
using diskmgt_test::partitionsOf;
using diskmgt_test::partitionsOn;
using diskmgt_test::PropertyMap;
using diskmgt_test::PropertyMaps;
using diskmgt_test::valuesOf;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

DiskImage oneByMbr() { return DiskImage().slot(0, 0x83, 2048, 100); }

TEST(EnumPartitions, MakesExactlyTheseCallsForAnMbrDisk) {
    FakeOs machine;
    machine.device("/dev/sda", oneByMbr());
    (void)partitionsOn(machine, {"/dev/sda"});
    EXPECT_THAT(machine.callTexts(), ElementsAre("open(/dev/sda, O_RDONLY)", "fcntl(/dev/sda, FD_CLOEXEC)",
                                                 "lseek(/dev/sda, 446)", "read(/dev/sda, 16)", "lseek(/dev/sda, 0)",
                                                 "lseek(/dev/sda, 446)", "read(/dev/sda, 66)", "close(/dev/sda)"));
}

TEST(EnumPartitions, TriesToOpenAMissingDeviceOnce) {
    FakeOs machine;
    EXPECT_THAT(partitionsOn(machine, {"/dev/sda"}), IsEmpty());
    EXPECT_THAT(machine.callTexts(), ElementsAre("open(/dev/sda, O_RDONLY)"));
}

TEST(EnumPartitions, GoesDeviceByDeviceInTheOrderGiven) {
    FakeOs machine;
    for (const char* const path : {"/dev/sda", "/dev/sdb", "/dev/hda"}) machine.device(path, oneByMbr());
    EXPECT_THAT(valuesOf(partitionsOn(machine, {"/dev/sdb", "/dev/hda", "/dev/none", "/dev/sda"}), "DeviceID"),
                ElementsAre("/dev/sdb1", "/dev/hda1", "/dev/sda1"));
    EXPECT_EQ(machine.mostOpenDescriptors(), 1);
}

TEST(EnumPartitions, ADeviceGivenTwiceIsReadTwice) {
    FakeOs machine;
    machine.device("/dev/sda", oneByMbr());
    EXPECT_THAT(valuesOf(partitionsOn(machine, {"/dev/sda", "/dev/sda"}), "DeviceID"),
                ElementsAre("/dev/sda1", "/dev/sda1"));
}

TEST(EnumPartitions, NoDevicesGiveNothing) {
    FakeOs machine;
    EXPECT_THAT(partitionsOn(machine, {}), IsEmpty());
    EXPECT_EQ(machine.calls(), 0);
}

TEST(EnumPartitions, AFloppyThatOpensGivesOneEmptyMapUnread) {
    for (const std::string path : {"/dev/fd0", "/dev/fd", "/mnt/dev/fd7", "/dev/fdisk"}) {
        FakeOs machine;
        machine.device(path, oneByMbr());
        EXPECT_THAT(partitionsOn(machine, {path}), ElementsAre(PropertyMap{}));
        EXPECT_THAT(machine.callTexts(), ElementsAre("open(" + path + ", O_RDONLY)", "fcntl(" + path + ", FD_CLOEXEC)",
                                                     "close(" + path + ")"));
    }
}

TEST(EnumPartitions, AFloppyThatDoesNotOpenGivesNothing) {
    FakeOs machine;
    EXPECT_THAT(partitionsOn(machine, {"/dev/fd0"}), IsEmpty());
}

TEST(EnumPartitions, APathThatOnlyResemblesAFloppyIsRead) {
    FakeOs machine;
    machine.device("dev/fd0", oneByMbr());
    EXPECT_THAT(valuesOf(partitionsOn(machine, {"dev/fd0"}), "DeviceID"), ElementsAre("dev/fd01"));
}

TEST(EnumPartitions, ADeviceThatMayNotBeOpenedIsSkipped) {
    FakeOs machine;
    machine.device("/dev/sda", oneByMbr()).device("/dev/sdb", oneByMbr());
    machine.failCallsLike("open(/dev/sda,", Effect::failsWith(EACCES));
    EXPECT_THAT(valuesOf(partitionsOn(machine, {"/dev/sda", "/dev/sdb"}), "DeviceID"), ElementsAre("/dev/sdb1"));
}

TEST(EnumPartitions, AFailedProbeReadSkipsTheDeviceButClosesIt) {
    FakeOs machine;
    machine.device("/dev/sda", oneByMbr());
    machine.failCallsLike("read(/dev/sda, 16)", Effect::failsWith(EIO));
    EXPECT_THAT(partitionsOn(machine, {"/dev/sda"}), IsEmpty());
    EXPECT_THAT(machine.callTexts(), ElementsAre("open(/dev/sda, O_RDONLY)", "fcntl(/dev/sda, FD_CLOEXEC)",
                                                 "lseek(/dev/sda, 446)", "read(/dev/sda, 16)", "close(/dev/sda)"));
    EXPECT_EQ(diskmgt_col::partitionCountOf("/dev/sda"), 0u);
}

TEST(EnumPartitions, AFailedProbeSeekMeansMbrAndNoProbeRead) {
    FakeOs machine;
    machine.device("/dev/sda", DiskImage().gpt(128).gptEntry(1, "0FC63DAF-8483-4772-8E79-3D69D8477DE4", 1, 2));
    machine.failCall(3, Fault::once);  // open, close-on-exec, the seek to the first slot
    const auto maps = partitionsOn(machine, {"/dev/sda"});
    EXPECT_THAT(valuesOf(maps, "PartitionSubType"), ElementsAre("238"));
    EXPECT_THAT(machine.callTexts(),
                ElementsAre("open(/dev/sda, O_RDONLY)", "fcntl(/dev/sda, FD_CLOEXEC)", "lseek(/dev/sda, 446)",
                            "lseek(/dev/sda, 0)", "lseek(/dev/sda, 446)", "read(/dev/sda, 66)", "close(/dev/sda)"));
}

TEST(EnumPartitions, AnEmptyProbeReadLeadsToAnEmptyMbr) {
    FakeOs machine;
    machine.device("/dev/sda", DiskImage(446));
    EXPECT_THAT(partitionsOn(machine, {"/dev/sda"}), IsEmpty());
    EXPECT_THAT(machine.callTexts(), ElementsAre("open(/dev/sda, O_RDONLY)", "fcntl(/dev/sda, FD_CLOEXEC)",
                                                 "lseek(/dev/sda, 446)", "read(/dev/sda, 16)", "lseek(/dev/sda, 0)",
                                                 "lseek(/dev/sda, 446)", "read(/dev/sda, 66)", "close(/dev/sda)"));
}

TEST(EnumPartitions, ADeviceShorterThanItsTableIsReadFromItsStart) {
    // On so short a device the seek to the table fails, and the read continues where the rewind left off.
    auto image = DiskImage().bytes(4, "\x83").little(12, 5, 4).cutAt(100);
    EXPECT_THAT(valuesOf(partitionsOf(image), "Size"), ElementsAre("2560"));
}

TEST(EnumPartitions, AShortProbeReadThatReachesTheTypeByteIsEnough) {
    const auto image = DiskImage().gpt(128).gptEntry(1, "0FC63DAF-8483-4772-8E79-3D69D8477DE4", 1, 2);
    FakeOs machine;
    machine.device("/dev/sda", image);
    machine.failCallsLike("read(/dev/sda, 16)", Effect::readsAtMost(5));
    EXPECT_THAT(valuesOf(partitionsOn(machine, {"/dev/sda"}), "PartitionType"), ElementsAre("17"));
    machine.heal();
    machine.failCallsLike("read(/dev/sda, 16)", Effect::readsAtMost(4));
    EXPECT_THAT(valuesOf(partitionsOn(machine, {"/dev/sda"}), "PartitionType"), ElementsAre("1"));
}

TEST(EnumPartitions, AFailedCloseOnExecChangesNothing) {
    FakeOs machine;
    machine.device("/dev/sda", oneByMbr());
    machine.failCallsLike("fcntl(");
    EXPECT_EQ(diskmgt_col::PartitionTableParser().enumPartitions({"/dev/sda"}).size(), 1U);
    EXPECT_EQ(machine.openHandles(), 0);
}

TEST(EnumPartitions, AFailedRewindDoesNotChangeAnMbr) {
    FakeOs machine;
    machine.device("/dev/sda", oneByMbr());
    machine.failCallsLike("lseek(/dev/sda, 0)");
    EXPECT_THAT(valuesOf(partitionsOn(machine, {"/dev/sda"}), "DeviceID"), ElementsAre("/dev/sda1"));
}

TEST(EnumPartitions, AnExceptionWhileADeviceIsOpenClosesIt) {
    for (const std::uint64_t readThatThrows : {std::uint64_t{446}, std::uint64_t{512}, std::uint64_t{1024}}) {
        FakeOs machine;
        machine.device("/dev/sda", 1 << 20, [readThatThrows](std::uint64_t offset, char* buffer, std::size_t size) {
            if (offset == readThatThrows) throw std::bad_alloc();
            std::fill_n(buffer, size, offset == 446 ? '\xEE' : '\x01');  // a GPT of some million entries
        });
        EXPECT_THROW((void)diskmgt_col::PartitionTableParser().enumPartitions({"/dev/sda"}), std::bad_alloc);
        EXPECT_EQ(machine.openHandles(), 0) << readThatThrows;
        EXPECT_EQ(machine.staleUses(), 0);
    }
}

/// Disks for every path through the parser: MBR, chain, GPT, NVMe, floppy, missing.
class EnumPartitionsFaults : public ::testing::Test {
protected:
    void SetUp() override {
        const std::string type = "0FC63DAF-8483-4772-8E79-3D69D8477DE4";
        machine.device("/dev/sda", DiskImage()
                                       .slot(0, 0x83, 1, 1)
                                       .slot(1, 0x05, 10, 20)
                                       .slot(0, 0x83, 1, 1, 10)
                                       .slot(1, 0x05, 5, 1, 10)
                                       .slot(0, 0x83, 1, 2, 15));
        machine.device("/dev/sdb", DiskImage().gpt(128).gptEntry(1, type, 1, 2).gptEntry(3, type, 3, 4));
        machine.device("/dev/nvme0n1", DiskImage().gpt(4).gptEntry(1, type, 1, 2)).node("/dev/nvme0n1p1");
        machine.device("/dev/nvme1n1", oneByMbr());
        machine.device("/dev/fd0", DiskImage());
    }

    PropertyMaps enumerate() {
        return diskmgt_col::PartitionTableParser().enumPartitions(
            {"/dev/sda", "/dev/none", "/dev/sdb", "/dev/nvme0n1", "/dev/fd0", "/dev/nvme1n1"});
    }

    /// One enumeration per disk, so that each map belongs to a known disk.
    std::map<std::string, PropertyMaps> byDisk() {
        std::map<std::string, PropertyMaps> found;
        for (const std::string disk : {"/dev/sda", "/dev/sdb", "/dev/nvme0n1", "/dev/fd0", "/dev/nvme1n1"})
            found[disk] = diskmgt_col::PartitionTableParser().enumPartitions({disk});
        return found;
    }

    FakeOs machine;
};

TEST_F(EnumPartitionsFaults, EveryFailedCallLeaksNothingAndAffectsNoOtherDisk) {
    const auto clean = byDisk();
    const int calls = machine.calls();
    ASSERT_GT(calls, 40);
    for (const Fault how : {Fault::once, Fault::fromThenOn})
        for (const Effect effect : {Effect::failsWith(EIO), Effect::readsAtMost(0), Effect::readsAtMost(7)})
            for (int n = 1; n <= calls; ++n) {
                SCOPED_TRACE("failing call " + std::to_string(n) + " of " + std::to_string(calls));
                machine.failCall(n, how, effect);
                const auto found = byDisk();
                EXPECT_EQ(machine.openHandles(), 0);
                EXPECT_EQ(machine.staleUses(), 0);
                if (how == Fault::fromThenOn) continue;
                ASSERT_EQ(machine.hitPaths().size(), 1U);
                for (const auto& [disk, maps] : clean) {
                    const bool isHit = machine.hitPaths()[0].compare(0, disk.size(), disk) == 0;
                    if (!isHit) {
                        EXPECT_EQ(found.at(disk), maps) << disk;
                    }
                }
            }
    machine.heal();
    EXPECT_EQ(byDisk(), clean);
}

TEST_F(EnumPartitionsFaults, OneEnumerationOfAllDisksClosesEverything) {
    const auto clean = enumerate();
    const int calls = machine.calls();
    for (const Fault how : {Fault::once, Fault::fromThenOn})
        for (int n = 1; n <= calls; ++n) {
            SCOPED_TRACE("failing call " + std::to_string(n) + " of " + std::to_string(calls));
            machine.failCall(n, how);
            const auto found = enumerate();
            EXPECT_EQ(machine.openHandles(), 0);
            EXPECT_EQ(machine.staleUses(), 0);
            EXPECT_LE(found.size(), clean.size() + 4);  // a GPT read as an MBR shows at most its protective entry
        }
    machine.heal();
    EXPECT_EQ(enumerate(), clean);
}

TEST_F(EnumPartitionsFaults, ParsersShareNoState) {
    diskmgt_col::PartitionTableParser parser;
    const auto first = parser.enumPartitions({"/dev/sda", "/dev/sdb"});
    EXPECT_EQ(parser.enumPartitions({"/dev/sda", "/dev/sdb"}), first);
    EXPECT_EQ(diskmgt_col::PartitionTableParser().enumPartitions({"/dev/sda", "/dev/sdb"}), first);
}

}  // namespace
