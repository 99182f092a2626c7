// Walks the inventory from the drives down. What misleads is marked in its row, and a note says why.
#include "cli/tables/tree_published.h"

#include <algorithm>

#include "cli/tables/tree_cells.h"
#include "schema/vocabulary.h"
#include "text/wording.h"

namespace diskmgt {

namespace {

using namespace diskmgt_col;  // the names of classes

class Arrangement {
public:
    Arrangement(const Inventory& shown, const TreeChoices& chosen) : inventory(shown), choices(chosen) {}

    Tree take() {
        for (const Drive& drive : inventory.drives) add(drive);
        addLoosePartitions();
        addLooseLogicalDisks();
        addNotes();
        return std::move(tree);
    }

private:
    std::string shown(std::uint64_t bytes) const { return sizeCell(bytes, choices); }

    const DoubtfulPair* doubtfulPairOf(const std::string& association, const std::string& device,
                                       const std::string& pairedWith) const {
        for (const DoubtfulPair& pair : inventory.doubtfulPairs)
            if (pair.device == device && pair.pairedWith == pairedWith && pair.association == association) return &pair;
        return nullptr;
    }

    void markDoubtful(TreeRow& row, const std::string& likely) {
        hasDoubtfulPair = true;
        row.doubtful = kRemarkColumn;
        row.cells[kRemarkColumn] = likely.empty() ? "? by its name alone" : "? likely on " + likely;
    }

    /// How many of the drive's own partitions the tree lists.
    std::uint64_t listedPartitions(const Drive& drive) const {
        std::uint64_t listed = 0;
        for (const std::size_t position : drive.partitions) {
            const Partition& partition = inventory.partitions[position];
            if (doubtfulPairOf(kPartitionPresent, partition.device, drive.device) != nullptr) continue;
            listed += 1 + partition.logicals.size();
        }
        return listed;
    }

    void add(const Drive& drive) {
        TreeRow& row = tree.addRow(0, drive.device);
        row.kind = TreeRow::Kind::kDrive;
        row.cells[kSizeColumn] = shown(drive.size);
        row.cells[kTypeColumn] = counted(drive.partitionCount, "partition");
        const std::uint64_t listed = listedPartitions(drive);
        if (listed != drive.partitionCount && wasServed(kPartitionPresent)) {
            row.cells[kRemarkColumn] = (listed == 0 ? "none" : std::to_string(listed)) + " listed";
            hasOtherCount = true;
        }
        for (const std::size_t position : drive.logicalDisks) add(inventory.logicalDisks[position], 1, nullptr, &drive);
        for (const std::size_t position : drive.partitions) add(inventory.partitions[position], 1, &drive);
    }

    void add(const Partition& partition, std::size_t depth, const Drive* drive) {
        TreeRow& row = tree.addRow(depth, partition.device);
        row.cells[kSizeColumn] = shown(partition.size);
        if (partition.start) row.cells[kStartColumn] = shown(*partition.start);
        row.cells[kTypeColumn] = partition.typeName;
        // A GPT entry has no such mark: what is published for it says nothing.
        if (partition.table == TableKind::kMbr && partition.isBootable) row.cells[kRemarkColumn] = "bootable";
        const DoubtfulPair* const pair =
            drive == nullptr ? nullptr : doubtfulPairOf(kPartitionPresent, partition.device, drive->device);
        if (pair != nullptr) markDoubtful(row, pair->likely);
        for (const std::size_t position : partition.logicalDisks)
            add(inventory.logicalDisks[position], depth + 1, &partition, nullptr);
        for (const std::size_t position : partition.logicals) add(inventory.partitions[position], depth + 1, drive);
    }

