// Where a mounted file system belongs that lies on no block device.
#pragma once

#include "machine/mounts.h"

namespace diskmgt {

enum class FileSystemGroup {
    kDevice,  // its number is that of a block device
    kNetwork,
    kPool,  // a storage pool of the file system's own
    kFuse,
    kOverlay,
    kMemory,
    kPseudo,  // holds no files of anybody's: the kernel's own views
    kOther
};

FileSystemGroup groupOf(const diskmgt_machine::Mount& mount);
/// "network", "pool", ...
const char* nameOf(FileSystemGroup group);

}  // namespace diskmgt
