// Signals come one by one instead of acting at once.
#include "worker/signal_inbox.h"

#include <gmock/gmock.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <functional>
#include <set>

namespace diskmgt::worker {
namespace {

/// How a process ends that does this; an inbox changes the process it is in.
int statusOf(const std::function<bool()>& holds) {
    const pid_t child = ::fork();
    if (child == 0) ::_exit(holds() ? 0 : 1);
    int status = -1;
    (void)::waitpid(child, &status, 0);
    return status;
}

constexpr int kEnding[] = {SIGHUP,  SIGINT,  SIGQUIT, SIGTERM, SIGALRM,   SIGUSR1,  SIGUSR2,
                           SIGXCPU, SIGPOLL, SIGPROF, SIGPWR,  SIGVTALRM, SIGSTKFLT};

struct EndingSignal : ::testing::TestWithParam<int> {};

TEST_P(EndingSignal, ArrivesInsteadOfActing) {
    const int number = GetParam();
    EXPECT_TRUE(SignalInbox::asksToEnd(number));
    EXPECT_EQ(statusOf([number] {
                  const SignalInbox inbox;
                  if (inbox.next()) return false;
                  (void)::raise(number);
                  pollfd ready{inbox.descriptor(), POLLIN, 0};
                  if (::poll(&ready, 1, 0) != 1) return false;
                  const auto arrived = inbox.next();
                  return arrived && arrived->number == number && !arrived->isOfTerminal && !inbox.next();
              }),
              0);
}

TEST_P(EndingSignal, EndsTheProcessByItself) {
    const int number = GetParam();
    const int status = statusOf([number] {
        const SignalInbox inbox;
        inbox.dieBy(number);
        return true;
    });
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == number) << status;
}

TEST_P(EndingSignal, StaysIgnoredWhereItWas) {
    const int number = GetParam();
    EXPECT_EQ(statusOf([number] {
                  (void)std::signal(number, SIG_IGN);
                  const SignalInbox inbox;
                  (void)::raise(number);
                  return !inbox.next();
              }),
              0);
}

TEST_P(EndingSignal, StaysHeldBackWhereItWas) {
    const int number = GetParam();
    EXPECT_EQ(statusOf([number] {
                  sigset_t one;
                  (void)::sigemptyset(&one);
                  (void)::sigaddset(&one, number);
                  (void)::sigprocmask(SIG_BLOCK, &one, nullptr);
                  const SignalInbox inbox;
                  (void)::raise(number);
                  return !inbox.next();
              }),
              0);
}

TEST_P(EndingSignal, ActsAgainAfterRestoring) {
    const int number = GetParam();
    const int status = statusOf([number] {
        const SignalInbox inbox;
        inbox.restore();
        (void)::raise(number);
        return true;
    });
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == number) << status;
}

INSTANTIATE_TEST_SUITE_P(Signals, EndingSignal, ::testing::ValuesIn(kEnding),
                         [](const auto& row) { return std::string(::sigabbrev_np(row.param)); });

TEST(SignalInboxes, TellOfAChildEvenWhereItsEndIsIgnored) {
    EXPECT_EQ(statusOf([] {
                  (void)std::signal(SIGCHLD, SIG_IGN);
                  const SignalInbox inbox;
                  const pid_t child = ::fork();
                  if (child == 0) ::_exit(7);
                  pollfd ready{inbox.descriptor(), POLLIN, 0};
                  if (::poll(&ready, 1, 60000) != 1) return false;
                  const auto arrived = inbox.next();
                  int status = 0;
                  return arrived && arrived->number == SIGCHLD && ::waitpid(child, &status, 0) == child &&
                         WEXITSTATUS(status) == 7;
              }),
              0);
}

TEST(SignalInboxes, LeaveFaultsAndStoppingAlone) {
    for (const int number : {SIGSEGV, SIGKILL, SIGSTOP, SIGTSTP, SIGCONT, SIGCHLD, SIGPIPE, SIGXFSZ})
        EXPECT_FALSE(SignalInbox::asksToEnd(number)) << number;
    const int status = statusOf([] {
        (void)std::signal(SIGSEGV, SIG_DFL);  // a sanitizer has a handler
        const SignalInbox inbox;
        (void)::raise(SIGSEGV);
        return true;
    });
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGSEGV);
}

}  // namespace
}  // namespace diskmgt::worker
