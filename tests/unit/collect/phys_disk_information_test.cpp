// The disks that sysfs lists: which names are taken, by which sizes and numbers.
#include "collect/phys_disk_information.h"

#include <gmock/gmock.h>

#include <locale>

#include "collect/sysfs_text.h"
#include "tests/support/fake_os.h"
#include "tests/support/property_maps.h"
#include "tests/unit/collect/host_fixture.h"

namespace {

using diskmgt_col::LDMStore;
using diskmgt_col::majorNumberFrom;
using diskmgt_col::PhysDiskInformation;
using diskmgt_col::sectorCountFrom;
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

class PhysicalDisks : public ::testing::Test {
protected:
    /// A device node and what sysfs shows of it.
    void addDisk(const std::string& name, std::uint64_t sectors, const std::string& majorMinor,
                 const std::vector<std::string>& partitions = {}) {
        machine.device("/dev/" + name, DiskImage(4096)).sysfsDisk(name, sectors, majorMinor, partitions);
    }
    PropertyMaps drives(const std::string& className = "VEXSG_DiskDrive") {
        LDMStore store;
        PropertyMaps maps = PhysDiskInformation().doEnumeration(className, store);
        EXPECT_EQ(machine.openHandles(), 0);
        EXPECT_EQ(machine.staleUses(), 0);
        return maps;
    }
    std::vector<std::string> names() { return valuesOf(drives(), "Name"); }

