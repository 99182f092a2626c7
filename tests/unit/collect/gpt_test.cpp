// GPT disks: entries, counts, accumulating maps, corrupt headers.
#include <gmock/gmock.h>

#include <cstdlib>
#include <cstring>
#include <limits>

#include "tests/unit/collect/partition_fixture.h"

namespace {

using diskmgt_test::allValuesOf;
using diskmgt_test::DiskImage;
using diskmgt_test::Effect;
using diskmgt_test::FakeOs;
using diskmgt_test::partitionsOf;
using diskmgt_test::partitionsOn;
using diskmgt_test::PropertyMap;
using diskmgt_test::valueOf;
using diskmgt_test::valuesOf;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr const char* kLinux = "0FC63DAF-8483-4772-8E79-3D69D8477DE4";
constexpr const char* kSwap = "0657FD6D-A4AB-43C4-84E5-0933C84B4F4F";
constexpr const char* kEfi = "C12A7328-F81F-11D2-BA4B-00A0C93EC93B";
constexpr std::int32_t kLargest = std::numeric_limits<std::int32_t>::max();

/// The size of each read of /dev/sda, as requested.
std::vector<std::string> readsOf(const FakeOs& machine) {
    const std::string beginning = "read(/dev/sda, ";
    std::vector<std::string> sizes;
    for (const std::string& call : machine.callTexts())
        if (call.compare(0, beginning.size(), beginning) == 0)
            sizes.push_back(call.substr(beginning.size(), call.size() - beginning.size() - 1));
    return sizes;
}

TEST(PartitionTableParser, EveryGptPartitionIsBootable) {
    for (const unsigned attributes : {0U, 4U, 0xFFU}) {  // bit 2: bootable by an old BIOS
        const auto maps =
            partitionsOf(DiskImage().gpt(128).gptEntry(1, kLinux, 2048, 4095).little(1024 + 48, attributes, 8));
        EXPECT_THAT(valuesOf(maps, "Bootable"), ElementsAre("true")) << attributes;
    }
}

TEST(PartitionTableParser, DescribesAGptPartitionWithSevenPairs) {
    const PropertyMap expected{{"PartitionType", "17"},   {"Size", "536870912"},        {"Bootable", "true"},
                               {"DeviceID", "/dev/sda1"}, {"ElementName", "/dev/sda1"}, {"StartingOffset", "1050623"},
                               {"FaultTolerant", "false"}};
    EXPECT_THAT(partitionsOf(DiskImage().gpt(128).gptEntry(1, kLinux, 2048, 1050623)), ElementsAre(expected));
}

TEST(PartitionTableParser, GptStartingOffsetIsTheLastLba) {
    const auto maps =
        partitionsOf(DiskImage().gpt(4).gptEntry(1, kLinux, 2048, 1050623).gptEntry(2, kLinux, 1, 0xFFFFFFFFFFFFFFFE));
    EXPECT_THAT(valuesOf(maps, "StartingOffset"), ElementsAre("1050623", "18446744073709551614"));
}

TEST(PartitionTableParser, EveryGptMapCarriesThePairsOfTheMapsBeforeIt) {
    const auto maps = partitionsOf(
        DiskImage().gpt(128).gptEntry(1, kEfi, 10, 19).gptEntry(2, kSwap, 20, 39).gptEntry(5, kLinux, 40, 79));
    ASSERT_THAT(maps, SizeIs(3));
    EXPECT_THAT(allValuesOf(maps[0], "DeviceID"), ElementsAre("/dev/sda1"));
    EXPECT_THAT(allValuesOf(maps[1], "DeviceID"), ElementsAre("/dev/sda1", "/dev/sda2"));
    EXPECT_THAT(allValuesOf(maps[2], "DeviceID"), ElementsAre("/dev/sda1", "/dev/sda2", "/dev/sda5"));
    EXPECT_THAT(allValuesOf(maps[2], "PartitionType"), ElementsAre("6", "14", "17"));
    EXPECT_THAT(allValuesOf(maps[2], "Size"), ElementsAre("5120", "10240", "20480"));
    EXPECT_THAT(allValuesOf(maps[2], "Bootable"), ElementsAre("true", "true", "true"));
    for (std::size_t i = 0; i < maps.size(); ++i) {
        EXPECT_EQ(maps[i].size(), 7 * (i + 1));
        EXPECT_EQ(maps[i].count("PartitionSubType"), 0U);
    }
}

TEST(PartitionTableParser, TheMapsOfOneGptDiskDoNotReachTheNext) {
    FakeOs machine;
    machine.device("/dev/sda", DiskImage().gpt(4).gptEntry(1, kLinux, 1, 2));
    machine.device("/dev/sdb", DiskImage().gpt(4).gptEntry(1, kLinux, 1, 2));
    const auto maps = partitionsOn(machine, {"/dev/sda", "/dev/sdb"});
    ASSERT_THAT(maps, SizeIs(2));
    EXPECT_THAT(allValuesOf(maps[1], "DeviceID"), ElementsAre("/dev/sdb1"));
}

TEST(PartitionTableParser, GptNumbersCountUnusedSlots) {
    const auto maps = partitionsOf(DiskImage().gpt(128).gptEntry(2, kLinux, 1, 2).gptEntry(128, kLinux, 3, 4));
    EXPECT_THAT(valuesOf(maps, "DeviceID"), ElementsAre("/dev/sda2", "/dev/sda128"));
}

TEST(PartitionTableParser, AProtectiveFirstSlotHidesTheOtherThree) {
    const auto maps = partitionsOf(
        DiskImage().gpt(128).gptEntry(1, kLinux, 1, 2).slot(1, 0x83, 1, 1).slot(2, 0x05, 1, 1).slot(3, 0xEE, 1, 1));
    EXPECT_THAT(valuesOf(maps, "DeviceID"), ElementsAre("/dev/sda1"));
    EXPECT_THAT(valuesOf(maps, "PartitionType"), ElementsAre("17"));
}

TEST(PartitionTableParser, TheGptSizeIsModuloTwoToThe64th) {
    const auto maps = partitionsOf(DiskImage()
                                       .gpt(8)
                                       .gptEntry(1, kLinux, 5, 5)
                                       .gptEntry(2, kLinux, 5, 4)                     // empty
                                       .gptEntry(3, kLinux, 5, 3)                     // ends before it begins
                                       .gptEntry(4, kLinux, 0, 0xFFFFFFFFFFFFFFFF)    // 2^64 sectors
                                       .gptEntry(5, kLinux, 0, 0x007FFFFFFFFFFFFE));  // one sector below 2^64 bytes
    EXPECT_THAT(valuesOf(maps, "Size"), ElementsAre("512", "0", "18446744073709551104", "0", "18446744073709551104"));
}

TEST(PartitionTableParser, OnlyTheTypeDecidesWhetherAGptSlotIsUsed) {
    auto image = DiskImage().gpt(3).gptEntry(1, kLinux, 0, 0);
    image.bytes(1024 + 128 + 16, std::string(112, '\xFF'));  // slot 2: everything but the type
    image.bytes(1024 + 256 + 15, "\x01");                    // slot 3: the type's last byte alone
    const auto maps = partitionsOf(image);
    EXPECT_THAT(valuesOf(maps, "DeviceID"), ElementsAre("/dev/sda1", "/dev/sda3"));
    EXPECT_THAT(valuesOf(maps, "PartitionType"), ElementsAre("17", "19"));
}

TEST(PartitionTableParser, IgnoresEverythingInTheGptHeaderButTheCount) {
    auto plain = DiskImage().gpt(2).gptEntry(1, kLinux, 1, 2);
    auto decorated = DiskImage().gpt(2).bytes(512, std::string(512, '\xA5')).gptCount(2);
    decorated.gptEntry(1, kLinux, 1, 2);  // in sector 2, not where the header points
    EXPECT_EQ(partitionsOf(plain), partitionsOf(decorated));
}

TEST(PartitionTableParser, AnEmptyGptGivesNothing) { EXPECT_THAT(partitionsOf(DiskImage().gpt(128)), IsEmpty()); }

struct CountCase {
    const char* label;
    std::int32_t count;
    std::vector<std::string> names;
};

class GptCount : public ::testing::TestWithParam<CountCase> {};

TEST_P(GptCount, LimitsTheSlotsExamined) {
    const auto image = DiskImage()
                           .gpt(GetParam().count)
                           .gptEntry(1, kLinux, 1, 2)
                           .gptEntry(128, kLinux, 3, 4)
                           .gptEntry(256, kLinux, 5, 6)
                           .gptEntry(257, kLinux, 7, 8);
    EXPECT_EQ(valuesOf(partitionsOf(image), "DeviceID"), GetParam().names);
}

INSTANTIATE_TEST_SUITE_P(
    PartitionTableParser, GptCount,
    ::testing::Values(CountCase{"zero", 0, {}}, CountCase{"minus_one", -1, {}},
                      CountCase{"the_most_negative", std::numeric_limits<std::int32_t>::min(), {}},
                      CountCase{"one", 1, {"/dev/sda1"}}, CountCase{"below_a_used_slot", 127, {"/dev/sda1"}},
                      CountCase{"the_usual", 128, {"/dev/sda1", "/dev/sda128"}},
                      CountCase{"twice_the_usual", 256, {"/dev/sda1", "/dev/sda128", "/dev/sda256"}},
                      CountCase{"one_more", 257, {"/dev/sda1", "/dev/sda128", "/dev/sda256", "/dev/sda257"}},
                      CountCase{
                          "beyond_the_disk", 1 << 20, {"/dev/sda1", "/dev/sda128", "/dev/sda256", "/dev/sda257"}}),
    [](const auto& row) { return std::string(row.param.label); });

TEST(PartitionTableParser, TheLargestGptCountIsDecidedByTheAllocation) {
    void* const allocated = std::calloc(static_cast<std::size_t>(kLargest), 128);
    const bool fits = allocated != nullptr;
    std::free(allocated);
    const auto maps = partitionsOf(DiskImage().gpt(kLargest).gptEntry(1, kLinux, 1, 2).gptEntry(3, kLinux, 3, 4));
    if (fits) {
        EXPECT_THAT(valuesOf(maps, "DeviceID"), ElementsAre("/dev/sda1", "/dev/sda3"));
    } else {
        EXPECT_THAT(maps, IsEmpty());
    }
}

/// A GPT of `count` slots, the first `used` of them used.
DiskImage crowded(unsigned used, std::int32_t count) {
    DiskImage image;
    image.gpt(count);
    for (unsigned slot = 1; slot <= used; ++slot) image.gptEntry(slot, kLinux, slot, slot);
    return image;
}

TEST(PartitionTableParser, AGptWithAllTheEntriesThatFitTheBudgetIsReported) {
    const auto maps = partitionsOf(crowded(773, 773));
    ASSERT_THAT(maps, SizeIs(773));
    EXPECT_EQ(maps.back().size(), 7U * 773U);
    EXPECT_EQ(valueOf(maps.back(), "DeviceID"), "/dev/sda773");
}

TEST(PartitionTableParser, AGptWithOneEntryMoreThanTheBudgetAllowsCountsAsCorrupt) {
    EXPECT_THAT(partitionsOf(crowded(774, 774)), IsEmpty());
    EXPECT_THAT(partitionsOf(crowded(774, 4096)), IsEmpty());
}

TEST(PartitionTableParser, TheBudgetCountsUsedEntriesNotSlots) {
    auto image = crowded(10, 100000);
    image.gptEntry(99999, kLinux, 1, 2);
    const auto maps = partitionsOf(image);
    ASSERT_THAT(maps, SizeIs(11));
    EXPECT_EQ(valueOf(maps.back(), "DeviceID"), "/dev/sda99999");
}

TEST(PartitionTableParser, AnOpenDeviceIsReadAsGptWithAnyFirstSector) {
    FakeOs machine;
    machine.device("/dev/sda", DiskImage().gpt(4).gptEntry(2, kLinux, 1, 2).slot(0, 0x83, 1, 7));
    const int fd = diskmgt_col::os::openFile("/dev/sda", 0);
    std::string path = "/dev/sda";
    const auto maps = diskmgt_col::PartitionTableParser().parsePartitionTablesGPT(fd, path);
    EXPECT_EQ(diskmgt_col::os::closeFile(fd), 0);
    EXPECT_THAT(valuesOf(maps, "DeviceID"), ElementsAre("/dev/sda2"));
    EXPECT_EQ(path, "/dev/sda");
}

TEST(PartitionTableParser, AnArrayThatIsReadInPiecesIsReadWhole) {
    constexpr unsigned kPieceSlots = (1U << 20) / 128;
    for (const unsigned slot : {kPieceSlots, kPieceSlots + 1, 2 * kPieceSlots, 3 * kPieceSlots + 1}) {
        auto image = DiskImage().gpt(static_cast<std::int32_t>(slot)).gptEntry(1, kSwap, 1, 2);
        const auto maps = partitionsOf(image.gptEntry(slot, kLinux, 3, 4));
        EXPECT_THAT(valuesOf(maps, "DeviceID"), ElementsAre("/dev/sda1", "/dev/sda" + std::to_string(slot)));
        EXPECT_THAT(valuesOf(maps, "StartingOffset"), ElementsAre("2", "4"));
    }
}

TEST(PartitionTableParser, NoPieceOfAHugeArrayIsLargerThanAMebibyte) {
    FakeOs machine;
    machine.device("/dev/sda", DiskImage(8 << 20).gpt(20000).gptEntry(20000, kLinux, 1, 2));
    EXPECT_THAT(valuesOf(partitionsOn(machine, {"/dev/sda"}), "DeviceID"), ElementsAre("/dev/sda20000"));
    EXPECT_EQ(readsOf(machine), (std::vector<std::string>{"16", "512", "1048576", "1048576", "462848"}));
}

TEST(PartitionTableParser, AnArrayOfExactlyAMebibyteIsReadAtOnce) {
    FakeOs machine;
    machine.device("/dev/sda", DiskImage(8 << 20).gpt(8192));
    EXPECT_THAT(partitionsOn(machine, {"/dev/sda"}), IsEmpty());
    EXPECT_EQ(readsOf(machine), (std::vector<std::string>{"16", "512", "1048576"}));
}

TEST(PartitionTableParser, ReadsNoMoreThanOneReadOfTheKernelReturns) {
    constexpr std::uint64_t kMostBytes = 0x7ffff000;  // the limit of one read(2)
    constexpr unsigned kLastSlot = kMostBytes / 128;
    FakeOs machine;
    machine.keepNoTexts().device(
        "/dev/sda", std::uint64_t{1} << 40, [](std::uint64_t offset, char* buffer, std::size_t size) {
            DiskImage disk(kMostBytes + 4096);
            disk.gpt(kLastSlot + 1).gptEntry(kLastSlot, kLinux, 1, 2).gptEntry(kLastSlot + 1, kLinux, 3, 4);
            const bool isFilled = offset < 1024 || offset + size > kMostBytes;
            if (!isFilled) std::memset(buffer, 0, size);
            if (isFilled) (void)disk.readAt(offset, buffer, size);
        });
    EXPECT_THAT(valuesOf(partitionsOn(machine, {"/dev/sda"}), "DeviceID"),
                ElementsAre("/dev/sda" + std::to_string(kLastSlot)));
}

TEST(PartitionTableParser, AShortPieceEndsTheArrayWithoutBytesOfTheOneBefore) {
    // The second piece ends within its first slot; the first piece has another used entry at that place.
    auto image = DiskImage().gpt(16384).gptEntry(1, kSwap, 7, 9).gptEntry(8193, kLinux, 1, 2);
    const auto maps = partitionsOf(image.cutAt(1024 + (1 << 20) + 16));
    EXPECT_THAT(valuesOf(maps, "PartitionType"), ElementsAre("14", "17"));
    EXPECT_THAT(valuesOf(maps, "StartingOffset"), ElementsAre("9", "0"));
}

TEST(PartitionTableParser, NothingIsReadAfterAShortPiece) {
    FakeOs machine;
    machine.device("/dev/sda", DiskImage(8 << 20).gpt(16384).gptEntry(1, kSwap, 1, 2).gptEntry(2, kLinux, 3, 4));
    machine.failCallsLike("read(/dev/sda, 1048576)", Effect::readsAtMost(128));
    EXPECT_THAT(valuesOf(partitionsOn(machine, {"/dev/sda"}), "DeviceID"), ElementsAre("/dev/sda1"));
    EXPECT_EQ(readsOf(machine), (std::vector<std::string>{"16", "512", "1048576"}));
}

TEST(PartitionTableParser, NothingIsReadAfterAnUnreadablePiece) {
    FakeOs machine;
    machine.device("/dev/sda", DiskImage(8 << 20).gpt(16384).gptEntry(1, kSwap, 1, 2).gptEntry(8193, kLinux, 3, 4));
    machine.failCallsLike("read(/dev/sda, 1048576)", Effect::failsWith(EIO));
    EXPECT_THAT(partitionsOn(machine, {"/dev/sda"}), IsEmpty());
    EXPECT_EQ(readsOf(machine), (std::vector<std::string>{"16", "512", "1048576"}));
}

TEST(PartitionTableParser, AUsualGptArrayCostsOneRead) {
    FakeOs machine;
    machine.device("/dev/sda", DiskImage().gpt(128).gptEntry(1, kLinux, 1, 2));
    (void)partitionsOn(machine, {"/dev/sda"});
    EXPECT_THAT(machine.callTexts(),
                ElementsAre("open(/dev/sda, O_RDONLY)", "fcntl(/dev/sda, FD_CLOEXEC)", "lseek(/dev/sda, 446)",
                            "read(/dev/sda, 16)", "lseek(/dev/sda, 0)", "lseek(/dev/sda, 512)", "read(/dev/sda, 512)",
                            "read(/dev/sda, 16384)", "close(/dev/sda)"));
}

TEST(PartitionTableParser, TheBudgetEndsTheReadingOfAHugeArray) {
    FakeOs machine;
    machine.device("/dev/sda", std::uint64_t{1} << 40, [](std::uint64_t offset, char* buffer, std::size_t size) {
        std::fill_n(buffer, size, '\xEE');  // every slot used, and a protective entry
        if (offset == 512) std::fill_n(buffer + 80, 4, '\0'), buffer[82] = '\x10';  // 2^20 entries: 128 MiB
    });
    EXPECT_THAT(partitionsOn(machine, {"/dev/sda"}), IsEmpty());
    EXPECT_LE(machine.calls(), 10);  // as for a usual disk, plus at most one piece of the array
}

TEST(PartitionTableParser, AnArrayCutAtAnyLengthGivesTheEntriesThatAreThere) {
    const DiskImage whole =
        DiskImage(4096).gpt(3).gptEntry(1, kLinux, 1, 2).gptEntry(2, kLinux, 3, 4).gptEntry(3, kLinux, 5, 6);
    for (std::uint64_t length = 0; length <= 3 * 128; ++length) {
        const auto maps = partitionsOf(DiskImage(whole).cutAt(1024 + length));
        EXPECT_THAT(maps, SizeIs((length + 127) / 128)) << length << " bytes";  // the missing part of an entry is zero
    }
}

TEST(PartitionTableParser, TheFieldsThatTheCutLeftOutAreZero) {
    const auto whole = DiskImage(4096).gpt(1).gptEntry(1, kLinux, 0x0102, 0x0304);
    const auto withoutLast = partitionsOf(DiskImage(whole).cutAt(1024 + 40));
    EXPECT_THAT(valuesOf(withoutLast, "StartingOffset"), ElementsAre("0"));
    EXPECT_THAT(valuesOf(withoutLast, "PartitionType"), ElementsAre("17"));
    const auto halfALastLba = partitionsOf(DiskImage(whole).cutAt(1024 + 41));
    EXPECT_THAT(valuesOf(halfALastLba, "StartingOffset"), ElementsAre("4"));
    const auto typeAlone = partitionsOf(DiskImage(whole).cutAt(1024 + 8));
    EXPECT_THAT(valuesOf(typeAlone, "PartitionType"), ElementsAre("0"));  // half a type is unknown
}

TEST(PartitionTableParser, AHeaderCutBeforeItsCountGivesNothing) {
    for (const std::uint64_t length : {512U, 513U, 592U})
        EXPECT_THAT(partitionsOf(DiskImage().gpt(128).gptEntry(1, kLinux, 1, 2).cutAt(length)), IsEmpty());
}

TEST(PartitionTableParser, AFailedGptHeaderReadGivesNothing) {
    FakeOs machine;
    machine.device("/dev/sda", DiskImage().gpt(128).gptEntry(1, kLinux, 1, 2));
    machine.failCallsLike("read(/dev/sda, 512)", Effect::failsWith(EIO));
    EXPECT_THAT(partitionsOn(machine, {"/dev/sda"}), IsEmpty());
}

TEST(PartitionTableParser, AFailedOrShortArrayReadLeavesTheRestUnused) {
    const auto image = DiskImage().gpt(128).gptEntry(1, kLinux, 1, 2).gptEntry(2, kLinux, 3, 4);
    FakeOs machine;
    machine.device("/dev/sda", image);
    machine.failCallsLike("read(/dev/sda, 16384)", Effect::failsWith(EIO));
    EXPECT_THAT(partitionsOn(machine, {"/dev/sda"}), IsEmpty());
    machine.heal();
    machine.failCallsLike("read(/dev/sda, 16384)", Effect::readsAtMost(128));
    EXPECT_THAT(valuesOf(partitionsOn(machine, {"/dev/sda"}), "DeviceID"), ElementsAre("/dev/sda1"));
}

TEST(PartitionTableParser, AFailedGptSeekReadsTheHeaderFromTheStartOfTheDisk) {
    // The seeks are not checked: the first sector is then read as the header, the second as the entries.
    auto image = DiskImage().gpt(0).little(80, 2, 4).bytes(512, diskmgt_test::guidBytes(kSwap)).little(512 + 40, 9, 8);
    FakeOs machine;
    machine.device("/dev/sda", image);
    machine.failCallsLike("lseek(/dev/sda, 512)", Effect::failsWith(EIO));
    const auto maps = partitionsOn(machine, {"/dev/sda"});
    ASSERT_FALSE(maps.empty());
    EXPECT_EQ(valueOf(maps[0], "PartitionType"), "14");
    EXPECT_EQ(valueOf(maps[0], "StartingOffset"), "9");
}

}  // namespace
