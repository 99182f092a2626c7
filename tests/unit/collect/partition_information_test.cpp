// The candidate disks and their order.
#include "collect/partition_information.h"

#include <gmock/gmock.h>

#include "tests/support/fake_os.h"
#include "tests/support/property_maps.h"

namespace {

using diskmgt_col::LDMStore;
using diskmgt_col::PartitionInformation;
using diskmgt_test::DiskImage;
using diskmgt_test::FakeOs;
using diskmgt_test::PropertyMaps;
using diskmgt_test::valuesOf;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

DiskImage onePrimary() { return DiskImage().slot(0, 0x83, 2048, 100); }

PropertyMaps enumerate(const FakeOs& machine) {
    LDMStore store;
    PropertyMaps maps = PartitionInformation().doEnumeration(store);
    EXPECT_EQ(machine.openHandles(), 0);
    EXPECT_EQ(machine.staleUses(), 0);
    return maps;
}

TEST(PartitionInformation, TriesThe280CandidatesInOrder) {
    const FakeOs machine;
    std::vector<std::string> expected;
    const std::string letters = "abcdefghijklmnopqrstuvwxyz";
    for (const char letter : letters)
        for (const char* const bus : {"/dev/hd", "/dev/sd"})
            expected.push_back(std::string("open(") + bus + letter + ", O_RDONLY)");
    for (int raid = 0; raid <= 127; ++raid) expected.push_back("open(/dev/md" + std::to_string(raid) + ", O_RDONLY)");
    for (int tens = 0; tens <= 99; ++tens)
        expected.push_back("open(/dev/nvme" + std::to_string(tens / 10) + "n" + std::to_string(tens % 10) +
                           ", O_RDONLY)");
    ASSERT_EQ(expected.size(), 280U);
    EXPECT_THAT(enumerate(machine), IsEmpty());
    EXPECT_THAT(machine.callTexts(), ElementsAreArray(expected));
}

TEST(PartitionInformation, TwoPrimariesOfTheOnlyDiskGiveTwoMaps) {
    FakeOs machine;
    machine.device("/dev/sda", onePrimary().slot(1, 0x83, 4096, 100));
    EXPECT_THAT(valuesOf(enumerate(machine), "DeviceID"), ElementsAre("/dev/sda1", "/dev/sda2"));
}

TEST(PartitionInformation, DisksUnderOtherNamesAreNeverExamined) {
    FakeOs machine;
    for (const char* const path :
         {"/dev/vda", "/dev/xvda", "/dev/sdaa", "/dev/nvme10n1", "/dev/nvme0n10", "/dev/mmcblk0", "/dev/md128",
          "/dev/sdA", "/dev/hd", "/dev/nvme0", "/dev/fd0", "/dev/sr0"})
        machine.device(path, onePrimary());
    EXPECT_THAT(enumerate(machine), IsEmpty());
    EXPECT_EQ(machine.calls(), 280);
}

TEST(PartitionInformation, TheFirstAndTheLastOfEachKindAreExamined) {
    FakeOs machine;
    for (const char* const path :
         {"/dev/nvme9n9", "/dev/nvme0n0", "/dev/md127", "/dev/md0", "/dev/sdz", "/dev/hdz", "/dev/sda", "/dev/hda"})
        machine.device(path, onePrimary());
    EXPECT_THAT(valuesOf(enumerate(machine), "DeviceID"),
                ElementsAre("/dev/hda1", "/dev/sda1", "/dev/hdz1", "/dev/sdz1", "/dev/md01", "/dev/md1271", "1", "1"));
}

TEST(PartitionInformation, ARaidDeviceIsParsedLikeADisk) {
    FakeOs machine;
    machine.device("/dev/md0", DiskImage().bytes(446, std::string(64, '\x41')));  // any content
    const auto maps = enumerate(machine);
    EXPECT_THAT(valuesOf(maps, "DeviceID"), ElementsAre("/dev/md01", "/dev/md02", "/dev/md03", "/dev/md04"));
    EXPECT_THAT(valuesOf(maps, "PartitionSubType"), ElementsAre("65", "65", "65", "65"));
}

TEST(PartitionInformation, DisksComeInTheOrderOfTheCandidates) {
    FakeOs machine;
    machine.device("/dev/sdb", onePrimary()).device("/dev/sda", onePrimary()).device("/dev/hda", onePrimary());
    machine.device("/dev/hdb", onePrimary());
    EXPECT_THAT(valuesOf(enumerate(machine), "DeviceID"),
                ElementsAre("/dev/hda1", "/dev/sda1", "/dev/hdb1", "/dev/sdb1"));
}

TEST(PartitionInformation, OneDescriptorIsOpenAtATime) {
    FakeOs machine;
    machine.device("/dev/sda", onePrimary()).device("/dev/sdb", onePrimary());
    (void)enumerate(machine);
    EXPECT_EQ(machine.mostOpenDescriptors(), 1);
}

}  // namespace
