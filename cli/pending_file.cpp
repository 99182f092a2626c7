// One path in static storage and the signals that end a process: whatever happens, the half-written file goes.
#include "cli/pending_file.h"

#include <fcntl.h>
#include <limits.h>
#include <stdlib.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>

namespace diskmgt_cli::pending_file {

namespace {

constexpr int kInterruptions[] = {SIGHUP, SIGINT, SIGTERM};

char pendingPath[PATH_MAX];
volatile std::sig_atomic_t isPending = 0;

void removeAndDie(int signalNumber) {
    remove();
    // The handler was installed with SA_RESETHAND: the second time the signal ends the process as it would have.
    (void)::raise(signalNumber);
}

void catchInterruptions() {
    struct sigaction action {};
    action.sa_handler = removeAndDie;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    for (const int signalNumber : kInterruptions) {
        struct sigaction present {};
        // Whoever started us with a signal ignored (nohup does) wants it to stay so.
        if (::sigaction(signalNumber, nullptr, &present) == 0 && present.sa_handler != SIG_IGN)
            (void)::sigaction(signalNumber, &action, nullptr);  // cannot fail for these three
    }
}

/// Makes the file of `pendingPath`. An interruption has to wait: between the file and the note that it is there, nobody
/// would remove it.
int create() {
    sigset_t interruptions;
    (void)::sigemptyset(&interruptions);
    for (const int signalNumber : kInterruptions) (void)::sigaddset(&interruptions, signalNumber);
    sigset_t before;
    (void)::pthread_sigmask(SIG_BLOCK, &interruptions, &before);
    const int fd = ::mkostemp(pendingPath, O_CLOEXEC);
    if (fd >= 0) isPending = 1;
    const int error = errno;
    (void)::pthread_sigmask(SIG_SETMASK, &before, nullptr);
    errno = error;
    return fd;
}

}  // namespace

int createBeside(const std::string& target) {
    const std::string pattern = target + ".XXXXXX";
    if (pattern.size() >= sizeof pendingPath) {
        errno = ENAMETOOLONG;
        return -1;
    }
    std::memcpy(pendingPath, pattern.c_str(), pattern.size() + 1);
    catchInterruptions();
    return create();
}

int renameTo(const std::string& target) {
    const int result = std::rename(pendingPath, target.c_str());
    if (result == 0) isPending = 0;
    return result;
}

void remove() noexcept {
    if (isPending == 0) return;
    isPending = 0;
    (void)::unlink(pendingPath);  // already gone is as good
}

}  // namespace diskmgt_cli::pending_file
