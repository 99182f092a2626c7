// Every step is taken from an open folder, so nothing can be exchanged between looking and acting.
#include "cli/io/output_target.h"

#include <fcntl.h>
#include <limits.h>
#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>

#include "cli/io/write_error.h"

namespace diskmgt {

namespace {

using diskmgt_col::UniqueFd;

constexpr int kMostLinks = 40;       // as in the kernel
constexpr ino_t kProcRootInode = 1;  // links right below /proc are ordinary ones

struct stat statusOf(int fd) {
    struct stat status {};
    if (::fstat(fd, &status) != 0) throw WriteError(errno);
    return status;
}

/// Takes the first name off a path; what remains is empty or begins with a slash. "." when there is no name left.
std::string takeName(std::string& path) {
    const std::size_t begin = path.find_first_not_of('/');
    if (begin == std::string::npos) {
        path.clear();
        return ".";
    }
    const std::size_t end = std::min(path.find('/', begin), path.size());
    std::string name = path.substr(begin, end - begin);
    path.erase(0, end);
    return name;
}

/// The owner of a sticky folder and the user that runs the command are trusted; others may have laid a trap.
bool isTrapOf(uid_t owner, int folder) {
    const struct stat around = statusOf(folder);
    return (around.st_mode & S_ISVTX) != 0 && (around.st_mode & S_IWOTH) != 0 && owner != ::geteuid() &&
           owner != around.st_uid;
}

void refuseTrap(const struct stat& entry, int folder) {
    if (!isTrapOf(entry.st_uid, folder)) return;
    throw WriteError(S_ISLNK(entry.st_mode)
                         ? "the path leads through a symbolic link of another user in a folder where all may write"
                         : "it belongs to another user, in a folder where all may write");
}

/// Links below a process's folder in /proc lead to what the process has open, whatever their text says.
bool leadsToOpenFile(int folder) {
    struct statfs fileSystem {};
    return ::fstatfs(folder, &fileSystem) == 0 && fileSystem.f_type == PROC_SUPER_MAGIC &&
           statusOf(folder).st_ino != kProcRootInode;
}

/// The number of this process's own descriptor; negative when the link is none of its own.
int ownDescriptor(int folder, const std::string& name) {
    const struct stat here = statusOf(folder);
    for (const char* const own : {"/proc/self/fd", "/proc/thread-self/fd"}) {
        struct stat there {};
        if (::stat(own, &there) != 0 || there.st_dev != here.st_dev || there.st_ino != here.st_ino) continue;
        int number = -1;
        (void)std::from_chars(name.data(), name.data() + name.size(), number);  // the kernel names nothing else there
        return number;
    }
    return -1;
}

std::string linkText(int link) {
    char text[PATH_MAX];
    const ssize_t length = ::readlinkat(link, "", text, sizeof text);
    if (length < 0) throw WriteError(errno);
    if (length == 0) throw WriteError(ENOENT);
    return {text, static_cast<std::size_t>(length)};
}

void enter(OutputTarget& target, int from, const char* name, int howFollowed) {
    const int fd = ::openat(from, name, O_PATH | O_DIRECTORY | O_CLOEXEC | howFollowed);
    if (fd < 0) throw WriteError(errno);
    target.folder.emplace(fd);
}

}  // namespace

OutputTarget findOutputTarget(const std::string& path) {
    OutputTarget target;
    enter(target, AT_FDCWD, path.front() == '/' ? "/" : ".", 0);
    std::string rest = path;
    int links = 0;
    for (;;) {
        target.name = takeName(rest);
        const int folder = target.folder->get();
        const char* const name = target.name.c_str();
        const bool isLast = rest.empty();
        const UniqueFd entry(::openat(folder, name, O_PATH | O_NOFOLLOW | O_CLOEXEC));
        if (!entry.valid()) {
            if (errno != ENOENT || !isLast) throw WriteError(errno);
            target.kind = OutputTarget::Kind::kNew;
            return target;
        }
        const struct stat present = statusOf(entry.get());
        if (S_ISLNK(present.st_mode)) {
            if (++links > kMostLinks) throw WriteError(ELOOP);
            refuseTrap(present, folder);
            if (!leadsToOpenFile(folder)) {
                const std::string text = linkText(entry.get());
                if (text.front() == '/') enter(target, AT_FDCWD, "/", 0);
                rest.insert(0, text);
            } else if (isLast) {
                target.descriptor = ownDescriptor(folder, target.name);
                target.kind = target.descriptor < 0 ? OutputTarget::Kind::kAsItIs : OutputTarget::Kind::kOwnDescriptor;
                return target;
            } else {
                enter(target, folder, name, 0);
            }
        } else if (!isLast) {
            enter(target, folder, name, O_NOFOLLOW);  // asked for as a folder, so that the kernel mounts what it should
        } else {
            if (S_ISDIR(present.st_mode)) throw WriteError(EISDIR);
            refuseTrap(present, folder);
            target.kind = S_ISREG(present.st_mode) ? OutputTarget::Kind::kRegularFile : OutputTarget::Kind::kAsItIs;
            return target;
        }
    }
}

int openForWriting(const OutputTarget& target) {
    const int folder = target.folder->get();
    const bool isDescriptor = target.kind == OutputTarget::Kind::kAsItIs && leadsToOpenFile(folder);
    // What another process has open is added to, as that process would: its lines before are not ours to overwrite.
    const int fd =
        ::openat(folder, target.name.c_str(), O_WRONLY | O_NOCTTY | O_CLOEXEC | (isDescriptor ? O_APPEND : O_NOFOLLOW));
    if (fd < 0) throw WriteError(errno);
    UniqueFd opened(fd);
    const struct stat present = statusOf(fd);
    if (!isDescriptor) refuseTrap(present, folder);
    if (target.kind == OutputTarget::Kind::kRegularFile && !S_ISREG(present.st_mode))
        throw WriteError("it was replaced meanwhile");
    return ::fcntl(opened.get(), F_DUPFD_CLOEXEC, 0);
}

}  // namespace diskmgt
