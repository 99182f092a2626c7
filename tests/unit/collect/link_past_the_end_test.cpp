// Tables that lie past the end of the disk: their seek fails, and the read continues where the last one ended.
#include <gmock/gmock.h>

#include <cstring>

#include "tests/unit/collect/partition_fixture.h"

namespace {

using diskmgt_test::DiskImage;
using diskmgt_test::entriesAt;
using diskmgt_test::FakeOs;
using diskmgt_test::partitionsOf;
using diskmgt_test::partitionsOn;
using diskmgt_test::valuesOf;
using ::testing::ElementsAre;
using ::testing::SizeIs;

/// Sizes of the entries in sectors, which identify them.
std::vector<std::uint32_t> sectorCounts(const std::vector<diskmgt_col::PartitionDescriptor>& entries) {
    std::vector<std::uint32_t> counts;
    for (const auto& entry : entries) counts.push_back(entry.sectorCount);
    return counts;
}

std::vector<std::uint32_t> chainOf(const DiskImage& image, std::uint64_t firstSector) {
    FakeOs machine;
    machine.device("/dev/sda", image);
    return sectorCounts(entriesAt(firstSector, true));
}

/// The 16 bytes of a slot.
std::string slotBytes(char type, std::uint32_t start, std::uint32_t count) {
    std::string bytes(16, '\0');
    bytes[4] = type;
    std::memcpy(bytes.data() + 8, &start, sizeof start);
    std::memcpy(bytes.data() + 12, &count, sizeof count);
    return bytes;
}

constexpr std::uint32_t kBehindEverything = 1000;  // a sector

TEST(ExtendedChain, ALinkPastTheEndOfTheDiskIsReadWhereTheLastReadEnded) {
    // The table in sector 100 ends with it, so the next one is read at the start of sector 101. It links in turn.
    EXPECT_THAT(
        chainOf(DiskImage(103 * 512)
                    .slot(0, 0x83, 1, 11, 100)
                    .slot(1, 0x05, kBehindEverything, 1, 100)
                    .bytes(101 * 512, slotBytes('\x83', 1, 12) + slotBytes('\x0F', kBehindEverything, 1))
                    .bytes(101 * 512 + 66, slotBytes('\0', 0, 0) + slotBytes('\x83', 1, 13) + slotBytes('\x05', 2, 1))
                    .slot(3, 0x83, 1, 14, 102),
                100),
        ElementsAre(11U, 12U, 13U, 14U));
}

TEST(ExtendedChain, ALinkPastTheEndFromTheLastTableOfTheDiskEndsTheWalk) {
    EXPECT_THAT(chainOf(DiskImage(101 * 512).slot(0, 0x83, 1, 11, 100).slot(1, 0x05, kBehindEverything, 1, 100), 100),
                ElementsAre(11U));
}

TEST(ExtendedChain, AWalkThatAlwaysLinksPastTheEndEndsWithTheDisk) {
    FakeOs machine;
    constexpr std::uint64_t kSectors = 64;
    machine.device("/dev/sda", kSectors * 512, [](std::uint64_t, char* buffer, std::size_t size) {
        const std::string table =
            slotBytes('\x83', 1, 1) + slotBytes('\x05', kBehindEverything, 1) + std::string(34, 0);
        std::memcpy(buffer, table.data(), size);
    });
    // Table after table from the slots of sector 0 on; the last has room for both slots.
    EXPECT_THAT(entriesAt(0, true), SizeIs((kSectors * 512 - 446 + 65) / 66));
}

TEST(ExtendedChain, ACycleThroughALinkPastTheEndEndsAtATableAlreadyRead) {
    const auto image = DiskImage(103 * 512)
                           .slot(0, 0x83, 1, 11, 100)
                           .slot(1, 0x05, kBehindEverything, 1, 100)
                           .bytes(101 * 512, slotBytes('\x83', 1, 12) + slotBytes('\x05', 0, 1));
    EXPECT_THAT(chainOf(image, 100), ElementsAre(11U, 12U));
    // The first table of this walk is itself read where the last read ended; no link leads there again.
    const auto maps = partitionsOf(DiskImage(4 * 512)
                                       .slot(0, 0x05, kBehindEverything, 1)
                                       .bytes(512, slotBytes('\x83', 1, 12) + slotBytes('\x05', 0, 1)));
    EXPECT_THAT(valuesOf(maps, "DeviceID"), ElementsAre("/dev/sda5", "/dev/sda1"));
}

TEST(ExtendedChain, ALinkToATableReachedBySequentialReadingEndsTheWalk) {
    // 256 tables of 66 bytes, each of which links past the end: the next one lies at the slots of sector 33.
    constexpr std::uint64_t kSector = 33;
    DiskImage image((kSector + 1) * 512);
    image.slot(0, 0x05, kBehindEverything, 1, 0);
    for (std::uint64_t table = 1; table < 256; ++table)
        image.bytes(446 + table * 66, slotBytes('\x05', kBehindEverything, 1));
    image.slot(0, 0x83, 1, 11, kSector).slot(1, 0x05, kSector, 1, kSector);
    EXPECT_THAT(chainOf(image, 0), ElementsAre(11U));
}

TEST(ExtendedChain, WhenEverySeekFailsTheWalkEndsWithTheDisk) {
    FakeOs machine;
    DiskImage image(4 * 512);
    for (std::uint64_t table = 0; table * 66 < 4 * 512; ++table)
        image.bytes(table * 66, slotBytes('\x83', 1, 1) + slotBytes('\x05', 0, 1));
    machine.device("/dev/sda", image.cutAt(4 * 512)).failCallsLike("lseek(");
    EXPECT_THAT(entriesAt(0, true), SizeIs(4 * 512 / 66));
}

TEST(ExtendedChain, ALinkPastTheEndOfAFileEndsTheWalk) {
    FakeOs machine;
    machine.file("/dev/sda", DiskImage(102 * 512).slot(0, 0x83, 1, 11, 100).slot(1, 0x05, 1000, 1, 100).allBytes());
    EXPECT_THAT(sectorCounts(entriesAt(100, true)), ElementsAre(11U));
}

TEST(ExtendedChain, AFailedSeekToALinkReadsWhereTheLastReadEnded) {
    FakeOs machine;
    machine.device("/dev/sda", DiskImage()
                                   .slot(0, 0x83, 1, 11, 100)
                                   .slot(1, 0x05, 10, 1, 100)
                                   .slot(0, 0x83, 1, 12, 110)
                                   .bytes(101 * 512, slotBytes('\x83', 1, 13)));
    machine.failCall(4, diskmgt_test::Fault::once);
    EXPECT_THAT(sectorCounts(entriesAt(100, true)), ElementsAre(11U, 13U));
}

TEST(PartitionTableParser, FirstReadOfATableGoesOnWhereTheLastEndedWhenItsSeekFails) {
    // The extended partition lies past the end of the disk, so its table is read behind the MBR's, from byte 512 on.
    const auto maps = partitionsOf(
        DiskImage(4 * 512).slot(0, 0x05, 1000, 1).bytes(512 + 4, "\x83").little(512 + 8, 2, 4).little(512 + 12, 3, 4));
    EXPECT_THAT(valuesOf(maps, "DeviceID"), ElementsAre("/dev/sda5", "/dev/sda1"));
    EXPECT_THAT(valuesOf(maps, "Size"), ElementsAre("1536", "512"));
}

TEST(PartitionTableParser, AFileHasNoEndForSeeksSoSuchAnExtendedPartitionIsEmpty) {
    FakeOs machine;
    machine.file("/dev/sda", DiskImage(4 * 512).slot(0, 0x05, 1000, 1).bytes(512 + 4, "\x83").allBytes());
    EXPECT_THAT(valuesOf(partitionsOn(machine, {"/dev/sda"}), "DeviceID"), ElementsAre("/dev/sda1"));
}

}  // namespace
