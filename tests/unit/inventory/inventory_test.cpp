// The inventory: what is nested where, and what is observed beside the published values.
#include "inventory/inventory.h"
#include "inventory/device_names.h"
#include "inventory/partition_types.h"

#include <gmock/gmock.h>

#include "tests/unit/inventory/published_scene.h"

namespace diskmgt {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// The devices at the positions.
std::vector<std::string> devices(const Inventory& inventory, const std::vector<std::size_t>& positions) {
    std::vector<std::string> names;
    for (const std::size_t position : positions) names.push_back(inventory.partitions[position].device);
    return names;
}

std::vector<std::string> sources(const Inventory& inventory, const std::vector<std::size_t>& positions) {
    std::vector<std::string> names;
    for (const std::size_t position : positions) names.push_back(inventory.logicalDisks[position].source);
    return names;
}

struct Inventories : ::testing::Test {
    PublishedScene scene;
};

TEST_F(Inventories, TypeBytesHaveTheirNamesInTheSchemaToo) {
    std::map<std::string, std::string> inSchema, inInventory;
    for (const PublishedClass& cls : scene.published.classes)
        for (const refhost::PropertyDeclaration& property : cls.declaration->properties)
            if (property.name == "PartitionSubType")
                inSchema.insert(property.valueNames.begin(), property.valueNames.end());
    const refhost::Instance withoutType;
    for (unsigned byte = 0; byte < 256; ++byte)
        if (const std::string name = partitionTypeName(withoutType, byte); name != "unknown")
            inInventory[std::to_string(byte)] = name;
    EXPECT_EQ(inSchema, inInventory);
}

TEST_F(Inventories, PairsAreFollowedAndNothingElse) {
    scene.drive("/dev/sda", 4096, 1);
    scene.drive("/dev/sdb", 4096, 1);
    scene.mbr("/dev/sda1", 512, 1, 0x83);
    scene.mbr("/dev/sdb1", 512, 1, 0x83);
    scene.mounted("/dev/sdb1", {"/data"});
    scene.partitionOn("/dev/sda", "/dev/sda1");
    const Inventory inventory = scene.arranged();
    EXPECT_THAT(devices(inventory, inventory.drives[0].partitions), ElementsAre("/dev/sda1"));
    EXPECT_THAT(inventory.drives[1].partitions, IsEmpty());
    EXPECT_THAT(devices(inventory, inventory.loosePartitions), ElementsAre("/dev/sdb1"));
    EXPECT_THAT(sources(inventory, inventory.looseLogicalDisks), ElementsAre("/dev/sdb1"));
    EXPECT_THAT(inventory.doubtfulPairs, IsEmpty());
}

TEST_F(Inventories, AFileSystemOnAPartitionIsNotRepeatedOnItsDrive) {
    scene.drive("/dev/sda", 4096, 1);
    scene.mbr("/dev/sda1", 512, 1, 0x83);
    scene.mounted("/dev/sda1", {"/"});
    scene.mounted("/dev/sda", {"/whole"});
    scene.partitionOn("/dev/sda", "/dev/sda1");
    scene.mountedOnPartition("/dev/sda1", "/dev/sda1");
    scene.mountedOnDrive("/dev/sda", "/dev/sda1");
    scene.mountedOnDrive("/dev/sda", "/dev/sda");
    const Inventory inventory = scene.arranged();
    EXPECT_THAT(sources(inventory, inventory.drives[0].logicalDisks), ElementsAre("/dev/sda"));
    EXPECT_THAT(sources(inventory, inventory.partitions[0].logicalDisks), ElementsAre("/dev/sda1"));
    EXPECT_THAT(inventory.looseLogicalDisks, IsEmpty());
}

TEST_F(Inventories, APairThatNamesNothingPublishedIsIgnored) {
    scene.drive("/dev/sda", 4096, 1);
    scene.partitionOn("/dev/sda", "/dev/sda1");
    scene.partitionOn("/dev/sdz", "/dev/sda1");
    EXPECT_THAT(scene.arranged().drives[0].partitions, IsEmpty());
}

TEST_F(Inventories, LogicalsLieBeneathTheExtendedPartitionPublishedBehindThem) {
    scene.drive("/dev/sda", 4096, 7);
    scene.mbr("/dev/sda1", 512, 1, 0x83);
    for (const char* const name : {"/dev/sda5", "/dev/sda6"}) scene.mbr(name, 512, 3, 0x83);
    scene.mbr("/dev/sda2", 1024, 2, 0x05);
    scene.mbr("/dev/sda7", 512, 3, 0x83);
    scene.mbr("/dev/sda3", 1024, 2, 0x0F);
    scene.mbr("/dev/sda8", 512, 3, 0x83);  // no extended partition follows it
    for (const char number : {'8', '3', '7', '2', '6', '5', '1'})
        scene.partitionOn("/dev/sda", std::string("/dev/sda") + number);  // pairs come in another order
    const Inventory inventory = scene.arranged();
    EXPECT_THAT(devices(inventory, inventory.drives[0].partitions),
                ElementsAre("/dev/sda1", "/dev/sda2", "/dev/sda3", "/dev/sda8"));
    EXPECT_THAT(devices(inventory, inventory.partitions[3].logicals), ElementsAre("/dev/sda5", "/dev/sda6"));
    EXPECT_THAT(devices(inventory, inventory.partitions[5].logicals), ElementsAre("/dev/sda7"));
}

TEST_F(Inventories, LogicalsThatAPrimaryPartitionFollowsStayOnTheDrive) {
    scene.drive("/dev/sda", 4096, 2);
    scene.mbr("/dev/sda5", 512, 3, 0x83);
    scene.mbr("/dev/sda1", 512, 1, 0x83);
    scene.mbr("/dev/sda2", 512, 2, 0x05);
    for (const char number : {'1', '2', '5'}) scene.partitionOn("/dev/sda", std::string("/dev/sda") + number);
    const Inventory inventory = scene.arranged();
    EXPECT_THAT(devices(inventory, inventory.drives[0].partitions), ElementsAre("/dev/sda5", "/dev/sda1", "/dev/sda2"));
    EXPECT_THAT(inventory.partitions[2].logicals, IsEmpty());
}

TEST_F(Inventories, PartitionsOfOneNameAreAllKept) {
    scene.drive("/dev/sda", 4096, 2);
    scene.mbr("/dev/sda5", 512, 3, 0x83);
    scene.mbr("/dev/sda5", 1024, 3, 0x82);
    scene.partitionOn("/dev/sda", "/dev/sda5");
    scene.partitionOn("/dev/sda", "/dev/sda5");
    const Inventory inventory = scene.arranged();
    EXPECT_THAT(inventory.drives[0].partitions, ElementsAre(0, 1));
    EXPECT_EQ(inventory.partitions[1].size, 1024U);
}

TEST_F(Inventories, APairMadeByPrefixNamesTheLikelyRightOne) {
    scene.drive("/dev/sda", 4096, 0);
    scene.drive("/dev/sdaa", 4096, 1);
    scene.mbr("/dev/sdaa1", 512, 1, 0x83);
    scene.mbr("/dev/sdab1", 512, 1, 0x83);
    scene.partitionOn("/dev/sda", "/dev/sdaa1");
    scene.partitionOn("/dev/sda", "/dev/sdab1");
    const Inventory inventory = scene.arranged();
    ASSERT_EQ(inventory.doubtfulPairs.size(), 2U);
    EXPECT_EQ(inventory.doubtfulPairs[0].association, "VEXSG_PartitionPresent");
    EXPECT_EQ(inventory.doubtfulPairs[0].device, "/dev/sdaa1");
    EXPECT_EQ(inventory.doubtfulPairs[0].pairedWith, "/dev/sda");
    EXPECT_EQ(inventory.doubtfulPairs[0].likely, "/dev/sdaa");
    EXPECT_EQ(inventory.doubtfulPairs[1].likely, "");
    EXPECT_THAT(devices(inventory, inventory.drives[0].partitions), ElementsAre("/dev/sdaa1", "/dev/sdab1"));
}

TEST_F(Inventories, APartitionWithTheBareNumberAfterItsDriveIsNotDoubtful) {
    for (const char* const name : {"/dev/md0", "/dev/md1", "/dev/md127"}) scene.drive(name, 4096, 1);
    scene.mbr("/dev/md01", 512, 1, 0x83);
    scene.mbr("/dev/md1271", 512, 1, 0x83);
    scene.partitionOn("/dev/md0", "/dev/md01");
    scene.partitionOn("/dev/md1", "/dev/md1271");
    const Inventory inventory = scene.arranged();
    ASSERT_EQ(inventory.doubtfulPairs.size(), 1U);
    EXPECT_EQ(inventory.doubtfulPairs[0].device, "/dev/md1271");
    EXPECT_EQ(inventory.doubtfulPairs[0].likely, "/dev/md127");
}

TEST_F(Inventories, ASourceOnThePartitionOfAnotherNameIsAnAccident) {
    scene.mbr("/dev/sda1", 512, 1, 0x83);
    scene.mbr("/dev/sda10", 512, 3, 0x83);
    scene.mounted("/dev/sda1", {"/one"});
    scene.mountedOnPartition("/dev/sda1", "/dev/sda1");
    scene.mountedOnPartition("/dev/sda10", "/dev/sda1");
    const Inventory inventory = scene.arranged();
    ASSERT_EQ(inventory.doubtfulPairs.size(), 1U);
    EXPECT_EQ(inventory.doubtfulPairs[0].device, "/dev/sda10");
    EXPECT_EQ(inventory.doubtfulPairs[0].pairedWith, "/dev/sda1");
    EXPECT_EQ(inventory.doubtfulPairs[0].likely, "");
}

TEST_F(Inventories, ASourcePairedByPrefixIsDoubtfulUnlessItIsALink) {
    scene.drive("/dev/nvme0n1", 4096, 0);
    scene.drive("/dev/nvme0n10", 4096, 0);
    for (const char* const source : {"/dev/nvme0n10p1", "/dev/mapper/root", "/dev/nvme0n1p2"}) {
        scene.mounted(source, {"/x"});
        scene.mountedOnDrive("/dev/nvme0n1", source);
    }
    const Inventory inventory = scene.arranged();
    ASSERT_EQ(inventory.doubtfulPairs.size(), 1U);
    EXPECT_EQ(inventory.doubtfulPairs[0].device, "/dev/nvme0n10p1");
    EXPECT_EQ(inventory.doubtfulPairs[0].likely, "/dev/nvme0n10");
}

TEST_F(Inventories, AGptPartitionStartsWhereItsLastBlockAndSizeSay) {
    scene.gpt("/dev/sda1", 1048576, 4095, 6);
    scene.gpt("/dev/sda2", 512, 34, 6);
    const Inventory inventory = scene.arranged();
    EXPECT_EQ(inventory.partitions[0].table, TableKind::kGpt);
    EXPECT_EQ(inventory.partitions[0].start, 4096U * 512 - 1048576);
    EXPECT_EQ(inventory.partitions[0].startOrigin, StartOrigin::kComputed);
    EXPECT_EQ(inventory.partitions[1].start, 34U * 512);
    EXPECT_EQ(inventory.partitions[0].typeName, "EFI system");
}

TEST_F(Inventories, APartitionWithoutASizeHasNoStart) {
    scene.add("VEXSG_DiskPartition", {{"DeviceID", {"/dev/sda1"}}, {"StartingOffset", {"4095"}}});
    EXPECT_FALSE(scene.arranged().partitions[0].start);
}

TEST_F(Inventories, AnMbrPartitionStartsWhereTheKernelSaysOrNowhere) {
    scene.mbr("/dev/sda1", 512, 1, 0x8E);
    scene.mbr("/dev/sda2", 512, 1, 0x77);
    scene.observations.startBytes["/dev/sda1"] = 1048576;
    const Inventory inventory = scene.arranged();
    EXPECT_EQ(inventory.partitions[0].table, TableKind::kMbr);
    EXPECT_EQ(inventory.partitions[0].start, 1048576U);
    EXPECT_EQ(inventory.partitions[0].startOrigin, StartOrigin::kObserved);
    EXPECT_EQ(inventory.partitions[0].typeName, "Linux LVM");
    EXPECT_FALSE(inventory.partitions[1].start);
    EXPECT_EQ(inventory.partitions[1].typeName, "Primary");
}

TEST_F(Inventories, AMountPointSplitAtItsCommasIsPutTogether) {
    scene.mounted("a", {"/mnt/c", "d", "e"});
    EXPECT_EQ(scene.arranged().logicalDisks[0].mountPoint, "/mnt/c,d,e");
    scene.observations.mountPoints["a"] = {"/mnt/c,d,,e", "/further"};  // the mount table knows better
    const Inventory inventory = scene.arranged();
    EXPECT_EQ(inventory.logicalDisks[0].mountPoint, "/mnt/c,d,,e");
    EXPECT_THAT(inventory.logicalDisks[0].furtherMountPoints, ElementsAre("/further"));
}

TEST_F(Inventories, FiguresOfAMountPointThatCannotBeMeasuredAreTheSources) {
    scene.mountedWithSpace("/dev/sda1", "/data", 1000, 400);
    scene.mountedWithSpace("/dev/sdb1", "/gone", 2000, 500);
    scene.mounted("proc", {"/proc"}, "proc");
    scene.observations.availableBytes["/data"] = 300;
    EXPECT_FALSE(scene.arranged().logicalDisks[1].space->isOfSourcePath);  // nothing was observed
    scene.observations.isSpaceMeasured = true;
    const Inventory inventory = scene.arranged();
    EXPECT_EQ(inventory.logicalDisks[0].space->available, 300U);
    EXPECT_FALSE(inventory.logicalDisks[0].space->isOfSourcePath);
    EXPECT_FALSE(inventory.logicalDisks[1].space->available);
    EXPECT_TRUE(inventory.logicalDisks[1].space->isOfSourcePath);
    EXPECT_FALSE(inventory.logicalDisks[2].space);
}

struct NameCase {
    const char* label;
    const char* device;
    const char* drive;
    bool isByKernelRule;
    bool mayBePartition;
};
class DeviceNames : public ::testing::TestWithParam<NameCase> {};

TEST_P(DeviceNames, BelongToADrive) {
    EXPECT_EQ(isOnDrive(GetParam().device, GetParam().drive), GetParam().isByKernelRule);
    EXPECT_EQ(isPartitionOf(GetParam().device, GetParam().drive), GetParam().mayBePartition);
}

INSTANTIATE_TEST_SUITE_P(Names, DeviceNames,
                         ::testing::Values(NameCase{"partition", "/dev/sda1", "/dev/sda", true, true},
                                           NameCase{"long_number", "/dev/sda128", "/dev/sda", true, true},
                                           NameCase{"drive_itself", "/dev/sda", "/dev/sda", true, true},
                                           NameCase{"longer_drive", "/dev/sdaa1", "/dev/sda", false, false},
                                           NameCase{"p_behind_a_letter", "/dev/sdap1", "/dev/sda", false, false},
                                           NameCase{"p_behind_a_digit", "/dev/nvme0n1p1", "/dev/nvme0n1", true, true},
                                           NameCase{"p_without_number", "/dev/nvme0n1p", "/dev/nvme0n1", false, false},
                                           NameCase{"bare_number_behind_a_digit", "/dev/md01", "/dev/md0", false, true},
                                           NameCase{"other_namespace", "/dev/nvme0n10p1", "/dev/nvme0n1", false, false},
                                           NameCase{"shorter", "/dev/sd", "/dev/sda", false, false},
                                           NameCase{"no_drive_name", "1", "", false, true}),
                         [](const auto& row) { return row.param.label; });

}  // namespace
}  // namespace diskmgt