    refhost::ReferenceHost host{hostWith()};
    FakeOs machine;
};

TEST_F(PhysicalDisks, ReportsTheSizeOfTheDeviceNotThatOfSysfs) {
    addDisk("sda", 999, "8:0");
    const PropertyMap expected{{"NoOfPartitions", "0"},
                               {"Size", "4096"},
                               {"DeviceID", "/dev/sda"},
                               {"ElementName", "/dev/sda"},
                               {"Name", "/dev/sda"}};
    EXPECT_THAT(drives(), ElementsAre(expected));
    EXPECT_THAT(logLines(host), IsEmpty());
}

TEST_F(PhysicalDisks, KeepsDisksWithASizeThatAreNeitherRamNorDeviceMapper) {
    addDisk("sda", 100, "8:0");
    addDisk("sr0", 0, "11:0");
    addDisk("ram0", 100, "1:0");
    addDisk("dm-0", 100, "253:0");
    addDisk("loop0", 0, "7:0");
    EXPECT_THAT(names(), ElementsAre("/dev/sda"));
}

TEST_F(PhysicalDisks, OffersEveryOtherKindOfDisk) {
    for (const char* const name : {"loop1", "sr0", "md127", "nvme0n1", "vda", "xvda", "mmcblk0", "zram0", "sdaa"})
        addDisk(name, 8, "200:0");
    EXPECT_THAT(names(), ElementsAre("/dev/loop1", "/dev/sr0", "/dev/md127", "/dev/nvme0n1", "/dev/vda", "/dev/xvda",
                                     "/dev/mmcblk0", "/dev/zram0", "/dev/sdaa"));
}

TEST_F(PhysicalDisks, OnlyNamesThatBeginWithTheHyphenatedMarkAreDeviceMapper) {
    for (const char* const name : {"dm", "dmx", "dm0", "xdm-0", "dm-", "dm-7"}) addDisk(name, 8, "253:0");
    EXPECT_THAT(names(), ElementsAre("/dev/dm", "/dev/dmx", "/dev/dm0", "/dev/xdm-0"));
}

TEST_F(PhysicalDisks, NamesThatBeginWithDotsAreSkippedOnlyWhenTheyAreExactlyThose) {
    addDisk("...", 8, "8:0");
    addDisk(".a", 8, "8:0");
    EXPECT_THAT(names(), ElementsAre("/dev/...", "/dev/.a"));
}

TEST_F(PhysicalDisks, ADiskWithoutANumberIsOffered) {
    addDisk("sda", 8, "8:0");
    machine.remove("/sys/block/sda/dev");
    EXPECT_THAT(names(), ElementsAre("/dev/sda"));
}

TEST_F(PhysicalDisks, ADiskWithoutASizeIsSkippedSilently) {
    addDisk("sda", 8, "8:0");
    machine.remove("/sys/block/sda/size");
    EXPECT_THAT(names(), IsEmpty());
    EXPECT_THAT(logLines(host), IsEmpty());
}

TEST_F(PhysicalDisks, TheOrderIsThatOfTheDirectory) {
    for (const char* const name : {"sdc", "nvme0n1", "sda", "hda", "sdb"}) addDisk(name, 8, "8:0");
    EXPECT_THAT(names(), ElementsAre("/dev/sdc", "/dev/nvme0n1", "/dev/sda", "/dev/hda", "/dev/sdb"));
}

TEST_F(PhysicalDisks, OtherClassesAreEmptyAndMakeNoCall) {
    addDisk("sda", 8, "8:0");
    machine.forgetCalls();
    host.startTrace();
    for (const char* const className :
         {"VEXSG_CDROMDrive", "VEXSG_DisketteDrive", "VEXSG_DVDDrive", "VEXSG_TapeDrive", "VEXSG_DynamicDiskGroup",
          "vexsg_diskdrive", "VEXSG_Diskdrive", "VEXSG_DiskDrive ", "VEXSG_DiskDriv", ""})
        EXPECT_THAT(drives(className), IsEmpty()) << className;
    EXPECT_EQ(machine.calls(), 0);
    EXPECT_THAT(host.takeTrace(), IsEmpty());
}

TEST_F(PhysicalDisks, WithoutSysfsThereAreNoDisksAndALogLine) {
    host.startTrace();
    EXPECT_THAT(drives(), IsEmpty());
    EXPECT_THAT(machine.callTexts(), ElementsAre("opendir(/sys/block/)"));
    EXPECT_THAT(logLines(host), ElementsAre("3 PhysDiskInformation::doEnumeration : fail to open the dir /sys/block/"));
    bool asked = false;
    for (const refhost::TraceEntry& entry : host.takeTrace())
        asked = asked || entry.call.find("irtualDevices") != std::string::npos ||
                entry.call.find("Bmc") != std::string::npos;
    EXPECT_TRUE(asked);  // the management controller is still asked
}

TEST_F(PhysicalDisks, AnEmptyListingGivesNothing) {
    machine.directory("/sys/block", {});
    EXPECT_THAT(drives(), IsEmpty());
    EXPECT_THAT(logLines(host), IsEmpty());
}

TEST_F(PhysicalDisks, ADiskThatSysfsListsButThatDoesNotOpenIsDropped) {
    addDisk("sda", 8, "8:0");
    addDisk("sdb", 8, "8:16");
    machine.remove("/dev/sda");
    EXPECT_THAT(names(), ElementsAre("/dev/sdb"));
}

TEST_F(PhysicalDisks, ReadsEachAttributeOnceAndClosesTheListingBeforeMeasuring) {
    addDisk("sda", 8, "8:0");
    machine.directory("/sys/block/sda", {});
    (void)drives();
    const std::vector<std::string> calls = machine.callTexts();
    const auto at = [&calls](const std::string& text) {
        return std::find(calls.begin(), calls.end(), text) - calls.begin();
    };
    EXPECT_EQ(std::count_if(calls.begin(), calls.end(),
                            [](const std::string& call) { return call.find("open(/sys/block/sda/") == 0; }),
              2);
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "open(/dev/sda, O_RDONLY)"), 1);
    EXPECT_LT(at("closedir(/sys/block/)"), at("open(/dev/sda, O_RDONLY)"));
    EXPECT_THAT(machine.inheritablePaths(), IsEmpty());
}

TEST_F(PhysicalDisks, EveryFailedCallLeaksNothingAndAffectsNoOtherDisk) {
    addDisk("sda", 8, "8:0", {"sda1"});
    addDisk("sdb", 8, "8:16");
    addDisk("nvme0n1", 8, "259:0", {"nvme0n1p1"});
    machine.forgetCalls();
    const auto clean = drives();
    ASSERT_THAT(clean, SizeIs(3));
    const int calls = machine.calls();
    for (const Fault how : {Fault::once, Fault::fromThenOn})
        for (int n = 1; n <= calls; ++n) {
            SCOPED_TRACE("failing call " + std::to_string(n) + " of " + std::to_string(calls));
            machine.failCall(n, how, Effect::failsWith(EIO));
            const auto found = drives();
            const std::string hit = machine.hitPaths().at(0);
            if (how == Fault::fromThenOn || hit == "/sys/block/") continue;
            for (const PropertyMap& disk : clean) {
                const bool isHit = hit.find(valueOf(disk, "Name").substr(5)) != std::string::npos;
                if (!isHit) {
                    EXPECT_THAT(found, ::testing::Contains(disk));
                }
            }
        }
    machine.heal();
    EXPECT_EQ(drives(), clean);
}

