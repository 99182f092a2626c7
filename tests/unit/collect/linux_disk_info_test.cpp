// Measuring given block devices: which are dropped, and the maps of the others.
#include "collect/linux_disk_info.h"

#include <gmock/gmock.h>

#include <new>

#include "refhost/api/reference_host.h"
#include "tests/support/fake_os.h"
#include "tests/support/property_maps.h"
#include "tests/unit/collect/host_fixture.h"

namespace {

using diskmgt_col::LinuxDiskInfo;
using diskmgt_test::DiskImage;
using diskmgt_test::Effect;
using diskmgt_test::FakeOs;
using diskmgt_test::Fault;
using diskmgt_test::hostWith;
using diskmgt_test::logLines;
using diskmgt_test::PropertyMap;
using diskmgt_test::PropertyMaps;
using diskmgt_test::valueOf;
using diskmgt_test::valuesOf;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr const char* kLinux = "0FC63DAF-8483-4772-8E79-3D69D8477DE4";

DiskImage twoPrimaries() { return DiskImage(1 << 16).slot(0, 0x83, 1, 1).slot(1, 0x83, 2, 1); }

std::string ignored(const std::string& path) {
    return "3 LinuxDiskInfo::enumDiskInfo : Ignoring Virtual Device " + path;
}
std::string notOpened(const std::string& path) {
    return "3 LinuxDiskInfo::HasPartitions : fail to open the dir " + path;
}

TEST(LinuxDiskInfo, DescribesADiskWithFivePairs) {
    const refhost::ReferenceHost host(hostWith());
    FakeOs machine;
    machine.device("/dev/sda", twoPrimaries()).sysfsDisk("sda", 128, "8:0", {"sda1", "sda2"});
    const PropertyMap expected{{"NoOfPartitions", "2"},
                               {"Size", "65536"},
                               {"DeviceID", "/dev/sda"},
                               {"ElementName", "/dev/sda"},
                               {"Name", "/dev/sda"}};
    EXPECT_THAT(LinuxDiskInfo().enumDiskInfo({"/dev/sda"}), ElementsAre(expected));
    EXPECT_THAT(logLines(host), IsEmpty());
    EXPECT_EQ(machine.openHandles(), 0);
}

TEST(LinuxDiskInfo, NoDevicesGiveNothingButTheVirtualOnesAreStillQueried) {
    refhost::ReferenceHost host(hostWith());
    const FakeOs machine;
    host.startTrace();
    EXPECT_THAT(LinuxDiskInfo().enumDiskInfo({}), IsEmpty());
    EXPECT_THAT(host.takeTrace(), SizeIs(1));
    EXPECT_EQ(machine.calls(), 0);
}

TEST(LinuxDiskInfo, TheConstructorQueriesTheVirtualDevicesOnce) {
    refhost::ReferenceHost host(hostWith());
    const FakeOs machine;
    host.startTrace();
    LinuxDiskInfo info;
    (void)info.enumDiskInfo({});
    (void)info.enumDiskInfo({});
    EXPECT_THAT(host.takeTrace(), SizeIs(1));
}

TEST(LinuxDiskInfo, AFailingQueryForVirtualDevicesThrowsFromTheConstructor) {
    refhost::ReferenceHost host(hostWith());
    const FakeOs machine;
    host.setFaultPlan({});
    EXPECT_ANY_THROW(LinuxDiskInfo());
}

struct VirtualCase {
    const char* label;
    std::vector<std::string> entries;
    bool isDropped;
};

class VirtualDevices : public ::testing::TestWithParam<VirtualCase> {};

TEST_P(VirtualDevices, DropTheDevicesTheyContain) {
    const refhost::ReferenceHost host(hostWith(GetParam().entries));
    FakeOs machine;
    machine.device("/dev/sdb", DiskImage(512)).sysfsDisk("sdb", 1, "8:16", {});
    const auto disks = LinuxDiskInfo().enumDiskInfo({"/dev/sdb"});
    EXPECT_EQ(disks.empty(), GetParam().isDropped);
    if (!GetParam().isDropped) return;
    EXPECT_THAT(logLines(host), ElementsAre(ignored("/dev/sdb")));  // once, although several entries contain it
    EXPECT_EQ(machine.calls(), 0);                                  // and it is not opened
}

INSTANTIATE_TEST_SUITE_P(LinuxDiskInfo, VirtualDevices,
                         ::testing::Values(VirtualCase{"none", {}, false}, VirtualCase{"the_path", {"/dev/sdb"}, true},
                                           VirtualCase{"amid_other_text", {"Virtual CD at /dev/sdb (USB)"}, true},
                                           VirtualCase{"another_device", {"/dev/sda"}, false},
                                           VirtualCase{"a_part_of_the_path", {"/dev/sd"}, false},
                                           VirtualCase{"without_the_directory", {"sdb"}, false},
                                           VirtualCase{"an_empty_entry", {""}, false},
                                           VirtualCase{"the_second_of_two", {"/dev/sr0", "/dev/sdb"}, true},
                                           VirtualCase{"both_of_two", {"/dev/sdb", "/dev/sdb1"}, true}),
                         [](const auto& row) { return std::string(row.param.label); });

TEST(LinuxDiskInfo, AnEntryThatOnlyContainsThePathDropsTheDevice) {
    for (const char* const entry : {"/dev/sdbc", "/dev/sdb1"}) {
        const refhost::ReferenceHost host(hostWith({entry}));
        FakeOs machine;
        machine.device("/dev/sdb", DiskImage(512)).sysfsDisk("sdb", 1, "8:16", {});
        EXPECT_THAT(LinuxDiskInfo().enumDiskInfo({"/dev/sdb"}), IsEmpty()) << entry;
        EXPECT_THAT(logLines(host), ElementsAre(ignored("/dev/sdb")));
    }
}

TEST(LinuxDiskInfo, ADeviceThatDoesNotOpenIsSkippedSilently) {
    const refhost::ReferenceHost host(hostWith());
    FakeOs machine;
    machine.sysfsDisk("sda", 1, "8:0", {});
    EXPECT_THAT(LinuxDiskInfo().enumDiskInfo({"/dev/sda"}), IsEmpty());
    EXPECT_THAT(machine.callTexts(), ElementsAre("open(/dev/sda, O_RDONLY)"));
    EXPECT_THAT(logLines(host), IsEmpty());
}

TEST(LinuxDiskInfo, ADeviceWithoutASizeIsClosedAndSkippedSilently) {
    const refhost::ReferenceHost host(hostWith());
    FakeOs machine;
    machine.file("/dev/sda", "no block device").sysfsDisk("sda", 1, "8:0", {});
    EXPECT_THAT(LinuxDiskInfo().enumDiskInfo({"/dev/sda"}), IsEmpty());
    EXPECT_THAT(machine.callTexts(), ElementsAre("open(/dev/sda, O_RDONLY)", "fcntl(/dev/sda, FD_CLOEXEC)",
                                                 "ioctl(/dev/sda, BLKGETSIZE64)", "close(/dev/sda)"));
    EXPECT_THAT(logLines(host), IsEmpty());
}

TEST(LinuxDiskInfo, TheSizeIsThe64BitNumberOfBytes) {
    const refhost::ReferenceHost host(hostWith());
    for (const std::uint64_t size : {std::uint64_t{0}, std::uint64_t{4294967296}, ~std::uint64_t{0}}) {
        FakeOs machine;
        machine.device("/dev/sda", size, {}).sysfsDisk("sda", 1, "8:0", {});
        EXPECT_THAT(valuesOf(LinuxDiskInfo().enumDiskInfo({"/dev/sda"}), "Size"), ElementsAre(std::to_string(size)));
    }
}

TEST(LinuxDiskInfo, TheNumberOfPartitionsComesFromTheParserNotFromSysfs) {
    const refhost::ReferenceHost host(hostWith());
    FakeOs machine;
    machine.device("/dev/nvme0n1",
                   DiskImage().gpt(128).gptEntry(1, kLinux, 1, 2).gptEntry(2, kLinux, 3, 4).gptEntry(9, kLinux, 5, 6));
    machine.sysfsDisk("nvme0n1", 2048, "259:0", {"nvme0n1p1", "nvme0n1p2"});
    EXPECT_THAT(valuesOf(LinuxDiskInfo().enumDiskInfo({"/dev/nvme0n1"}), "NoOfPartitions"), ElementsAre("3"));
}

TEST(LinuxDiskInfo, ExtendedPartitionsCountLikeTheOthers) {
    const refhost::ReferenceHost host(hostWith());
    FakeOs machine;
    machine.device("/dev/sda", DiskImage().slot(0, 0x05, 10, 1).slot(0, 0x83, 1, 1, 10));
    machine.sysfsDisk("sda", 2048, "8:0", {"sda1", "sda5"});
    EXPECT_THAT(valuesOf(LinuxDiskInfo().enumDiskInfo({"/dev/sda"}), "NoOfPartitions"), ElementsAre("2"));
}

TEST(LinuxDiskInfo, ADiskThatSysfsShowsWithPartitionsButWhoseTableIsEmptyHasZero) {
    const refhost::ReferenceHost host(hostWith());
    FakeOs machine;
    machine.device("/dev/sda", DiskImage()).sysfsDisk("sda", 2048, "8:0", {"sda1"});
    EXPECT_THAT(valuesOf(LinuxDiskInfo().enumDiskInfo({"/dev/sda"}), "NoOfPartitions"), ElementsAre("0"));
}

TEST(LinuxDiskInfo, WithoutPartitionsInSysfsTheTableIsNotRead) {
    const refhost::ReferenceHost host(hostWith());
    FakeOs machine;
    machine.device("/dev/sda", twoPrimaries()).directory("/sys/block/sda", {"size", "queue"});
    EXPECT_THAT(valuesOf(LinuxDiskInfo().enumDiskInfo({"/dev/sda"}), "NoOfPartitions"), ElementsAre("0"));
    EXPECT_THAT(machine.callTexts(),
                ElementsAre("open(/dev/sda, O_RDONLY)", "fcntl(/dev/sda, FD_CLOEXEC)", "ioctl(/dev/sda, BLKGETSIZE64)",
                            "opendir(/sys/block/sda)", "readdir(/sys/block/sda)", "readdir(/sys/block/sda)",
                            "readdir(/sys/block/sda)", "readdir(/sys/block/sda)", "readdir(/sys/block/sda)",
                            "closedir(/sys/block/sda)", "close(/dev/sda)"));
}

TEST(LinuxDiskInfo, TheDirectoryIsReadToTheFirstPartition) {
    const refhost::ReferenceHost host(hostWith());
    FakeOs machine;
    machine.directory("/sys/block/sda", {"size", "sda1", "sda2", "queue"});
    EXPECT_TRUE(LinuxDiskInfo().HasPartitions("/dev/sda"));
    EXPECT_THAT(machine.callTexts(),
                ElementsAre("opendir(/sys/block/sda)", "readdir(/sys/block/sda)", "readdir(/sys/block/sda)",
                            "readdir(/sys/block/sda)", "readdir(/sys/block/sda)", "closedir(/sys/block/sda)"));
}

TEST(LinuxDiskInfo, CountingReadsTheTablesAndChecksNoNode) {
    const refhost::ReferenceHost host(hostWith());
    FakeOs machine;
    machine.device("/dev/nvme0n1", DiskImage().slot(0, 0x83, 1, 1).slot(1, 0x05, 10, 1).slot(0, 0x83, 1, 1, 10));
    EXPECT_EQ(LinuxDiskInfo().getPartitionCount("/dev/nvme0n1"), 3U);
    EXPECT_THAT(machine.callTexts(),
                ElementsAre("open(/dev/nvme0n1, O_RDONLY)", "fcntl(/dev/nvme0n1, FD_CLOEXEC)",
                            "lseek(/dev/nvme0n1, 446)", "read(/dev/nvme0n1, 16)", "lseek(/dev/nvme0n1, 0)",
                            "lseek(/dev/nvme0n1, 446)", "read(/dev/nvme0n1, 66)", "lseek(/dev/nvme0n1, 5566)",
                            "read(/dev/nvme0n1, 66)", "close(/dev/nvme0n1)"));
}

TEST(LinuxDiskInfo, ThePartitionsAreCountedWhileTheDeviceIsStillOpen) {
    const refhost::ReferenceHost host(hostWith());
    FakeOs machine;
    machine.device("/dev/sda", twoPrimaries()).directory("/sys/block/sda", {".", "sda1"});
    (void)LinuxDiskInfo().enumDiskInfo({"/dev/sda"});
    EXPECT_EQ(machine.mostOpenDescriptors(), 2);
    EXPECT_EQ(machine.callTexts().front(), "open(/dev/sda, O_RDONLY)");
    EXPECT_EQ(machine.callTexts().back(), "close(/dev/sda)");
    EXPECT_THAT(machine.inheritablePaths(), IsEmpty());
}

TEST(LinuxDiskInfo, AnExceptionWhileDevicesAreOpenClosesThem) {
    const refhost::ReferenceHost host(hostWith());
    FakeOs machine;
    machine.device("/dev/sda", 1 << 20, [](std::uint64_t, char*, std::size_t) { throw std::bad_alloc(); });
    machine.directory("/sys/block/sda", {"sda1"});
    EXPECT_THROW((void)LinuxDiskInfo().enumDiskInfo({"/dev/sda"}), std::bad_alloc);
    EXPECT_EQ(machine.openHandles(), 0);
}

TEST(LinuxDiskInfo, ADiskUnknownToSysfsIsReportedWithZeroPartitionsAndALogLine) {
    const refhost::ReferenceHost host(hostWith());
    FakeOs machine;
    machine.device("/dev/sda", twoPrimaries());
    EXPECT_THAT(valuesOf(LinuxDiskInfo().enumDiskInfo({"/dev/sda"}), "NoOfPartitions"), ElementsAre("0"));
    EXPECT_THAT(logLines(host), ElementsAre(notOpened("/sys/block/sda")));
}

TEST(LinuxDiskInfo, TheSameDeviceTwiceGivesTwoEqualMaps) {
    const refhost::ReferenceHost host(hostWith());
    FakeOs machine;
    machine.device("/dev/sda", twoPrimaries()).sysfsDisk("sda", 128, "8:0", {"sda1"});
    const auto disks = LinuxDiskInfo().enumDiskInfo({"/dev/sda", "/dev/sda"});
    ASSERT_THAT(disks, SizeIs(2));
    EXPECT_EQ(disks[0], disks[1]);
}

TEST(LinuxDiskInfo, TheOrderOfThePathsIsKept) {
    const refhost::ReferenceHost host(hostWith({"/dev/sdc"}));
    FakeOs machine;
    for (const char* const name : {"sda", "sdb", "sdc"})
        machine.device(std::string("/dev/") + name, DiskImage(512)).sysfsDisk(name, 1, "8:0", {});
    EXPECT_THAT(valuesOf(LinuxDiskInfo().enumDiskInfo({"/dev/sdb", "/dev/sdc", "/dev/none", "/dev/sda"}), "Name"),
                ElementsAre("/dev/sdb", "/dev/sda"));
}

TEST(LinuxDiskInfo, AFloppyWithAnEntryInSysfsCountsOnePartition) {
    const refhost::ReferenceHost host(hostWith());
    FakeOs machine;
    machine.device("/dev/fd0", DiskImage(1474560)).directory("/sys/block/fd0", {"fd0x"});
    EXPECT_THAT(valuesOf(LinuxDiskInfo().enumDiskInfo({"/dev/fd0"}), "NoOfPartitions"), ElementsAre("1"));
}

struct SysfsCase {
    const char* label;
    const char* device;
    const char* directory;
    std::vector<std::string> entries;
    bool has;
};

class HasPartitions : public ::testing::TestWithParam<SysfsCase> {};

TEST_P(HasPartitions, ComparesTheBeginningOfEveryEntry) {
    const refhost::ReferenceHost host(hostWith());
    FakeOs machine;
    machine.directory(GetParam().directory, GetParam().entries);
    EXPECT_EQ(LinuxDiskInfo().HasPartitions(GetParam().device), GetParam().has);
    EXPECT_EQ(machine.openHandles(), 0);
    EXPECT_THAT(logLines(host), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    LinuxDiskInfo, HasPartitions,
    ::testing::Values(SysfsCase{"partitions", "/dev/sda", "/sys/block/sda", {"size", "sda1"}, true},
                      SysfsCase{"nvme_partitions", "/dev/nvme0n1", "/sys/block/nvme0n1", {"nvme0n1p1"}, true},
                      SysfsCase{"attributes_only", "/dev/sda", "/sys/block/sda", {"size", "dev", "queue"}, false},
                      SysfsCase{"an_entry_of_the_same_name", "/dev/sda", "/sys/block/sda", {"sda"}, true},
                      SysfsCase{"a_file_with_that_beginning", "/dev/sda", "/sys/block/sda", {"sda_notes.txt"}, true},
                      SysfsCase{
                          "the_name_inside_an_entry", "/dev/sda", "/sys/block/sda", {"xsda1", "sd", "Sda1"}, false},
                      SysfsCase{"a_path_without_a_slash", "sda", "/sys/block/sda", {"sda1"}, true},
                      SysfsCase{"a_deep_path", "/dev/disk/by-x/sda", "/sys/block/sda", {"sda1"}, true},
                      SysfsCase{"the_last_of_many", "/dev/sda", "/sys/block/sda", {"a", "b", "c", "d", "sda15"}, true},
                      SysfsCase{"an_empty_name_matches_anything", "/dev/", "/sys/block", {"sda"}, true}),
    [](const auto& row) { return std::string(row.param.label); });

TEST(LinuxDiskInfo, PartitionsAreCountedIndependentlyOfSysfs) {
    const refhost::ReferenceHost host(hostWith());
    FakeOs machine;
    machine.device("/dev/sda", twoPrimaries());
    EXPECT_EQ(LinuxDiskInfo().getPartitionCount("/dev/sda"), 2U);
    EXPECT_EQ(LinuxDiskInfo().getPartitionCount("/dev/none"), 0U);
    EXPECT_EQ(machine.openHandles(), 0);
}

TEST(LinuxDiskInfo, EveryFailedCallLeaksNothingAndAffectsNoOtherDisk) {
    const refhost::ReferenceHost host(hostWith());
    FakeOs machine;
    const std::vector<std::string> paths{"/dev/sda", "/dev/sdb", "/dev/nvme0n1"};
    machine.device("/dev/sda", twoPrimaries()).sysfsDisk("sda", 128, "8:0", {"sda1"});
    machine.device("/dev/sdb", DiskImage().gpt(4).gptEntry(1, kLinux, 1, 2)).sysfsDisk("sdb", 9, "8:16", {"sdb1"});
    machine.device("/dev/nvme0n1", twoPrimaries()).sysfsDisk("nvme0n1", 9, "259:0", {});
    const auto clean = LinuxDiskInfo().enumDiskInfo(paths);
    const int calls = machine.calls();
    for (const Fault how : {Fault::once, Fault::fromThenOn})
        for (int n = 1; n <= calls; ++n) {
            SCOPED_TRACE("failing call " + std::to_string(n) + " of " + std::to_string(calls));
            machine.failCall(n, how, Effect::failsWith(EIO));
            const auto found = LinuxDiskInfo().enumDiskInfo(paths);
            EXPECT_EQ(machine.openHandles(), 0);
            EXPECT_EQ(machine.staleUses(), 0);
            if (how == Fault::fromThenOn) continue;
            for (const PropertyMap& disk : clean) {
                const std::string name = valueOf(disk, "Name").substr(5);
                if (machine.hitPaths().at(0).find(name) == std::string::npos) {
                    EXPECT_THAT(found, ::testing::Contains(disk));
                }
            }
        }
    machine.heal();
    EXPECT_EQ(LinuxDiskInfo().enumDiskInfo(paths), clean);
}

TEST(LinuxDiskInfo, WithoutALoggerOnlyTheLineIsLost) {
    refhost::ReferenceHost host(hostWith());
    FakeOs machine;
    machine.device("/dev/sda", twoPrimaries());
    LinuxDiskInfo info;
    host.setFaultPlan({1, true, refhost::FaultKind::kNullResult});
    const auto disks = info.enumDiskInfo({"/dev/sda"});
    host.clearFaultPlan();
    EXPECT_THAT(valuesOf(disks, "NoOfPartitions"), ElementsAre("0"));
    EXPECT_THAT(logLines(host), IsEmpty());
}

}  // namespace
