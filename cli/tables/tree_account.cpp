// Walks the machine from the disks up. Nothing is called free or empty: what uses a device may leave no trace here.
#include "cli/tables/tree_account.h"

#include <algorithm>
#include <tuple>
#include <utility>

#include "cli/tables/tree_cells.h"
#include "cli/tables/tree_mounts.h"
#include "inventory/device_texts.h"
#include "inventory/instance_values.h"
#include "machine/arrangement.h"
#include "schema/vocabulary.h"
#include "text/wording.h"

namespace diskmgt {

namespace {

using diskmgt_machine::ArrangedRow;
using diskmgt_machine::BlockDevice;
using diskmgt_machine::Kind;
using diskmgt_machine::Mount;
using diskmgt_machine::Swap;

class Arrangement {
public:
    Arrangement(const ServerAccount& shown, const TreeSelection& selected, const TreeChoices& chosen)
        : account(shown), selection(selected), choices(chosen), swapFileMounts(mountsOfSwapFiles(shown.machine)) {}

    Tree take() {
        placeMounts();
        addDevices();
        addFileSystems();
        addCimOnly();
        addNotes();
        return std::move(tree);
    }

private:
    std::string shown(std::uint64_t bytes) const { return sizeCell(bytes, choices); }

    static void remark(TreeRow& row, const std::string& text) {
        std::string& cell = row.cells[kRemarkColumn];
        if (!text.empty()) cell += (cell.empty() ? "" : "; ") + text;
    }

    static void addReference(TreeRow& row, const std::string& place) { remark(row, "-> shown " + place); }

    // --- devices ---

    /// A mount is listed beneath the first device that it lies on and that is shown.
    void placeMounts() {
        mountsOf.resize(account.devices.size());
        mountsElsewhere.resize(account.devices.size());
        for (std::size_t i = 0; i < account.mounts.size(); ++i) {
            if (!selection.mounts[i]) continue;
            std::vector<std::size_t> on;
            for (const std::size_t device : account.uses.devicesOf(i))
                if (selection.devices[device]) on.push_back(device);
            for (const std::size_t device : on)
                (device == on.front() ? mountsOf : mountsElsewhere)[device].push_back(i);
        }
    }

    void addDevices() {
        const std::vector<ArrangedRow> arranged = diskmgt_machine::arrange(account.machine.blocks, selection.devices);
        std::vector<std::size_t> beneath(account.devices.size(), account.devices.size());  // where each is whole
        std::vector<std::size_t> path;
        for (std::size_t i = 0; i < arranged.size(); ++i) {
            const ArrangedRow& place = arranged[i];
            path.resize(place.depth);
            if (place.isReference) {
                addReference(place, beneath[place.device]);
                continue;
            }
            if (!path.empty()) beneath[place.device] = path.back();
            path.push_back(place.device);
            const bool isLeaf = i + 1 == arranged.size() || arranged[i + 1].depth <= place.depth;
            addDevice(place.device, place.depth, isLeaf);
        }
    }

    void addReference(const ArrangedRow& place, std::size_t beneath) {
        TreeRow& row = tree.addRow(place.depth, account.device(place.device).name);
        row.cells[kTypeColumn] = typeCell(account, place.device);
        addReference(row, beneath == account.devices.size() ? "above" : "beneath " + account.device(beneath).name);
    }