struct SizeTextCase {
    const char* label;
    std::string text;
    bool isKept;
};

class SysfsSizeText : public ::testing::TestWithParam<SizeTextCase> {};

TEST_P(SysfsSizeText, DecidesWhetherTheDiskIsKept) {
    const refhost::ReferenceHost host(hostWith());
    FakeOs machine;
    machine.device("/dev/sda", DiskImage(512)).sysfsDisk("sda", 1, "8:0", {});
    machine.file("/sys/block/sda/size", GetParam().text);
    LDMStore store;
    EXPECT_EQ(PhysDiskInformation().doEnumeration("VEXSG_DiskDrive", store).size(), GetParam().isKept ? 1U : 0U);
}

INSTANTIATE_TEST_SUITE_P(
    PhysDiskInformation, SysfsSizeText,
    ::testing::Values(SizeTextCase{"a_number", "2048\n", true}, SizeTextCase{"one", "1\n", true},
                      SizeTextCase{"without_a_line_end", "2048", true}, SizeTextCase{"zero", "0\n", false},
                      SizeTextCase{"many_zeroes", "0000\n", false}, SizeTextCase{"empty", "", false},
                      SizeTextCase{"an_empty_first_line", "\n2048\n", false},
                      SizeTextCase{"a_second_line", "0\n2048\n", false}, SizeTextCase{"blanks_before", " \t 7\n", true},
                      SizeTextCase{"letters", "many\n", false}, SizeTextCase{"a_number_then_letters", "12abc\n", true},
                      SizeTextCase{"a_zero_then_letters", "0x10\n", false}, SizeTextCase{"a_plus", "+5\n", true},
                      SizeTextCase{"a_minus_alone", "-\n", false}, SizeTextCase{"blanks_alone", "   \n", false},
                      SizeTextCase{"the_largest_number", "18446744073709551615\n", true},
                      SizeTextCase{"one_more_than_the_largest", "18446744073709551616\n", false},
                      SizeTextCase{"an_absurd_number", std::string(400, '9') + "\n", false},
                      SizeTextCase{"a_number_at_the_end_of_a_page", std::string(4095, ' ') + "3\n", true},
                      SizeTextCase{"a_number_behind_a_page", std::string(4096, ' ') + "3\n", false}),
    [](const auto& row) { return std::string(row.param.label); });

struct MajorTextCase {
    const char* label;
    std::string text;
    bool isKept;
};

class SysfsDeviceNumber : public ::testing::TestWithParam<MajorTextCase> {};

TEST_P(SysfsDeviceNumber, DecidesWhetherTheDiskIsKept) {
    const refhost::ReferenceHost host(hostWith());
    FakeOs machine;
    machine.device("/dev/sda", DiskImage(512)).sysfsDisk("sda", 1, "8:0", {});
    machine.file("/sys/block/sda/dev", GetParam().text);
    LDMStore store;
    EXPECT_EQ(PhysDiskInformation().doEnumeration("VEXSG_DiskDrive", store).size(), GetParam().isKept ? 1U : 0U);
}

