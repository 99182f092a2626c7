// The tree of both accounts: the machine's rows, and what CIM reports beside each.
#include "cli/tables/tree_account.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <sstream>

#include "cli/tables/tree.h"
#include "tests/unit/inventory/joined_scene.h"
#include "text/command_error.h"
#include "text/display_width.h"

namespace diskmgt {
namespace {

using diskmgt_machine::BlockDevice;
using diskmgt_machine::Kind;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

constexpr std::uint64_t kMiB = 1048576;

struct AccountTrees : ::testing::Test {
    JoinedScene scene;
    TreeChoices choices;
    std::map<std::string, diskmgt_machine::UdevRecord> udev;  // by name; no other device has one
    std::vector<std::string> operands;
    ColumnChoice columns = chosenColumns({"type", "cim", "remark"});

    BlockDevice& deviceNamed(const std::string& name) {
        return scene.machine.blocks.devices.at(scene.machine.blocks.find(name).value());
    }

    BlockDevice& device(const std::string& name, Kind kind, const std::string& volume = "") {
        DeviceFacts& facts = scene.disk(name, 64 * kMiB, false);
        if (name.compare(0, 3, "dm-") == 0) facts.nameVerdict = diskmgt_col::EntryName::kDeviceMapper;
        BlockDevice& added = scene.machine.blocks.devices.back();
        added.kind = kind;
        added.volume = volume;
        return added;
    }

    /// Both must be there, and all that comes before them.
    void lies(const std::string& upper, const std::string& lower) {
        deviceNamed(upper).on.push_back(scene.machine.blocks.find(lower).value());
        deviceNamed(lower).carries.push_back(scene.machine.blocks.find(upper).value());
    }

    ServerAccount joined() {
        ServerAccount account = scene.joined();
        for (std::size_t i = 0; i < account.devices.size(); ++i) account.devices[i].udev = udev[account.device(i).name];
        return account;
    }

    Tree arranged() {
        const ServerAccount account = joined();
        return arrangeTree(account, selectRows(account, operands, choices.all), choices);
    }

    /// The lines below the headings, without the blanks at their ends.
    std::vector<std::string> lines(std::size_t width = 0) {
        std::vector<std::string> found;
        std::istringstream stream(printedTree(arranged(), {}, width, columns));
        for (std::string line; std::getline(stream, line);) found.push_back(line);
        found.erase(found.begin());
        return found;
    }

    std::vector<std::string> names() {
        std::vector<std::string> found;
        for (const TreeRow& row : arranged().rows)
            found.push_back(std::string(row.depth, ' ') + row.cells[kNameColumn]);
        return found;
    }

    std::string cell(const std::string& name, TreeColumn column) {
        for (const TreeRow& row : arranged().rows)
            if (row.cells[kNameColumn] == name) return row.cells[column];
        return "no row " + name;
    }

    /// A disk with an EFI partition and a volume group, as installers make it.
    void volumes() {
        device("dm-0", Kind::kLvm, "vg-root");
        device("dm-1", Kind::kLvm, "vg-swap");
        scene.disk("sda", 64 * kMiB);
        scene.partition("sda1", 1, kMiB, 8 * kMiB);
        scene.partition("sda2", 2, 9 * kMiB, 55 * kMiB);
        lies("dm-0", "sda2");
        lies("dm-1", "sda2");
        udev["sda1"].partitionType = "c12a7328-f81f-11d2-ba4b-00a0c93ec93b";
        udev["sda1"].content = "vfat";
        udev["sda2"].content = "LVM2_member";
        scene.mount("sda1", "/dev/sda1", "/boot/efi", "vfat");
        scene.mount("dm-0", "/dev/mapper/vg-root", "/");
        scene.machine.swaps.push_back({"/dev/dm-1", false, 8 * kMiB, 2 * kMiB});
    }

    void mirror() {
        device("md0", Kind::kRaid).level = "raid1";
        scene.disk("sda", 64 * kMiB);
        scene.partition("sda1", 1, kMiB, 8 * kMiB);
        scene.disk("sdb", 64 * kMiB);
        scene.partition("sdb1", 1, kMiB, 8 * kMiB);
        lies("md0", "sda1");
        lies("md0", "sdb1");
        scene.mount("md0", "/dev/md0", "/");
    }

