// What all views say alike of a device.
#include "inventory/device_texts.h"

#include <gmock/gmock.h>

#include "tests/unit/inventory/joined_scene.h"

namespace diskmgt {
namespace {

struct DeviceTexts : ::testing::Test {
    JoinedScene scene;
};

TEST_F(DeviceTexts, ADiskHasTheIdentityThatUdevKnowsAndItsPartitionHasNot) {
    scene.disk("sda", 1 << 20);
    scene.partition("sda1", 1, 512, 1024);
    ServerAccount account = scene.joined();
    for (DeviceAccount& device : account.devices) {  // udev gives a partition its disk's
        device.udev.serial = "S1";
        device.udev.wwn = "0x5000";
    }
    EXPECT_EQ(serialOf(account, 0) + " " + wwidOf(account, 0), "S1 0x5000");
    EXPECT_EQ(serialOf(account, 1) + wwidOf(account, 1), "");
}

TEST_F(DeviceTexts, TheKernelsIdentityGoesBeforeUdevs) {
    scene.disk("sda", 1 << 20);
    scene.machine.blocks.devices[0].identity = {"model", "K1", "naa.5"};
    ServerAccount account = scene.joined();
    account.devices[0].udev.serial = "S1";
    account.devices[0].udev.wwn = "0x5000";
    EXPECT_EQ(serialOf(account, 0) + " " + wwidOf(account, 0), "K1 naa.5");
}

// What an ordinary user has of an MBR where udev is missing.
TEST_F(DeviceTexts, AnExtendedPartitionIsKnownByTheSizeThatTheKernelGivesIt) {
    scene.disk("sda", 1 << 20);
    scene.partition("sda1", 1, 512, 1024);
    scene.partition("sda2", 2, 4096, 1024);
    scene.partition("sda5", 5, 8192, 4096);
    scene.partition("sda6", 6, 16384, 1024);
    const ServerAccount account = scene.joined();
    EXPECT_EQ(holdsText(account, 1), "holds sda5 and sda6");
    EXPECT_EQ(holdsText(account, 2), "holds sda5 and sda6");  // cannot be told apart: nothing is said of its use
    EXPECT_EQ(holdsText(account, 3) + holdsText(account, 4), "");
    EXPECT_EQ(holdsText(account, 0), "");
}

TEST_F(DeviceTexts, WithSectorsOf4096BytesAnExtendedPartitionIsOneSector) {
    scene.disk("sda", 1 << 20);
    scene.machine.blocks.devices[0].sectorSize = 4096;
    scene.partition("sda1", 1, 4096, 4096);
    scene.partition("sda5", 5, 16384, 8192);
    EXPECT_TRUE(isExtended(scene.joined(), 1));
    scene.machine.blocks.devices[0].sectorSize = 512;
    EXPECT_FALSE(isExtended(scene.joined(), 1));
}

TEST_F(DeviceTexts, ASmallPartitionWithoutLogicalsBehindItIsNotExtended) {
    scene.disk("sda", 1 << 20);
    scene.partition("sda1", 1, 65536, 1024);
    scene.partition("sda5", 5, 8192, 4096);  // begins before it
    EXPECT_FALSE(isExtended(scene.joined(), 1));
}

TEST_F(DeviceTexts, UdevAndCimKnowBetterThanTheSize) {
    scene.disk("sda", 1 << 20);
    scene.partition("sda1", 1, 512, 1024);
    scene.partition("sda5", 5, 8192, 4096);
    ServerAccount account = scene.joined();
    account.devices[1].udev.partitionTable = "gpt";
    EXPECT_FALSE(isExtended(account, 1));
    account.devices[1].udev.partitionTable = "dos";
    EXPECT_TRUE(isExtended(account, 1));
    account.devices[1].udev.partitionType = "0x83";
    EXPECT_FALSE(isExtended(account, 1));
    scene.factsOf("/dev/sda").tableCount = 1;
    scene.cim.gpt("/dev/sda1", 1024, (512 + 1024) / 512 - 1, 17);
    const ServerAccount published = scene.joined();
    ASSERT_TRUE(published.devices[1].published);
    EXPECT_FALSE(isExtended(published, 1));
}

TEST_F(DeviceTexts, AnExtendedPartitionWithoutLogicalsHoldsUnnamedOnes) {
    scene.disk("sda", 1 << 20);
    scene.partition("sda1", 1, 512, 1024);
    ServerAccount account = scene.joined();
    account.devices[1].udev.partitionType = "0xf";
    EXPECT_EQ(holdsText(account, 1), "holds logical partitions");
}

}  // namespace
}  // namespace diskmgt
