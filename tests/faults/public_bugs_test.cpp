// Disks that trigger known bugs of other partition-table readers, each under its public number. Reading them must end,
// on a small stack and within the buffers, which the sanitizers' builds check.
#include <gmock/gmock.h>

#include "collect/partition_table_parser.h"
#include "tests/support/fake_os.h"
#include "tests/support/literal_parser.h"
#include "tests/support/property_maps.h"

namespace {

using diskmgt_col::PartitionTableParser;
using diskmgt_test::DiskImage;
using diskmgt_test::FakeOs;
using diskmgt_test::PropertyMaps;
using diskmgt_test::valuesOf;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* kLinux = "0FC63DAF-8483-4772-8E79-3D69D8477DE4";
constexpr std::uint64_t kHeader = 512;
constexpr std::uint64_t kCount = kHeader + 80;
constexpr std::uint64_t kEntrySize = kHeader + 84;

/// The "DeviceID" of every partition of the disk. Asserts that the literal reading gives the same.
std::vector<std::string> namesOn(const DiskImage& image) {
    FakeOs machine;
    machine.device("/dev/sda", image);
    PropertyMaps found = PartitionTableParser().enumPartitions({"/dev/sda"});
    EXPECT_EQ(machine.openHandles(), 0);
    EXPECT_LT(machine.calls(), 1000);
    EXPECT_EQ(found, diskmgt_test::literalPartitions({"/dev/sda", image.allBytes(), true, {}}));
    return valuesOf(found, "DeviceID");
}

// A record of an extended chain that links to itself at relative offset zero kept a reader in an endless loop.
TEST(PublicBug, Cve2016_5011_ExtendedRecordThatLinksToItselfAtOffsetZero) {
    const auto image =
        DiskImage().slot(0, 0x83, 1, 1).slot(1, 0x05, 4, 99).slot(0, 0x83, 1, 1, 4).slot(1, 0x05, 0, 99, 4);
    EXPECT_THAT(namesOn(image), ElementsAre("/dev/sda1", "/dev/sda5", "/dev/sda2"));
    EXPECT_THAT(namesOn(DiskImage().slot(0, 0x05, 0, 99)), ElementsAre("/dev/sda1"));
}

// A partition table that contains itself made a reader recurse until its stack overflowed.
TEST(PublicBug, Cve2019_13103_TablesThatContainThemselvesInEverySlot) {
    DiskImage image;
    for (std::uint64_t sector = 0; sector < 4; ++sector)
        for (unsigned slot = 0; slot < 4; ++slot) image.slot(slot, 0x05, (slot + 1) % 4, 9, sector);
    EXPECT_THAT(namesOn(image), ElementsAre("/dev/sda1", "/dev/sda2", "/dev/sda3", "/dev/sda4"));
}

// More logical partitions than array elements made a reader write past the array.
TEST(PublicBug, Cve2021_0308_MoreLogicalPartitionsThanAnyArrayHasPlaces) {
    constexpr std::uint32_t kRecords = 300;
    DiskImage chain = DiskImage().slot(0, 0x05, 1, kRecords);
    for (std::uint32_t sector = 1; sector <= kRecords; ++sector) {
        for (unsigned slot = 0; slot < 3; ++slot) chain.slot(slot, 0x83, 1, 1, sector);
        if (sector < kRecords) chain.slot(3, 0x05, sector, 1, sector);
    }
    const std::vector<std::string> names = namesOn(chain);
    ASSERT_EQ(names.size(), 3 * kRecords + 1);
    EXPECT_EQ(names[3 * kRecords - 1], "/dev/sda" + std::to_string(4 + 3 * kRecords));
    EXPECT_EQ(names.back(), "/dev/sda1");
}

// A header with entries of another size, or more entries than array elements, made a reader write past the array.
TEST(PublicBug, Cve2020_0256_GptEntrySizesOtherThanTheReaders) {
    for (const std::uint64_t size : {0U, 1U, 16U, 127U, 129U, 256U, 4096U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
        SCOPED_TRACE("entries of " + std::to_string(size) + " bytes");
        const auto image =
            DiskImage().gpt(4).gptEntry(1, kLinux, 40, 50).gptEntry(4, kLinux, 60, 70).little(kEntrySize, size, 4);
        EXPECT_THAT(namesOn(image), ElementsAre("/dev/sda1", "/dev/sda4"));
    }
}

TEST(PublicBug, Cve2020_0256_MoreGptEntriesThanTheDiskHolds) {
    for (const std::uint64_t count : {5U, 128U, 129U, 65536U, 1000000U}) {
        SCOPED_TRACE(std::to_string(count) + " entries");
        const auto image = DiskImage(1024 + 4 * 128).gpt(4).gptEntry(4, kLinux, 60, 70).little(kCount, count, 4);
        EXPECT_THAT(namesOn(image), ElementsAre("/dev/sda4"));
    }
    for (const std::uint64_t count : {0x80000000U, 0xFFFFFFFFU}) {
        SCOPED_TRACE(std::to_string(count) + " entries, which is less than none");
        EXPECT_THAT(namesOn(DiskImage().gpt(4).gptEntry(4, kLinux, 60, 70).little(kCount, count, 4)), IsEmpty());
    }
}

}  // namespace
