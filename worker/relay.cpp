// How much can be written without waiting depends on what the target is.
#include "worker/relay.h"

#include <limits.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace diskmgt::worker {

namespace {

constexpr std::size_t kBuffer = 65536;  // what a pipe holds

/// Where poll(2) says that there is room, this much fits.
std::size_t roomOf(int descriptor) {
    constexpr std::size_t kTerminalRoom = 1024;
    struct stat kind {};
    if (::fstat(descriptor, &kind) != 0) return kBuffer;  // the write will say why
    if (S_ISFIFO(kind.st_mode) || S_ISSOCK(kind.st_mode)) return PIPE_BUF;
    return S_ISCHR(kind.st_mode) && ::isatty(descriptor) != 0 ? kTerminalRoom : kBuffer;
}

}  // namespace

Relay::Relay(int realDescriptor) : real(realDescriptor) {}

Relay::Read Relay::readFrom(int pipe) {
    held.resize(kBuffer);
    const ssize_t count = ::read(pipe, held.data(), held.size());
    held.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    next = 0;
    if (count == 0) return Read::kEnd;
    return count > 0 ? Read::kSome : Read::kNothingYet;
}

int Relay::writeSome() {
    if (largestPiece == 0) largestPiece = roomOf(real);
    pollfd room{real, POLLOUT, 0};
    if (::poll(&room, 1, 0) == 0) return 0;
    const ssize_t count = ::write(real, held.data() + next, std::min(largestPiece, held.size() - next));
    if (count >= 0) {
        next += static_cast<std::size_t>(count);
        return 0;
    }
    if (errno == EINTR || errno == EAGAIN) return 0;
    next = held.size();
    return errno;
}

}  // namespace diskmgt::worker
