// Trees of hand-made accounts, and the servers that several tests show.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "cli/tables/tree.h"
#include "cli/tables/tree_account.h"
#include "tests/unit/inventory/joined_scene.h"

namespace diskmgt {

inline constexpr std::uint64_t kMiB = 1048576;

struct AccountTrees : ::testing::Test {
    JoinedScene scene;
    TreeChoices choices;
    std::map<std::string, diskmgt_machine::UdevRecord> udev;  // by name; no other device has one
    std::vector<std::string> operands;
    ColumnChoice columns = chosenColumns({"type", "cim", "remark"});

    diskmgt_machine::BlockDevice& deviceNamed(const std::string& name) {
        return scene.machine.blocks.devices.at(scene.machine.blocks.find(name).value());
    }

    diskmgt_machine::BlockDevice& device(const std::string& name, diskmgt_machine::Kind kind,
                                         const std::string& volume = "") {
        DeviceFacts& facts = scene.disk(name, 64 * kMiB, false);
        if (name.compare(0, 3, "dm-") == 0) facts.nameVerdict = diskmgt_col::EntryName::kDeviceMapper;
        diskmgt_machine::BlockDevice& added = scene.machine.blocks.devices.back();
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
        device("dm-0", diskmgt_machine::Kind::kLvm, "vg-root");
        device("dm-1", diskmgt_machine::Kind::kLvm, "vg-swap");
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
        device("md0", diskmgt_machine::Kind::kRaid).level = "raid1";
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

}  // namespace diskmgt