    void addDevice(std::size_t position, std::size_t depth, bool carriesNothing) {
        const BlockDevice& device = account.device(position);
        const DeviceAccount& more = account.devices[position];
        TreeRow& row = tree.addRow(depth, device.name);
        if (depth == 0) row.kind = TreeRow::Kind::kDrive;
        if (device.sizeBytes) row.cells[kSizeColumn] = shown(*device.sizeBytes);
        if (device.startBytes) row.cells[kStartColumn] = shown(*device.startBytes);
        row.cells[kTypeColumn] = typeCell(account, position);
        const CimAnswer& answer = more.partition ? *more.partition : *more.drive;
        row.cells[kCimColumn] = cimCell(answer, more.partitionsByKernel, choices);
        if (!answer.differs.empty()) row.doubtful = kCimColumn;
        fillIdentity(account, position, row);
        addRemarks(position, row);
        const std::size_t place = tree.rows.size() - 1;
        for (const std::size_t swap : more.swaps)
            if (selection.contents[position]) addSwap(account.machine.swaps[swap], "swap", depth + 1);
        for (const MountFold& fold : folded(account, mountsOf[position])) addMounts(fold, depth + 1);
        addMountReference(mountsElsewhere[position], depth + 1);
        const bool isLeaf = carriesNothing && tree.rows.size() == place + 1;
        if (isLeaf && device.kind != Kind::kPath && !isExtended(account, position))
            remark(tree.rows[place], useCell(account, position));
    }

    void addRemarks(std::size_t position, TreeRow& row) const {
        const BlockDevice& device = account.device(position);
        const auto& published = account.devices[position].published;
        if (!device.backingFile.empty()) remark(row, "of " + device.backingFile);
        if (device.kind == Kind::kPath && device.disk) remark(row, "path to " + account.device(*device.disk).name);
        // A GPT entry has no such mark: what is published for it says nothing.
        if (published && account.inventory().partitions[*published].table == TableKind::kMbr &&
            account.inventory().partitions[*published].isBootable)
            remark(row, "bootable");
    }

    void addSwap(const Swap& swap, const std::string& name, std::size_t depth) {
        TreeRow& row = tree.addRow(depth, name);
        row.cells[kTypeColumn] = swap.isFile ? "swap file" : "swap";
        row.cells[kSizeColumn] = shown(swap.sizeBytes);
        Space space;
        space.total = swap.sizeBytes;
        space.free = swap.sizeBytes - std::min(swap.usedBytes, swap.sizeBytes);
        row.cells[kUsedColumn] = shown(space.used());
        row.cells[kFreeColumn] = shown(space.free);
        row.usedPercent = space.usedPercent().value_or(-1);
    }

    // --- mounts ---

    /// What a fold's row says of CIM, for all its mounts unless each has a row.
    std::string cimOf(const MountFold& fold) const {
        const CimAnswer& first = account.mounts[fold.front()].logicalDisk;
        if (!choices.all && !first.isReported())
            for (const std::size_t mount : fold)
                if (account.mounts[mount].logicalDisk.isReported())
                    return "yes: at " + account.machine.mounts[mount].mountPoint;
        return cimCell(first, 0, choices);
    }

    static void remarkOnPart(const Mount& mount, TreeRow& row) {
        const std::string subvolume = subvolumeOf(mount);
        if (!subvolume.empty()) remark(row, "subvolume " + subvolume);
        if (mount.root != "/" && mount.root != subvolume) remark(row, "only " + mount.root + " of it");
    }

    /// `source`: shown too.
    void addMounts(const MountFold& fold, std::size_t depth, bool source = false) {
        const Mount& mount = account.machine.mounts[fold.front()];
        const MountAccount& more = account.mounts[fold.front()];
        TreeRow& row = tree.addRow(depth, mount.mountPoint);
        row.cells[kTypeColumn] = mount.type;
        row.cells[kCimColumn] = cimOf(fold);
        if (more.space) addSpace(row, *more.space);
        if (more.reason) {
            remark(row, more.reason->brief);
            row.doubtful = kRemarkColumn;
        }
        if (source && mount.source != mount.type) remark(row, mount.source);
        remarkOnPart(mount, row);
        if (fold.size() > 1 && !choices.all) remark(row, "+" + counted(fold.size() - 1, "mount point"));
        for (std::size_t i = 1; choices.all && i < fold.size(); ++i) addFurther(fold[i], depth + 1);
        for (std::size_t swap = 0; swap < swapFileMounts.size(); ++swap)
            if (contains(fold, swapFileMounts[swap]))
                addSwap(account.machine.swaps[swap], account.machine.swaps[swap].path, depth + 1);
    }

