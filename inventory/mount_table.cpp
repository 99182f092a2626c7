#include "inventory/mount_table.h"

#include <cerrno>

#include "base/handles.h"
#include "collect/mount_rules.h"

namespace diskmgt {

namespace os = diskmgt_col::os;

MountTable readMountTable(const char* path, const char* mode) {
    MountTable read;
    const diskmgt_col::UniqueMountTable table(os::openMountTable(path, mode));
    if (table == nullptr) {
        read.error = errno;
        return read;
    }
    std::vector<char> line(diskmgt_col::kMountLineSize);
    mntent entry;
    while (os::nextMountEntry(table.get(), entry, line.data(), diskmgt_col::kMountLineSize))
        read.entries.push_back({entry.mnt_fsname, entry.mnt_dir, entry.mnt_type});
    return read;
}

}  // namespace diskmgt
