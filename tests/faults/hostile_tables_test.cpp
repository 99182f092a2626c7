// Hostile partition tables: the shapes that crashed other readers. Each disk lies between two valid ones, whose
// partitions must all be found.
#include <gmock/gmock.h>
#include <pthread.h>

#include <functional>

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
using ::testing::SizeIs;

constexpr const char* kLinux = "0FC63DAF-8483-4772-8E79-3D69D8477DE4";

struct HostileCase {
    const char* label;
    DiskImage image;
    std::vector<std::string> names;  // of the partitions that are reported
};

class HostileTable : public ::testing::TestWithParam<HostileCase> {
protected:
    HostileTable() {
        const DiskImage honest = DiskImage().slot(0, 0x83, 64, 100).slot(1, 0x83, 200, 100);
        machine.keepNoTexts().device("/dev/sda", honest).device("/dev/sdc", honest);
    }
    FakeOs machine;
};

TEST_P(HostileTable, IsReadToAnEndAndHarmsNoOtherDisk) {
    machine.device("/dev/sdb", GetParam().image);
    PropertyMaps found = PartitionTableParser().enumPartitions({"/dev/sda", "/dev/sdb", "/dev/sdc"});
    std::vector<std::string> expected{"/dev/sda1", "/dev/sda2"};
    expected.insert(expected.end(), GetParam().names.begin(), GetParam().names.end());
    expected.insert(expected.end(), {"/dev/sdc1", "/dev/sdc2"});
    EXPECT_EQ(valuesOf(found, "DeviceID"), expected);
    EXPECT_EQ(machine.openHandles(), 0);
    EXPECT_LT(machine.calls(), 200);

    const diskmgt_test::LiteralDisk disk{"/dev/sdb", GetParam().image.allBytes(), true, {}};
    EXPECT_EQ(PartitionTableParser().enumPartitions({"/dev/sdb"}), diskmgt_test::literalPartitions(disk));
}

// A chain of extended records with a cycle (CVE-2016-5011), or a table that contains itself (CVE-2019-13103).
INSTANTIATE_TEST_SUITE_P(
    Chain, HostileTable,
    ::testing::Values(
        HostileCase{"extended_partition_at_the_mbr_itself", DiskImage().slot(0, 0x05, 0, 100), {"/dev/sdb1"}},
        HostileCase{"four_extended_partitions_at_the_mbr_itself",
                    DiskImage().slot(0, 0x05, 0, 9).slot(1, 0x0F, 0, 9).slot(2, 0x05, 0, 9).slot(3, 0x0F, 0, 9),
                    {"/dev/sdb1", "/dev/sdb2", "/dev/sdb3", "/dev/sdb4"}},
        HostileCase{"record_that_links_to_itself",
                    DiskImage().slot(0, 0x05, 8, 99).slot(0, 0x83, 1, 1, 8).slot(1, 0x05, 0, 9, 8),
                    {"/dev/sdb5", "/dev/sdb1"}},
        HostileCase{"record_of_links_to_itself_alone",
                    DiskImage().slot(0, 0x05, 8, 99).slot(0, 0x05, 0, 9, 8).slot(1, 0x0F, 0, 9, 8),
                    {"/dev/sdb1"}},
        HostileCase{"ring_of_two",
                    DiskImage()
                        .slot(0, 0x0F, 8, 99)
                        .slot(0, 0x83, 1, 1, 8)
                        .slot(1, 0x0F, 8, 9, 8)
                        .slot(0, 0x83, 1, 1, 16)
                        .slot(1, 0x05, 0, 9, 16),
                    {"/dev/sdb5", "/dev/sdb6", "/dev/sdb1"}},
        HostileCase{"ring_entered_behind_its_first_record",
                    DiskImage()
                        .slot(0, 0x05, 8, 99)
                        .slot(0, 0x05, 8, 9, 8)
                        .slot(0, 0x83, 1, 1, 16)
                        .slot(1, 0x05, 16, 9, 16)
                        .slot(0, 0x83, 1, 1, 24)
                        .slot(1, 0x05, 8, 9, 24),
                    {"/dev/sdb5", "/dev/sdb6", "/dev/sdb1"}},
        HostileCase{"chain_that_comes_back_by_wrapping_is_past_the_end",
                    DiskImage().slot(0, 0x05, 8, 99).slot(0, 0x83, 1, 1, 8).slot(1, 0x05, 0xFFFFFFF8, 9, 8),
                    {"/dev/sdb5", "/dev/sdb1"}},
        HostileCase{
            "extended_partition_past_the_end", DiskImage().slot(2, 0x05, 0xFFFFFFFF, 0xFFFFFFFF), {"/dev/sdb1"}},
        HostileCase{"two_chains_that_share_their_records",
                    DiskImage().slot(0, 0x05, 8, 99).slot(1, 0x05, 8, 99).slot(0, 0x83, 1, 1, 8).slot(1, 0x05, 0, 9, 8),
                    {"/dev/sdb5", "/dev/sdb1", "/dev/sdb5", "/dev/sdb2"}}),
    [](const auto& row) { return std::string(row.param.label); });

/// A GPT of four slots, the second and the last used, with another value in its header.
DiskImage withHeaderField(std::uint64_t offset, std::uint64_t value, unsigned width) {
    return DiskImage()
        .gpt(4)
        .gptEntry(2, kLinux, 40, 99)
        .gptEntry(4, kLinux, 100, 199)
        .bytes(512, "EFI PART")
        .little(512 + offset, value, width);
}

