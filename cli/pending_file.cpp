// One path in static storage and the signals that end a process: whatever happens, the half-written file goes.
#include "cli/pending_file.h"

#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>

namespace diskmgt_cli::pending_file {

namespace {

Place ownPlace;
Place* place = &ownPlace;
std::atomic<int> interruption{0};  // the signal that came while the file was being made
static_assert(std::atomic<State>::is_always_lock_free && std::atomic<int>::is_always_lock_free);

void removeAndDie(int signalNumber) {
    if (place->state == State::kBeingMade) {
        interruption = signalNumber;
        if (place->state == State::kBeingMade) return;  // nobody can tell whether it is there: its maker does the rest
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

void keepIn(Place& shared) { place = &shared; }

bool isThere() noexcept { return place->state == State::kThere; }

int createBeside(const std::string& target) {
    const std::string pattern = target + ".XXXXXX";
    if (pattern.size() >= sizeof place->path) {
        errno = ENAMETOOLONG;
        return -1;
    }
    std::memcpy(place->path, pattern.c_str(), pattern.size() + 1);
    place->state = State::kBeingMade;
    catchInterruptions();
    const int fd = ::mkostemp(place->path, O_CLOEXEC);
    const int error = errno;
    place->state = fd >= 0 ? State::kThere : State::kNone;
    if (interruption != 0) removeAndDie(interruption);
    errno = error;
    return fd;
}

int renameTo(const std::string& target) {
    const int result = std::rename(place->path, target.c_str());
    if (result == 0) place->state = State::kNone;
    return result;
}

void remove() noexcept {
    if (place->state != State::kThere) return;
    (void)::unlink(place->path);  // already gone is as good
    place->state = State::kNone;
}

}  // namespace diskmgt_cli::pending_file
