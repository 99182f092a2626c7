// How partitions get their names, in MBR and in GPT.
#include <gmock/gmock.h>

#include "tests/unit/collect/partition_fixture.h"

namespace {

using diskmgt_test::DiskImage;
using diskmgt_test::FakeOs;
using diskmgt_test::partitionsOn;
using diskmgt_test::valuesOf;
using ::testing::ElementsAre;

const DiskImage& mbrDisk() {
    static const DiskImage disk = DiskImage().slot(0, 0x83, 1, 1).slot(2, 0x83, 2, 1);
    return disk;
}

const DiskImage& gptDisk() {
    static const std::string type = "0FC63DAF-8483-4772-8E79-3D69D8477DE4";
    static const DiskImage disk = DiskImage().gpt(4).gptEntry(1, type, 1, 2).gptEntry(2, type, 3, 4);
    return disk;
}

struct NamingCase {
    const char* label;
    const char* device;
    std::vector<std::string> nodes;
    std::vector<std::string> mbrNames;
    std::vector<std::string> gptNames;
};

class PartitionNaming : public ::testing::TestWithParam<NamingCase> {
protected:
    void SetUp() override {
        for (const std::string& node : GetParam().nodes) machine.node(node);
    }
    std::vector<std::string> namesOn(const DiskImage& disk) {
        machine.device(GetParam().device, disk);
        const auto maps = partitionsOn(machine, {GetParam().device});
        EXPECT_EQ(valuesOf(maps, "DeviceID"), valuesOf(maps, "ElementName"));
        return valuesOf(maps, "DeviceID");
    }
    FakeOs machine;
};

TEST_P(PartitionNaming, OfMbrPartitions) { EXPECT_EQ(namesOn(mbrDisk()), GetParam().mbrNames); }

TEST_P(PartitionNaming, OfGptPartitions) { EXPECT_EQ(namesOn(gptDisk()), GetParam().gptNames); }

using Names = std::vector<std::string>;

INSTANTIATE_TEST_SUITE_P(
    Disks, PartitionNaming,
    ::testing::Values(
        NamingCase{"scsi_disk_is_never_probed",
                   "/dev/sda",
                   {"/dev/sdap1"},
                   Names{"/dev/sda1", "/dev/sda2"},
                   Names{"/dev/sda1", "/dev/sda2"}},
        NamingCase{"raid_disk_gets_no_p",
                   "/dev/md0",
                   {"/dev/md0p1"},
                   Names{"/dev/md01", "/dev/md02"},
                   Names{"/dev/md01", "/dev/md02"}},
        NamingCase{"nvme_plain_node_wins",
                   "/dev/nvme0n1",
                   {"/dev/nvme0n11", "/dev/nvme0n1p1", "/dev/nvme0n12"},
                   Names{"/dev/nvme0n11", "/dev/nvme0n12"},
                   Names{"/dev/nvme0n11", "/dev/nvme0n12"}},
        NamingCase{"nvme_node_with_p_comes_second",
                   "/dev/nvme0n1",
                   {"/dev/nvme0n1p1", "/dev/nvme0n1p2"},
                   Names{"/dev/nvme0n1p1", "/dev/nvme0n1p2"},
                   Names{"/dev/nvme0n1p1", "/dev/nvme0n1p2"}},
        NamingCase{"nvme_without_node_is_number", "/dev/nvme0n1", {}, Names{"1", "2"}, Names{"1", "2"}},
        NamingCase{"nvme_decides_for_each_partition",
                   "/dev/nvme0n1",
                   {"/dev/nvme0n1p2"},
                   Names{"1", "/dev/nvme0n1p2"},
                   Names{"1", "/dev/nvme0n1p2"}},
        NamingCase{"marker_without_its_slash_counts_for_mbr_only",
                   "dev/nvme0n1",
                   {"dev/nvme0n1p1"},
                   Names{"dev/nvme0n1p1", "2"},
                   Names{"dev/nvme0n11", "dev/nvme0n12"}},
        NamingCase{"marker_behind_another_letter_counts_for_mbr_only",
                   "/xdev/nvme0",
                   {},
                   Names{"1", "2"},
                   Names{"/xdev/nvme01", "/xdev/nvme02"}},
        NamingCase{"marker_anywhere_in_the_path_counts", "/mnt/dev/nvme0n1", {}, Names{"1", "2"}, Names{"1", "2"}},
        NamingCase{"nvme_elsewhere_is_no_marker",
                   "/dev/disk/nvme0n1",
                   {},
                   Names{"/dev/disk/nvme0n11", "/dev/disk/nvme0n12"},
                   Names{"/dev/disk/nvme0n11", "/dev/disk/nvme0n12"}},
        NamingCase{"a_path_that_ends_in_a_digit_runs_into_the_number",
                   "disk.img0",
                   {},
                   Names{"disk.img01", "disk.img02"},
                   Names{"disk.img01", "disk.img02"}}),
    [](const auto& row) { return std::string(row.param.label); });

TEST(PartitionNaming, ChecksThePlainNodeFirstAndStopsAtTheFirstThatExists) {
    FakeOs machine;
    machine.device("/dev/nvme0n1", gptDisk()).node("/dev/nvme0n11");
    (void)partitionsOn(machine, {"/dev/nvme0n1"});
    std::vector<std::string> questions;
    for (const std::string& call : machine.callTexts())
        if (call.find("access(") == 0) questions.push_back(call);
    EXPECT_THAT(questions, ElementsAre("access(/dev/nvme0n11)", "access(/dev/nvme0n12)", "access(/dev/nvme0n1p2)"));
}

TEST(PartitionNaming, ChecksNoNodeForOtherDisks) {
    FakeOs machine;
    machine.device("/dev/sda", mbrDisk());
    (void)partitionsOn(machine, {"/dev/sda"});
    for (const std::string& call : machine.callTexts()) EXPECT_NE(call.find("access("), 0U) << call;
}

TEST(PartitionNaming, LogicalPartitionsOfAnNvmeDiskFollowTheSameRule) {
    FakeOs machine;
    machine.device("/dev/nvme0n1", DiskImage().slot(0, 0x05, 10, 9).slot(0, 0x83, 1, 1, 10)).node("/dev/nvme0n1p5");
    EXPECT_THAT(valuesOf(partitionsOn(machine, {"/dev/nvme0n1"}), "DeviceID"), ElementsAre("/dev/nvme0n1p5", "1"));
}

TEST(PartitionNaming, EqualNamesAreAllKept) {
    // Two disks without partition nodes fall back to the same bare numbers.
    FakeOs machine;
    machine.device("/dev/nvme0n1", mbrDisk()).device("/dev/nvme1n1", mbrDisk());
    EXPECT_THAT(valuesOf(partitionsOn(machine, {"/dev/nvme0n1", "/dev/nvme1n1"}), "DeviceID"),
                ElementsAre("1", "2", "1", "2"));
}

}  // namespace
