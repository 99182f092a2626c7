// Errors while a device's tables are read, reported beside the partitions.
#include <gmock/gmock.h>

#include <cerrno>
#include <limits>

#include "tests/unit/collect/partition_fixture.h"

namespace {

using diskmgt_col::TableReading;
using diskmgt_test::DiskImage;
using diskmgt_test::Effect;
using diskmgt_test::FakeOs;
using diskmgt_test::Fault;
using ::testing::Eq;
using ::testing::Optional;

constexpr const char* kLinux = "0FC63DAF-8483-4772-8E79-3D69D8477DE4";

struct Seen {
    TableReading reading;
    std::size_t partitions;
};

/// The reading of /dev/sda when the n-th call fails as given; 0: no call. Counting must give the same as describing.
Seen seenOn(const DiskImage& image, int call = 0, Effect effect = {}) {
    FakeOs machine;
    machine.device("/dev/sda", image);
    Seen counted{{}, 0}, described{{}, 0};
    if (call != 0) machine.failCall(call, Fault::once, effect);
    counted.partitions = diskmgt_col::partitionCountOf("/dev/sda", &counted.reading);
    if (call != 0) machine.failCall(call, Fault::once, effect);
    described.partitions = diskmgt_col::partitionsOf("/dev/sda", described.reading).size();
    EXPECT_EQ(counted.partitions, described.partitions);
    EXPECT_EQ(counted.reading.error, described.reading.error);
    EXPECT_EQ(counted.reading.errorOffset, described.reading.errorOffset);
    EXPECT_EQ(counted.reading.cutAt, described.reading.cutAt);
    EXPECT_EQ(counted.reading.refusedCount, described.reading.refusedCount);
    EXPECT_EQ(machine.openHandles(), 0);
    return described;
}

/// A seek and a read for each table, after opening (two calls) and checking the first slot (three).
constexpr int kFirstSlotRead = 4, kMbrRead = 7, kExtendedRead = 9, kLinkRead = 11, kGptHeaderRead = 7,
              kGptEntriesRead = 8;

DiskImage chain() {
    return DiskImage()
        .slot(0, 0x05, 100, 500)
        .slot(0, 0x83, 1, 1, 100)
        .slot(1, 0x05, 50, 9, 100)
        .slot(0, 0x83, 1, 1, 150);
}

TEST(TableReading, ReportsNothingForCompleteTables) {
    for (const DiskImage& image : {chain(), DiskImage().gpt(4).gptEntry(1, kLinux, 34, 40), DiskImage().gpt(0)}) {
        const TableReading reading = seenOn(image).reading;
        EXPECT_EQ(reading.error, 0);
        EXPECT_EQ(reading.cutAt, std::nullopt);
        EXPECT_EQ(reading.refusedCount, std::nullopt);
    }
}

TEST(TableReading, SaysWhatFailedAndWhere) {
    const struct {
        DiskImage image;
        int call;
        std::int64_t offset;
        std::size_t partitions;
    } rows[] = {{chain(), kFirstSlotRead, 446, 0},
                {chain(), kMbrRead, 446, 0},
                {chain(), kExtendedRead, 100 * 512 + 446, 1},
                {chain(), kLinkRead, 150 * 512 + 446, 2},
                {DiskImage().gpt(4).gptEntry(1, kLinux, 34, 40), kGptHeaderRead, 512, 0},
                {DiskImage().gpt(4).gptEntry(1, kLinux, 34, 40), kGptEntriesRead, 1024, 0}};
    for (const auto& row : rows) {
        const Seen seen = seenOn(row.image, row.call, Effect::failsWith(ENXIO));
        EXPECT_EQ(seen.reading.error, ENXIO) << row.call;
        EXPECT_EQ(seen.reading.errorOffset, row.offset) << row.call;
        EXPECT_EQ(seen.partitions, row.partitions) << row.call;
    }
}

TEST(TableReading, TheFirstOfSeveralErrorsCounts) {
    FakeOs machine;
    machine.device("/dev/sda", DiskImage().slot(0, 0x05, 100, 5).slot(1, 0x05, 200, 5));
    machine.failCall(kExtendedRead, Fault::fromThenOn);
    TableReading reading;
    (void)diskmgt_col::partitionsOf("/dev/sda", reading);
    EXPECT_EQ(reading.error, EIO);
    EXPECT_EQ(reading.errorOffset, 100 * 512 + 446);
}

TEST(TableReading, AnErrorInALaterPieceOfTheEntriesHasItsOffset) {
    constexpr int kPieceEntries = (1 << 20) / 128;
    const DiskImage image = DiskImage(std::uint64_t{4} << 20).gpt(2 * kPieceEntries);
    EXPECT_EQ(seenOn(image, kGptEntriesRead + 1).reading.errorOffset, 1024 + (1 << 20));
    EXPECT_THAT(seenOn(image, kGptEntriesRead + 1, Effect::readsAtMost(4096)).reading.cutAt,
                Optional(Eq(1024 + (1 << 20) + 4096)));
}

TEST(TableReading, SaysWhereTheEntriesWereCut) {
    const Seen seen = seenOn(DiskImage().gpt(128).gptEntry(1, kLinux, 34, 40).cutAt(1024 + 4096));
    EXPECT_THAT(seen.reading.cutAt, Optional(Eq(1024 + 4096)));
    EXPECT_EQ(seen.reading.error, 0);
    EXPECT_EQ(seen.partitions, 1U);
}

TEST(TableReading, SaysWhichCountWasRefused) {
    EXPECT_THAT(seenOn(DiskImage().gpt(-1)).reading.refusedCount, Optional(Eq(-1)));
    DiskImage crowded = DiskImage().gpt(1000);
    for (unsigned number = 1; number <= 773; ++number) crowded.gptEntry(number, kLinux, 34, 40);
    EXPECT_EQ(seenOn(crowded).reading.refusedCount, std::nullopt);
    crowded.gptEntry(774, kLinux, 34, 40);
    EXPECT_THAT(seenOn(crowded).reading.refusedCount, Optional(Eq(1000)));
    EXPECT_EQ(seenOn(crowded).partitions, 0U);
}

TEST(TableReading, IsEmptyForADeviceThatCannotBeOpened) {
    const FakeOs machine;
    TableReading reading;
    EXPECT_EQ(diskmgt_col::partitionCountOf("/dev/sda", &reading), 0U);
    EXPECT_TRUE(diskmgt_col::partitionsOf("/dev/sda", reading).empty());
    EXPECT_EQ(reading.error, 0);
}

}  // namespace
