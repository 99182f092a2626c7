// The mount table as the plug-in reads it: entry by entry, through a buffer as large as the plug-in's.
#pragma once

#include <string>
#include <vector>

namespace diskmgt {

struct MountEntry {
    std::string source;
    std::string mountPoint;
    std::string type;
};

struct MountTable {
    std::vector<MountEntry> entries;
    int error = 0;  // why it could not be opened; 0: it could
};

/// `mode`: as for setmntent(3); what a table is opened for can decide whether it can be.
MountTable readMountTable(const char* path, const char* mode);

}  // namespace diskmgt
