// Buffered writing with every error noticed, the last one at the close.
#include "cli/output.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "cli/failure.h"
#include "cli/pending_file.h"
#include "cli/worker/standard_output.h"

namespace diskmgt_cli {

namespace {

constexpr unsigned kPermissionBits = 0777;

/// The permissions that a newly made file gets.
unsigned newFileMode() {
    const mode_t mask = ::umask(0);  // can only be read by setting it; no other thread makes files
    (void)::umask(mask);
    return 0666U & ~static_cast<unsigned>(mask);
}

/// The file behind a path, symbolic links followed; the path itself when that cannot be told.
std::string linksFollowed(const std::string& path) {
    const std::unique_ptr<char, decltype(&::free)> resolved(::realpath(path.c_str(), nullptr), &::free);
    return resolved ? std::string(resolved.get()) : path;
}

}  // namespace

Output::Output(const std::string& filePath) : path(filePath) {
    if (path.empty()) {
        stream = stdout;
        return;
    }
    struct stat present {};
    if (::stat(path.c_str(), &present) != 0) {
        if (errno != ENOENT) fail(errno);
        openReplacement(path, newFileMode());
    } else if (S_ISREG(present.st_mode)) {
        // Replacing needs no right to the file itself, but a write-protected file is not meant to change.
        if (::faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) != 0) fail(errno);
        openReplacement(linksFollowed(path), present.st_mode & kPermissionBits);
    } else {
        const int fd = ::open(path.c_str(), O_WRONLY | O_NOCTTY | O_CLOEXEC);  // a directory fails here
        if (fd < 0) fail(errno);
        stream = ::fdopen(fd, "w");
    }
    if (stream == nullptr) fail(errno);
}

void Output::openReplacement(const std::string& target, unsigned mode) {
    const int fd = pending_file::createBeside(target);
    if (fd < 0) fail(errno);
    pendingTarget = target;
    (void)::fchmod(fd, static_cast<mode_t>(mode));  // where permissions are not kept, none need to be set
    stream = ::fdopen(fd, "w");
}

Output::~Output() {
    pending_file::remove();
    if (stream != nullptr && stream != stdout) (void)std::fclose(stream);  // given up: what is lost does not matter
}

bool Output::isTerminal() const {
    if (stream == stdout) return standard_output::isTerminal();
    return stream != nullptr && ::isatty(::fileno(stream)) != 0;
}

std::size_t Output::terminalWidth() const {
    constexpr std::size_t kUsual = 80;
    if (!isTerminal()) return 0;
    std::size_t columns = 0;
    if (const char* const given = std::getenv("COLUMNS"))
        (void)std::from_chars(given, given + std::strlen(given), columns);  // stays 0 when it is no number
    if (columns > 0) return columns;
    if (stream == stdout) return standard_output::columns() == 0 ? kUsual : standard_output::columns();
    winsize size{};
    if (::ioctl(::fileno(stream), TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return kUsual;
    return size.ws_col;
}

void Output::write(const std::string& text) {
    errno = 0;
    if (std::fwrite(text.data(), 1, text.size(), stream) != text.size()) fail(errno);
}

void Output::finish() {
    std::FILE* const finished = stream;
    stream = nullptr;
    bool isComplete = std::fflush(finished) == 0;
    // The new content must be on disk before the name is: a power failure must not leave an empty file behind it.
    if (isComplete && !pendingTarget.empty()) isComplete = ::fsync(::fileno(finished)) == 0;
    int flushError = errno;
    if (isComplete && finished == stdout && (flushError = standard_output::settle()) != 0) isComplete = false;
    const bool isClosed = std::fclose(finished) == 0;  // network file systems report a full disk only now
    if (!isComplete) fail(flushError);
    if (!isClosed) fail(errno);
    if (!pendingTarget.empty() && pending_file::renameTo(pendingTarget) != 0) fail(errno);
}

void Output::fail(int errorNumber) const {
    if (path.empty()) errorNumber = standard_output::errorBehind(errorNumber);
    pending_file::remove();                                   // a constructor that throws runs no destructor
    if (errorNumber == EPIPE) throw CommandError(kDone, "");  // the reader has what it wanted
    const std::string reason = errorNumber == 0 ? "unknown error" : std::strerror(errorNumber);
    if (path.empty())
        throw CommandError(kFailureReported,
                           "cannot write to standard output: " + reason + "; send it elsewhere with --output FILE");
    throw CommandError(kFailureReported,
                       "cannot write " + path + ": " + reason + "; name another file with --output FILE");
}

}  // namespace diskmgt_cli
