#include "inventory/mount_facts.h"

#include <map>
#include <utility>

#include "inventory/mount_table.h"

namespace diskmgt {

namespace {

// Shows what is really mounted, should the mount table be a file of its own.
constexpr const char* kKernelMounts = "/proc/self/mounts";

std::vector<MountFacts> factsOf(const MountTable& table) {
    std::vector<MountFacts> mounts;
    for (const MountEntry& entry : table.entries) {
        MountFacts mount;
        mount.source = entry.source;
        mount.mountPoint = entry.mountPoint;
        mount.type = entry.type;
        mount.kind = kindOfFileSystem(mount.type);
        mounts.push_back(std::move(mount));
    }
    return mounts;
}

void addUntouchable(UntouchablePlaces& places, const std::vector<MountFacts>& mounts) {
    for (const MountFacts& mount : mounts)
        if (mount.kind != FileSystemKind::kLocal) places.add(mount.mountPoint);
}

void markLaterMounts(std::vector<MountFacts>& mounts) {
    std::map<std::string, std::string> kept;  // source to mount point
    for (MountFacts& mount : mounts) {
        mount.isLater = diskmgt_col::isLaterMount(kept, mount.source);
        if (mount.isLater)
            mount.firstMountPoint = kept.at(mount.source);
        else
            kept.emplace(mount.source, mount.mountPoint);
    }
}

}  // namespace

MountTableFacts readMounts(Progress& progress) {
    progress.nowAt(std::string("reading ") + diskmgt_col::kMountTable);
    MountTableFacts facts;
    MountTable table = readMountTable(diskmgt_col::kMountTable, diskmgt_col::kMountTableMode);
    facts.updateError = table.error;
    if (table.error != 0) {
        table = readMountTable(diskmgt_col::kMountTable, "r");
        facts.readError = table.error;
    }
    facts.mounts = factsOf(table);
    markLaterMounts(facts.mounts);
    UntouchablePlaces untouchable;
    addUntouchable(untouchable, facts.mounts);
    addUntouchable(untouchable, factsOf(readMountTable(kKernelMounts, "r")));
    for (MountFacts& mount : facts.mounts)
        mount.isBelowUntouchable = mount.kind == FileSystemKind::kLocal &&
                                   (untouchable.cover(mount.mountPoint) || untouchable.cover(mount.source));
    return facts;
}

}  // namespace diskmgt