    /// `partition` or `drive`, or neither, is what the file system is listed on.
    void add(const LogicalDisk& disk, std::size_t depth, const Partition* partition, const Drive* drive) {
        TreeRow& row = tree.addRow(depth, disk.mountPoint.empty() ? "(no mount point)" : disk.mountPoint);
        row.cells[kTypeColumn] = disk.fileSystem;
        const std::string holder = partition != nullptr ? partition->device : drive != nullptr ? drive->device : "";
        if (disk.source != holder && disk.source != disk.fileSystem) row.cells[kRemarkColumn] = disk.source;
        if (disk.space) addSpace(row, *disk.space);
        if (partition != nullptr && doubtfulPairOf(kLogicalDiskBasedOnPartition, holder, disk.source) != nullptr)
            markDoubtful(row, isListed(disk.source) ? disk.source : "");
        const DoubtfulPair* const pair =
            drive == nullptr ? nullptr : doubtfulPairOf(kMediaPresent, disk.source, holder);
        if (pair != nullptr) markDoubtful(row, pair->likely);
        for (const std::string& further : disk.furtherMountPoints)
            tree.addRow(depth + 1, further).cells[kTypeColumn] = "mounted here too";
    }

    bool isListed(const std::string& device) const {
        const auto named = [&device](const auto& element) { return element.device == device; };
        return std::any_of(inventory.partitions.begin(), inventory.partitions.end(), named) ||
               std::any_of(inventory.drives.begin(), inventory.drives.end(), named);
    }

    void addSpace(TreeRow& row, const Space& space) {
        if (space.total == 0) return;  // proc and its like measure nothing
        const char* const doubt = space.isOfSourcePath ? "?" : "";
        hasForeignFigures = hasForeignFigures || space.isOfSourcePath;
        row.cells[kSizeColumn] = shown(space.total) + doubt;
        row.cells[kUsedColumn] = shown(space.used()) + doubt;
        row.cells[kFreeColumn] = shown(space.free) + doubt;
        if (space.available) row.cells[kAvailableColumn] = shown(*space.available) + doubt;
        row.usedPercent = space.usedPercent().value_or(-1);
    }

    void addHeading(const char* text) { tree.addRow(0, text).kind = TreeRow::Kind::kHeading; }

    void addLoosePartitions() {
        if (inventory.loosePartitions.empty()) return;
        addHeading("On no reported drive");
        for (const std::size_t position : inventory.loosePartitions) add(inventory.partitions[position], 1, nullptr);
    }

    void addLooseLogicalDisks() {
        const std::vector<std::size_t>& loose = inventory.looseLogicalDisks;
        if (loose.empty()) return;
        if (choices.all) {
            addHeading("On no drive");
            for (const std::size_t position : loose) add(inventory.logicalDisks[position], 1, nullptr, nullptr);
            return;
        }
        const std::string count = std::to_string(loose.size()) + (hasFileSystemOnDrive() ? " more" : "");
        if (loose.size() == 1) {
            tree.notes.push_back(count + " file system is on no drive: --all lists it");
            return;
        }
        const bool holdsRoot = std::any_of(loose.begin(), loose.end(), [this](std::size_t position) {
            return inventory.logicalDisks[position].mountPoint == "/";
        });
        tree.notes.push_back(count + " file systems are on no drive" + (holdsRoot ? ", / among them" : "") +
                             ": --all lists them");
    }

    bool hasFileSystemOnDrive() const { return inventory.looseLogicalDisks.size() < inventory.logicalDisks.size(); }

    bool wasServed(const std::string& className) const {
        return !contains(inventory.published.missingClasses, className);
    }

    void addNotes() {
        if (hasDoubtfulPair)
            tree.notes.emplace_back(
                R"("? likely on", "? by its name alone": listed there only because one name contains the other)");
        if (hasForeignFigures)
            tree.notes.emplace_back(
                "Figures with \"?\" are those of the file system that holds the path of the source, because the mount "
                "point cannot be measured");
        if (hasOtherCount)
            tree.notes.emplace_back(
                "\"listed\": the drive's own count of partitions differs from what was found on it; \"diskmgt "
                "explain\" says why");
        if (inventory.isComplete()) return;
        const bool isLeftOut = inventory.published.isAnyLeftOut();
        tree.notes.push_back(
            (isLeftOut ? "This is not all; not served: " : "Time ran out, so this is not all; not served: ") +
            joined(inventory.published.missingClasses, ", "));
    }

    const Inventory& inventory;
    const TreeChoices& choices;
    Tree tree;
    bool hasDoubtfulPair = false;
    bool hasForeignFigures = false;
    bool hasOtherCount = false;
};

}  // namespace

Tree arrangeTree(const Inventory& inventory, const TreeChoices& choices) {
    return Arrangement(inventory, choices).take();
}

}  // namespace diskmgt
