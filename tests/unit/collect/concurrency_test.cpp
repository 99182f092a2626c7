// Several requests at once: collectors share no state, so each thread gets the same texts as a single one.
#include <gmock/gmock.h>

#include <thread>

#include "collect/logical_disk_information.h"
#include "collect/partition_information.h"
#include "collect/phys_disk_information.h"
#include "tests/support/fake_os.h"
#include "tests/support/property_maps.h"
#include "tests/unit/collect/host_fixture.h"

namespace {

using diskmgt_test::DiskImage;
using diskmgt_test::FakeOs;
using diskmgt_test::PropertyMaps;
using ::testing::Each;

constexpr std::size_t kThreads = 8;

/// The results of all collectors in turn.
PropertyMaps collectAll() {
    diskmgt_col::LDMStore store;
    PropertyMaps all = diskmgt_col::PhysDiskInformation().doEnumeration("VEXSG_DiskDrive", store);
    for (auto& map : diskmgt_col::PartitionInformation().doEnumeration(store)) all.push_back(map);
    for (auto& map : diskmgt_col::LogicalDiskInformation().doEnumeration(store)) all.push_back(map);
    return all;
}

TEST(Collectors, RunningAtOnceFindWhatOneAloneFinds) {
    const refhost::ReferenceHost host(diskmgt_test::hostWith({"/dev/sdz"}));
    FakeOs machine;
    const std::string type = "0FC63DAF-8483-4772-8E79-3D69D8477DE4";
    machine.device("/dev/sda", DiskImage().slot(0, 0x83, 1, 1).slot(1, 0x05, 10, 9).slot(0, 0x83, 1, 1, 10));
    machine.device("/dev/sdb", DiskImage().gpt(128).gptEntry(1, type, 1, 2).gptEntry(2, type, 3, 4));
    machine.sysfsDisk("sda", 2048, "8:0", {"sda1", "sda2", "sda5"}).sysfsDisk("sdb", 2048, "8:16", {"sdb1", "sdb2"});
    machine.sysfsDisk("sdz", 2048, "65:144", {});
    std::string table;
    for (int i = 0; i < 40; ++i)  // lines of many lengths, which a shared buffer would mix up
        table += "source" + std::to_string(i) + " /mnt/" + std::string(static_cast<std::size_t>(i * 20), 'm') +
                 " ext4 rw 0 0\n";
    machine.file("/etc/mtab", table);

    const PropertyMaps alone = collectAll();
    ASSERT_EQ(alone.size(), 2U + 5U + 40U);
    std::vector<PropertyMaps> found(kThreads);
    std::vector<std::thread> threads;
    for (PropertyMaps& own : found) threads.emplace_back([&own] { own = collectAll(); });
    for (std::thread& thread : threads) thread.join();
    EXPECT_THAT(found, Each(alone));
    EXPECT_EQ(machine.openHandles(), 0);
    EXPECT_EQ(machine.staleUses(), 0);
}

}  // namespace
