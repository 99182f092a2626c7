// What names and identifiers of block devices mean.
#include "machine/block_devices.h"

#include <gmock/gmock.h>
#include <rapidcheck.h>

#include <algorithm>

namespace diskmgt_machine {
namespace {

TEST(VolumeKind, IsThePrefixOfTheIdentifier) {
    EXPECT_EQ(volumeKindFrom("LVM-abc").kind, Kind::kLvm);
    EXPECT_EQ(volumeKindFrom("CRYPT-LUKS2-abc-root").kind, Kind::kCrypt);
    EXPECT_EQ(volumeKindFrom("mpath-3600").kind, Kind::kMultipath);
    EXPECT_EQ(volumeKindFrom("DMRAID-isw").kind, Kind::kRaid);
    EXPECT_EQ(volumeKindFrom("").kind, Kind::kDeviceMapper);
    EXPECT_EQ(volumeKindFrom("VDO-1").kind, Kind::kDeviceMapper);
}

TEST(VolumeKind, APartitionsIdentifierBeginsWithItsNumber) {
    EXPECT_EQ(volumeKindFrom("part12-mpath-3600").kind, Kind::kPartition);
    EXPECT_EQ(volumeKindFrom("part12-mpath-3600").partitionNumber, 12U);
    for (const char* const uuid : {"part-mpath", "part1", "partx-mpath", "part1mpath"})
        EXPECT_EQ(volumeKindFrom(uuid).kind, Kind::kDeviceMapper) << uuid;
}

TEST(HiddenPath, LeadsToTheDiskWithoutItsController) {
    EXPECT_EQ(diskOfPath("nvme0c1n1"), "nvme0n1");
    EXPECT_EQ(diskOfPath("nvme10c0n12"), "nvme10n12");
    for (const char* const name : {"nvme0n1", "nvme0c1", "nvme0c1n", "nvme0c1n1p1", "nvmec1n1", "nvme0cn1", "sda", ""})
        EXPECT_EQ(diskOfPath(name), "") << name;
}

TEST(PartitionNumber, FollowsTheNameOfTheDisk) {
    EXPECT_EQ(partitionNumberIn("sda2", "sda"), 2U);
    EXPECT_EQ(partitionNumberIn("nvme0n1p15", "nvme0n1"), 15U);
    EXPECT_EQ(partitionNumberIn("cciss!c0d0p1", "cciss!c0d0"), 1U);
    EXPECT_EQ(partitionNumberIn("md01", "md0"), std::nullopt);
    EXPECT_EQ(partitionNumberIn("mmcblk0boot0", "mmcblk0"), std::nullopt);
    EXPECT_EQ(partitionNumberIn("sda", "sda"), std::nullopt);
    EXPECT_EQ(partitionNumberIn("queue", "sda"), std::nullopt);
    EXPECT_EQ(partitionNumberIn("sda1", ""), std::nullopt);
}

TEST(NaturalOrder, IsNaturalOrder) {
    const std::vector<std::string> ordered{"dm-0",    "dm-2",      "dm-10",    "loop0", "md0",  "md0p1", "nvme0n1",
                                           "nvme0n2", "nvme0n2p1", "nvme0n10", "sda",   "sda1", "sda2",  "sda10",
                                           "sdb",     "sdz",       "sdaa",     "sdaa1", "sdab", "sr0",   "vda"};
    auto sorted = ordered;
    std::reverse(sorted.begin(), sorted.end());
    std::sort(sorted.begin(), sorted.end(), comesBeforeNaturally);
    EXPECT_EQ(sorted, ordered);
}

TEST(NaturalOrder, IsAnOrderOfAnyNames) {
    EXPECT_TRUE(rc::check("strict and transitive", [] {
        const auto name = rc::gen::container<std::string>(rc::gen::element('a', 'b', '0', '1', '-', '\xFF'));
        const std::string a = *name, b = *name, c = *name;
        RC_ASSERT(!comesBeforeNaturally(a, a));
        RC_ASSERT(!(comesBeforeNaturally(a, b) && comesBeforeNaturally(b, a)));
        RC_ASSERT(a == b || comesBeforeNaturally(a, b) || comesBeforeNaturally(b, a));
        if (comesBeforeNaturally(a, b) && comesBeforeNaturally(b, c)) RC_ASSERT(comesBeforeNaturally(a, c));
    }));
}

}  // namespace
}  // namespace diskmgt_machine
