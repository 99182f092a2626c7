// What uses a device, through every layer; and the rows that show all devices.
#include "machine/uses.h"

#include <gmock/gmock.h>
#include <rapidcheck.h>

#include <algorithm>
#include <set>
#include <utility>

#include "machine/arrangement.h"
#include "tests/unit/machine/described_tree.h"

namespace diskmgt_machine {
namespace {

using diskmgt_test::DescribedTree;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// The uses of one device, as names.
struct Said {
    std::vector<std::string> holders;
    std::vector<std::string> mountPoints;
    std::vector<std::string> swaps;
    std::vector<std::string> btrfs;
};

Said usesOf(const std::string& name) {
    const Machine machine = readMachine();
    const InUse use = Uses(machine).of(machine.blocks.find(name).value());
    Said said;
    for (const std::size_t holder : use.holders) said.holders.push_back(machine.blocks.devices[holder].name);
    for (const std::size_t mount : use.mounts) said.mountPoints.push_back(machine.mounts[mount].mountPoint);
    for (const std::size_t swap : use.swaps) said.swaps.push_back(machine.swaps[swap].path);
    for (const std::size_t btrfs : use.btrfs) said.btrfs.push_back(machine.btrfs[btrfs].uuid);
    return said;
}

/// A disk whose second partition carries an encrypted volume with two logical volumes in it.
class Layered : public ::testing::Test {
protected:
    Layered() {
        tree.disk("sda", "8:0", 800)
            .partition("sda", "sda1", "8:1", 1, 100)
            .partition("sda", "sda2", "8:2", 101, 600)
            .disk("dm-0", "253:0", 600)
            .file("/sys/block/dm-0/dm/name", "crypt\n")
            .disk("dm-1", "253:1", 300)
            .file("/sys/block/dm-1/dm/name", "vg-root\n")
            .disk("dm-2", "253:2", 300)
            .file("/sys/block/dm-2/dm/name", "vg-swap\n")
            .disk("sdb", "8:16", 800)
            .lies("dm-0", "sda/sda2")
            .lies("dm-1", "dm-0")
            .lies("dm-2", "dm-0")
            .file("/proc/self/mountinfo",
                  "20 1 253:1 / / rw - ext4 /dev/mapper/vg-root rw\n"
                  "21 20 8:1 / /boot rw - ext4 anything rw\n"
                  "22 20 0:30 / /fuse rw - fuse.x /dev/sdb rw\n")
            .file("/proc/swaps", "/dev/mapper/vg-swap partition 4 0 -2\n");
    }

