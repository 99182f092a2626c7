// signalfd. The signals stay blocked to the end of the process.
#include "worker/signal_inbox.h"

#include <sys/signalfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "text/command_error.h"

namespace diskmgt::worker {

namespace {

// Those that end a process without being its own fault. Stopping and going on are left to the kernel.
constexpr int kEnding[] = {SIGHUP,  SIGINT,  SIGQUIT, SIGTERM, SIGALRM,   SIGUSR1,  SIGUSR2,
                           SIGXCPU, SIGPOLL, SIGPROF, SIGPWR,  SIGVTALRM, SIGSTKFLT};

}  // namespace

SignalInbox::SignalInbox() {
    sigset_t taken;
    (void)::sigemptyset(&taken);  // these and the next cannot fail
    for (const int number : kEnding) (void)::sigaddset(&taken, number);
    (void)::sigaddset(&taken, SIGCHLD);
    (void)std::signal(SIGCHLD, SIG_DFL);  // where it is ignored, the kernel forgets how children ended
    (void)::sigprocmask(SIG_BLOCK, &taken, &before);
    inbox = ::signalfd(-1, &taken, SFD_NONBLOCK | SFD_CLOEXEC);
    if (inbox < 0) {
        const int error = errno;
        restore();
        throw CommandError(kFailureReported, std::string("cannot watch for signals: ") + std::strerror(error) +
                                                 "; raise the limit of open files");
    }
}

std::optional<SignalInbox::Arrived> SignalInbox::next() const {
    signalfd_siginfo information{};
    while (::read(inbox, &information, sizeof information) == static_cast<ssize_t>(sizeof information)) {
        const int number = static_cast<int>(information.ssi_signo);
        if (number == SIGCHLD) return Arrived{number, false};
        struct sigaction action {};
        (void)::sigaction(number, nullptr, &action);
        // What the caller ignores (nohup does) or holds back stays so.
        if (action.sa_handler == SIG_IGN || ::sigismember(&before, number) == 1) continue;
        const bool isOfKeys = number == SIGINT || number == SIGQUIT || number == SIGHUP;
        return Arrived{number, isOfKeys && information.ssi_code == SI_KERNEL};
    }
    return std::nullopt;
}

void SignalInbox::restore() const { (void)::sigprocmask(SIG_SETMASK, &before, nullptr); }

bool SignalInbox::asksToEnd(int number) {
    for (const int one : kEnding)
        if (one == number) return true;
    return false;
}

void SignalInbox::dieBy(int number) const {
    (void)std::signal(number, SIG_DFL);
    (void)::raise(number);
    sigset_t one;
    (void)::sigemptyset(&one);
    (void)::sigaddset(&one, number);
    (void)::sigprocmask(SIG_UNBLOCK, &one, nullptr);
    ::_exit(128 + number);  // the first process of a system is not ended by its own signals; shells say it so
}

}  // namespace diskmgt::worker
