// What is not allowed is left out, one attribute at a time.
#include "cli/io/file_attributes.h"

#include <sys/stat.h>
#include <sys/types.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <string>
#include <vector>

namespace diskmgt {

namespace {

constexpr char kAccessList[] = "system.posix_acl_access";
constexpr mode_t kPermissions = 0777;
// Not the setuid and setgid bits: like capabilities they belong to the program that was there.
constexpr mode_t kKeptBits = kPermissions | S_ISVTX;

/// Of the text, not of the file: capabilities of a program and signatures of what was there.
bool belongsToContent(const std::string& name) {
    return name == "security.capability" || name == "security.ima" || name == "security.evm";
}

/// The value, empty when it cannot be read or is empty.
std::vector<char> valueOf(int fd, const std::string& name) {
    const ssize_t size = ::fgetxattr(fd, name.c_str(), nullptr, 0);
    if (size <= 0) return {};
    std::vector<char> value(static_cast<std::size_t>(size));
    const ssize_t read = ::fgetxattr(fd, name.c_str(), value.data(), value.size());
    value.resize(read < 0 ? 0 : static_cast<std::size_t>(read));
    return value;
}

std::vector<std::string> namesOf(int fd) {
    const ssize_t size = ::flistxattr(fd, nullptr, 0);
    if (size <= 0) return {};
    std::vector<char> list(static_cast<std::size_t>(size));
    const ssize_t read = ::flistxattr(fd, list.data(), list.size());
    std::vector<std::string> names;
    for (ssize_t begin = 0; begin < read;) {
        names.emplace_back(list.data() + begin);
        begin += static_cast<ssize_t>(names.back().size()) + 1;
    }
    return names;
}

void keepExtendedAttributes(int from, int to) {
    bool hasList = false;
    for (const std::string& name : namesOf(from)) {
        if (belongsToContent(name)) continue;
        hasList = hasList || name == kAccessList;
        const std::vector<char> value = valueOf(from, name);
        (void)::fsetxattr(to, name.c_str(), value.data(), value.size(), 0);  // some need rights that we may lack
    }
    // A list that the new file inherited from its folder is not what the former one had.
    if (!hasList) (void)::fremovexattr(to, kAccessList);
}

}  // namespace

void keepAttributes(int from, int to) {
    struct stat former {};
    struct stat present {};
    if (::fstat(from, &former) != 0) return;
    // Only root can give files away; a group can be kept by its members. What became of it shows below.
    if (::fchown(to, former.st_uid, former.st_gid) != 0) [[maybe_unused]]
        const int groupAlone = ::fchown(to, static_cast<uid_t>(-1), former.st_gid);
    if (::fstat(to, &present) != 0) return;
    keepExtendedAttributes(from, to);
    mode_t mode = former.st_mode & kKeptBits;
    if (present.st_uid != former.st_uid || present.st_gid != former.st_gid) mode &= kPermissions;
    if (present.st_gid != former.st_gid) mode &= ~mode_t{S_IRWXG} | (mode & S_IRWXO) << 3U;
    (void)::fchmod(to, mode);  // where permissions are not kept, none need to be set
}

void applyMask(int fd) {
    if (::fgetxattr(fd, kAccessList, nullptr, 0) > 0) return;
    const mode_t mask = ::umask(0);  // can only be read by setting it; no other thread makes files
    (void)::umask(mask);
    (void)::fchmod(fd, (S_IRUSR | S_IWUSR | S_IRGRP | S_IWGRP | S_IROTH | S_IWOTH) & ~mask);
}

}  // namespace diskmgt
