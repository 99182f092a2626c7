#include "inventory/file_systems.h"

#include <algorithm>
#include <filesystem>
#include <initializer_list>

namespace diskmgt {

namespace {

bool isOneOf(const std::string& text, std::initializer_list<const char*> names) {
    return std::any_of(names.begin(), names.end(), [&text](const char* name) { return text == name; });
}

bool isOnDisk(const std::string& type) {
    return isOneOf(type,
                   {"ext2",  "ext3",    "ext4",   "xfs",      "btrfs",   "f2fs",  "jfs",      "reiserfs", "ntfs",
                    "ntfs3", "vfat",    "msdos",  "exfat",    "iso9660", "udf",   "squashfs", "erofs",    "minix",
                    "hfs",   "hfsplus", "nilfs2", "bcachefs", "zfs",     "ubifs", "jffs2",    "romfs",    "cramfs"});
}

bool isInKernel(const std::string& type) {
    return isOneOf(type, {"proc",      "sysfs",      "tmpfs",    "devtmpfs",  "devpts",      "ramfs",   "rootfs",
                          "cgroup",    "cgroup2",    "mqueue",   "hugetlbfs", "debugfs",     "tracefs", "securityfs",
                          "pstore",    "bpf",        "configfs", "efivarfs",  "binfmt_misc", "fusectl", "nsfs",
                          "selinuxfs", "rpc_pipefs", "nfsd",     "cpuset",    "overlay",     "smackfs", "resctrl"});
}

bool isOnNetwork(const std::string& type) {
    return isOneOf(type,
                   {"nfs",    "nfs4", "cifs", "smb3",  "smbfs",  "9p",    "ceph",     "afs",   "coda",  "ncpfs",
                    "lustre", "gpfs", "gfs2", "ocfs2", "beegfs", "pvfs2", "virtiofs", "panfs", "davfs", "vboxsf"});
}

}  // namespace

FileSystemKind kindOfFileSystem(const std::string& type) {
    if (type == "autofs") return FileSystemKind::kAutomount;
    if (type == "fuse" || type == "fuseblk" || type.rfind("fuse.", 0) == 0) return FileSystemKind::kFuse;
    if (isOnNetwork(type)) return FileSystemKind::kNetwork;
    return isOnDisk(type) || isInKernel(type) ? FileSystemKind::kLocal : FileSystemKind::kUnknown;
}

std::string plainPath(const std::string& path) {
    std::string plain = std::filesystem::path(path).lexically_normal().string();
    while (plain.size() > 1 && plain.back() == '/') plain.pop_back();
    return plain;
}

void UntouchablePlaces::add(const std::string& mountPoint) {
    std::string place = plainPath(mountPoint);
    if (place.size() > 1) places.insert(std::move(place));
}

bool UntouchablePlaces::cover(const std::string& path) const {
    if (places.empty()) return false;
    const std::string plain = plainPath(path);
    for (std::size_t end = plain.size(); end > 0 && end != std::string::npos; end = plain.rfind('/', end - 1))
        if (places.count(plain.substr(0, end)) != 0) return true;
    return false;
}

}  // namespace diskmgt
