// One handler for all signals that end a process. It only remembers the first, so a second one overtakes nothing.
#include "cli/io/uninterrupted.h"

#include <unistd.h>

#include <atomic>

#include "worker/account.h"

namespace diskmgt {

namespace {

constexpr int kStatusOfSignals = 128;  // added to the number, as shells do

std::atomic<int> waiting{0};  // the first signal that came; 0: none
static_assert(std::atomic<int>::is_always_lock_free);

void keepWaiting(int signalNumber) {
    int none = 0;
    (void)waiting.compare_exchange_strong(none, signalNumber);  // a later one changes nothing
}

void endWithStatus(int signalNumber) { ::_exit(kStatusOfSignals + signalNumber); }

/// Faults of the program itself come back for ever when a handler only returns.
bool isFault(int signalNumber) {
    return signalNumber == SIGSEGV || signalNumber == SIGBUS || signalNumber == SIGFPE || signalNumber == SIGILL;
}

bool endsProcess(int signalNumber) {
    switch (signalNumber) {
        case SIGKILL:  // cannot be caught
        case SIGSTOP:
        case SIGTSTP:
        case SIGTTIN:
        case SIGTTOU:
        case SIGCONT:
        case SIGCHLD:
        case SIGURG:
        case SIGWINCH:
            return false;
        default:
            return !isFault(signalNumber);
    }
}

}  // namespace

Uninterrupted::Uninterrupted() {
    waiting = 0;
    struct sigaction action {};
    action.sa_handler = keepWaiting;
    action.sa_flags = SA_RESTART;
    (void)::sigfillset(&action.sa_mask);
    for (int number = 1; number < NSIG; ++number) {
        const auto index = static_cast<std::size_t>(number);
        if (!endsProcess(number) || ::sigaction(number, nullptr, &former[index]) != 0) continue;
        // An ignored signal (nohup does that) stays ignored.
        if (former[index].sa_handler != SIG_IGN) isHeld[index] = ::sigaction(number, &action, nullptr) == 0;
    }
    sigset_t faults;
    (void)::sigemptyset(&faults);
    for (int number = 1; number < NSIG; ++number)
        if (isFault(number)) (void)::sigaddset(&faults, number);  // sent by another process; a real one ends us anyway
    (void)::pthread_sigmask(SIG_BLOCK, &faults, &formerMask);
    worker::account().isPuttingInPlace = true;
}

Uninterrupted::~Uninterrupted() {
    worker::account().isPuttingInPlace = false;
    for (std::size_t index = 1; index < isHeld.size(); ++index)
        if (isHeld[index]) (void)::sigaction(static_cast<int>(index), &former[index], nullptr);
    (void)::pthread_sigmask(SIG_SETMASK, &formerMask, nullptr);
    const int came = waiting;
    if (came == 0) return;
    (void)::raise(came);
    if (former[static_cast<std::size_t>(came)].sa_handler == SIG_DFL) endWithStatus(came);  // process 1 was spared
}

bool Uninterrupted::isAskedToEnd() const noexcept { return waiting != 0; }

void endOnSignalsAsFirstProcess() {
    if (::getpid() != 1) return;
    struct sigaction action {};
    action.sa_handler = endWithStatus;
    for (int number = 1; number < NSIG; ++number) {
        struct sigaction present {};
        if (endsProcess(number) && ::sigaction(number, nullptr, &present) == 0 && present.sa_handler == SIG_DFL)
            (void)::sigaction(number, &action, nullptr);  // fails for the two that the C library keeps for itself
    }
}

}  // namespace diskmgt