const std::vector<std::string> kBothSlots{"/dev/sdb2", "/dev/sdb4"};

// Wrong size, number or place of the entries in the header, and numbers past the array (CVE-2020-0256).
INSTANTIATE_TEST_SUITE_P(
    Gpt, HostileTable,
    ::testing::Values(HostileCase{"entries_of_no_size", withHeaderField(84, 0, 4), kBothSlots},
                      HostileCase{"entries_of_one_byte", withHeaderField(84, 1, 4), kBothSlots},
                      HostileCase{"entries_of_an_odd_size", withHeaderField(84, 129, 4), kBothSlots},
                      HostileCase{"entries_of_a_page", withHeaderField(84, 4096, 4), kBothSlots},
                      HostileCase{"entries_of_four_gibibytes", withHeaderField(84, 0xFFFFFFFF, 4), kBothSlots},
                      HostileCase{"header_of_no_size", withHeaderField(12, 0, 4), kBothSlots},
                      HostileCase{"header_of_four_gibibytes", withHeaderField(12, 0xFFFFFFFF, 4), kBothSlots},
                      HostileCase{"array_at_the_mbr", withHeaderField(72, 0, 8), kBothSlots},
                      HostileCase{"array_past_the_end", withHeaderField(72, ~std::uint64_t{0}, 8), kBothSlots},
                      HostileCase{"no_entries", withHeaderField(80, 0, 4), {}},
                      HostileCase{"fewer_entries_than_used", withHeaderField(80, 3, 4), {"/dev/sdb2"}},
                      HostileCase{"more_entries_than_the_disk_holds", withHeaderField(80, 1000000, 4), kBothSlots},
                      HostileCase{"a_negative_number_of_entries", withHeaderField(80, 0x80000000, 4), {}},
                      HostileCase{"a_number_of_entries_whose_size_wraps", withHeaderField(80, 0xFE000001, 4), {}},
                      HostileCase{"last_entry_used_and_cut",
                                  DiskImage().gpt(4).gptEntry(4, kLinux, 1, 2).cutAt(1024 + 3 * 128 + 33),
                                  {"/dev/sdb4"}},
                      HostileCase{"entry_just_behind_the_last",
                                  DiskImage().gpt(4).gptEntry(4, kLinux, 1, 2).gptEntry(5, kLinux, 3, 4),
                                  {"/dev/sdb4"}},
                      HostileCase{
                          "sizes_that_wrap",
                          DiskImage().gpt(2).gptEntry(1, kLinux, ~std::uint64_t{0}, 0).gptEntry(2, kLinux, 1, 0),
                          {"/dev/sdb1", "/dev/sdb2"}}),
    [](const auto& row) { return std::string(row.param.label); });

/// Runs the work on a thread with a small stack.
void onSmallStack(const std::function<void()>& work) {
    constexpr std::size_t kStackBytes = 256 * 1024;
    pthread_attr_t attributes;
    ASSERT_EQ(::pthread_attr_init(&attributes), 0);
    ASSERT_EQ(::pthread_attr_setstacksize(&attributes, kStackBytes), 0);
    pthread_t thread{};
    const auto start = [](void* given) -> void* {
        (*static_cast<const std::function<void()>*>(given))();
        return nullptr;
    };
    ASSERT_EQ(::pthread_create(&thread, &attributes, start, const_cast<std::function<void()>*>(&work)), 0);
    ASSERT_EQ(::pthread_join(thread, nullptr), 0);
    ASSERT_EQ(::pthread_attr_destroy(&attributes), 0);
}

TEST(HostileDisk, LongAndNestedChainsTakeNoStack) {
    constexpr std::uint64_t kRecords = 50000;  // four such chains stay within the bound of a disk
    FakeOs machine;
    machine.keepNoTexts();
    // Every sector is a record with one partition and a link to the next; the MBR has four extended partitions.
    machine.device("/dev/sda", (kRecords + 8) * 512, [](std::uint64_t offset, char* buffer, std::size_t size) {
        const auto sector = static_cast<std::uint32_t>(offset / 512);
        DiskImage image(512);
        for (unsigned slot = 0; sector == 0 && slot < 4; ++slot) image.slot(slot, 0x05, 1, 1);
        if (sector != 0) image.slot(0, 0x83, 1, 1).slot(1, 0x0F, sector, 1);
        (void)image.readAt(offset % 512, buffer, size);
    });
    std::size_t found = 0;
    onSmallStack([&] { found = PartitionTableParser().enumPartitions({"/dev/sda"}).size(); });
    EXPECT_EQ(found, 4 * (kRecords + 7) + 4);
    EXPECT_EQ(machine.openHandles(), 0);
}

TEST(HostileDisk, EveryByteTheSameIsReadToAnEnd) {
    for (int byte = 0; byte < 256; ++byte) {
        SCOPED_TRACE("a disk of bytes " + std::to_string(byte));
        const diskmgt_test::LiteralDisk disk{"/dev/sda", std::string(4096, static_cast<char>(byte)), true, {}};
        FakeOs machine;
        machine.keepNoTexts().device(disk.path, DiskImage(4096).bytes(0, disk.bytes));
        EXPECT_EQ(PartitionTableParser().enumPartitions({disk.path}), diskmgt_test::literalPartitions(disk));
        EXPECT_EQ(machine.openHandles(), 0);
    }
}

}  // namespace
