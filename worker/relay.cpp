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

/// Where poll(2) says that there is room, this much fits.
std::size_t roomOf(int descriptor) {
    constexpr std::size_t kTerminalRoom = 1024;
    struct stat kind {};
    if (::fstat(descriptor, &kind) != 0) return SIZE_MAX;  // the write will say why
    if (S_ISFIFO(kind.st_mode) || S_ISSOCK(kind.st_mode)) return PIPE_BUF;
    return S_ISCHR(kind.st_mode) && ::isatty(descriptor) != 0 ? kTerminalRoom : SIZE_MAX;
}

}  // namespace

Relay::Relay(int realDescriptor) : real(realDescriptor) {}

Relay::Read Relay::readFrom(int pipe) {
    const ssize_t count = ::read(pipe, held.data(), held.size());
    end = count > 0 ? static_cast<std::size_t>(count) : 0;
    next = 0;
    total += end;
    if (count == 0) return Read::kEnd;
    return count > 0 ? Read::kSome : Read::kNothingYet;
}

int Relay::writeSome() {
    if (largestPiece == 0) largestPiece = roomOf(real);
    pollfd room{real, POLLOUT, 0};
    if (::poll(&room, 1, 0) == 0) return 0;
    const ssize_t count = ::write(real, held.data() + next, std::min(largestPiece, end - next));
    if (count >= 0) {
        next += static_cast<std::size_t>(count);
        return 0;
    }
    if (errno == EINTR || errno == EAGAIN) return 0;
    next = end;
    return errno;
}

}  // namespace diskmgt::worker
