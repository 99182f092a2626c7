// The store of dynamic-disk records: empty here, copied whole, ignored by the collectors.
#include "collect/ldm_data_base.h"

#include <gmock/gmock.h>

#include <iterator>
#include <type_traits>

#include "collect/logical_disk_information.h"
#include "collect/partition_information.h"
#include "collect/phys_disk_information.h"
#include "tests/support/fake_os.h"
#include "tests/support/property_maps.h"
#include "tests/unit/collect/host_fixture.h"

namespace {

using diskmgt_col::LDMDataBase;
using diskmgt_col::LDMStore;
using diskmgt_test::DiskImage;
using diskmgt_test::FakeOs;
using ::testing::IsEmpty;
using ::testing::SizeIs;

TEST(LdmDataBase, StartsWithSevenEmptyMaps) {
    const LDMDataBase record;
    EXPECT_EQ(std::size(record.tables), 5U);
    EXPECT_EQ(std::size(record.texts), 2U);
    EXPECT_THAT(record.tables, ::testing::Each(IsEmpty()));
    EXPECT_THAT(record.texts, ::testing::Each(IsEmpty()));
}

TEST(LdmDataBase, CopyingAnEmptyStoreGivesAnEmptyStore) {
    const LDMStore empty;
    EXPECT_THAT(LDMStore(empty), IsEmpty());
}

TEST(LdmDataBase, ACopyOfAStoreIsCompleteAndIndependent) {
    LDMStore original = diskmgt_test::filledStore();
    const LDMStore copy = original;
    original["/dev/sda"].tables[4].clear();
    original["/dev/sda"].texts[1].clear();
    EXPECT_EQ(copy.at("/dev/sda").tables[4].at("/dev/sda").at("DeviceID"), "/dev/sda9");
    EXPECT_EQ(copy.at("/dev/sda").texts[1].at("/dev/sda"), "/dev/sda9");
}

TEST(LdmDataBase, CanBeDestroyedThroughItsBase) {
    static_assert(std::has_virtual_destructor_v<LDMDataBase>);
    static_assert(std::is_copy_constructible_v<LDMDataBase> && std::is_copy_assignable_v<LDMDataBase>);
}

TEST(LdmDataBase, NoCollectorReadsOrChangesTheStore) {
    const refhost::ReferenceHost host(diskmgt_test::hostWith());
    FakeOs machine;
    machine.device("/dev/sda", DiskImage().slot(0, 0x83, 1, 1)).sysfsDisk("sda", 2048, "8:0", {"sda1"});
    machine.file("/etc/mtab", "/dev/sda1 / ext4 rw 0 0\n").fileSystem("/", {4096, 10, 5, 4, 1, 2});
    LDMStore empty;
    LDMStore filled = diskmgt_test::filledStore();

    const auto drives = diskmgt_col::PhysDiskInformation().doEnumeration("VEXSG_DiskDrive", empty);
    EXPECT_THAT(drives, SizeIs(1));
    EXPECT_EQ(diskmgt_col::PhysDiskInformation().doEnumeration("VEXSG_DiskDrive", filled), drives);

    const auto partitions = diskmgt_col::PartitionInformation().doEnumeration(empty);
    EXPECT_THAT(partitions, SizeIs(1));
    EXPECT_EQ(diskmgt_col::PartitionInformation().doEnumeration(filled), partitions);

    const auto mounts = diskmgt_col::LogicalDiskInformation().doEnumeration(empty);
    EXPECT_THAT(mounts, SizeIs(1));
    EXPECT_EQ(diskmgt_col::LogicalDiskInformation().doEnumeration(filled), mounts);

    EXPECT_THAT(empty, IsEmpty());
    const LDMStore untouched = diskmgt_test::filledStore();
    ASSERT_THAT(filled, SizeIs(untouched.size()));
    for (const auto& [key, record] : untouched) {
        EXPECT_THAT(filled.at(key).tables, ::testing::ElementsAreArray(record.tables));
        EXPECT_THAT(filled.at(key).texts, ::testing::ElementsAreArray(record.texts));
    }
}

}  // namespace
