// The tree of both accounts: the machine's rows, and what CIM reports beside each.
#include "cli/tables/tree_account.h"

#include <gmock/gmock.h>

#include "tests/unit/cli/tables/account_trees.h"

namespace diskmgt {
namespace {

using diskmgt_machine::Kind;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

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
