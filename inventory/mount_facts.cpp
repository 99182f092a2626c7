// Questions about the mount table.
#include "inventory/mount_facts.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <map>
#include <memory>
#include <utility>

#include "base/handles.h"

namespace diskmgt {

namespace {

namespace os = diskmgt_col::os;

// Shows what is really mounted, should the mount table be a file of its own.
constexpr const char* kKernelMounts = "/proc/self/mounts";

std::vector<MountFacts> readEntries(std::FILE* table) {
    std::vector<MountFacts> mounts;
    std::vector<char> line(diskmgt_col::kMountLineSize);
    mntent entry;
    while (os::nextMountEntry(table, entry, line.data(), diskmgt_col::kMountLineSize)) {
        MountFacts mount;
        mount.source = entry.mnt_fsname;
        mount.mountPoint = entry.mnt_dir;
        mount.type = entry.mnt_type;
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

std::string resolvedDevice(const std::string& source, const UntouchablePlaces& untouchable) {
    if (source.rfind("/dev/", 0) != 0 || untouchable.cover(source)) return {};
    const std::unique_ptr<char, decltype(&std::free)> resolved(::realpath(source.c_str(), nullptr), &std::free);
    return resolved ? resolved.get() : source;
}

}  // namespace

MountTableFacts readMounts(Progress& progress) {
    progress.nowAt(std::string("reading ") + diskmgt_col::kMountTable);
    MountTableFacts facts;
    diskmgt_col::UniqueMountTable table(os::openMountTable(diskmgt_col::kMountTable, diskmgt_col::kMountTableMode));
    if (table == nullptr) {
        facts.updateError = errno;
        table.reset(os::openMountTable(diskmgt_col::kMountTable, "r"));
        if (table == nullptr) facts.readError = errno;
    }
    if (table != nullptr) facts.mounts = readEntries(table.get());
    markLaterMounts(facts.mounts);
    addUntouchable(facts.untouchable, facts.mounts);
    const diskmgt_col::UniqueMountTable kernelTable(os::openMountTable(kKernelMounts, "r"));
    if (kernelTable != nullptr) addUntouchable(facts.untouchable, readEntries(kernelTable.get()));

    for (MountFacts& mount : facts.mounts) {
        mount.device = resolvedDevice(mount.source, facts.untouchable);
        mount.isBelowUntouchable = mount.kind == FileSystemKind::kLocal &&
                                   (facts.untouchable.cover(mount.mountPoint) || facts.untouchable.cover(mount.source));
    }
    return facts;
}

void measureIfLocal(MountFacts& mount, const MountTableFacts& table, Progress& progress) {
    const bool isLocal = mount.kind == FileSystemKind::kLocal && !mount.isBelowUntouchable;
    if (table.updateError != 0 || mount.isLater || !isLocal) return;
    progress.nowAt("measuring " + mount.mountPoint);
    struct statfs statistics;
    mount.measured = diskmgt_col::measureMount(mount.mountPoint.c_str(), mount.source.c_str(), statistics);
}

}  // namespace diskmgt