    void addFurther(std::size_t position, std::size_t depth) {
        const Mount& mount = account.machine.mounts[position];
        TreeRow& row = tree.addRow(depth, mount.mountPoint);
        row.cells[kTypeColumn] = "mounted here too";
        row.cells[kCimColumn] = cimCell(account.mounts[position].logicalDisk, 0, choices);
        if (account.mounts[position].reason) remark(row, account.mounts[position].reason->brief);
        remarkOnPart(mount, row);
    }

    void addSpace(TreeRow& row, const Space& space) const {
        row.cells[kSizeColumn] = shown(space.total);
        row.cells[kUsedColumn] = shown(space.used());
        row.cells[kFreeColumn] = shown(space.free);
        if (space.available) row.cells[kAvailableColumn] = shown(*space.available);
        row.usedPercent = space.usedPercent().value_or(-1);
    }

    /// One row, however many mounts a file system on several devices has.
    void addMountReference(const std::vector<std::size_t>& mounts, std::size_t depth) {
        if (mounts.empty()) return;
        const std::size_t first = folded(account, mounts).front().front();
        TreeRow& row = tree.addRow(depth, account.machine.mounts[first].mountPoint);
        row.cells[kTypeColumn] = account.machine.mounts[first].type;
        for (const std::size_t device : account.uses.devicesOf(first)) {
            if (!selection.devices[device]) continue;
            addReference(row, "beneath " + account.device(device).name);
            return;
        }
    }

    // --- what is on no disk ---

    static bool isFolded(FileSystemGroup group) {
        return group == FileSystemGroup::kMemory || group == FileSystemGroup::kPseudo;
    }

    bool holdsRoot(const std::vector<std::size_t>& mounts) const {
        return std::any_of(mounts.begin(), mounts.end(),
                           [this](std::size_t mount) { return account.machine.mounts[mount].mountPoint == "/"; });
    }

    void addFileSystems() {
        std::vector<const FileSystemAccount*> listed, inMemory, pseudo;
        for (const FileSystemAccount& fileSystem : account.fileSystems) {
            if (!isFolded(fileSystem.group) || holdsRoot(fileSystem.mounts)) {
                listed.push_back(&fileSystem);
                continue;
            }
            const bool isMemory = fileSystem.group == FileSystemGroup::kMemory;
            if (choices.all || !selection.isEverything)
                (isMemory ? inMemory : pseudo).push_back(&fileSystem);
            else
                (isMemory ? memoryMounts : pseudoMounts) += fileSystem.mounts.size();
        }
        addBlock("Not on a disk of this server", listed);
        addBlock("In memory", inMemory);
        addBlock("Pseudo file systems", pseudo);
    }

    void addBlock(const char* heading, const std::vector<const FileSystemAccount*>& fileSystems) {
        bool hasHeading = false;
        for (const FileSystemAccount* fileSystem : fileSystems) {
            std::vector<std::size_t> mounts;
            for (const std::size_t mount : fileSystem->mounts)
                if (selection.mounts[mount]) mounts.push_back(mount);
            if (mounts.empty()) continue;
            if (!hasHeading) addHeading(heading);
            hasHeading = true;
            for (const MountFold& fold : folded(account, mounts)) addMounts(fold, 1, true);
        }
    }

    void addHeading(const char* text) { tree.addRow(0, text).kind = TreeRow::Kind::kHeading; }

    // --- what only CIM has ---

