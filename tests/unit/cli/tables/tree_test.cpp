// The tree: its rows, its notes, and how it is made to fit.
#include "cli/tables/tree.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <clocale>
#include <sstream>

#include "cli/tables/tree_published.h"
#include "tests/unit/inventory/published_scene.h"
#include "text/display_width.h"

namespace diskmgt {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

constexpr std::uint64_t kMiB = 1048576;

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
}

struct Trees : ::testing::Test {
    PublishedScene scene;
    TreeChoices choices;

    Tree arranged() { return arrangeTree(scene.arranged(), choices); }
    std::vector<std::string> lines(std::size_t width = 0) { return linesOf(printedTree(arranged(), {}, width)); }

    void smallServer() {
        scene.drive("/dev/sda", 64 * kMiB, 1);
        scene.gpt("/dev/sda1", 32 * kMiB, 67583, 17);
        scene.mountedWithSpace("/dev/sda1", "/srv/data", 100 * kMiB, 25 * kMiB);
        scene.partitionOn("/dev/sda", "/dev/sda1");
        scene.mountedOnPartition("/dev/sda1", "/dev/sda1");
        scene.observations.isSpaceMeasured = true;
        scene.observations.mountPoints["/dev/sda1"] = {"/srv/data", "/srv/again"};
        scene.observations.availableBytes["/srv/data"] = 20 * kMiB;
    }
};

TEST_F(Trees, DrivesPartitionsAndWhatIsMountedOnThem) {
    smallServer();
    EXPECT_THAT(lines(),
                ElementsAre("Name             Size Start Type              Used           Use Free Avail",
                            "/dev/sda          64M       1 partition", "`-/dev/sda1       32M    1M Linux file system",
                            "  `-/srv/data    100M       ext4               75M ######--  79%  25M   20M",
                            "    `-/srv/again            mounted here too"));
}

TEST_F(Trees, SizesInBytesOnRequest) {
    smallServer();
    choices.bytes = true;
    const Tree tree = arranged();
    EXPECT_EQ(tree.rows[1].cells[kStartColumn], "1048576");
    EXPECT_EQ(tree.rows[2].cells[kUsedColumn], "78643200");
    EXPECT_EQ(tree.rows[2].cells[kAvailableColumn], "20971520");
}

TEST_F(Trees, LogicalsStandBeneathTheirExtendedPartition) {
    scene.drive("/dev/sda", 64 * kMiB, 3);
    scene.mbr("/dev/sda1", kMiB, 1, 0x83, true);
    scene.mbr("/dev/sda5", kMiB, 3, 0x82);
    scene.mbr("/dev/sda2", 8 * kMiB, 2, 0x05);
    for (const char number : {'1', '2', '5'}) scene.partitionOn("/dev/sda", std::string("/dev/sda") + number);
    EXPECT_THAT(lines(), ElementsAre("Name          Size Type         Remark", "/dev/sda       64M 3 partitions",
                                     "|-/dev/sda1     1M Linux        bootable", "`-/dev/sda2     8M Extended",
                                     "  `-/dev/sda5   1M Linux swap"));
}

TEST_F(Trees, APublishedStartingOffsetIsNeverShown) {
    scene.drive("/dev/sda", 64 * kMiB, 1);
    scene.mbr("/dev/sda1", kMiB, 1, 0x83);
    scene.partitionOn("/dev/sda", "/dev/sda1");
    choices.bytes = true;
    EXPECT_THAT(printedTree(arranged(), {}, 0), Not(HasSubstr("447")));
}

TEST_F(Trees, APairMadeByPrefixIsMarkedAndExplained) {
    scene.drive("/dev/sda", kMiB, 0);
    scene.drive("/dev/sdaa", kMiB, 1);
    scene.mbr("/dev/sdaa1", 512, 1, 0x83);
    scene.partitionOn("/dev/sda", "/dev/sdaa1");
    const Tree tree = arranged();
    EXPECT_EQ(tree.rows[1].cells[kRemarkColumn], "? likely on /dev/sdaa");
    EXPECT_EQ(tree.rows[1].doubtful, kRemarkColumn);
    EXPECT_EQ(tree.rows[0].cells[kRemarkColumn], "");  // what is there by accident does not count as listed
    EXPECT_EQ(tree.rows[2].cells[kRemarkColumn], "none listed");
    EXPECT_THAT(tree.notes,
                ElementsAre(HasSubstr("only because one name contains the other"), HasSubstr("diskmgt explain")));
}

