// One path in static storage and the signals that end a process: whatever happens, the half-written file goes.
#include "cli/pending_file.h"

#include <fcntl.h>
#include <limits.h>
#include <stdlib.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>

namespace diskmgt_cli::pending_file {

namespace {

enum class State { kNone, kBeingMade, kThere };

char pendingPath[PATH_MAX];
std::atomic<State> state{State::kNone};
std::atomic<int> interruption{0};  // the signal that came while the file was being made
static_assert(std::atomic<State>::is_always_lock_free && std::atomic<int>::is_always_lock_free);

void removeAndDie(int signalNumber) {
    if (state == State::kBeingMade) {
        interruption = signalNumber;
        if (state == State::kBeingMade) return;  // nobody can tell whether it is there: its maker does the rest
    }
    remove();
    // The handler was installed with SA_RESETHAND: the second time the signal ends the process as it would have.
    (void)::raise(signalNumber);
}

void catchInterruptions() {
    struct sigaction action {};
    action.sa_handler = removeAndDie;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    for (const int signalNumber : {SIGHUP, SIGINT, SIGTERM}) {
        struct sigaction present {};
        // Whoever started us with a signal ignored (nohup does) wants it to stay so.
        if (::sigaction(signalNumber, nullptr, &present) == 0 && present.sa_handler != SIG_IGN)
            (void)::sigaction(signalNumber, &action, nullptr);  // cannot fail for these three
    }
}

}  // namespace

int createBeside(const std::string& target) {
    const std::string pattern = target + ".XXXXXX";
    if (pattern.size() >= sizeof pendingPath) {
        errno = ENAMETOOLONG;
        return -1;
    }
    std::memcpy(pendingPath, pattern.c_str(), pattern.size() + 1);
    state = State::kBeingMade;
    catchInterruptions();
    const int fd = ::mkostemp(pendingPath, O_CLOEXEC);
    const int error = errno;
    state = fd >= 0 ? State::kThere : State::kNone;
    if (interruption != 0) removeAndDie(interruption);
    errno = error;
    return fd;
}

int renameTo(const std::string& target) {
    const int result = std::rename(pendingPath, target.c_str());
    if (result == 0) state = State::kNone;
    return result;
}

void remove() noexcept {
    if (state != State::kThere) return;
    (void)::unlink(pendingPath);  // already gone is as good
    state = State::kNone;
}

}  // namespace diskmgt_cli::pending_file