    DescribedTree tree;
};

TEST_F(Layered, ADiskIsUsedThroughEveryLayerAboveItsPartitions) {
    const Said said = usesOf("sda");
    EXPECT_THAT(said.holders, ElementsAre("dm-0", "dm-1", "dm-2"));
    EXPECT_THAT(said.mountPoints, ElementsAre("/", "/boot"));
    EXPECT_THAT(said.swaps, ElementsAre("/dev/mapper/vg-swap"));
}

TEST_F(Layered, APartitionIsUsedOnlyByDevicesOnIt) {
    EXPECT_THAT(usesOf("sda1").mountPoints, ElementsAre("/boot"));
    EXPECT_THAT(usesOf("sda1").holders, IsEmpty());
    EXPECT_THAT(usesOf("sda2").mountPoints, ElementsAre("/"));
}

TEST(Uses, APartitionOfADiskThatIsHeldAsAWholeIsInUse) {
    DescribedTree tree;
    tree.disk("sda", "8:0", 8).disk("sdb", "8:16", 8).disk("dm-0", "253:0", 8).disk("dm-1", "253:1", 8);
    for (const char* file : {"/sys/block/sda/sda1/start", "/sys/block/sdb/sdb1/start"}) tree.file(file, "0\n");
    tree.folder("/sys/block/dm-0/slaves/sda").folder("/sys/block/dm-1/slaves/dm-0");
    tree.folder("/sys/block/sda/holders/dm-0").folder("/sys/block/dm-0/holders/dm-1");
    tree.file("/sys/block/sda/sda1/dev", "8:1\n").file("/sys/block/sdb/sdb1/dev", "8:17\n");
    tree.file("/proc/self/mountinfo", "20 1 253:1 / / rw - ext4 x rw\n21 1 8:16 / /whole rw - ext4 x rw\n");
    EXPECT_THAT(usesOf("sda1").holders, ElementsAre("dm-0", "dm-1"));
    EXPECT_THAT(usesOf("sda1").mountPoints, ElementsAre("/"));
    EXPECT_THAT(usesOf("sdb1").mountPoints, ElementsAre("/whole"));
}

TEST_F(Layered, AVolumeIsNotUsedByDevicesBeneathIt) {
    EXPECT_THAT(usesOf("dm-1").holders, IsEmpty());
    EXPECT_THAT(usesOf("dm-1").mountPoints, ElementsAre("/"));
}

TEST_F(Layered, TheSourceOfAMountWithoutADeviceIsNotADevice) { EXPECT_THAT(usesOf("sdb").mountPoints, IsEmpty()); }

TEST_F(Layered, AnUnusedDiskHasNoUses) {
    const Machine machine = readMachine();
    EXPECT_FALSE(Uses(machine).of(machine.blocks.find("sdb").value()).any());
    EXPECT_TRUE(Uses(machine).of(machine.blocks.find("sda").value()).any());
}

TEST_F(Layered, NamesInDevAndInMapperLeadToTheDevice) {
    const Machine machine = readMachine();
    const Uses uses(machine);
    EXPECT_EQ(uses.deviceNamed("/dev/dm-1"), machine.blocks.find("dm-1"));
    EXPECT_EQ(uses.deviceNamed("/dev/mapper/vg-root"), machine.blocks.find("dm-1"));
    EXPECT_EQ(uses.deviceNamed("vg-root"), std::nullopt);
}

TEST_F(Layered, ALoopOnTheDeviceItselfUsesIt) {
    tree.disk("loop0", "7:0", 8).file("/sys/block/loop0/loop/backing_file", "/dev/sdb\n");
    EXPECT_THAT(usesOf("sdb").holders, ElementsAre("loop0"));
}

TEST_F(Layered, AHiddenPathHasTheUsesOfItsDisk) {
    tree.disk("nvme0n1", "253:1", 8).file("/sys/block/nvme0c0n1/hidden", "1\n");
    tree.disk("nvme0n1", "259:0", 8).file("/proc/self/mountinfo", "20 1 259:0 / / rw - ext4 x rw\n");
    EXPECT_THAT(usesOf("nvme0c0n1").holders, ElementsAre("nvme0n1"));
    EXPECT_THAT(usesOf("nvme0c0n1").mountPoints, ElementsAre("/"));
}

TEST(Uses, EveryMemberOfAMountedBtrfsIsUsed) {
    DescribedTree tree;
    tree.disk("sda", "8:0", 8).disk("sdb", "8:16", 8).disk("sdc", "8:32", 8);
    tree.folder("/sys/fs/btrfs/features/x").folder("/sys/fs/btrfs/1-2/devices/sda");
    tree.folder("/sys/fs/btrfs/1-2/devices/sdb").folder("/sys/fs/btrfs/3-4/devices/sdc");
    tree.file("/proc/self/mountinfo", "20 1 0:40 /@ / rw - btrfs /dev/sda rw\n");
    EXPECT_THAT(usesOf("sdb").mountPoints, ElementsAre("/"));
    EXPECT_THAT(usesOf("sdb").btrfs, ElementsAre("1-2"));
    EXPECT_THAT(usesOf("sdc").mountPoints, IsEmpty());  // mounted elsewhere
    EXPECT_THAT(usesOf("sdc").btrfs, ElementsAre("3-4"));
}

TEST(Uses, TheWholeAccountSaysWhichTablesCouldNotBeRead) {
    const DescribedTree tree;
    const Machine machine = readMachine();
    EXPECT_EQ(machine.blocks.error, ENOENT);
    EXPECT_EQ(machine.mountError, ENOENT);
    EXPECT_EQ(machine.swapError, ENOENT);
}

/// Random devices, some in many layers, some in cycles.
BlockDevices randomGraph() {
    BlockDevices blocks;
    blocks.devices.resize(*rc::gen::inRange<std::size_t>(0, 30));
    const std::size_t count = blocks.devices.size();
    if (count == 0) return blocks;
    const auto any = rc::gen::inRange<std::size_t>(0, count);
    const auto edges = *rc::gen::container<std::set<std::pair<std::size_t, std::size_t>>>(rc::gen::pair(any, any));
    for (const auto& [upper, lower] : edges) {
        blocks.devices[upper].on.push_back(lower);
        blocks.devices[lower].carries.push_back(upper);
    }
    for (BlockDevice& device : blocks.devices) std::sort(device.carries.begin(), device.carries.end());
    return blocks;
}

TEST(Arrangement, OfAnyGraphShowsEveryDeviceOnceAndKeepsEveryPathToADisk) {
    EXPECT_TRUE(rc::check("whole once, each link one row", [] {
        const BlockDevices blocks = randomGraph();
        const std::vector<ArrangedRow> rows = arrange(blocks);
        std::vector<std::size_t> whole;
        std::multiset<std::pair<std::size_t, std::size_t>> links;
        std::vector<std::size_t> above;  // the devices from the row's root down to it
        for (const ArrangedRow& row : rows) {
            RC_ASSERT(row.depth <= above.size());
            above.resize(row.depth);
            if (row.depth > 0) links.emplace(row.device, above.back());
            if (!row.isReference) whole.push_back(row.device);
            above.push_back(row.device);
        }
        std::sort(whole.begin(), whole.end());
        std::vector<std::size_t> all(blocks.devices.size());
        for (std::size_t i = 0; i < all.size(); ++i) all[i] = i;
        RC_ASSERT(whole == all);
        std::multiset<std::pair<std::size_t, std::size_t>> expected;
        for (std::size_t i = 0; i < blocks.devices.size(); ++i)
            for (const std::size_t lower : blocks.devices[i].on) expected.emplace(i, lower);
        RC_ASSERT(links == expected);
    }));
}

TEST(Uses, OfAnyGraphEndAndReachWhatIsMounted) {
    EXPECT_TRUE(rc::check("what is reached is what a plain search reaches", [] {
        Machine machine;
        machine.blocks = randomGraph();
        std::vector<BlockDevice>& devices = machine.blocks.devices;
        for (std::size_t i = 0; i < devices.size(); ++i) {
            devices[i].name = "x" + std::to_string(i);
            devices[i].kind = Kind::kDeviceMapper;
            devices[i].number = DeviceNumber{253, static_cast<std::uint32_t>(i)};
            Mount mount;
            mount.number = *devices[i].number;
            machine.mounts.push_back(mount);
        }
        const Uses uses(machine);
        for (std::size_t i = 0; i < devices.size(); ++i) {
            std::set<std::size_t> reached{i};
            for (std::size_t before = 0; before != reached.size();) {
                before = reached.size();
                for (const std::size_t device : std::set<std::size_t>(reached))
                    reached.insert(devices[device].carries.begin(), devices[device].carries.end());
            }
            RC_ASSERT(uses.of(i).mounts == std::vector<std::size_t>(reached.begin(), reached.end()));
        }
    }));
}

TEST(Arrangement, AVolumeOnTwoDisksIsShownInFullBeneathTheFirst) {
    DescribedTree tree;
    tree.disk("sda", "8:0", 8).disk("sdb", "8:16", 8).disk("md0", "9:0", 8).disk("dm-0", "253:0", 8);
    tree.lies("md0", "sda").lies("md0", "sdb").lies("dm-0", "md0");
    const Machine machine = readMachine();
    std::vector<std::string> rows;
    for (const ArrangedRow& row : arrange(machine.blocks))
        rows.push_back(std::string(row.depth, '-') + machine.blocks.devices[row.device].name +
                       (row.isReference ? " above" : ""));
    EXPECT_THAT(rows, ElementsAre("sda", "-md0", "--dm-0", "sdb", "-md0 above"));
}

}  // namespace
}  // namespace diskmgt_machine