TEST_F(Trees, AFileSystemOnAnotherPartitionIsMarked) {
    scene.drive("/dev/sda", kMiB, 1);
    scene.mbr("/dev/sda10", 512, 3, 0x83);
    scene.mounted("/dev/sda1", {"/one"});
    scene.mounted("dev", {"/dev"}, "devtmpfs");
    scene.partitionOn("/dev/sda", "/dev/sda10");
    scene.mountedOnPartition("/dev/sda10", "/dev/sda1");
    scene.mountedOnPartition("/dev/sda10", "dev");
    EXPECT_EQ(arranged().rows[2].cells[kRemarkColumn], "? by its name alone");  // there is no such partition
    scene.mbr("/dev/sda1", 512, 1, 0x83);
    const Tree tree = arranged();
    EXPECT_EQ(tree.rows[2].cells[kRemarkColumn], "? likely on /dev/sda1");
    EXPECT_EQ(tree.rows[3].cells[kRemarkColumn], "? by its name alone");
}

TEST_F(Trees, FiguresOfTheSourcePathAreMarkedAndExplained) {
    smallServer();
    scene.observations.availableBytes.clear();
    const Tree tree = arranged();
    EXPECT_EQ(tree.rows[2].cells[kSizeColumn], "100M?");
    EXPECT_EQ(tree.rows[2].cells[kFreeColumn], "25M?");
    EXPECT_EQ(tree.rows[2].cells[kAvailableColumn], "");
    EXPECT_THAT(tree.notes, ElementsAre(HasSubstr("the mount point cannot be measured")));
}

TEST_F(Trees, MoreFreeThanThereIsIsNothingUsed) {
    smallServer();
    scene.mountedWithSpace("odd", "/odd", 10, 20);
    choices.all = true;
    const Tree tree = arranged();
    EXPECT_EQ(tree.rows.back().cells[kUsedColumn], "0B?");
    EXPECT_EQ(tree.rows.back().usedPercent, 0);
}

TEST_F(Trees, UseIsRoundedUp) {
    scene.mountedWithSpace("almost empty", "/a", UINT64_MAX, UINT64_MAX - 1);
    scene.mountedWithSpace("almost full", "/b", 1000, 1);
    scene.mountedWithSpace("full", "/c", UINT64_MAX, 0);
    choices.all = true;
    const Tree tree = arranged();
    EXPECT_EQ(tree.rows[1].usedPercent, 1);
    EXPECT_EQ(tree.rows[2].usedPercent, 100);
    EXPECT_EQ(tree.rows[3].usedPercent, 100);
}

TEST_F(Trees, WhatIsKeptForRootIsNeitherUsedNorUsable) {
    smallServer();  // 75 used, 20 available, 5 kept
    EXPECT_EQ(arranged().rows[2].usedPercent, 79);
    scene.observations.availableBytes["/srv/data"] = 0;
    EXPECT_EQ(arranged().rows[2].usedPercent, 100);
}

TEST_F(Trees, WhatIsOnNoDriveIsCountedOrListed) {
    EXPECT_THAT(arranged().notes, IsEmpty());
    scene.mounted("proc", {"/proc"}, "proc");
    EXPECT_THAT(arranged().notes, ElementsAre("1 file system is on no drive: --all lists it"));
    scene.mounted("tmpfs", {"/run"}, "tmpfs");
    EXPECT_THAT(arranged().notes, ElementsAre("2 file systems are on no drive: --all lists them"));
    scene.mounted("/dev/mapper/root", {"/"});
    EXPECT_THAT(arranged().notes, ElementsAre("3 file systems are on no drive, / among them: --all lists them"));
    scene.drive("/dev/sda", kMiB, 0);
    scene.mounted("/dev/sda", {"/whole"});
    scene.mountedOnDrive("/dev/sda", "/dev/sda");
    EXPECT_THAT(arranged().notes, ElementsAre("3 more file systems are on no drive, / among them: --all lists them"));
    choices.all = true;
    EXPECT_THAT(arranged().notes, IsEmpty());
    EXPECT_THAT(lines(), ElementsAre("Name     Size Type          Remark", "/dev/sda   1M no partitions",
                                     "`-/whole      ext4", "On no drive", "|-/proc       proc", "|-/run        tmpfs",
                                     "`-/           ext4          /dev/mapper/root"));
}

