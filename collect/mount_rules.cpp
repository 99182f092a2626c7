#include "collect/mount_rules.h"

#include <cstring>

#include "base/os.h"

namespace diskmgt_col {

bool isMeasuredThoughLater(const char* type) { return std::strcmp(type, "autofs") == 0; }

MeasuredPath measureMount(const char* mountPoint, const char* source, struct statfs& statistics) {
    std::memset(&statistics, 0, sizeof statistics);
    const int atMountPoint = os::fileSystemStatistics(mountPoint, statistics);
    if (atMountPoint >= 0) return atMountPoint == 0 ? MeasuredPath::kMountPoint : MeasuredPath::kNothing;
    return os::fileSystemStatistics(source, statistics) == 0 ? MeasuredPath::kSource : MeasuredPath::kNothing;
}

}  // namespace diskmgt_col
