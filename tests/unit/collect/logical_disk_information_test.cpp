// The mount table as logical disks: one per source, measured where possible.
#include "collect/logical_disk_information.h"

#include <gmock/gmock.h>

#include <algorithm>

#include "tests/support/fake_os.h"
#include "tests/support/property_maps.h"

namespace {

using diskmgt_col::LDMStore;
using diskmgt_col::LogicalDiskInformation;
using diskmgt_test::Effect;
using diskmgt_test::FakeOs;
using diskmgt_test::Fault;
using diskmgt_test::PropertyMap;
using diskmgt_test::PropertyMaps;
using diskmgt_test::SpaceFigures;
using diskmgt_test::valueOf;
using diskmgt_test::valuesOf;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class LogicalDisks : public ::testing::Test {
protected:
    PropertyMaps enumerate() {
        LDMStore store;
        PropertyMaps maps = LogicalDiskInformation().doEnumeration(store);
        EXPECT_EQ(machine.openHandles(), 0);
        EXPECT_EQ(machine.staleUses(), 0);
        return maps;
    }
    /// The single logical disk of this table.
    PropertyMap only(const std::string& table) {
        machine.file("/etc/mtab", table);
        PropertyMaps maps = enumerate();
        EXPECT_THAT(maps, SizeIs(1));
        return maps.empty() ? PropertyMap{} : maps[0];
    }
    FakeOs machine;
};

TEST_F(LogicalDisks, DescribeAMeasuredFileSystemWithSevenPairs) {
    machine.fileSystem("/boot", SpaceFigures{4096, 1000, 250, 200, 2049, 0});
    const PropertyMap expected{{"DeviceID", "/dev/sda1"},
                               {"ElementName", "/dev/sda1"},
                               {"OtherIdentifyingInfo", "/boot,"},
                               {"FileSystemName", "ext4"},
                               {"MountOptions", "rw,relatime, 2049 0"},
                               {"TotalSpace", "4096000"},
                               {"FreeSpace", "1024000"}};
    EXPECT_EQ(only("/dev/sda1 /boot ext4 rw,relatime 0 0\n"), expected);
}

TEST_F(LogicalDisks, DescribeAnUnmeasurableOneWithFivePairs) {
    const PropertyMap expected{{"DeviceID", "server:/data"},
                               {"ElementName", "server:/data"},
                               {"OtherIdentifyingInfo", "/mnt,"},
                               {"FileSystemName", "nfs4"},
                               {"MountOptions", "rw,vers=4.2"}};
    EXPECT_EQ(only("server:/data /mnt nfs4 rw,vers=4.2 0 0\n"), expected);
}

TEST_F(LogicalDisks, TheThreeTmpfsMountsAreOneAndItIsTheFirst) {
    machine.file("/etc/mtab",
                 "tmpfs /run tmpfs rw,size=1k 0 0\n"
                 "tmpfs /dev/shm tmpfs rw 0 0\n"
                 "tmpfs /tmp tmpfs ro 0 0\n");
    const auto maps = enumerate();
    EXPECT_THAT(valuesOf(maps, "OtherIdentifyingInfo"), ElementsAre("/run,"));
    EXPECT_THAT(valuesOf(maps, "MountOptions"), ElementsAre("rw,size=1k"));
}

TEST_F(LogicalDisks, ADeviceMountedTwiceShowsItsFirstMount) {
    machine.file("/etc/mtab", "/dev/sda1 /first ext4 rw 0 0\nproc /proc proc rw 0 0\n/dev/sda1 /second xfs ro 0 0\n");
    const auto maps = enumerate();
    EXPECT_THAT(valuesOf(maps, "DeviceID"), ElementsAre("/dev/sda1", "proc"));
    EXPECT_THAT(valuesOf(maps, "OtherIdentifyingInfo"), ElementsAre("/first,", "/proc,"));
    EXPECT_THAT(valuesOf(maps, "FileSystemName"), ElementsAre("ext4", "proc"));
}

TEST_F(LogicalDisks, AreSortedByTheBytesOfTheirSource) {
    machine.file(
        "/etc/mtab",
        "tmpfs /run tmpfs rw 0 0\nproc /proc proc rw 0 0\n/dev/sdb1 /b ext4 rw 0 0\n/dev/sda10 /c ext4 rw 0 0\n"
        "/dev/sda1 /a ext4 rw 0 0\nZone /z zfs rw 0 0\n\xC3\xA9t\xC3\xA9 /e ext4 rw 0 0\n");
    EXPECT_THAT(valuesOf(enumerate(), "DeviceID"),
                ElementsAre("/dev/sda1", "/dev/sda10", "/dev/sdb1", "Zone", "proc", "tmpfs", "\xC3\xA9t\xC3\xA9"));
}

TEST_F(LogicalDisks, AnUnmeasurableMountPointGetsTheFiguresOfItsSourcesPath) {
    machine.fileSystem("/dev/sda1", SpaceFigures{512, 8, 4, 4, 5, 6});  // the file system that holds /dev
    const PropertyMap disk = only("/dev/sda1 /gone ext4 rw 0 0\n");
    EXPECT_EQ(valueOf(disk, "TotalSpace"), "4096");
    EXPECT_EQ(valueOf(disk, "FreeSpace"), "2048");
    EXPECT_EQ(valueOf(disk, "MountOptions"), "rw, 5 6");
    EXPECT_EQ(valueOf(disk, "OtherIdentifyingInfo"), "/gone,");
}

TEST_F(LogicalDisks, TheSourceIsMeasuredOnlyWhenTheMountPointCannotBe) {
    machine.fileSystem("/a", SpaceFigures{1, 1, 1, 1, 0, 0});
    machine.file("/etc/mtab", "/dev/sda1 /a ext4 rw 0 0\n/dev/sda2 /b ext4 rw 0 0\n");
    (void)enumerate();
    EXPECT_THAT(machine.callTexts(),
                ElementsAre("setmntent(/etc/mtab, r+)", "getmntent(/etc/mtab)", "statfs(/a)", "getmntent(/etc/mtab)",
                            "statfs(/b)", "statfs(/dev/sda2)", "getmntent(/etc/mtab)", "endmntent(/etc/mtab)"));
}

TEST_F(LogicalDisks, AMountThatWillBeDiscardedIsNeverMeasured) {
    machine.file("/etc/mtab", "tmpfs /run tmpfs rw 0 0\ntmpfs /dead tmpfs rw 0 0\n");
    (void)enumerate();
    EXPECT_THAT(machine.callTexts(), ::testing::Not(::testing::Contains("statfs(/dead)")));
}

TEST_F(LogicalDisks, AnAutomountThatWillBeDiscardedIsStillMeasured) {
    machine.fileSystem("/one", SpaceFigures{1, 1, 1, 1, 0, 0}).fileSystem("/two", SpaceFigures{1, 2, 2, 2, 0, 0});
    machine.file("/etc/mtab", "auto /one autofs rw 0 0\nauto /two autofs rw 0 0\nauto /gone autofs rw 0 0\n");
    const auto maps = enumerate();
    EXPECT_THAT(machine.callTexts(),
                ElementsAre("setmntent(/etc/mtab, r+)", "getmntent(/etc/mtab)", "statfs(/one)", "getmntent(/etc/mtab)",
                            "statfs(/two)", "getmntent(/etc/mtab)", "statfs(/gone)", "statfs(auto)",
                            "getmntent(/etc/mtab)", "endmntent(/etc/mtab)"));
    EXPECT_THAT(valuesOf(maps, "OtherIdentifyingInfo"), ElementsAre("/one,"));
    EXPECT_THAT(valuesOf(maps, "TotalSpace"), ElementsAre("1"));
}

TEST_F(LogicalDisks, TheTypeOfTheLaterEntryMakesItAnAutomount) {
    machine.file("/etc/mtab",
                 "auto /one autofs rw 0 0\nauto /two nfs rw 0 0\nauto /three autofs4 rw 0 0\nauto /four AUTOFS rw 0 0\n"
                 "server:/x /five nfs rw 0 0\nserver:/x /six autofs rw 0 0\n");
    (void)enumerate();
    const auto calls = machine.callTexts();
    for (const char* const untouched : {"statfs(/two)", "statfs(/three)", "statfs(/four)"})
        EXPECT_THAT(calls, ::testing::Not(::testing::Contains(untouched)));
    EXPECT_THAT(calls, ::testing::Contains("statfs(/six)"));
}

TEST_F(LogicalDisks, ARelativeMountPointIsMeasuredUnchanged) {
    machine.fileSystem("place", SpaceFigures{1, 5, 5, 5, 0, 0}).fileSystem("/dev/sda1", SpaceFigures{1, 7, 7, 7, 0, 0});
    EXPECT_EQ(valueOf(only("/dev/sda1 place ext4 rw 0 0\n"), "TotalSpace"), "5");
    EXPECT_THAT(machine.callTexts(), ::testing::Contains("statfs(place)"));
    EXPECT_THAT(machine.callTexts(), ::testing::Not(::testing::Contains("statfs(/dev/sda1)")));
}

TEST_F(LogicalDisks, AFailedMeasurementKeepsNoFiguresOfAnEarlierOne) {
    machine.fileSystem("/a", SpaceFigures{4096, 9, 8, 7, 6, 5});
    machine.file("/etc/mtab", "/dev/sda1 /a ext4 rw 0 0\n/dev/sda2 /b ext4 ro 0 0\n");
    const auto maps = enumerate();
    EXPECT_THAT(valuesOf(maps, "TotalSpace"), ElementsAre("36864", "(absent)"));
    EXPECT_THAT(valuesOf(maps, "MountOptions"), ElementsAre("rw, 6 5", "ro"));
}

TEST_F(LogicalDisks, AnEmptyTableGivesNothing) {
    machine.file("/etc/mtab", "");
    EXPECT_THAT(enumerate(), IsEmpty());
}

TEST_F(LogicalDisks, ATableOfCommentsAndBlankLinesGivesNothing) {
    machine.file("/etc/mtab", "# nothing\n\n   \n");
    EXPECT_THAT(enumerate(), IsEmpty());
}

TEST_F(LogicalDisks, AMissingTableGivesNothing) {
    EXPECT_THAT(enumerate(), IsEmpty());
    EXPECT_THAT(machine.callTexts(), ElementsAre("setmntent(/etc/mtab, r+)"));
}

TEST_F(LogicalDisks, ATableThatCannotBeOpenedForUpdateGivesNothing) {
    machine.readOnlyFile("/etc/mtab", "proc /proc proc rw 0 0\n").fileSystem("/proc", {});
    EXPECT_THAT(enumerate(), IsEmpty());
    EXPECT_THAT(machine.callTexts(), ElementsAre("setmntent(/etc/mtab, r+)"));  // no second try in another mode
}

TEST_F(LogicalDisks, PseudoFileSystemsAreReportedLikeDisks) {
    machine.file("/etc/mtab",
                 "proc /proc proc rw 0 0\nsysfs /sys sysfs rw 0 0\ncgroup2 /sys/fs/cgroup cgroup2 rw 0 0\n"
                 "devpts /dev/pts devpts rw 0 0\nnone /x none rw 0 0\n");
    EXPECT_THAT(valuesOf(enumerate(), "DeviceID"), ElementsAre("cgroup2", "devpts", "none", "proc", "sysfs"));
}

TEST_F(LogicalDisks, SpaceIsA64BitProduct) {
    machine.fileSystem("/a", SpaceFigures{4096, std::uint64_t{1} << 40, (std::uint64_t{1} << 40) - 1, 0, 0, 0});
    const PropertyMap disk = only("/dev/sda1 /a xfs rw 0 0\n");
    EXPECT_EQ(valueOf(disk, "TotalSpace"), "4503599627370496");
    EXPECT_EQ(valueOf(disk, "FreeSpace"), "4503599627366400");
}

TEST_F(LogicalDisks, AProductPast64BitsWraps) {
    machine.fileSystem("/a", SpaceFigures{4096, std::uint64_t{1} << 52, ~std::uint64_t{0}, 0, 0, 0});
    const PropertyMap disk = only("/dev/sda1 /a xfs rw 0 0\n");
    EXPECT_EQ(valueOf(disk, "TotalSpace"), "0");
    EXPECT_EQ(valueOf(disk, "FreeSpace"), "18446744073709547520");
}

TEST_F(LogicalDisks, FreeSpaceIncludesWhatIsReservedForTheSuperuser) {
    machine.fileSystem("/a", SpaceFigures{1024, 100, 50, 40, 0, 0});
    EXPECT_EQ(valueOf(only("/dev/sda1 /a ext4 rw 0 0\n"), "FreeSpace"), "51200");
}

TEST_F(LogicalDisks, AMeasuredFileSystemWithoutBlocksHasZeroSpace) {
    machine.fileSystem("/proc", SpaceFigures{4096, 0, 0, 0, 0, 0});
    const PropertyMap disk = only("proc /proc proc rw 0 0\n");
    EXPECT_EQ(valueOf(disk, "TotalSpace"), "0");
    EXPECT_EQ(valueOf(disk, "FreeSpace"), "0");
    EXPECT_EQ(valueOf(disk, "MountOptions"), "rw, 0 0");
}

TEST(LogicalDiskInformation, TheFileSystemIdentifierIsAppendedToTheOptions) {
    FakeOs machine;
    machine.file("/etc/mtab", "/dev/sda1 / ext4 rw,relatime 0 0\n");
    machine.fileSystem("/", SpaceFigures{4096, 1, 1, 1, 4294967295, 2147483648});
    LDMStore store;
    EXPECT_THAT(valuesOf(LogicalDiskInformation().doEnumeration(store), "MountOptions"),
                ElementsAre("rw,relatime, 4294967295 2147483648"));  // both words unsigned
}

TEST(LogicalDiskInformation, TheMountPointCarriesATrailingComma) {
    FakeOs machine;
    machine.file("/etc/mtab", "/dev/sda1 /mnt/a,b ext4 rw 0 0\n");
    LDMStore store;
    EXPECT_THAT(valuesOf(LogicalDiskInformation().doEnumeration(store), "OtherIdentifyingInfo"),
                ElementsAre("/mnt/a,b,"));
}

struct OddCase {
    const char* label;
    std::string line;
    std::string source;
    std::string mountPoint;
    std::string type;
    std::string options;
};

class OddMountLine : public ::testing::TestWithParam<OddCase> {};

TEST_P(OddMountLine, PassesThroughByteForByte) {
    FakeOs machine;
    machine.file("/etc/mtab", GetParam().line + "\n");
    LDMStore store;
    const auto maps = LogicalDiskInformation().doEnumeration(store);
    ASSERT_THAT(maps, SizeIs(1));
    EXPECT_EQ(valueOf(maps[0], "DeviceID"), GetParam().source);
    EXPECT_EQ(valueOf(maps[0], "OtherIdentifyingInfo"), GetParam().mountPoint + ",");
    EXPECT_EQ(valueOf(maps[0], "FileSystemName"), GetParam().type);
    EXPECT_EQ(valueOf(maps[0], "MountOptions"), GetParam().options);
}

INSTANTIATE_TEST_SUITE_P(
    LogicalDiskInformation, OddMountLine,
    ::testing::Values(
        OddCase{"octal_escapes", "a\\040b /mnt/x\\011y\\134z ext4 rw 0 0", "a b", "/mnt/x\ty\\z", "ext4", "rw"},
        OddCase{"a_line_end_in_the_mount_point", "x /mnt/a\\012b ext4 rw 0 0", "x", "/mnt/a\nb", "ext4", "rw"},
        OddCase{"commas_everywhere", "a,b /m,n f,s o,p 0 0", "a,b", "/m,n", "f,s", "o,p"},
        OddCase{"bytes_that_are_no_utf8", "\xFF\xFE /\x80 ext4 rw 0 0", "\xFF\xFE", "/\x80", "ext4", "rw"},
        OddCase{"options_of_four_pages", "x /m overlay " + std::string(16384, 'o') + " 0 0", "x", "/m", "overlay",
                std::string(16384, 'o')},
        OddCase{"fields_that_are_missing", "x /m", "x", "/m", "", ""}, OddCase{"a_source_alone", "x", "x", "", "", ""}),
    [](const auto& row) { return std::string(row.param.label); });

TEST_F(LogicalDisks, ALineWithoutALineEndIsRead) {
    EXPECT_EQ(valueOf(only("proc /proc proc rw 0 0"), "DeviceID"), "proc");
}

TEST_F(LogicalDisks, ThousandsOfMountsAreKeptApart) {
    std::string table;
    for (int i = 0; i < 3000; ++i) table += "source" + std::to_string(i) + " /m" + std::to_string(i) + " t rw 0 0\n";
    machine.keepNoTexts().file("/etc/mtab", table);
    const auto maps = enumerate();
    EXPECT_THAT(maps, SizeIs(3000));
    const auto sources = valuesOf(maps, "DeviceID");
    EXPECT_TRUE(std::is_sorted(sources.begin(), sources.end()));
}

TEST_F(LogicalDisks, EveryFailedCallClosesTheTableAndAffectsNoEarlierMount) {
    machine.file("/etc/mtab", "/dev/sda1 /a ext4 rw 0 0\n/dev/sda2 /b ext4 rw 0 0\nproc /proc proc rw 0 0\n");
    machine.fileSystem("/a", {1, 2, 1, 1, 0, 0}).fileSystem("/dev/sda2", {1, 4, 3, 2, 0, 0});
    const auto clean = enumerate();
    const int calls = machine.calls();
    for (const Fault how : {Fault::once, Fault::fromThenOn})
        for (int n = 1; n <= calls; ++n) {
            SCOPED_TRACE("failing call " + std::to_string(n) + " of " + std::to_string(calls));
            machine.failCall(n, how, Effect::failsWith(EIO));
            const auto found = enumerate();
            EXPECT_LE(found.size(), clean.size());
            for (const PropertyMap& disk : found) {  // the five unconditional properties are always there
                EXPECT_GE(disk.size(), 5U);
                EXPECT_EQ(valueOf(disk, "DeviceID"), valueOf(disk, "ElementName"));
            }
        }
    machine.heal();
    EXPECT_EQ(enumerate(), clean);
}

}  // namespace
