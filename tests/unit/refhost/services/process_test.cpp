// Running programs: output, limits, and nothing left behind.
#include "refhost/services/process.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>

#include "plugin/host/tal_exception.h"

namespace {

using refhost::runProcess;

std::string shell(const std::string& script, int limit = 30) { return runProcess("sh", {"-c", script}, limit); }

std::size_t openDescriptors() {
    std::size_t count = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) count += entry.exists() ? 1 : 0;
    return count;
}

bool hasChildren() { return ::waitpid(-1, nullptr, WNOHANG) != -1 || errno != ECHILD; }

/// True once no process of the group is left; waits for it, since a killed process needs a moment to go.
bool groupVanishes(pid_t group) {
    for (int look = 0; look < 1000; ++look) {
        if (::kill(-group, 0) != 0 && errno == ESRCH) return true;
        (void)::usleep(10'000);
    }
    return false;
}

class Process : public ::testing::Test {
protected:
    void SetUp() override { before = openDescriptors(); }
    void TearDown() override {
        EXPECT_EQ(openDescriptors(), before);
        EXPECT_FALSE(hasChildren());
    }
    std::size_t before = 0;
};

TEST_F(Process, OutputIsReturned) { EXPECT_EQ(runProcess("echo", {"one", "two words"}, 30), "one two words\n"); }

TEST_F(Process, BothStreamsComeTogetherInOrder) { EXPECT_EQ(shell("echo a; echo b >&2; echo c"), "a\nb\nc\n"); }

TEST_F(Process, OutputOfAProgramThatFailsIsReturned) { EXPECT_EQ(shell("echo x; exit 3"), "x\n"); }

TEST_F(Process, NoShellTouchesTheArguments) {
    EXPECT_EQ(runProcess("printf", {"%s|", "$HOME", "`id`", "", "a b"}, 30), "$HOME|`id`||a b|");
}

TEST_F(Process, InputIsEmpty) { EXPECT_EQ(shell("cat; echo end"), "end\n"); }

TEST_F(Process, BytesAreKept) { EXPECT_EQ(shell("printf 'a\\000b\\377'"), std::string("a\0b\xFF", 4)); }

TEST_F(Process, MebibyteOfOutputIsComplete) {
    const std::string output = runProcess("head", {"-c", "1048576", "/dev/zero"}, 60);
    EXPECT_EQ(output, std::string(1048576, '\0'));
}

TEST_F(Process, MissingProgramThrows) {
    try {
        (void)runProcess("no-such-program-anywhere", {}, 30);
        FAIL() << "ran";
    } catch (const NVEXTAL20::TTALException& failure) {
        EXPECT_STREQ(failure.what(), "cannot run \"no-such-program-anywhere\": No such file or directory");
    }
    EXPECT_THROW((void)runProcess("", {}, 30), NVEXTAL20::TTALException);
    EXPECT_THROW((void)runProcess("/etc/passwd", {}, 30), NVEXTAL20::TTALException);
}

TEST_F(Process, PastTheLimitTheGroupIsKilledAndTheOutputSoFarReturned) {
    const std::string output = shell("echo $$; sleep 600 & sleep 600; echo late", 1);
    EXPECT_EQ(output.find("late"), std::string::npos);
    EXPECT_TRUE(groupVanishes(static_cast<pid_t>(std::strtol(output.c_str(), nullptr, 10)))) << output;
}

TEST_F(Process, LimitHoldsForAProgramThatClosedItsOutput) {
    EXPECT_EQ(shell("echo early; exec >&- 2>&-; sleep 600", 1), "early\n");
}

TEST_F(Process, ProgramThatClosesItsOutputIsStillWaitedFor) {
    const std::string flag = "/tmp/refhost-process-" + std::to_string(::getpid());
    EXPECT_EQ(shell("echo early; exec >&- 2>&-; sleep 0.2; touch " + flag), "early\n");
    EXPECT_TRUE(std::filesystem::remove(flag));
}

TEST_F(Process, GrandchildThatHoldsTheOutputOpenIsNotWaitedFor) {
    const std::string output = shell("sleep 600 & echo $!");
    const auto grandchild = static_cast<pid_t>(std::strtol(output.c_str(), nullptr, 10));
    ASSERT_GT(grandchild, 0);
    EXPECT_EQ(::kill(grandchild, SIGKILL), 0);  // it was left alone, and alive
}

TEST_F(Process, GrandchildThatWritesForEverIsNotWaitedFor) {
    const std::string output = shell("yes & echo $! >&2");
    EXPECT_FALSE(output.empty());
}

TEST_F(Process, LimitOfZeroOrLessIsNone) {
    EXPECT_EQ(shell("sleep 0.1; echo done", 0), "done\n");
    EXPECT_EQ(shell("sleep 0.1; echo done", -5), "done\n");
}

TEST_F(Process, ProgramStartsWithDefaultSignals) {
    sigset_t blocked;
    sigset_t previous;
    (void)sigemptyset(&blocked);
    (void)sigaddset(&blocked, SIGTERM);
    (void)sigprocmask(SIG_BLOCK, &blocked, &previous);
    const std::string output = runProcess("grep", {"SigBlk", "/proc/self/status"}, 30);
    (void)sigprocmask(SIG_SETMASK, &previous, nullptr);
    EXPECT_EQ(output, "SigBlk:\t0000000000000000\n");
}

TEST_F(Process, HundredRunsLeaveNothingBehind) {
    for (int i = 0; i < 100; ++i) EXPECT_EQ(runProcess("true", {}, 30), "");
}

}  // namespace