    void addCimOnly() {
        bool hasHeading = false;
        for (std::size_t i = 0; i < account.cimOnly.size(); ++i) {
            if (!selection.cimOnly[i]) continue;
            if (!hasHeading) addHeading("Only in CIM");
            hasHeading = true;
            const CimOnly& only = account.cimOnly[i];
            TreeRow& row = tree.addRow(1, only.name);
            row.cells[kTypeColumn] = kindOf(*only.instance);
            if (const auto size = numberOf<std::uint64_t>(*only.instance, diskmgt_col::kSize))
                row.cells[kSizeColumn] = shown(*size);
            row.cells[kCimColumn] = "only: " + (only.reasons.empty() ? "" : only.reasons.front().brief);
            for (std::size_t reason = 1; reason < only.reasons.size(); ++reason)
                remark(row, only.reasons[reason].brief);
            row.doubtful = kCimColumn;
        }
    }

    static std::string kindOf(const refhost::Instance& instance) {
        if (instance.className == diskmgt_col::kDiskPartition) return "part";
        if (instance.className == diskmgt_col::kDiskDrive) return "disk";
        const std::string fileSystem = textOf(instance, diskmgt_col::kFileSystemName);
        return fileSystem.empty() ? "mount" : fileSystem;
    }

    // --- notes ---

    void addNotes() {
        tree.notes = selection.notes;
        addCounts();
        addPairsNote();
        addGaps();
    }

    void addCounts() {
        std::vector<std::string> leftOut;
        std::size_t sum = 0;
        for (const auto& [count, one, several] :
             {std::tuple(selection.emptyLoops, "loop device without a file", "loop devices without a file"),
              std::tuple(selection.ramDisks, "RAM disk", "RAM disks"),
              std::tuple(selection.hiddenPaths, "hidden path", "hidden paths"),
              std::tuple(memoryMounts, "file system in memory", "file systems in memory"),
              std::tuple(pseudoMounts, "pseudo file system", "pseudo file systems")}) {
            if (count > 0) leftOut.push_back(std::to_string(count) + " " + (count == 1 ? one : several));
            sum += count;
        }
        if (sum > 0) tree.notes.push_back(listed(leftOut) + ": --all lists " + (sum == 1 ? "it" : "them"));
    }

    void addPairsNote() {
        const std::size_t doubtful = account.inventory().doubtfulPairs.size();
        if (doubtful == 0 || !selection.isEverything) return;
        tree.notes.push_back(counted(doubtful, "pair") + " of CIM " + (doubtful == 1 ? "exists" : "exist") +
                             " only because one name contains another: \"diskmgt explain\" says which");
    }

    /// What a row does not say.
    void addGaps() {
        for (const Gap& gap : account.gaps)
            if (gap.of == "/sys/block" || gap.of == "/proc/self/mountinfo" || gap.of == "/proc/swaps")
                tree.notes.push_back(gap.text);
        const Published& published = account.inventory().published;
        if (published.missingClasses.empty()) return;
        const std::string why = account.collection.end.isEarly() ? account.collection.end.brief + ", so "
                                : published.isAnyLeftOut()       ? ""
                                                                 : "time ran out, so ";
        tree.notes.push_back(capitalized(why + "CIM's account is not complete; not served: ") +
                             joined(published.missingClasses, ", "));
    }

    static std::string capitalized(std::string text) {
        if (!text.empty() && text[0] >= 'a' && text[0] <= 'z') text[0] = static_cast<char>(text[0] - 'a' + 'A');
        return text;
    }

    const ServerAccount& account;
    const TreeSelection& selection;
    const TreeChoices& choices;
    const std::vector<std::size_t> swapFileMounts;
    Tree tree;
    std::vector<std::vector<std::size_t>> mountsOf;         // by device: the mounts listed beneath it
    std::vector<std::vector<std::size_t>> mountsElsewhere;  // by device: those listed beneath another one
    std::size_t memoryMounts = 0;
    std::size_t pseudoMounts = 0;
};

}  // namespace

Tree arrangeTree(const ServerAccount& account, const TreeSelection& selection, const TreeChoices& choices) {
    return Arrangement(account, selection, choices).take();
}

}  // namespace diskmgt