    void btrfs() {
        scene.disk("sda", 64 * kMiB);
        scene.disk("sdb", 64 * kMiB);
        scene.machine.btrfs.push_back({"1-2", {"sda", "sdb"}});
        for (const auto& [point, root] :
             {std::pair("/", "/@"), std::pair("/home", "/@home"), std::pair("/mnt", "/@")}) {
            scene.mount("", "/dev/sda", point, "btrfs");
            scene.machine.mounts.back().root = root;
            scene.machine.mounts.back().superOptions = std::string("rw,subvolid=256,subvol=") + root;
        }
    }
};

TEST_F(AccountTrees, EveryLayerDownToTheMountsAndSwapAreas) {
    volumes();
    columns = chosenColumns({});
    EXPECT_THAT(
        lines(),
        ElementsAre(
            "sda            64M       disk                                               no",
            "|-sda1          8M    1M part EFI system vfat                               no",
            "| `-/boot/efi 100B       vfat                  40B ###-----  45%  60B   50B no",
            "`-sda2         55M    9M part LVM2_member                                   no",
            StartsWith("  |-dm-0       64M       lvm vg-root                                        no: device-mapper"),
            "  | `-/       100B       ext4                  40B ###-----  45%  60B   50B no",
            StartsWith("  `-dm-1       64M       lvm vg-swap                                        no: device-mapper"),
            "    `-swap      8M       swap                   2M ##------  25%   6M"));
}

TEST_F(AccountTrees, WhatLiesOnSeveralDevicesIsWholeBeneathTheFirstAndAReferenceBeneathTheOthers) {
    mirror();
    columns = chosenColumns({"type", "remark"});
    EXPECT_THAT(lines(), ElementsAre("sda     disk", "`-sda1  part", "  `-md0 raid1", "    `-/ ext4", "sdb     disk",
                                     "`-sdb1  part", "  `-md0 raid1 -> shown beneath sda1"));
}

TEST_F(AccountTrees, AFileSystemOnSeveralDisksHasARowForEachSubvolumeBeneathTheFirst) {
    btrfs();
    columns = chosenColumns({"remark"});
    EXPECT_THAT(lines(), ElementsAre("sda", "|-/     subvolume /@; +1 mount point", "`-/home subvolume /@home", "sdb",
                                     "`-/     -> shown beneath sda"));
    operands = {"sdb"};
    EXPECT_THAT(lines(), ElementsAre("sdb", "|-/     subvolume /@; +1 mount point", "`-/home subvolume /@home"));
}

TEST_F(AccountTrees, SeveralMountPointsAreOneRowUnlessAllAreAskedFor) {
    scene.disk("sda", 64 * kMiB);
    scene.mount("sda", "/dev/sda", "/part");
    scene.machine.mounts.back().root = "/some";
    scene.mount("sda", "/dev/sda", "/srv");
    scene.mount("sda", "/dev/sda", "/again");
    EXPECT_THAT(names(), ElementsAre("sda", " /srv"));
    EXPECT_EQ(cell("/srv", kRemarkColumn), "+2 mount points");
    choices.all = true;
    EXPECT_THAT(names(), ElementsAre("sda", " /srv", "  /part", "  /again"));
    EXPECT_EQ(cell("/again", kTypeColumn), "mounted here too");
    EXPECT_EQ(cell("/again", kCimColumn), "no: same source as /part");
    EXPECT_EQ(cell("/part", kRemarkColumn), "only /some of it");
}

TEST_F(AccountTrees, AFoldedMountIsReportedWhereOneOfItsMountPointsIs) {
    scene.disk("sda", 64 * kMiB);
    scene.mount("sda", "/dev/sda", "/srv");
    scene.mount("sda", "/dev/sda", "/");
    scene.cim.mounted("/dev/sda", {"/srv"});
    EXPECT_EQ(cell("/", kCimColumn), "yes: at /srv");
    choices.all = true;
    EXPECT_EQ(cell("/", kCimColumn), "no: same source as /srv");
    EXPECT_EQ(cell("/srv", kCimColumn), "yes");
}

TEST_F(AccountTrees, WhatIsOnNoDiskHasABlockAndPseudoFileSystemsACount) {
    scene.disk("sda", 64 * kMiB);
    for (const auto& [source, point, type] :
         {std::tuple("proc", "/proc", "proc"), std::tuple("sysfs", "/sys", "sysfs"),
          std::tuple("tmpfs", "/run", "tmpfs"), std::tuple("nas:/home", "/home", "nfs4"),
          std::tuple("tank", "/tank", "zfs"), std::tuple("/dev/sda1", "/fuse", "fuse.sshfs"),
          std::tuple("overlay", "/merged", "overlay")})
        scene.mount("", source, point, type);
    EXPECT_THAT(names(), ElementsAre("sda", "Not on a disk of this server", " /home", " /tank", " /fuse", " /merged"));
    EXPECT_EQ(cell("/home", kRemarkColumn), "nas:/home");
    EXPECT_THAT(arranged().notes, ElementsAre("1 file system in memory and 2 pseudo file systems: --all lists them"));
    choices.all = true;
    EXPECT_THAT(names(), ElementsAre("sda", "Not on a disk of this server", " /home", " /tank", " /fuse", " /merged",
                                     "In memory", " /run", "Pseudo file systems", " /proc", " /sys"));
    EXPECT_THAT(arranged().notes, IsEmpty());
}

TEST_F(AccountTrees, TheRootIsShownWhateverItLiesOn) {
    scene.mount("", "tmpfs", "/", "tmpfs");
    scene.mount("", "tmpfs", "/run", "tmpfs");
    EXPECT_THAT(names(), ElementsAre("Not on a disk of this server", " /"));
    EXPECT_THAT(arranged().notes, ElementsAre("1 file system in memory: --all lists it"));
}

TEST_F(AccountTrees, WhatIsOfNoInterestIsCountedButNeverWhatIsInUse) {
    device("loop0", Kind::kLoop).sizeBytes = 0;
    device("loop1", Kind::kLoop).backingFile = "/srv/image";
    device("nvme0c0n1", Kind::kPath);
    device("ram0", Kind::kMemory);
    device("ram1", Kind::kMemory);
    scene.mount("ram1", "/dev/ram1", "/fast");
    EXPECT_THAT(names(), ElementsAre("loop1", "ram1", " /fast"));
    EXPECT_THAT(arranged().notes,
                ElementsAre("1 loop device without a file, 1 RAM disk and 1 hidden path: --all lists them"));
    EXPECT_EQ(cell("loop1", kRemarkColumn), "of /srv/image; not seen in use; content not known");
    operands = {"ram0"};
    EXPECT_THAT(names(), ElementsAre("ram0"));
    operands.clear();
    choices.all = true;
    EXPECT_THAT(names(), ElementsAre("loop0", "loop1", "nvme0c0n1", "ram0", "ram1", " /fast"));
}

TEST_F(AccountTrees, DisksComeFirst) {
    device("loop0", Kind::kLoop).backingFile = "/srv/image";
    scene.disk("nvme0n1", kMiB);
    scene.disk("nvme0n10", kMiB);
    scene.disk("sdz", kMiB);
    scene.disk("sdaa", kMiB);
    device("sr0", Kind::kOptical);
    EXPECT_THAT(names(), ElementsAre("nvme0n1", "nvme0n10", "sdz", "sdaa", "loop0", "sr0"));
}

TEST_F(AccountTrees, ALeafSaysItsUseOrItsContent) {
    scene.disk("sda", 64 * kMiB);
    scene.disk("sdb", 64 * kMiB);
    scene.disk("sdc", 64 * kMiB);
    deviceNamed("sdc").unlistedHolders = {"bcache0"};
    scene.disk("sdd", 64 * kMiB);
    scene.partition("sdd1", 1, kMiB, kMiB);
    scene.disk("sde", 64 * kMiB);
    udev["sdb"].content = "LVM2_member";
    udev["sde"].content = "zfs_member";
    EXPECT_EQ(cell("sda", kRemarkColumn), "not seen in use; content not known");
    EXPECT_EQ(cell("sdb", kRemarkColumn), "not seen in use: LVM2_member");
    EXPECT_EQ(cell("sde", kRemarkColumn), "use by a pool is not seen: zfs_member");
    EXPECT_EQ(cell("sdc", kRemarkColumn), "in use by bcache0");
    EXPECT_EQ(cell("sdd", kRemarkColumn), "");  // its partition says it
    EXPECT_EQ(cell("sdd1", kRemarkColumn), "not seen in use; content not known");
}

TEST_F(AccountTrees, APartitionOfADiskThatIsHeldAsAWholeIsInUse) {
    device("dm-0", Kind::kMultipath, "mpatha");
    scene.disk("sda", 64 * kMiB);
    scene.partition("sda1", 1, kMiB, kMiB);
    lies("dm-0", "sda");
    scene.mount("dm-0", "/dev/mapper/mpatha", "/");
    EXPECT_EQ(cell("sda1", kRemarkColumn), "in use as part of sda");
}

TEST_F(AccountTrees, AnExtendedPartitionIsUsedByItsLogicalOnesAlone) {
    scene.disk("sda", 64 * kMiB);
    scene.partition("sda1", 1, kMiB, 1024);
    udev["sda1"].partitionType = "0x5";
    EXPECT_EQ(cell("sda1", kRemarkColumn), "");
}

TEST_F(AccountTrees, TheCimColumnSaysNameAndNumbersThatDiffer) {
    DeviceFacts& facts = scene.disk("sda", 64 * kMiB);
    facts.tableCount = 1;
    facts.kernelPartitions = {"sda1"};
    scene.partition("sda1", 3, kMiB, 8 * kMiB);
    scene.cim.drive("/dev/sda", 32 * kMiB, 2);
    scene.cim.gpt("/dev/sda9", 8 * kMiB, 18431, 17);  // ends with the kernel's sda1
    EXPECT_EQ(cell("sda", kCimColumn), "yes: 32M, 2 partitions, not 1");
    EXPECT_EQ(cell("sda1", kCimColumn), "as /dev/sda9");
    EXPECT_EQ(arranged().rows[0].doubtful, kCimColumn);
}

TEST_F(AccountTrees, TheCimColumnSaysWhyNot) {
    scene.disk("sda", 64 * kMiB);
    scene.disk("vda", 64 * kMiB, false).kernelPartitions = {"vda1"};
    scene.partition("vda1", 1, kMiB, kMiB);
    scene.cim.drive("/dev/sda", 64 * kMiB, 0);
    EXPECT_EQ(cell("sda", kCimColumn), "yes");
    const std::string said = cell("vda1", kCimColumn);
    EXPECT_EQ(said.compare(0, 4, "no: "), 0) << said;
}

TEST_F(AccountTrees, LargeSectorsAreTheCauseOfNumbersThatDiffer) {
    DeviceFacts& facts = scene.disk("sda", 64 * kMiB);
    facts.logicalSectorSize = 4096;
    facts.kernelPartitions = {"sda1"};
    scene.partition("sda1", 1, kMiB, kMiB);
    EXPECT_EQ(cell("sda1", kCimColumn), "no: 4096-byte sectors");
}

TEST_F(AccountTrees, WhatTheCollectionDidNotComeToIsUnknown) {
    scene.disk("sda", 64 * kMiB);
    scene.mount("sda", "/dev/sda", "/");
    scene.collection.facts.devices.reset();
    scene.collection.end = {"timed-out", "time ran out", "It gave up.", kTimedOut};
    scene.cim.published.missingClasses = {"VEXSG_DiskDrive", "VEXSG_LogicalDisk"};
    EXPECT_EQ(cell("sda", kCimColumn), "?: time ran out");
    EXPECT_EQ(cell("/", kCimColumn), "?: time ran out");
    EXPECT_THAT(arranged().notes, ElementsAre("Time ran out, so CIM's account is not complete; not served: "
                                              "VEXSG_DiskDrive, VEXSG_LogicalDisk"));
}

TEST_F(AccountTrees, WhatOnlyCimHasComesLastWithItsRule) {
    DeviceFacts& facts = scene.disk("sda", 64 * kMiB);
    facts.tableCount = 1;
    facts.hasBootSignature = false;
    scene.cim.mbr("/dev/sda1", 1024 * kMiB, 1, 0x83);
    scene.mount("", "nas:/home", "/home", "nfs4");
    const std::vector<std::string> shown = names();
    ASSERT_EQ(shown.size(), 5U);
    EXPECT_EQ(shown[3], "Only in CIM");
    EXPECT_EQ(shown[4], " /dev/sda1");
    EXPECT_EQ(cell("/dev/sda1", kTypeColumn), "part");
    EXPECT_EQ(cell("/dev/sda1", kSizeColumn), "1G");
    EXPECT_EQ(cell("/dev/sda1", kCimColumn), "only: reaches past the end of its drive");
    EXPECT_EQ(cell("/dev/sda1", kRemarkColumn), "no partition table; unknown to the kernel");
}

TEST_F(AccountTrees, AMountWithoutFiguresSaysWhy) {
    scene.mount("", "nas:/home", "/home", "nfs4");
    scene.collection.facts.figures->back().outcome = MountFigure::Outcome::kNoAnswer;
    EXPECT_EQ(cell("/home", kRemarkColumn), "does not answer; nas:/home");
    EXPECT_EQ(cell("/home", kSizeColumn), "");
}

TEST_F(AccountTrees, ASwapFileIsBeneathTheMountItLiesOn) {
    scene.disk("sda", 64 * kMiB);
    scene.mount("sda", "/dev/sda", "/");
    scene.mount("", "nas:/home", "/home", "nfs4");
    scene.machine.swaps.push_back({"/homes/swap", true, kMiB, 0});
    EXPECT_THAT(names(), ElementsAre("sda", " /", "  /homes/swap", "Not on a disk of this server", " /home"));
}

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

TEST_F(AccountTrees, NoCellClaimsWhatIsNotKnown) {
    volumes();
    scene.disk("sdb", 64 * kMiB);
    choices.all = true;
    for (const TreeRow& row : arranged().rows)
        for (const std::string& text : row.cells)
            for (const char* word : {"free", "empty", "unused", "not partitioned", "no partitions", "nothing"})
                EXPECT_THAT(text, Not(HasSubstr(word)));
}

}  // namespace
}  // namespace diskmgt