INSTANTIATE_TEST_SUITE_P(PhysDiskInformation, SysfsDeviceNumber,
                         ::testing::Values(MajorTextCase{"a_disk", "8:0\n", true}, MajorTextCase{"ram", "1:0\n", false},
                                           MajorTextCase{"ram_without_a_colon", "1\n", false},
                                           MajorTextCase{"begins_with_one", "11:0\n", true},
                                           MajorTextCase{"minor_one", "8:1\n", true}, MajorTextCase{"empty", "", true},
                                           MajorTextCase{"no_number", "x:1\n", true},
                                           MajorTextCase{"nothing_before_the_colon", ":1\n", true},
                                           MajorTextCase{"minus_one", "-1:0\n", true},
                                           MajorTextCase{"blanks_before", "  1:0\n", false},
                                           MajorTextCase{"letters_behind", "1x:0\n", false},
                                           MajorTextCase{"leading_zeroes", "001:0\n", false},
                                           MajorTextCase{"too_large", "4294967297:0\n", true},
                                           MajorTextCase{"on_the_second_line", "\n1:0\n", true}),
                         [](const auto& row) { return std::string(row.param.label); });

TEST(SysfsText, NumbersAreTakenOnlyWhenTheyFit) {
    EXPECT_EQ(sectorCountFrom("18446744073709551615"), 18446744073709551615UL);
    EXPECT_EQ(sectorCountFrom("18446744073709551616"), 0UL);
    EXPECT_EQ(sectorCountFrom(""), 0UL);
    EXPECT_EQ(majorNumberFrom("2147483647:0"), 2147483647);
    EXPECT_EQ(majorNumberFrom("2147483648:0"), 0);
    EXPECT_EQ(majorNumberFrom("-2147483648:0"), -2147483647 - 1);
    EXPECT_EQ(majorNumberFrom("-2147483649:0"), 0);
}

TEST(SysfsText, ANegativeSizeWrapsAsInStreamExtraction) {
    EXPECT_EQ(sectorCountFrom("-1"), ~0UL);  // extraction succeeds, modulo 2^64
    EXPECT_EQ(sectorCountFrom("-18446744073709551616"), 0UL);
}

TEST(SysfsText, GroupedDigitsOfTheProcessLocaleAreNotRead) {
    struct Grouped : std::numpunct<char> {
        char do_thousands_sep() const override { return ','; }
        std::string do_grouping() const override { return "\3"; }
    };
    const std::locale before = std::locale::global(std::locale(std::locale::classic(), new Grouped));
    EXPECT_EQ(sectorCountFrom("1,000"), 1UL);
    EXPECT_EQ(majorNumberFrom("1,000:0"), 1);
    std::locale::global(before);
}

TEST(SysfsText, TheFirstLineIsReadInAsManyPiecesAsItTakes) {
    FakeOs machine;
    machine.file("/sys/block/sda/size", "123456\nrest\n");
    for (const std::size_t piece : {1U, 2U, 100U}) {
        machine.heal();
        machine.failCallsLike("read(", Effect::readsAtMost(piece));
        EXPECT_EQ(diskmgt_col::firstLineOf("/sys/block/sda/size"), "123456");
    }
    EXPECT_EQ(machine.openHandles(), 0);
}

TEST(SysfsText, NothingIsReadPastAPage) {
    FakeOs machine;
    machine.file("/sys/block/sda/size", std::string(4095, ' ') + "123\n");
    EXPECT_EQ(diskmgt_col::firstLineOf("/sys/block/sda/size"), std::string(4095, ' ') + "1");
    EXPECT_EQ(machine.callTexts().at(1), "read(/sys/block/sda/size, 4096)");
    EXPECT_THAT(machine.callTexts(), SizeIs(3));  // open, read, close
    machine.heal();
    machine.failCallsLike("read(", Effect::readsAtMost(4000));
    EXPECT_EQ(diskmgt_col::firstLineOf("/sys/block/sda/size"), std::string(4095, ' ') + "1");
    EXPECT_EQ(machine.callTexts().at(2), "read(/sys/block/sda/size, 96)");
    EXPECT_THAT(machine.callTexts(), SizeIs(4));
}

TEST(SysfsText, AFileThatIsMissingOrEmptyHasNoFirstLine) {
    FakeOs machine;
    machine.file("/sys/block/sda/size", "").file("/sys/block/sdb/size", "\n");
    EXPECT_EQ(diskmgt_col::firstLineOf("/sys/block/none/size"), std::nullopt);
    EXPECT_EQ(diskmgt_col::firstLineOf("/sys/block/sda/size"), std::nullopt);
    EXPECT_EQ(diskmgt_col::firstLineOf("/sys/block/sdb/size"), "");
}

}  // namespace
