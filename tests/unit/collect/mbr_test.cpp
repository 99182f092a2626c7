// Primary, extended and logical partitions of MBR disks.
#include <gmock/gmock.h>

#include <locale>

#include "tests/unit/collect/partition_fixture.h"

namespace {

using diskmgt_col::PartitionTableParser;
using diskmgt_test::DiskImage;
using diskmgt_test::FakeOs;
using diskmgt_test::partitionsOf;
using diskmgt_test::partitionsOn;
using diskmgt_test::PropertyMap;
using diskmgt_test::PropertyMaps;
using diskmgt_test::valueOf;
using diskmgt_test::valuesOf;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace os = diskmgt_col::os;

TEST(PartitionTableParser, DescribesAnMbrPartitionWithEightPairs) {
    const PropertyMap expected{{"PartitionType", "1"},        {"PartitionSubType", "131"}, {"Size", "536870912"},
                               {"Bootable", "true"},          {"DeviceID", "/dev/sda1"},   {"ElementName", "/dev/sda1"},
                               {"StartingOffset", "1049022"}, {"FaultTolerant", "false"}};
    EXPECT_THAT(partitionsOf(DiskImage().slot(0, 0x83, 2048, 1048576, 0, 0x80)), ElementsAre(expected));
}

TEST(PartitionTableParser, MbrNumbersHaveNoDigitGroupsInAnyProcessLocale) {
    struct Grouped : std::numpunct<char> {
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\3"; }
    };
    const auto image = DiskImage().slot(0, 0x83, 2048, 1048576, 0, 0x80);
    const auto plain = partitionsOf(image);
    const std::locale before = std::locale::global(std::locale(std::locale::classic(), new Grouped));
    const auto grouped = partitionsOf(image);
    std::locale::global(before);
    EXPECT_EQ(grouped, plain);
    EXPECT_THAT(valuesOf(grouped, "Size"), ElementsAre("536870912"));
}

TEST(PartitionTableParser, MbrStartingOffsetWrapsAt32BitsAndAdds446) {
    const auto maps = partitionsOf(DiskImage()
                                       .slot(0, 0x83, 2048, 1)
                                       .slot(1, 0x83, 8388608, 1)  // 2^32 bytes in
                                       .slot(2, 0x83, 8388607, 1)  // the last sector below
                                       .slot(3, 0x83, 0xFFFFFFFF, 1));
    EXPECT_THAT(valuesOf(maps, "StartingOffset"), ElementsAre("1049022", "446", "4294967230", "4294967230"));
}

TEST(PartitionTableParser, MbrSizeIs64Bits) {
    const auto maps = partitionsOf(
        DiskImage().slot(0, 0x83, 1, 0xFFFFFFFF).slot(1, 0x83, 1, 8388608).slot(2, 0x83, 1, 0).slot(3, 0x83, 1, 1));
    EXPECT_THAT(valuesOf(maps, "Size"), ElementsAre("2199023255040", "4294967296", "0", "512"));
}

TEST(PartitionTableParser, AnyNonZeroBootIndicatorIsBootable) {
    const auto maps = partitionsOf(DiskImage()
                                       .slot(0, 0x83, 1, 1, 0, 0x80)
                                       .slot(1, 0x83, 1, 1, 0, 0x00)
                                       .slot(2, 0x83, 1, 1, 0, 0x01)
                                       .slot(3, 0x83, 1, 1, 0, 0xFF));
    EXPECT_THAT(valuesOf(maps, "Bootable"), ElementsAre("true", "false", "true", "true"));
}

TEST(PartitionTableParser, EveryTypeByteButThoseOfExtendedPartitionsIsPrimary) {
    for (int type = 1; type <= 255; ++type) {
        SCOPED_TRACE(type);
        const auto maps = partitionsOf(DiskImage().slot(1, static_cast<std::uint8_t>(type), 100, 7));
        ASSERT_THAT(maps, SizeIs(1));
        EXPECT_EQ(valueOf(maps[0], "PartitionType"), type == 0x05 || type == 0x0F ? "2" : "1");
        EXPECT_EQ(valueOf(maps[0], "PartitionSubType"), std::to_string(type));
    }
}

TEST(PartitionTableParser, Type0x85IsAnOrdinaryPrimaryPartition) {
    const auto maps = partitionsOf(DiskImage().slot(0, 0x85, 64, 512).slot(0, 0x83, 1, 1, 64));
    EXPECT_THAT(valuesOf(maps, "PartitionSubType"), ElementsAre("133"));  // its chain is not followed
    EXPECT_THAT(valuesOf(maps, "PartitionType"), ElementsAre("1"));
}

TEST(PartitionTableParser, AProtectiveEntryBehindTheFirstSlotIsPrimary) {
    for (const unsigned slot : {1U, 2U, 3U}) {
        const auto maps = partitionsOf(
            DiskImage().slot(slot, 0xEE, 1, 9).gptCount(128).gptEntry(1, "0FC63DAF-8483-4772-8E79-3D69D8477DE4", 1, 2));
        EXPECT_THAT(valuesOf(maps, "PartitionSubType"), ElementsAre("238")) << "slot " << slot;
        EXPECT_THAT(valuesOf(maps, "PartitionType"), ElementsAre("1"));
    }
}

TEST(PartitionTableParser, NamesFollowTheUsedEntriesNotTheSlots) {
    const auto maps = partitionsOf(DiskImage().slot(1, 0x83, 10, 1).slot(3, 0x82, 20, 1));
    EXPECT_THAT(valuesOf(maps, "DeviceID"), ElementsAre("/dev/sda1", "/dev/sda2"));
    EXPECT_THAT(valuesOf(maps, "ElementName"), ElementsAre("/dev/sda1", "/dev/sda2"));
    EXPECT_THAT(valuesOf(maps, "PartitionSubType"), ElementsAre("131", "130"));
}

TEST(PartitionTableParser, AnAllZeroTableGivesNothing) { EXPECT_THAT(partitionsOf(DiskImage()), IsEmpty()); }

TEST(PartitionTableParser, NeitherBootCodeNorSignatureMatter) {
    const auto plain = partitionsOf(DiskImage().slot(0, 0x83, 2048, 8));
    const auto decorated =
        partitionsOf(DiskImage().bytes(0, std::string(446, '\xEE')).slot(0, 0x83, 2048, 8).bytes(510, "\x55\xAA"));
    EXPECT_EQ(plain, decorated);
}

TEST(PartitionTableParser, LogicalPartitionsComeBeforeTheirExtendedOne) {
    const auto maps = partitionsOf(DiskImage()
                                       .slot(0, 0x83, 10, 10)
                                       .slot(1, 0x05, 100, 300)
                                       .slot(2, 0x82, 500, 10)
                                       .slot(3, 0x07, 600, 10)
                                       .slot(0, 0x83, 1, 50, 100)
                                       .slot(1, 0x05, 100, 100, 100)  // to sector 200
                                       .slot(0, 0x8E, 2, 60, 200)
                                       .slot(1, 0x0F, 200, 100, 200)  // to sector 300
                                       .slot(0, 0xFD, 3, 70, 300));
    EXPECT_THAT(valuesOf(maps, "DeviceID"),
                ElementsAre("/dev/sda1", "/dev/sda5", "/dev/sda6", "/dev/sda7", "/dev/sda2", "/dev/sda3", "/dev/sda4"));
    EXPECT_THAT(valuesOf(maps, "PartitionType"), ElementsAre("1", "3", "3", "3", "2", "1", "1"));
    EXPECT_THAT(valuesOf(maps, "PartitionSubType"), ElementsAre("131", "131", "142", "253", "5", "130", "7"));
    // As stored, so relative to the logical partition's own extended boot record.
    EXPECT_THAT(valuesOf(maps, "StartingOffset"),
                ElementsAre("5566", "958", "1470", "1982", "51646", "256446", "307646"));
}

TEST(PartitionTableParser, BothExtendedTypesAreWalked) {
    for (const std::uint8_t type : {std::uint8_t{0x05}, std::uint8_t{0x0F}}) {
        const auto maps = partitionsOf(DiskImage().slot(0, type, 100, 300).slot(0, 0x83, 1, 50, 100));
        EXPECT_THAT(valuesOf(maps, "DeviceID"), ElementsAre("/dev/sda5", "/dev/sda1"));
        EXPECT_THAT(valuesOf(maps, "PartitionType"), ElementsAre("3", "2"));
    }
}

TEST(PartitionTableParser, TwoExtendedPartitionsNumberTheirLogicalOnesFromFiveEach) {
    const auto maps = partitionsOf(DiskImage()
                                       .slot(0, 0x05, 100, 100)
                                       .slot(1, 0x0F, 300, 100)
                                       .slot(0, 0x83, 1, 50, 100)
                                       .slot(0, 0x83, 1, 60, 300)
                                       .slot(1, 0x83, 1, 70, 300));
    EXPECT_THAT(valuesOf(maps, "DeviceID"),
                ElementsAre("/dev/sda5", "/dev/sda1", "/dev/sda5", "/dev/sda6", "/dev/sda2"));
    EXPECT_THAT(valuesOf(maps, "Size"), ElementsAre("25600", "51200", "30720", "35840", "51200"));
}

TEST(PartitionTableParser, AnExtendedPartitionWithoutLogicalOnesIsReportedAlone) {
    const auto maps = partitionsOf(DiskImage().slot(0, 0x05, 100, 100));
    EXPECT_THAT(valuesOf(maps, "DeviceID"), ElementsAre("/dev/sda1"));
    EXPECT_THAT(valuesOf(maps, "PartitionType"), ElementsAre("2"));
}

TEST(PartitionTableParser, AnExtendedPartitionAtSectorZeroHasPrimaryContents) {
    // The kind follows the sector of the table, and this chain begins in the MBR itself.
    const auto maps = partitionsOf(DiskImage().slot(0, 0x83, 10, 1).slot(1, 0x05, 0, 100).slot(2, 0x82, 20, 1));
    EXPECT_THAT(valuesOf(maps, "DeviceID"), ElementsAre("/dev/sda1", "/dev/sda5", "/dev/sda2", "/dev/sda3"));
    EXPECT_THAT(valuesOf(maps, "PartitionType"), ElementsAre("1", "1", "2", "1"));
}

TEST(PartitionTableParser, TheEntriesOfAPlainTableIncludeExtendedOnesUnchanged) {
    FakeOs machine;
    machine.device("/dev/sda", DiskImage().slot(0, 0x05, 7, 8, 0, 0x80).slot(3, 0x83, 9, 10));
    const auto entries = diskmgt_test::entriesAt(0, false);
    ASSERT_THAT(entries, SizeIs(2));
    EXPECT_EQ(entries[0].partitionTypeId, 0x05);
    EXPECT_EQ(entries[0].bootIndicator, 0x80);
    EXPECT_EQ(entries[0].startSector, 7U);
    EXPECT_EQ(entries[0].sectorCount, 8U);
    EXPECT_EQ(entries[1].partitionTypeId, 0x83);
    EXPECT_THAT(machine.callTexts(), ElementsAre("open(/dev/sda, O_RDONLY)", "lseek(/dev/sda, 446)",
                                                 "read(/dev/sda, 66)", "close(/dev/sda)"));
}

struct StartCase {
    const char* label;
    long long startSector;
    const char* firstName;
};

class TableElsewhere : public ::testing::TestWithParam<StartCase> {};

TEST_P(TableElsewhere, NumbersFromFourTimesItsSectorAsA32BitNumber) {
    FakeOs machine;
    machine.device("/dev/sda", std::uint64_t{1} << 50, [](std::uint64_t, char* buffer, std::size_t size) {
        std::fill_n(buffer, size, '\0');
        buffer[4] = '\x83';  // every table has one entry, in its first slot
    });
    const int fd = os::openFile("/dev/sda", 0);
    std::string path = "/dev/sda";
    const auto maps = PartitionTableParser().parsePartitionTables(fd, path, GetParam().startSector, false);
    EXPECT_EQ(os::closeFile(fd), 0);
    EXPECT_THAT(valuesOf(maps, "DeviceID"), ElementsAre(GetParam().firstName));
    EXPECT_THAT(valuesOf(maps, "PartitionType"), ElementsAre(GetParam().startSector == 0 ? "1" : "3"));
    EXPECT_EQ(path, "/dev/sda");
}

INSTANTIATE_TEST_SUITE_P(PartitionTableParser, TableElsewhere,
                         ::testing::Values(StartCase{"the_first_sector", 0, "/dev/sda1"},
                                           StartCase{"a_near_sector", 2048, "/dev/sda8193"},
                                           StartCase{"the_largest_positive_number", 536870911, "/dev/sda2147483645"},
                                           StartCase{"past_the_positive_numbers", 536870912, "/dev/sda-2147483647"},
                                           StartCase{"once_around", 1073741824, "/dev/sda1"},
                                           StartCase{"a_sector_beyond_32_bits", 4294967297, "/dev/sda5"}),
                         [](const auto& row) { return std::string(row.param.label); });

TEST(PartitionTableParser, AnExtendedEntryIsRelativeToTheSectorOfItsTable) {
    FakeOs machine;
    machine.device("/dev/sda", DiskImage()
                                   .slot(0, 0x05, 30, 1, 100)
                                   .slot(0, 0x83, 1, 7, 130)    // here
                                   .slot(0, 0x83, 1, 99, 30));  // not here
    const int fd = os::openFile("/dev/sda", 0);
    std::string path = "/dev/sda";
    const auto maps = PartitionTableParser().parsePartitionTables(fd, path, 100, false);
    EXPECT_EQ(os::closeFile(fd), 0);
    EXPECT_THAT(valuesOf(maps, "DeviceID"), ElementsAre("/dev/sda5", "/dev/sda401"));
    EXPECT_THAT(valuesOf(maps, "Size"), ElementsAre("3584", "512"));
}

TEST(PartitionTableParser, NumbersThatPassTheLargestIntegerWrap) {
    FakeOs machine;
    const std::uint64_t sector = 536870911;  // times four: the largest 32-bit number minus three
    DiskImage image;
    for (const unsigned slot : {0U, 1U, 2U, 3U}) image.slot(slot, 0x83, 1, 1, sector);
    machine.device("/dev/sda", image);
    const int fd = os::openFile("/dev/sda", 0);
    std::string path = "/dev/sda";
    const auto maps = PartitionTableParser().parsePartitionTables(fd, path, static_cast<long long>(sector), false);
    EXPECT_EQ(os::closeFile(fd), 0);
    EXPECT_THAT(valuesOf(maps, "DeviceID"),
                ElementsAre("/dev/sda2147483645", "/dev/sda2147483646", "/dev/sda2147483647", "/dev/sda-2147483648"));
}

}  // namespace
