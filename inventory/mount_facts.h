// What is so about the mount table and its entries. Nothing is asked of file systems that may not answer.
#pragma once

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
    bool isLater = false;         // an earlier entry has the same source
    std::string firstMountPoint;  // of that entry
    FileSystemKind kind = FileSystemKind::kUnknown;
    bool isBelowUntouchable = false;  // local itself, but reached through or hidden by one that is not
};

struct MountTableFacts {
    int updateError = 0;  // why it could not be opened for update, as the plug-in opens it; 0: it could
    int readError = 0;    // why it could not even be read
    std::vector<MountFacts> mounts;
};

/// Reads the mount table and measures nothing.
MountTableFacts readMounts(Progress& progress);

}  // namespace diskmgt
