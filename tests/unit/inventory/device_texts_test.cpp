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

}  // namespace
}  // namespace diskmgt
