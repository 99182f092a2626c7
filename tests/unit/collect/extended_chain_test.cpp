// The walk along extended boot records: which entries are links, what ends the walk, hostile chains.
#include <gmock/gmock.h>

#include <cstring>

#include "tests/unit/collect/partition_fixture.h"

namespace {

using diskmgt_test::DiskImage;
using diskmgt_test::Effect;
using diskmgt_test::entriesAt;
using diskmgt_test::FakeOs;
using diskmgt_test::partitionsOf;
using diskmgt_test::partitionsOn;
using diskmgt_test::valuesOf;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace os = diskmgt_col::os;

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

TEST(ExtendedChain, EveryLinkIsRelativeToTheFirstRecord) {
    EXPECT_THAT(chainOf(DiskImage()
                            .slot(0, 0x83, 1, 11, 100)
                            .slot(1, 0x05, 50, 1, 100)  // 150
                            .slot(0, 0x83, 1, 12, 150)
                            .slot(1, 0x05, 20, 1, 150)  // 120, not 170
                            .slot(0, 0x83, 1, 13, 120)
                            .slot(0, 0x83, 1, 99, 170),
                        100),
                ElementsAre(11U, 12U, 13U));
}

TEST(ExtendedChain, EntriesBehindALinkAreNotExamined) {
    EXPECT_THAT(chainOf(DiskImage()
                            .slot(0, 0x83, 1, 11, 100)
                            .slot(1, 0x0F, 10, 1, 100)
                            .slot(2, 0x83, 1, 98, 100)
                            .slot(3, 0x05, 20, 1, 100)
                            .slot(3, 0x83, 1, 12, 110)
                            .slot(0, 0x83, 1, 99, 120),
                        100),
                ElementsAre(11U, 12U));
}

TEST(ExtendedChain, FreeSlotsAreSkippedAndAllFourSlotsCount) {
    EXPECT_THAT(chainOf(DiskImage()
                            .slot(1, 0x83, 1, 11, 100)
                            .slot(2, 0x85, 1, 12, 100)  // not a link
                            .slot(3, 0x05, 10, 1, 100)
                            .slot(0, 0xEE, 1, 13, 110)
                            .slot(3, 0x83, 1, 14, 110),
                        100),
                ElementsAre(11U, 12U, 13U, 14U));
}

TEST(ExtendedChain, AFreeSlotWithAStartIsNotALink) {
    EXPECT_THAT(chainOf(DiskImage().slot(0, 0x00, 10, 5, 100).slot(0, 0x83, 1, 99, 110), 100), IsEmpty());
}

TEST(ExtendedChain, LinksReachBeyondTwoTebibytes) {
    constexpr std::uint64_t kFirst = 0xFFFFFFFF;
    EXPECT_THAT(chainOf(DiskImage()
                            .slot(0, 0x83, 1, 11, kFirst)
                            .slot(1, 0x05, 0xFFFFFFFF, 1, kFirst)
                            .slot(0, 0x83, 1, 12, kFirst * 2),
                        kFirst),
                ElementsAre(11U, 12U));
}

TEST(ExtendedChain, ItsFirstRecordMayLieBeyondTwoTebibytes) {
    constexpr std::uint64_t kFirst = 0x100000010;
    EXPECT_THAT(chainOf(DiskImage()
                            .slot(0, 0x83, 1, 11, kFirst)
                            .slot(1, 0x05, 5, 1, kFirst)
                            .slot(0, 0x83, 1, 12, kFirst + 5)
                            .slot(0, 0x83, 1, 99, 0x15),
                        kFirst),
                ElementsAre(11U, 12U));
}

TEST(ExtendedChain, MakesOneSeekAndOneReadPerTable) {
    FakeOs machine;
    machine.device("/dev/sda", DiskImage().slot(1, 0x05, 8, 1, 16).slot(0, 0x83, 1, 1, 24));
    (void)entriesAt(16, true);
    EXPECT_THAT(machine.callTexts(),
                ElementsAre("open(/dev/sda, O_RDONLY)", "lseek(/dev/sda, 8638)", "read(/dev/sda, 66)",
                            "lseek(/dev/sda, 12734)", "read(/dev/sda, 66)", "close(/dev/sda)"));
}

struct CycleCase {
    const char* label;
    DiskImage image;
    std::uint64_t firstSector;
    std::vector<std::uint32_t> found;
};

class Cycle : public ::testing::TestWithParam<CycleCase> {};

TEST_P(Cycle, EndsAtATableAlreadyRead) {
    EXPECT_EQ(chainOf(GetParam().image, GetParam().firstSector), GetParam().found);
}

INSTANTIATE_TEST_SUITE_P(
    ExtendedChain, Cycle,
    ::testing::Values(
        CycleCase{"a_first_record_that_links_to_itself",
                  DiskImage().slot(0, 0x83, 1, 11, 100).slot(1, 0x05, 0, 1, 100),
                  100,
                  {11}},
        CycleCase{"a_later_record_that_links_to_itself",
                  DiskImage().slot(0, 0x05, 5, 1, 100).slot(0, 0x83, 1, 11, 105).slot(1, 0x05, 5, 1, 105),
                  100,
                  {11}},
        CycleCase{"two_records_that_link_to_each_other",
                  DiskImage()
                      .slot(0, 0x83, 1, 11, 100)
                      .slot(1, 0x05, 5, 1, 100)
                      .slot(0, 0x83, 1, 12, 105)
                      .slot(1, 0x0F, 0, 1, 105),
                  100,
                  {11, 12}},
        CycleCase{"a_cycle_entered_from_outside",
                  DiskImage()
                      .slot(0, 0x83, 1, 11, 100)
                      .slot(1, 0x05, 5, 1, 100)
                      .slot(0, 0x83, 1, 12, 105)
                      .slot(1, 0x05, 6, 1, 105)
                      .slot(0, 0x83, 1, 13, 106)
                      .slot(1, 0x05, 5, 1, 106),
                  100,
                  {11, 12, 13}},
        CycleCase{"a_walk_that_begins_in_the_first_sector_and_returns_there",
                  DiskImage().slot(0, 0x83, 1, 11).slot(1, 0x05, 5, 1).slot(0, 0x83, 1, 12, 5).slot(1, 0x05, 0, 1, 5),
                  0,
                  {11, 12}}),
    [](const auto& row) { return std::string(row.param.label); });

TEST(ExtendedChain, AnExtendedEntryThatPointsAtTheMbrEndsWhenItsWalkReturnsThere) {
    const auto maps = partitionsOf(DiskImage().slot(0, 0x0F, 0, 100).slot(1, 0x83, 10, 1));
    EXPECT_THAT(valuesOf(maps, "DeviceID"), ElementsAre("/dev/sda1", "/dev/sda2"));
    EXPECT_THAT(valuesOf(maps, "PartitionType"), ElementsAre("2", "1"));
}

TEST(ExtendedChain, TwoWalksOverTheSameRecordsAreIndependent) {
    const auto maps = partitionsOf(
        DiskImage().slot(0, 0x05, 100, 100).slot(1, 0x05, 100, 100).slot(0, 0x83, 1, 5, 100).slot(1, 0x05, 0, 1, 100));
    EXPECT_THAT(valuesOf(maps, "DeviceID"), ElementsAre("/dev/sda5", "/dev/sda1", "/dev/sda5", "/dev/sda2"));
}

/// A disk whose every sector is a table that links to the next one; `entriesPerTable` used slots come before the
/// link, and before them as many free ones. The last sector's table has one entry, of 7 sectors, and no link.
void describeLongChain(FakeOs& machine, std::uint64_t sectors, unsigned entriesPerTable, unsigned freeSlots = 0) {
    machine.keepNoTexts().device(
        "/dev/sda", sectors * 512,
        [sectors, entriesPerTable, freeSlots](std::uint64_t offset, char* buffer, std::size_t size) {
            std::memset(buffer, 0, size);
            const auto next = static_cast<std::uint32_t>(offset / 512 + 1);
            if (next == sectors) {
                buffer[4] = '\x83';
                buffer[12] = 7;
                return;
            }
            const unsigned link = freeSlots + entriesPerTable;
            for (unsigned slot = freeSlots; slot < link; ++slot) buffer[slot * 16 + 4] = '\x83';
            buffer[link * 16 + 4] = '\x05';
            std::memcpy(buffer + link * 16 + 8, &next, sizeof next);  // the walk begins in sector 0
        });
}

TEST(ExtendedChain, AMillionLinksAreFollowedToTheEnd) {
    FakeOs machine;
    constexpr std::uint64_t kLinks = std::uint64_t{1} << 20;
    describeLongChain(machine, kLinks + 1, 0);
    EXPECT_THAT(sectorCounts(entriesAt(0, true)), ElementsAre(7U));
}

TEST(ExtendedChain, OneLinkMoreThanTheBoundIsNotFollowed) {
    FakeOs machine;
    describeLongChain(machine, (std::uint64_t{1} << 20) + 2, 0);
    EXPECT_THAT(entriesAt(0, true), IsEmpty());  // the only entry is behind it
}

TEST(ExtendedChain, ALinkToATableWithAFreeFirstSlotCountsLikeAnyOther) {
    constexpr std::uint64_t kLinks = std::uint64_t{1} << 20;
    FakeOs machine;
    describeLongChain(machine, kLinks + 1, 0, 1);
    EXPECT_THAT(sectorCounts(entriesAt(0, true)), ElementsAre(7U));
    describeLongChain(machine, kLinks + 2, 0, 1);
    EXPECT_THAT(entriesAt(0, true), IsEmpty());
}

TEST(ExtendedChain, TheWalkEndsAtTheBoundOfEntries) {
    FakeOs machine;
    describeLongChain(machine, std::uint64_t{1} << 32, 2);
    EXPECT_THAT(entriesAt(0, true), SizeIs(262144));
}

TEST(ExtendedChain, AQuarterOfAMillionEntriesAreCollected) {
    FakeOs machine;
    describeLongChain(machine, 262143 / 3 + 1, 3);  // three per table, one in the last
    const auto entries = entriesAt(0, true);
    ASSERT_THAT(entries, SizeIs(262144));
    EXPECT_EQ(entries.back().sectorCount, 7U);
}

TEST(ExtendedChain, AHugeChainEndsAndKeepsWhatItCollected) {
    FakeOs machine;
    describeLongChain(machine, std::uint64_t{1} << 32, 0);
    EXPECT_THAT(entriesAt(0, true), IsEmpty());
    EXPECT_LE(machine.calls(), 3 * (1 << 20));  // ended well before the end of the disk
    describeLongChain(machine, std::uint64_t{1} << 32, 3);
    const auto entries = entriesAt(0, true);
    EXPECT_GE(entries.size(), 262144U);
    EXPECT_LE(entries.size(), 262144U + 3);  // the table that reached the bound counts in full
}

TEST(ExtendedChain, TheBoundsCountForAllChainsOfADiskTogether) {
    FakeOs machine;
    // Four extended partitions. Two begin in sector 1, from where every record links to the next sector; the others
    // begin with a partition.
    constexpr std::uint32_t kElsewhere = 1U << 30;
    machine.keepNoTexts().device("/dev/sda", std::uint64_t{1} << 41,
                                 [](std::uint64_t offset, char* buffer, std::size_t size) {
                                     std::memset(buffer, 0, size);
                                     const auto sector = static_cast<std::uint32_t>(offset / 512);
                                     for (unsigned slot = 0; slot < 4 && slot * 16 + 16 <= size; ++slot) {
                                         const std::uint32_t start = sector != 0 ? sector : slot < 2 ? 1 : kElsewhere;
                                         buffer[slot * 16 + 4] = sector < kElsewhere ? '\x05' : '\x83';
                                         std::memcpy(buffer + slot * 16 + 8, &start, sizeof start);
                                     }
                                 });
    const auto maps = partitionsOn(machine, {"/dev/sda"});
    EXPECT_THAT(valuesOf(maps, "PartitionType"), ElementsAre("2", "2", "2", "2"));
    EXPECT_LE(machine.calls(), 3 * (1 << 20));  // a seek and a read for each link of one chain, not of four
}

TEST(ExtendedChain, LinksOutOfTheDiskDoNotCountTowardsTheBounds) {
    // The first chain has one link less than the bound allows, then one to the end of the disk.
    constexpr std::uint32_t kChain = 1U << 21;
    constexpr std::uint64_t kEnd = std::uint64_t{kChain} + diskmgt_col::kMaxChainLinks;
    FakeOs machine;
    machine.keepNoTexts().device("/dev/sda", kEnd * 512 + 446,
                                 [](std::uint64_t offset, char* buffer, std::size_t size) {
                                     std::memset(buffer, 0, size);
                                     const auto sector = static_cast<std::uint32_t>(offset / 512);
                                     const auto put = [&](unsigned slot, char type, std::uint32_t start) {
                                         if (slot * 16 + 16 > size) return;
                                         buffer[slot * 16 + 4] = type;
                                         std::memcpy(buffer + slot * 16 + 8, &start, sizeof start);
                                     };
                                     if (sector == 0) put(0, '\x05', kChain), put(1, '\x05', 1);
                                     if (sector == 1) put(0, '\x83', 1);
                                     if (sector >= kChain) put(0, '\x05', sector - kChain + 1);
                                 });
    EXPECT_THAT(valuesOf(partitionsOn(machine, {"/dev/sda"}), "PartitionType"), ElementsAre("2", "3", "2"));
}

TEST(ExtendedChain, AFailedReadOfALinkKeepsWhatWasCollected) {
    FakeOs machine;
    machine.device("/dev/sda",
                   DiskImage().slot(0, 0x83, 1, 11, 100).slot(1, 0x05, 10, 1, 100).slot(0, 0x83, 1, 12, 110));
    machine.failCall(5, diskmgt_test::Fault::once);  // open, seek, read, then the link's seek and read
    EXPECT_THAT(sectorCounts(entriesAt(100, true)), ElementsAre(11U));
}

TEST(ExtendedChain, AFailedFirstReadGivesNothing) {
    FakeOs machine;
    machine.device("/dev/sda", DiskImage().slot(0, 0x83, 1, 11, 100));
    machine.failCallsLike("read(", Effect::failsWith(EIO));
    EXPECT_THAT(entriesAt(100, true), IsEmpty());
    EXPECT_THAT(entriesAt(100, false), IsEmpty());
}

TEST(ExtendedChain, ATruncatedTableIsNotCompletedFromTheOneBefore) {
    // The linked table ends after its second slot. The table before it has used entries in all four slots.
    auto image = DiskImage().slot(0, 0x83, 1, 11, 4).slot(1, 0x83, 1, 12, 4).slot(2, 0x83, 1, 13, 4);
    image.slot(3, 0x05, 2, 1, 4).slot(0, 0x83, 1, 14, 6).slot(1, 0x83, 1, 15, 6).cutAt(6 * 512 + 446 + 32);
    EXPECT_THAT(chainOf(image, 4), ElementsAre(11U, 12U, 13U, 14U, 15U));
}

TEST(ExtendedChain, ATableCutAtAnyLengthGivesTheSlotsThatAreThere) {
    for (std::uint64_t length = 0; length <= 66; ++length) {
        DiskImage image;
        for (unsigned slot = 0; slot < 4; ++slot) image.slot(slot, 0x83, 1, 1, 3);
        image.cutAt(3 * 512 + 446 + length);
        const std::size_t slotsWithType = length < 5 ? 0 : (length - 5) / 16 + 1;
        EXPECT_THAT(chainOf(image, 3), SizeIs(std::min<std::size_t>(slotsWithType, 4))) << length << " bytes";
    }
}

}  // namespace
