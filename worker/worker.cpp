// fork, pipes, and the end that is never waited for.
#include "worker/worker.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "terminal/remarks.h"
#include "text/command_error.h"
#include "worker/account.h"

namespace diskmgt::worker {

namespace {

int knownPipe = -1;  // of this process, when it is a worker with one

struct stat errorPipe;  // of this process, when it is a worker

/// Code that is called may close all descriptors, and others may have their numbers by then.
bool keepWhatErrorsCannotTake(const std::string& sentence) {
    struct stat present {};
    if (::fstat(STDERR_FILENO, &present) == 0 && present.st_dev == errorPipe.st_dev &&
        present.st_ino == errorPipe.st_ino)
        return false;
    account().keepRemark(sentence);
    return true;
}

[[noreturn]] void failStarting(const char* what) {
    throw CommandError(kFailureReported, std::string("cannot ") + what + " for the work: " + std::strerror(errno) +
                                             "; raise the limit, or try again when the machine is less busy");
}

struct Pipe {
    int readingEnd = -1, writingEnd = -1;
};

Pipe makePipe() {
    int both[2];
    if (::pipe2(both, O_CLOEXEC) != 0) failStarting("make a pipe");
    return {both[0], both[1]};
}

/// Takes what a hundred disks make known, so that the worker goes on while its parent does something else.
Pipe makeWidePipe() {
    constexpr int kBytes = 1 << 20;  // the most that the kernel gives to anybody
    const Pipe pipe = makePipe();
    (void)::fcntl(pipe.writingEnd, F_SETPIPE_SZ, kBytes);  // refused: the worker waits now and then
    return pipe;
}

/// What a dead parent cannot use any more must not go on.
void dieWith(pid_t parent) {
    (void)::prctl(PR_SET_PDEATHSIG, SIGKILL);  // cannot fail
    const pid_t present = ::getppid();
    if (present != parent && present != 0) ::_exit(EXIT_FAILURE);  // 0: the first process of a new name space
}

/// Closes all from `from` on but the kept ones.
void closeOthers(int from, const std::vector<int>& kept) {
    for (const int descriptor : kept) {
        if (descriptor < from) continue;
        if (descriptor > from)
            (void)::close_range(static_cast<unsigned>(from), static_cast<unsigned>(descriptor - 1), 0);
        from = descriptor + 1;
    }
    (void)::close_range(static_cast<unsigned>(from), ~0U, 0);
}

bool keeps(const std::vector<int>& kept, int descriptor) {
    for (const int one : kept)
        if (one == descriptor) return true;
    return false;
}

}  // namespace

Worker::Worker(const std::function<int()>& work, const Wants& wants) {
    Pipe pipes[3] = {makePipe(), makePipe(), wants.makesKnown ? makeWidePipe() : Pipe()};
    const pid_t parent = ::getpid();
    child = ::fork();
    if (child < 0) failStarting("start a process");
    if (child > 0) {
        for (int i = 0; i < 3; ++i) {
            ends[i] = pipes[i].readingEnd;
            if (pipes[i].writingEnd < 0) continue;
            (void)::close(pipes[i].writingEnd);
            (void)::fcntl(ends[i], F_SETFL, O_NONBLOCK);  // cannot fail
        }
        return;
    }
    dieWith(parent);
    std::vector<int> kept = wants.keptDescriptors;
    if (!keeps(kept, STDIN_FILENO)) (void)::dup2(pipes[0].writingEnd, STDIN_FILENO);  // which cannot be read
    (void)::dup2(pipes[0].writingEnd, STDOUT_FILENO);
    (void)::dup2(pipes[1].writingEnd, STDERR_FILENO);
    (void)::fstat(STDERR_FILENO, &errorPipe);  // cannot fail
    offerRemarksTo(&keepWhatErrorsCannotTake);
    if (wants.makesKnown) {
        knownPipe = pipes[2].writingEnd;
        std::size_t place = 0;
        while (place < kept.size() && kept[place] < knownPipe) ++place;
        kept.insert(kept.begin() + static_cast<std::ptrdiff_t>(place), knownPipe);
    }
    closeOthers(STDERR_FILENO + 1, kept);
    if (wants.prepare) wants.prepare();
    const int result = work();
    account().note(result);
    endProcess(result);
}

Worker::~Worker() {
    end();
    for (int& which : ends) close(which);
}

void Worker::close(int& which) {
    if (which >= 0) (void)::close(which);  // read-only: nothing to lose
    which = -1;
}

std::optional<int> Worker::waitStatus() {
    int found = 0;
    if (!status && ::waitpid(child, &found, WNOHANG) == child) status = found;
    return status;
}

bool Worker::endsWithin(int milliseconds) {
    // Naps are not counted: on a busy machine each takes far longer than it asks for.
    const std::int64_t limit = steadyNanoseconds() + std::int64_t{milliseconds} * 1000000;
    while (!waitStatus()) {
        if (steadyNanoseconds() >= limit) return false;
        const timespec moment{0, 1000000};
        (void)::nanosleep(&moment, nullptr);  // cut short is as good
    }
    return true;
}

void Worker::end(bool isAsked) {
    constexpr int kToTidyUp = 200;       // milliseconds to end by itself
    constexpr int kToPutInPlace = 5000;  // the output file, which no signal but the last one interrupts
    constexpr int kToBeKilled = 300;     // a child that the kernel does not hold is gone long before
    if (waitStatus() || isLeft) return;
    if (!isAsked) (void)::kill(child, SIGTERM);
    if (endsWithin(kToTidyUp)) return;
    if (account().isPuttingInPlace && endsWithin(kToPutInPlace)) return;
    (void)::kill(child, SIGKILL);
    isLeft = !endsWithin(kToBeKilled);
}

void endProcess(int exitStatus) {
#ifndef DISKMGT_EXITS_WHOLE
    (void)std::fflush(nullptr);  // what could fail has been flushed and checked
    ::_exit(exitStatus);
#else
    std::exit(exitStatus);
#endif
}

void makeKnown(const std::string& piece) {
    std::size_t written = 0;
    while (knownPipe >= 0 && written < piece.size()) {
        const ssize_t count = ::write(knownPipe, piece.data() + written, piece.size() - written);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return;  // the parent has gone
        written += static_cast<std::size_t>(count);
    }
}

}  // namespace diskmgt::worker
