// Disks made to exhaust the host's memory: the plug-in's allocations stay bounded for any claimed size.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "collect/logical_disk_information.h"
#include "collect/partition_table_parser.h"
#include "collect/sysfs_text.h"
#include "tests/faults/allocation_faults.h"
#include "tests/faults/full_request.h"
#include "tests/support/host_session.h"

namespace {

using diskmgt_col::PartitionTableParser;
using diskmgt_test::DiskImage;
using diskmgt_test::FakeOs;
using diskmgt_test::PeakMemory;

constexpr std::size_t kMiB = std::size_t{1} << 20;
constexpr std::size_t kBound = 300 * kMiB;
constexpr std::uint64_t kHugeDisk = std::uint64_t{1} << 50;

/// The bytes of a disk, sector by sector.
using Sectors = void (*)(std::uint64_t sector, unsigned char* bytes);

void putEntry(unsigned char* sector, unsigned slot, unsigned char type, std::uint32_t start) {
    unsigned char* const entry = sector + 446 + std::size_t{slot} * 16;
    entry[4] = type;
    std::memcpy(entry + 8, &start, sizeof start);
}

/// An endless chain without a repeat: each record has three partitions and a link to the next sector.
void endlessChain(std::uint64_t sector, unsigned char* bytes) {
    if (sector == 0) {
        putEntry(bytes, 0, 0x05, 1);
        return;
    }
    for (unsigned slot = 0; slot < 3; ++slot) putEntry(bytes, slot, 0x83, 1);
    putEntry(bytes, 3, 0x05, static_cast<std::uint32_t>(sector));
}

/// Four extended partitions that all begin with that chain.
void fourEndlessChains(std::uint64_t sector, unsigned char* bytes) {
    if (sector != 0) return endlessChain(sector, bytes);
    for (unsigned slot = 0; slot < 4; ++slot) putEntry(bytes, slot, 0x05, 1);
}

/// The same with links only.
void endlessLinks(std::uint64_t sector, unsigned char* bytes) {
    putEntry(bytes, 0, 0x05, static_cast<std::uint32_t>(sector == 0 ? 1 : sector));
}

/// Every slot of the largest GPT is used.
void crowdedGpt(std::uint64_t sector, unsigned char* bytes) {
    std::memset(bytes, 0x5A, 512);
    if (sector == 0) putEntry(bytes, 0, 0xEE, 1);
    const std::int32_t count = 1 << 24;
    if (sector == 1) std::memcpy(bytes + 80, &count, sizeof count);
}

/// A GPT with this number of entries, all used.
void fullGpt(std::int32_t count, std::uint64_t sector, unsigned char* bytes) {
    if (sector == 0) putEntry(bytes, 0, 0xEE, 1);
    if (sector == 1) std::memcpy(bytes + 80, &count, sizeof count);
    if (sector > 1) std::memset(bytes, 0xFF, 512);
}

/// The most entries that are reported.
void gptAtItsBudget(std::uint64_t sector, unsigned char* bytes) { fullGpt(773, sector, bytes); }

/// One entry more than that.
void gptAboveItsBudget(std::uint64_t sector, unsigned char* bytes) { fullGpt(774, sector, bytes); }

/// A GPT that claims more entries than fit into memory, all unused.
void emptyVastGpt(std::uint64_t sector, unsigned char* bytes) {
    if (sector == 0) putEntry(bytes, 0, 0xEE, 1);
    const std::int32_t count = 1 << 20;
    if (sector == 1) std::memcpy(bytes + 80, &count, sizeof count);
}

struct MemoryCase {
    const char* label;
    Sectors sectors;
    std::size_t partitions;
};

/// A device of these sectors, far too large to be read.
void hugeDevice(FakeOs& machine, const std::string& path, Sectors sectors) {
    machine.device(path, kHugeDisk, [sectors](std::uint64_t offset, char* buffer, std::size_t size) {
        while (size > 0) {
            unsigned char sector[512] = {};
            sectors(offset / 512, sector);
            const std::size_t count = std::min<std::size_t>(size, 512 - offset % 512);
            std::memcpy(buffer, sector + offset % 512, count);
            buffer += count;
            offset += count;
            size -= count;
        }
    });
}

class HostileDiskMemory : public ::testing::TestWithParam<MemoryCase> {};

TEST_P(HostileDiskMemory, IsBounded) {
    FakeOs machine;
    machine.keepNoTexts();
    hugeDevice(machine, "/dev/sda", GetParam().sectors);
    const PeakMemory peak;
    EXPECT_EQ(PartitionTableParser().enumPartitions({"/dev/sda"}).size(), GetParam().partitions);
    EXPECT_EQ(diskmgt_col::partitionCountOf("/dev/sda"), GetParam().partitions);
    EXPECT_LT(peak.bytes(), kBound);
    RecordProperty("peak_mib", static_cast<int>(peak.bytes() / kMiB));
    EXPECT_EQ(machine.openHandles(), 0);
}

INSTANTIATE_TEST_SUITE_P(
    Parser, HostileDiskMemory,
    ::testing::Values(MemoryCase{"endless_chain", endlessChain, diskmgt_col::kMaxChainEntries + 3},
                      MemoryCase{"four_endless_chains", fourEndlessChains, diskmgt_col::kMaxChainEntries + 6},
                      MemoryCase{"endless_links", endlessLinks, 1}, MemoryCase{"crowded_gpt", crowdedGpt, 0},
                      MemoryCase{"gpt_at_its_budget", gptAtItsBudget, 773},
                      MemoryCase{"gpt_above_its_budget", gptAboveItsBudget, 0},
                      MemoryCase{"empty_vast_gpt", emptyVastGpt, 0}),
    [](const auto& row) { return std::string(row.param.label); });

TEST(HostileTextMemory, ASysfsTextFarLongerThanAPageIsReadToOnePage) {
    FakeOs machine;
    machine.file("/sys/block/sda/size", std::string(kMiB, '7'));
    const PeakMemory peak;
    const auto line = diskmgt_col::firstLineOf("/sys/block/sda/size");
    EXPECT_EQ(line.value_or("").size(), diskmgt_col::kSysfsTextSize);
    EXPECT_EQ(diskmgt_col::sectorCountFrom(*line), 0U);  // it does not fit
    EXPECT_LT(peak.bytes(), kBound);
}

TEST(HostileTextMemory, AMountTableOfVeryLongLinesIsReadToAnEnd) {
    std::string table;
    for (int i = 0; i < 100; ++i)
        table += "source" + std::to_string(i) + " /place type " + std::string(200000, 'o') + " 0 0\n";
    table += "/dev/sda1 /last ext4 rw 0 0\n";
    FakeOs machine;
    machine.keepNoTexts().file("/etc/mtab", table);
    diskmgt_col::LDMStore store;
    const PeakMemory peak;
    const auto disks = diskmgt_col::LogicalDiskInformation().doEnumeration(store);
    EXPECT_LT(peak.bytes(), kBound);
    EXPECT_EQ(disks.size(), 101U);
    EXPECT_EQ(machine.openHandles(), 0);
}

TEST(HostileMachine, AGptAtItsBudgetIsPublishedWithinTheBound) {
    FakeOs machine;
    machine.keepNoTexts();
    hugeDevice(machine, "/dev/sda", gptAtItsBudget);
    diskmgt_test::FullRequest request({"VEXSG_DiskPartition"});
    const PeakMemory peak;
    const diskmgt_test::Outcome outcome = request.run();
    EXPECT_LT(peak.bytes(), kBound);
    ASSERT_EQ(outcome.of("VEXSG_DiskPartition").size(), 773U);
    EXPECT_EQ(outcome.of("VEXSG_DiskPartition").back().at("DeviceID"), "/dev/sda773");
}

TEST(HostileMachine, ServesTheRestBesideOneHostileDiskOfEachKind) {
    FakeOs machine;
    diskmgt_test::describeServer(machine);
    machine.keepNoTexts();
    diskmgt_test::FullRequest request;
    const diskmgt_test::Outcome clean = request.run();
    // Rings, a table that contains itself, false entry counts; sysfs lists each disk too.
    machine.device("/dev/sdf", DiskImage().slot(0, 0x05, 0, 9).slot(1, 0x05, 0, 9));
    machine.device("/dev/sdg", DiskImage().slot(0, 0x05, 8, 9).slot(0, 0x83, 1, 1, 8).slot(1, 0x05, 0, 1, 8));
    machine.device("/dev/sdh", DiskImage().gpt(-5));
    machine.device("/dev/sdi", DiskImage().gpt(1000000));
    machine.device("/dev/sdj", DiskImage().bytes(0, std::string(4096, '\x05')));
    machine.device("/dev/sdk", DiskImage(1));
    for (const char* const name : {"sdf", "sdg", "sdh", "sdi", "sdj", "sdk"})
        machine.sysfsDisk(name, 2048, "8:80", {std::string(name) + "1"});
    const diskmgt_test::Outcome hostile = request.run();
    EXPECT_FALSE(hostile.failure);
    EXPECT_EQ(hostile.log, clean.log);
    EXPECT_TRUE(diskmgt_test::isBeginningOf(clean.of("VEXSG_DiskDrive"), hostile.of("VEXSG_DiskDrive")));
    EXPECT_EQ(hostile.of("VEXSG_LogicalDisk"), clean.of("VEXSG_LogicalDisk"));
    for (const diskmgt_test::Texts& partition : clean.of("VEXSG_DiskPartition")) {
        const auto& found = hostile.of("VEXSG_DiskPartition");
        EXPECT_EQ(std::count(found.begin(), found.end(), partition), 1) << partition.at("DeviceID");
    }
    diskmgt_test::expectAssociationsFollow(hostile);
    EXPECT_EQ(machine.openHandles(), 0);
}

}  // namespace
