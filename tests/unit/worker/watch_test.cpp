// A worker from its start to its end, or to the moment when it is left.
#include "worker/watch.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <functional>
#include <string>

#include "terminal/remarks.h"
#include "worker/deadline.h"
#include "worker/standard_output.h"

namespace diskmgt::worker {
namespace {

struct Seen {
    int status = -1;  // of the process that watches, as wait(2) says it
    std::string output;
};

std::string take(int from) {
    std::string bytes;
    char piece[4096];
    for (ssize_t count = 0; (count = ::read(from, piece, sizeof piece)) > 0;)
        bytes.append(piece, static_cast<std::size_t>(count));
    return bytes;
}

/// Watches in a process of its own, whose standard output and standard error are one pipe, and which exits 0 when what
/// became of the work is as it should be. `output`: takes the place of that pipe as standard output.
Seen watched(const std::function<int()>& work, const std::function<bool(const Outcome&)>& judge,
             const Stage& usual = {}, const Worker::Wants& wanted = {}, int output = -1) {
    int ends[2];
    if (::pipe(ends) != 0) return {};
    (void)std::fflush(nullptr);  // else the worker writes what the test program has buffered
    const pid_t watching = ::fork();
    if (watching == 0) {
        (void)::dup2(output >= 0 ? output : ends[1], STDOUT_FILENO);
        (void)::dup2(ends[1], STDERR_FILENO);
        (void)::close(ends[0]);
        (void)::close(ends[1]);
        const SignalInbox signals;
        shareAccount();
        standard_output::learn();
        account().reset(usual, "writing out");
        Worker::Wants wants = wanted;
        wants.prepare = [&signals] { signals.restore(); };
        Outcome outcome;
        {
            Worker worker(work, wants);
            outcome = Watch(worker, signals).run();
        }
        const bool isReaped = ::waitpid(-1, nullptr, WNOHANG) < 0 && errno == ECHILD;
        if (!isReaped) (void)::dprintf(STDOUT_FILENO, "a child is left\n");
        ::_exit(judge(outcome) && isReaped ? 0 : 1);
    }
    (void)::close(ends[1]);
    Seen seen;
    seen.output = take(ends[0]);
    (void)::close(ends[0]);
    (void)::waitpid(watching, &seen.status, 0);
    return seen;
}

void say(int descriptor, const std::string& text) {
    for (std::size_t done = 0; done < text.size();) {
        const ssize_t count = ::write(descriptor, text.data() + done, text.size() - done);
        if (count < 0) return;
        done += static_cast<std::size_t>(count);
    }
}

[[noreturn]] void never() {
    for (;;) (void)::pause();
}

TEST(Watches, PassOutputAndExitStatusOn) {
    const std::string much(300000, 'x');
    const Seen seen = watched(
        [&much] {
            say(STDOUT_FILENO, much);
            return 7;
        },
        [](const Outcome& outcome) {
            return outcome.how == Outcome::How::kEnded && WEXITSTATUS(outcome.waitStatus) == 7 && !outcome.isInStage;
        });
    EXPECT_EQ(seen.status, 0);
    EXPECT_EQ(seen.output, much);
}

TEST(Watches, KeepTheOrderOfSettledOutputAndWhatIsSaidAfterIt) {
    const Seen seen = watched(
        [] {
            for (int i = 0; i < 100; ++i) {
                say(STDOUT_FILENO, "data ");
                (void)standard_output::settle();
                say(STDERR_FILENO, "said ");
            }
            return 0;
        },
        [](const Outcome&) { return true; });
    std::string expected;
    for (int i = 0; i < 100; ++i) expected += "data said ";
    EXPECT_EQ(seen.output, expected);
}

TEST(Watches, GiveUpAtTheLimitAndSayWhatWasDone) {
    const Seen seen = watched(
        [] {
            const Deadline limit(0.01, {"measuring", ", so", true, false, true});
            Deadline::nowAt("measuring the moon");
            never();
            return 0;
        },
        [](const Outcome& outcome) {
            return outcome.how == Outcome::How::kGivenUp && outcome.whatWasDone == "measuring the moon" &&
                   outcome.stage.deliversKnown && std::strcmp(outcome.stage.consequence, ", so") == 0;
        });
    EXPECT_EQ(seen.status, 0) << seen.output;
}

TEST(Watches, KeepTheLimitForEachStepOfWorkThatGoesOn) {
    constexpr std::int64_t kLimitSeconds = 2;  // a step may be that late on a busy machine
    const Seen seen = watched(
        [] {
            const Deadline limit(kLimitSeconds, {"stepping"});
            for (const std::int64_t start = steadyNanoseconds();
                 steadyNanoseconds() - start < kLimitSeconds * 1300000000;) {
                (void)::usleep(20000);
                Deadline::renew();
            }
            return 7;
        },
        [](const Outcome& outcome) {
            return outcome.how == Outcome::How::kEnded && WEXITSTATUS(outcome.waitStatus) == 7;
        });
    EXPECT_EQ(seen.status, 0) << seen.output;
}

TEST(Watches, GiveUpAStepThatIsStuck) {
    const Seen seen = watched(
        []() -> int {
            const Deadline limit(0.05, {"stepping"});
            Deadline::renew();
            Deadline::nowAt("stuck in a step");
            never();
        },
        [](const Outcome& outcome) {
            return outcome.how == Outcome::How::kGivenUp && outcome.whatWasDone == "stuck in a step";
        });
    EXPECT_EQ(seen.status, 0) << seen.output;
}

TEST(Watches, GiveUpWorkThatIgnoresBeingAsked) {
    const Seen seen = watched(
        [] {
            (void)std::signal(SIGTERM, SIG_IGN);
            const Deadline limit(0.01, {"refusing"});
            never();
            return 0;
        },
        [](const Outcome& outcome) { return outcome.how == Outcome::How::kGivenUp; });
    EXPECT_EQ(seen.status, 0) << seen.output;
}

TEST(Watches, KeepTheUsualLimitWhereNoStageIs) {
    Stage usual;
    usual.limitSeconds = 0.01;
    const Seen seen = watched([]() -> int { never(); },
                              [](const Outcome& outcome) {
                                  return outcome.how == Outcome::How::kGivenUp && outcome.whatWasDone == "writing out";
                              },
                              usual);
    EXPECT_EQ(seen.status, 0) << seen.output;
}

TEST(Watches, KeepWhatWasMadeKnownByTheLimit) {
    Worker::Wants wants;
    wants.makesKnown = true;
    const std::string piece(100000, 'k');
    const Seen seen = watched(
        [&piece] {
            makeKnown(piece);
            makeKnown("end");
            const Deadline limit(0.01, {"stuck"});
            never();
            return 0;
        },
        [&piece](const Outcome& outcome) { return outcome.known == piece + "end"; }, {}, wants);
    EXPECT_EQ(seen.status, 0) << seen.output;
}

TEST(Watches, SayInWhichStageTheWorkCrashed) {
    const Seen seen = watched(
        []() -> int {
            const Deadline limit(60, {"serving", "", true, true});
            (void)std::signal(SIGSEGV, SIG_DFL);
            (void)::raise(SIGSEGV);
            never();
        },
        [](const Outcome& outcome) {
            return outcome.how == Outcome::How::kEnded && WIFSIGNALED(outcome.waitStatus) &&
                   WTERMSIG(outcome.waitStatus) == SIGSEGV && outcome.isInStage && outcome.stage.ofPlugin &&
                   outcome.whatWasDone == "serving";
        });
    EXPECT_EQ(seen.status, 0) << seen.output;
}

TEST(Watches, EndTheWorkWhenASignalInterrupts) {
    const Seen seen = watched(
        []() -> int {
            (void)::kill(::getppid(), SIGTERM);
            never();
        },
        [](const Outcome& outcome) {
            return outcome.how == Outcome::How::kInterrupted && outcome.signalNumber == SIGTERM;
        });
    EXPECT_EQ(seen.status, 0) << seen.output;
}

/// Stops the process that watches until this one has ended.
void stopWatchingUntilTheEnd() {
    const pid_t watching = ::getppid();
    const pid_t working = ::getpid();
    if (::fork() != 0) {
        (void)::kill(watching, SIGSTOP);
        return;
    }
    (void)::close(STDIN_FILENO);  // the first pipe too
    (void)::close(STDOUT_FILENO);
    (void)::close(STDERR_FILENO);
    while (::getppid() == working) (void)::usleep(1000);
    (void)::kill(watching, SIGCONT);
    ::_exit(0);
}

TEST(Watches, PassOnAllThatALargePipeHoldsAtTheEnd) {
    std::FILE* const file = std::tmpfile();
    ASSERT_NE(file, nullptr);
    constexpr int kLarge = 1 << 20;  // of a pipe where pages have 64 KiB
    const std::string much(kLarge, 'x');
    const Seen seen = watched(
        [&much] {
            if (::fcntl(STDOUT_FILENO, F_SETPIPE_SZ, kLarge) < kLarge) return 1;
            stopWatchingUntilTheEnd();
            say(STDOUT_FILENO, much);
            return 0;
        },
        [](const Outcome& outcome) { return outcome.waitStatus == 0; }, {}, {}, ::fileno(file));
    EXPECT_EQ(seen.status, 0);
    struct stat found {};
    EXPECT_EQ(::fstat(::fileno(file), &found), 0);
    EXPECT_EQ(found.st_size, kLarge);
    (void)std::fclose(file);
}

TEST(Watches, DoNotWaitForAChildOfTheWorkThatNeverStopsWriting) {
    std::FILE* const file = std::tmpfile();
    ASSERT_NE(file, nullptr);
    const Seen seen = watched(
        [] {
            if (::fork() != 0) return 0;
            const std::string piece(4096, 'x');
            while (::write(STDOUT_FILENO, piece.data(), piece.size()) > 0) continue;
            ::_exit(0);
        },
        [](const Outcome& outcome) { return outcome.waitStatus == 0; }, {}, {}, ::fileno(file));
    EXPECT_EQ(seen.status, 0);
    (void)std::fclose(file);
}

TEST(Watches, SayTheSentencesOfWorkWhoseErrorsWereClosed) {
    const Seen seen = watched(
        [] {
            (void)::close(STDERR_FILENO);
            writeRemark("a sentence");
            const int taken = ::dup(STDOUT_FILENO);  // the number has another meaning now
            writeRemark("and another");
            return taken == STDERR_FILENO ? 3 : 0;
        },
        [](const Outcome& outcome) { return WEXITSTATUS(outcome.waitStatus) == 3; });
    EXPECT_EQ(seen.status, 0);
    EXPECT_EQ(seen.output, "diskmgt: a sentence\ndiskmgt: and another\n");
}

TEST(Workers, HaveNoDescriptorButThoseAskedFor) {
    int extra[2];
    ASSERT_EQ(::pipe(extra), 0);
    Worker::Wants wants;
    wants.keptDescriptors = {extra[1]};
    const Seen seen = watched(
        [&extra] {
            char byte = 0;
            const bool isInputDead = ::read(STDIN_FILENO, &byte, 1) < 0;
            const bool isKept = ::write(extra[1], "k", 1) == 1;
            const bool isOtherGone = ::read(extra[0], &byte, 1) < 0 && errno == EBADF;
            return isInputDead && isKept && isOtherGone ? 0 : 1;
        },
        [](const Outcome& outcome) { return outcome.waitStatus == 0; }, {}, wants);
    EXPECT_EQ(seen.status, 0) << seen.output;
    (void)::close(extra[0]);
    (void)::close(extra[1]);
}

}  // namespace
}  // namespace diskmgt::worker
