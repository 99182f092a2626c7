// Which rows and columns of a tree are shown.
#include "cli/tables/tree_selection.h"

#include <gmock/gmock.h>

#include "tests/unit/cli/tables/account_trees.h"
#include "text/command_error.h"
#include "text/display_width.h"

namespace diskmgt {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

TEST_F(AccountTrees, ADeviceIsShownWithAllOnItAndAllBeneathIt) {
    volumes();
    operands = {"vg-root"};
    EXPECT_THAT(names(), ElementsAre("sda", " sda2", "  dm-0", "   /"));
    operands = {"/dev/sda1"};
    EXPECT_THAT(names(), ElementsAre("sda", " sda1", "  /boot/efi"));
    operands = {"sda2", "sda1"};
    EXPECT_THAT(names(), ElementsAre("sda", " sda1", "  /boot/efi", " sda2", "  dm-0", "   /", "  dm-1", "   swap"));
}

TEST_F(AccountTrees, AMemberIsShownWithTheWholeArrayOnIt) {
    mirror();
    operands = {"sdb"};
    EXPECT_THAT(names(), ElementsAre("sdb", " sdb1", "  md0", "   /"));
}

TEST_F(AccountTrees, AMountIsShownWithTheDisksThatCarryIt) {
    mirror();
    scene.mount("md0", "/dev/md0", "/no/such/folder");
    scene.mount("", "nas:/home", "/no/such/home", "nfs4");
    operands = {"/no/such/folder"};
    EXPECT_THAT(names(), ElementsAre("sda", " sda1", "  md0", "   /no/such/folder", "sdb", " sdb1", "  md0"));
    operands = {"nas:/home"};
    EXPECT_THAT(names(), ElementsAre("Not on a disk of this server", " /no/such/home"));
}

TEST_F(AccountTrees, APathIsShownWithTheDisksThatCarryIt) {
    mirror();
    operands = {"/proc/self/status"};
    EXPECT_THAT(names(), ElementsAre("sda", " sda1", "  md0", "   /", "sdb", " sdb1", "  md0"));
    EXPECT_THAT(arranged().notes, ElementsAre("/proc/self/status is on the file system mounted on /"));
}

TEST_F(AccountTrees, ANameThatExistsNowhereIsWrongUsage) {
    scene.disk("sda", 64 * kMiB);
    operands = {"sda", "sdb"};
    try {
        (void)arranged();
        ADD_FAILURE() << "was shown";
    } catch (const CommandError& error) {
        EXPECT_EQ(error.status(), kWrongUsage);
        EXPECT_THAT(error.what(), HasSubstr("nothing here is named \"sdb\""));
    }
}

TEST_F(AccountTrees, FurtherColumnsAreAddedBeforeTheRemarks) {
    scene.disk("sda", 64 * kMiB);
    deviceNamed("sda").identity = {"DISK 3000", "S1", "naa.5000"};
    deviceNamed("sda").isRotational = false;
    udev["sda"].uuid = "1-2-3";
    columns = chosenColumns({"+model", "serial", "wwid", "uuid", "rotational"});
    const std::string text = printedTree(arranged(), {}, 0, columns);
    EXPECT_THAT(text, HasSubstr("CIM Model     Serial WWID     UUID  Rotational Remark\n"));
    EXPECT_THAT(text, HasSubstr("DISK 3000 S1     naa.5000 1-2-3 no         not seen"));
}

TEST_F(AccountTrees, OnlyTheNamedColumnsAreShownAndTheName) {
    scene.disk("sda", 64 * kMiB);
    columns = chosenColumns({"serial", "size"});
    EXPECT_EQ(printedTree(arranged(), {}, 0, columns), "Name Serial Size\nsda          64M\n");
    EXPECT_THROW((void)chosenColumns({"seriel"}), CommandError);
}

TEST_F(AccountTrees, ANarrowTerminalIsNeverExceededAndCimIsTheLastToGo) {
    volumes();
    columns = chosenColumns({});
    EXPECT_THAT(lines(60), Contains("Terminal too narrow to show: Used, Start, Free"));
    for (std::size_t width = 24; width < 140; ++width) {
        SCOPED_TRACE(width);
        const std::string text = printedTree(arranged(), {}, width, columns);
        std::istringstream stream(text);
        for (std::string line; std::getline(stream, line);) EXPECT_LE(displayWidth(line), width) << line;
        const std::string headings = text.substr(0, text.find('\n'));
        EXPECT_EQ(headings.compare(0, 4, "Name"), 0);
        if (width >= 40) {
            EXPECT_THAT(headings, HasSubstr("CIM"));
        }
    }
}

}  // namespace
}  // namespace diskmgt
