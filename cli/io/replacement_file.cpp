// First a file without a name, then a named copy, then the target itself: the first that works.
#include "cli/io/replacement_file.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

#include "cli/io/file_attributes.h"
#include "cli/io/uninterrupted.h"
#include "cli/io/write_error.h"

namespace diskmgt {

namespace {

using diskmgt_col::UniqueFd;

constexpr mode_t kOwnersAlone = 0600;  // until the former file's permissions are set
constexpr mode_t kAsMaskAllows = 0666;
constexpr int kMostNames = 100;
constexpr std::size_t kPiece = 1U << 18U;

/// Short, whatever the target's name, and hidden from programs that read all files of a folder.
std::string temporaryName() {
    std::uint64_t noise = 0;
    if (::getrandom(&noise, sizeof noise, 0) != static_cast<ssize_t>(sizeof noise))
        noise = static_cast<std::uint64_t>(::getpid());
    char name[32];
    (void)std::snprintf(name, sizeof name, ".diskmgt-%016jx", static_cast<std::uintmax_t>(noise));
    return name;
}

/// Tries names until one is free. Whether `make` succeeded; errno tells why not.
bool underFreeName(std::string& name, const std::function<bool(const std::string&)>& make) {
    for (int attempt = 0; attempt < kMostNames; ++attempt) {
        name = temporaryName();
        if (make(name)) return true;
        if (errno != EEXIST) return false;
    }
    return false;
}

/// The folder, not the file, refuses: no file can be made there, or this one cannot be replaced, such as one that is a
/// mount point itself.
bool isRefusalOfFolder(int errorNumber) {
    return errorNumber == EACCES || errorNumber == EPERM || errorNumber == EROFS || errorNumber == EBUSY;
}

off_t sizeOf(int fd) {
    struct stat status {};
    if (::fstat(fd, &status) != 0) throw WriteError(errno);
    return status.st_size;
}

/// Copies from the beginning; false when `isGivenUp` said so in between. Throws `WriteError`.
bool copyAll(int from, int to, const std::function<bool()>& isGivenUp) {
    std::vector<char> piece(kPiece);
    for (off_t done = 0;;) {
        if (isGivenUp()) return false;
        const ssize_t size = ::pread(from, piece.data(), piece.size(), done);
        if (size < 0) throw WriteError(errno);
        if (size == 0) return true;
        for (ssize_t written = 0; written < size;) {
            const ssize_t count =
                ::pwrite(to, piece.data() + written, static_cast<std::size_t>(size - written), done + written);
            if (count < 0) throw WriteError(errno);
            written += count;
        }
        done += size;
    }
}

}  // namespace

ReplacementFile::ReplacementFile(OutputTarget where) : target(std::move(where)) {
    if (target.kind == OutputTarget::Kind::kRegularFile) former.emplace(openForWriting(target));
    openText();
}

ReplacementFile::~ReplacementFile() {
    if (text != nullptr) (void)std::fclose(text);  // its content is in place or given up
}

void ReplacementFile::openText() {
    const int folder = target.folder->get();
    int fd = ::openat(folder, ".", O_TMPFILE | O_RDWR | O_CLOEXEC, former ? kOwnersAlone : kAsMaskAllows);
    isUnnamed = fd >= 0;
    if (isUnnamed && !former) applyMask(fd);
    if (!isUnnamed) {
        const bool hasNoUnnamed = errno == EOPNOTSUPP || errno == EISDIR || errno == EINVAL || errno == ENOSYS;
        if (hasNoUnnamed)
            isFolderOpen = ::faccessat(folder, ".", W_OK | X_OK, AT_EACCESS) == 0;
        else
            isFolderOpen = false;
        if (!isFolderOpen && !(former && isRefusalOfFolder(errno))) throw WriteError(errno);
        fd = ::memfd_create("diskmgt-output", MFD_CLOEXEC);
    }
    if (fd < 0) throw WriteError(errno);
    text = ::fdopen(fd, "w+");
    if (text != nullptr) return;
    const int error = errno;
    (void)::close(fd);
    throw WriteError(error);
}

void ReplacementFile::finish() {
    if (std::fflush(text) != 0) throw WriteError(errno);
    if (isUnnamed) {
        if (former) keepAttributes(former->get(), ::fileno(text));
        // The content must be on disk before the name is: a power failure must not leave an empty file behind it.
        if (::fsync(::fileno(text)) != 0) throw WriteError(errno);
    }
    const Uninterrupted window;
    if (isUnnamed && giveNameToUnnamed()) return;
    if (isFolderOpen && replaceByCopy(window)) return;
    if (window.isAskedToEnd()) throw WriteError(EINTR);
    writeInPlace();
}

bool ReplacementFile::linkAs(const std::string& name) const {
    const int folder = target.folder->get();
    const int fd = ::fileno(text);
    if (::linkat(fd, "", folder, name.c_str(), AT_EMPTY_PATH) == 0) return true;  // ordinary users may not, mostly
    if (errno == EEXIST) return false;
    const std::string path = "/proc/self/fd/" + std::to_string(fd);
    return ::linkat(AT_FDCWD, path.c_str(), folder, name.c_str(), AT_SYMLINK_FOLLOW) == 0;
}

/// False: it cannot be given any name here.
bool ReplacementFile::giveNameToUnnamed() {
    if (!former && linkAs(target.name)) return true;
    std::string temporary;
    return underFreeName(temporary, [this](const std::string& name) { return linkAs(name); }) &&
           renameToTarget(temporary);
}

/// False: the target cannot be replaced, only written.
bool ReplacementFile::renameToTarget(const std::string& temporary) {
    const int folder = target.folder->get();
    if (::renameat(folder, temporary.c_str(), folder, target.name.c_str()) == 0) return true;
    const int error = errno;
    (void)::unlinkat(folder, temporary.c_str(), 0);
    if (!former || !isRefusalOfFolder(error)) throw WriteError(error);
    isFolderOpen = false;
    return false;
}

/// False: the target cannot be replaced, only written, or a signal asks for the end.
bool ReplacementFile::replaceByCopy(const Uninterrupted& window) {
    const int folder = target.folder->get();
    int fd = -1;
    std::string temporary;
    const auto make = [&](const std::string& name) {
        fd = ::openat(folder, name.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_NOFOLLOW | O_CLOEXEC,
                      former ? kOwnersAlone : kAsMaskAllows);
        return fd >= 0;
    };
    if (!underFreeName(temporary, make)) {
        if (!former || !isRefusalOfFolder(errno)) throw WriteError(errno);
        return false;
    }
    try {
        const UniqueFd copy(fd);
        const bool isCopied = copyAll(::fileno(text), fd, [&window] { return window.isAskedToEnd(); });
        if (former) keepAttributes(former->get(), fd);
        if (isCopied && ::fsync(fd) != 0) throw WriteError(errno);
        if (!isCopied || window.isAskedToEnd()) {
            (void)::unlinkat(folder, temporary.c_str(), 0);
            return false;
        }
    } catch (...) {
        (void)::unlinkat(folder, temporary.c_str(), 0);
        throw;
    }
    return renameToTarget(temporary);
}

void ReplacementFile::writeInPlace() {
    const int from = ::fileno(text);
    const int to = former->get();
    const off_t size = sizeOf(from);
    // Room is made first, while the former content is whole; where that cannot be asked for, the writing shows it.
    if (::fallocate(to, FALLOC_FL_KEEP_SIZE, 0, size) != 0 && (errno == ENOSPC || errno == EDQUOT || errno == EFBIG))
        throw WriteError(errno);
    try {
        (void)copyAll(from, to, [] { return false; });
        if (::ftruncate(to, size) != 0 || ::fsync(to) != 0) throw WriteError(errno);
    } catch (const WriteError& error) {
        throw WriteError(std::string(error.what()) + "; it can only be written in place and is incomplete now");
    }
}

}  // namespace diskmgt
