#include "inventory/file_system_groups.h"

#include <algorithm>
#include <string>
#include <string_view>

#include "inventory/file_systems.h"

namespace diskmgt {

namespace {

template <std::size_t Count>
bool isOneOf(std::string_view type, const std::string_view (&types)[Count]) {
    return std::find(std::begin(types), std::end(types), type) != std::end(types);
}

constexpr std::string_view kMemoryTypes[] = {"tmpfs", "ramfs", "rootfs", "devtmpfs"};
constexpr std::string_view kPoolTypes[] = {"zfs", "bcachefs", "btrfs", "ubifs", "jffs2"};
constexpr std::string_view kPseudoTypes[] = {
    "proc",        "sysfs",   "devpts",     "cgroup",          "cgroup2",     "mqueue",    "hugetlbfs",
    "debugfs",     "tracefs", "securityfs", "pstore",          "bpf",         "configfs",  "efivarfs",
    "binfmt_misc", "fusectl", "nsfs",       "selinuxfs",       "rpc_pipefs",  "nfsd",      "cpuset",
    "smackfs",     "resctrl", "autofs",     "fuse.gvfsd-fuse", "fuse.portal", "fuse.lxcfs"};

}  // namespace

FileSystemGroup groupOf(const diskmgt_machine::Mount& mount) {
    const std::string& type = mount.type;
    if (isOneOf(type, kPseudoTypes)) return FileSystemGroup::kPseudo;
    if (mount.number.majorNumber != 0) return FileSystemGroup::kDevice;
    if (isOneOf(type, kMemoryTypes)) return FileSystemGroup::kMemory;
    if (isOneOf(type, kPoolTypes)) return FileSystemGroup::kPool;
    if (type == "overlay") return FileSystemGroup::kOverlay;
    switch (kindOfFileSystem(type)) {
        case FileSystemKind::kNetwork:
            return FileSystemGroup::kNetwork;
        case FileSystemKind::kFuse:
            return FileSystemGroup::kFuse;
        default:
            return FileSystemGroup::kOther;
    }
}

const char* nameOf(FileSystemGroup group) {
    switch (group) {
        case FileSystemGroup::kNetwork:
            return "network";
        case FileSystemGroup::kPool:
            return "pool";
        case FileSystemGroup::kFuse:
            return "fuse";
        case FileSystemGroup::kOverlay:
            return "overlay";
        case FileSystemGroup::kMemory:
            return "memory";
        case FileSystemGroup::kPseudo:
            return "pseudo";
        case FileSystemGroup::kDevice:
        case FileSystemGroup::kOther:
            break;
    }
    return "other";
}

}  // namespace diskmgt
