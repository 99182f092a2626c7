// /proc/swaps, udev's records and its links.
#include <gmock/gmock.h>

#include "machine/disk_links.h"
#include "machine/swaps.h"
#include "machine/udev_record.h"
#include "tests/unit/machine/described_tree.h"

namespace diskmgt_machine {
namespace {

using diskmgt_test::DescribedTree;
using ::testing::ElementsAre;
using ::testing::FieldsAre;
using ::testing::Pair;

TEST(Swaps, AreTheLinesBelowTheHeadings) {
    const auto swaps = swapsIn(
        "Filename\t\t\t\tType\t\tSize\t\tUsed\t\tPriority\n"
        "/dev/dm-1                               partition\t999420\t\t12\t\t-2\n"
        "/swap\\040file                          file\t\t4\t\t0\t\t5\n");
    ASSERT_EQ(swaps.size(), 2U);
    EXPECT_EQ(swaps[0].path, "/dev/dm-1");
    EXPECT_FALSE(swaps[0].isFile);
    EXPECT_EQ(swaps[0].sizeBytes, 999420U * 1024);
    EXPECT_EQ(swaps[0].usedBytes, 12U * 1024);
    EXPECT_EQ(swaps[1].path, "/swap file");
    EXPECT_TRUE(swaps[1].isFile);
}

TEST(Swaps, LinesOfAnotherFormAreLeftOut) {
    EXPECT_FALSE(swapFrom("").has_value());
    EXPECT_FALSE(swapFrom("/dev/sda1 partition 4").has_value());
    EXPECT_FALSE(swapFrom("/dev/sda1 other 4 0 0").has_value());
    EXPECT_FALSE(swapFrom("/dev/sda1 partition x 0 0").has_value());
    EXPECT_FALSE(swapFrom("/dev/sda1 partition 4 18446744073709551615 0").has_value());  // KiB: does not fit as bytes
}

constexpr const char* kRecord =
    "S:disk/by-uuid/x\nI:1\nE:ID_SERIAL_SHORT=S1\nE:ID_WWN=0x5000\nE:ID_FS_TYPE=ext4\nE:ID_FS_LABEL=My_Data\n"
    "E:ID_FS_LABEL_ENC=My\\x20Data\nE:ID_FS_UUID=1-2\nE:ID_PART_ENTRY_SCHEME=gpt\nE:ID_PART_ENTRY_NAME=root\\x20fs\n"
    "E:ID_PART_ENTRY_UUID=3-4\nE:ID_PART_ENTRY_TYPE=0fc6\nE:ID_PART_ENTRY_NUMBER=2\nE:ID_PART_ENTRY_OFFSET=2048\n"
    "E:ID_PART_ENTRY_SIZE=16\nE:ID_PART_TABLE_TYPE=dos\nG:systemd\n";

TEST(UdevRecord, HasContentAndPlaceInTheTable) {
    const UdevRecord record = udevRecordFrom(kRecord);
    EXPECT_EQ(record.content, "ext4");
    EXPECT_EQ(record.label, "My Data");
    EXPECT_EQ(record.uuid, "1-2");
    EXPECT_EQ(record.partitionTable, "gpt");
    EXPECT_EQ(record.partitionName, "root fs");
    EXPECT_EQ(record.partitionUuid, "3-4");
    EXPECT_EQ(record.partitionType, "0fc6");
    EXPECT_EQ(record.partitionNumber, 2U);
    EXPECT_EQ(record.startBytes, 2048U * 512);
    EXPECT_EQ(record.sizeBytes, 16U * 512);
    EXPECT_EQ(record.table, "dos");
    EXPECT_EQ(record.serial, "S1");
    EXPECT_EQ(record.wwn, "0x5000");
}

TEST(UdevRecord, TakesThePlainLabelWithoutAnEncodedOne) {
    EXPECT_EQ(udevRecordFrom("E:ID_FS_LABEL=a\\x2fb\n").label, "a/b");
    EXPECT_EQ(udevRecordFrom("E:ID_FS_LABEL=a\nE:ID_FS_LABEL_ENC=\n").label, "a");
}

TEST(UdevRecord, RubbishAndNumbersThatDoNotFitAreLeftOut) {
    const UdevRecord record = udevRecordFrom(
        "E:\nE\nE:=\nID_FS_TYPE=xfs\nE:ID_FS_TYPE\nE:ID_PART_ENTRY_NUMBER=two\n"
        "E:ID_PART_ENTRY_OFFSET=18446744073709551615\n");
    EXPECT_EQ(record.content, "");
    EXPECT_FALSE(record.partitionNumber.has_value());
    EXPECT_FALSE(record.startBytes.has_value());
}

TEST(UdevRecord, IsReadByTheNumberAndEmptyWithoutAFile) {
    DescribedTree tree;
    tree.file("/run/udev/data/b8:2", kRecord);
    EXPECT_EQ(readUdevRecord({8, 2}).content, "ext4");
    EXPECT_EQ(readUdevRecord({8, 3}).content, "");
    EXPECT_EQ(tree.machine.openHandles(), 0);
}

TEST(DiskLinks, AreListedByTheDeviceTheyLeadTo) {
    DescribedTree tree;
    tree.link("/dev/disk/by-label/My\\x20Data", "../../sda1")
        .link("/dev/disk/by-uuid/1-2", "../../sda1")
        .link("/dev/disk/by-id/other", "/dev/cciss/c0d0")
        .link("/dev/disk/by-id/odd", "elsewhere")
        .link("/dev/disk/other/x", "../../sdb");
    const auto links = readDiskLinks();
    EXPECT_THAT(links,
                ElementsAre(Pair("cciss/c0d0", ElementsAre(FieldsAre("by-id", "other"))),
                            Pair("sda1", ElementsAre(FieldsAre("by-label", "My Data"), FieldsAre("by-uuid", "1-2")))));
    EXPECT_EQ(tree.machine.openHandles(), 0);
}

TEST(DiskLinks, AreEmptyWithoutUdev) {
    const DescribedTree tree;
    EXPECT_TRUE(readDiskLinks().empty());
}

}  // namespace
}  // namespace diskmgt_machine
