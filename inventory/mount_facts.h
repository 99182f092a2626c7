// What is so about the mount table and its entries. Nothing is asked of file systems that may not answer.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "collect/mount_rules.h"
#include "inventory/file_systems.h"
#include "inventory/progress.h"

namespace diskmgt {

struct MountFacts {
    std::string source;
    std::string mountPoint;
    std::string type;
    std::string device;           // the source with its links resolved when it lies in /dev; else empty
    bool isLater = false;         // an earlier entry has the same source
    std::string firstMountPoint;  // of that entry
    FileSystemKind kind = FileSystemKind::kUnknown;
    bool isBelowUntouchable = false;  // local itself, but reached through or hidden by one that is not
    std::optional<diskmgt_col::MeasuredPath> measured;  // nothing: not asked
};

struct MountTableFacts {
    int updateError = 0;  // why it could not be opened for update, as the plug-in opens it; 0: it could
    int readError = 0;    // why it could not even be read
    std::vector<MountFacts> mounts;
    UntouchablePlaces untouchable;  // by this table and by the kernel's own
};

/// Reads the mount table and measures nothing.
MountTableFacts readMounts(Progress& progress);
/// Measures one of the table's mounts as the plug-in does, if it counts and is local.
void measureIfLocal(MountFacts& mount, const MountTableFacts& table, Progress& progress);

}  // namespace diskmgt