TEST_F(Trees, LoosePartitionsHaveASection) {
    scene.mbr("/dev/sda1", kMiB, 1, 0x83);
    EXPECT_THAT(lines(), ElementsAre("Name        Size Type", "On no reported drive", "`-/dev/sda1   1M Linux"));
}

TEST_F(Trees, AnIncompleteOneSaysWhatIsMissing) {
    scene.drive("/dev/sda", kMiB, 2);
    scene.published.missingClasses = {"VEXSG_PartitionPresent", "VEXSG_LogicalDisk"};
    const Tree tree = arranged();
    EXPECT_THAT(tree.notes, ElementsAre(HasSubstr("not served: VEXSG_PartitionPresent, VEXSG_LogicalDisk")));
    EXPECT_EQ(tree.rows[0].cells[kRemarkColumn], "");
}

TEST_F(Trees, ANarrowTerminalIsNeverExceededAndTheNoteSaysWhatIsMissing) {
    smallServer();
    scene.mountedWithSpace("/dev/mapper/a-rather-long-name", "/a/mount/point/that/goes/on/and/on/and/on", kMiB, 0);
    choices.all = true;
    for (std::size_t width = 24; width < 120; ++width) {
        SCOPED_TRACE(width);
        const std::vector<std::string> shown = lines(width);
        for (const std::string& line : shown) EXPECT_LE(displayWidth(line), width) << line;
        EXPECT_EQ(shown[0].find("Name"), 0U);
    }
    EXPECT_THAT(lines(60), ::testing::Contains("Terminal too narrow to show: Used, Start, Free, Avail"));
    EXPECT_THAT(lines(24).back(), HasSubstr("Use, Remark, Type"));
}

TEST_F(Trees, AShortenedNameKeepsBothEnds) {
    scene.mounted("x", {"/a/mount/point/that/goes/on/and/on"});
    choices.all = true;
    EXPECT_THAT(lines(30)[2], HasSubstr("`-/a/mou..."));
    EXPECT_THAT(lines(30)[2], HasSubstr(".../and/on "));
}

TEST_F(Trees, HostileNamesStayInTheirRow) {
    scene.mounted("a\nb", {"/x\033[31m\r\n/y\xFF"}, "t\\x41\tz");
    choices.all = true;
    const std::vector<std::string> shown = lines();
    ASSERT_EQ(shown.size(), 3U);
    EXPECT_THAT(shown[2], HasSubstr("/x\\x1b[31m\\x0d\\x0a/y\\xff"));
    EXPECT_THAT(shown[2], HasSubstr("t\\x5cx41\\x09z"));
    EXPECT_THAT(shown[2], HasSubstr("a\\x0ab"));
}

TEST_F(Trees, ColorsNeedToBeWanted) {
    smallServer();
    TableStyle style;
    EXPECT_THAT(printedTree(arranged(), style, 0), Not(HasSubstr("\033")));
    style.isColored = true;
    EXPECT_THAT(printedTree(arranged(), style, 0), HasSubstr("\033[1m/dev/sda"));
}

TEST_F(Trees, LinesAndBarsAreDrawnWhereTheLocaleHasThem) {
    if (std::setlocale(LC_CTYPE, "C.UTF-8") == nullptr) GTEST_SKIP() << "there is no locale C.UTF-8";
    smallServer();
    TableStyle style;
    style.isAscii = false;
    const std::string text = printedTree(arranged(), style, 0);
    (void)std::setlocale(LC_CTYPE, "C");
    EXPECT_THAT(text, HasSubstr("└─/dev/sda1"));
    EXPECT_THAT(text, HasSubstr("██████░░  79%"));
}

}  // namespace
}  // namespace diskmgt
