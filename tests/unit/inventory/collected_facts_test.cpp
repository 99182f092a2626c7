// What the collecting process found, packed and read back.
#include "inventory/collected_facts.h"

#include <gmock/gmock.h>

namespace diskmgt {
namespace {

using ::testing::ElementsAre;

ExaminedDevices someDevices() {
    ExaminedDevices devices;
    devices.list.names = {"sda", "nvme0n1"};
    devices.list.error = 13;
    DeviceFacts& facts = devices.devices.emplace_back();
    facts.path = "/dev/sda";
    facts.name = "sda";
    facts.isListed = facts.isCandidate = facts.hasNode = facts.isTried = facts.hasBootSignature = true;
    facts.nodeNumber = diskmgt_machine::DeviceNumber{8, 16};
    facts.sysfs.sizeLine = "4096";
    facts.sysfs.sectorCount = 4096;
    facts.virtualEntry = "Virtual /dev/sda";
    facts.stalling = {"/dev/sda", "a FIFO"};
    facts.openError = 13;
    facts.sizeBytes = 2097152;
    facts.kernelPartitions = {"sda1", "sda2"};
    facts.tableCount = 2;
    facts.table.cutAt = 512;
    facts.table.refusedCount = -1;
    facts.logicalSectorSize = 4096;
    devices.devices.emplace_back().path = "/dev/nvme0n1";
    return devices;
}

TEST(CollectedFacts, DevicesAreReadBackAsTheyWere) {
    const CollectedFacts read = unpackedFacts(packed(someDevices()));
    ASSERT_TRUE(read.devices);
    EXPECT_THAT(read.devices->list.names, ElementsAre("sda", "nvme0n1"));
    EXPECT_EQ(read.devices->list.error, 13);
    ASSERT_EQ(read.devices->devices.size(), 2U);
    const DeviceFacts& facts = read.devices->devices.front();
    EXPECT_EQ(facts.path, "/dev/sda");
    EXPECT_TRUE(facts.isListed && facts.isCandidate && facts.hasNode && facts.isTried && facts.hasBootSignature);
    EXPECT_EQ(facts.nodeNumber, (diskmgt_machine::DeviceNumber{8, 16}));
    EXPECT_EQ(facts.sysfs.sizeLine, "4096");
    EXPECT_FALSE(facts.sysfs.numberLine);
    EXPECT_EQ(facts.virtualEntry, "Virtual /dev/sda");
    EXPECT_EQ(facts.stalling.kind, "a FIFO");
    EXPECT_EQ(facts.openError, 13);
    EXPECT_EQ(facts.sizeBytes, 2097152U);
    EXPECT_THAT(facts.kernelPartitions, ElementsAre("sda1", "sda2"));
    EXPECT_EQ(facts.tableCount, 2U);
    EXPECT_EQ(facts.table.cutAt, 512);
    EXPECT_EQ(facts.table.refusedCount, -1);
    EXPECT_EQ(facts.logicalSectorSize, 4096U);
    EXPECT_EQ(read.devices->devices.back().path, "/dev/nvme0n1");
    EXPECT_FALSE(read.devices->devices.back().sizeBytes);
}

TEST(CollectedFacts, MountsFiguresAndWhatWasLeftOutAreReadBack) {
    MountTableFacts table;
    table.updateError = 30;
    MountFacts& mount = table.mounts.emplace_back();
    mount.source = "/dev/sda1";
    mount.mountPoint = "/data";
    mount.type = "ext4";
    mount.isLater = true;
    mount.firstMountPoint = "/";
    mount.kind = FileSystemKind::kLocal;
    const MountFigures figures{{21, {8, 1}, MountFigure::Outcome::kMeasured, 0, {100, 50, 40, false}},
                               {22, {0, 40}, MountFigure::Outcome::kNoAnswer, 0, {}}};
    const CollectedFacts read = unpackedFacts(packed(figures) + packed(table) +
                                              packedLeftOut("VEXSG_LogicalDisk", {"a-rule", "brief", "text"}));
    ASSERT_TRUE(read.mountTable && read.figures);
    EXPECT_EQ(read.mountTable->updateError, 30);
    ASSERT_EQ(read.mountTable->mounts.size(), 1U);
    EXPECT_EQ(read.mountTable->mounts[0].firstMountPoint, "/");
    EXPECT_TRUE(read.mountTable->mounts[0].isLater);
    ASSERT_EQ(read.figures->size(), 2U);
    EXPECT_EQ((*read.figures)[0].mountId, 21U);
    EXPECT_EQ((*read.figures)[0].number, (diskmgt_machine::DeviceNumber{8, 1}));
    EXPECT_EQ((*read.figures)[0].space.available, 40U);
    EXPECT_EQ((*read.figures)[1].outcome, MountFigure::Outcome::kNoAnswer);
    EXPECT_EQ(read.leftOut.at("VEXSG_LogicalDisk").rule, "a-rule");
}

TEST(CollectedFacts, CutAnywhereTheyGiveThePartsBeforeTheCut) {
    const std::string first = packed(MountFigures{{7, {8, 7}, MountFigure::Outcome::kMeasured, 0, {1, 1, 1, false}}});
    const std::string all = first + packed(someDevices());
    for (std::size_t length = 0; length < all.size(); ++length) {
        const CollectedFacts read = unpackedFacts(all.substr(0, length));
        EXPECT_EQ(read.figures.has_value(), length >= first.size());
        EXPECT_FALSE(read.devices);
    }
}

}  // namespace
}  // namespace diskmgt
