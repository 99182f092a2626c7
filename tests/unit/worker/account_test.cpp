// What a worker says about itself, as the watching process reads it.
#include "worker/account.h"

#include <gmock/gmock.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <memory>
#include <new>
#include <string>
#include <thread>
#include <vector>

#include "worker/deadline.h"

namespace diskmgt::worker {
namespace {

Stage limited(double seconds) {
    Stage stage;
    stage.limitSeconds = seconds;
    return stage;
}

struct Accounts : ::testing::Test {
    Account account;
};

TEST_F(Accounts, WorkWithoutALimitIsInNoStage) {
    account.reset(limited(0), "unused");
    EXPECT_EQ(account.stageNumber(), 0U);
}

TEST_F(Accounts, StageIsReadAsItWasEntered) {
    const std::int64_t before = steadyNanoseconds();
    account.enter(limited(7), "serving");
    EXPECT_EQ(account.stage(account.stageNumber()).limitSeconds, 7);
    EXPECT_GE(account.stage(account.stageNumber()).startNs, before);
    EXPECT_EQ(account.subject(), "serving");
    account.nowAt("serving more");
    EXPECT_EQ(account.subject(), "serving more");
    account.leave();
    EXPECT_EQ(account.stageNumber(), 0U);
}

TEST_F(Accounts, NumberChangesWithEveryStage) {
    account.enter(limited(1), "a");
    const std::uint32_t first = account.stageNumber();
    account.leave();
    account.enter(limited(2), "b");
    EXPECT_NE(account.stageNumber(), first);
    EXPECT_EQ(account.stage(first).limitSeconds, 1) << "one is read while the other is written";
}

TEST_F(Accounts, UsualStageComesBackAfterEveryOther) {
    account.reset(limited(3), "writing out");
    const std::uint32_t first = account.stageNumber();
    EXPECT_NE(first, 0U);
    account.enter(limited(1), "serving");
    account.leave();
    EXPECT_EQ(account.stage(account.stageNumber()).limitSeconds, 3);
    EXPECT_NE(account.stageNumber(), first);
    EXPECT_EQ(account.subject(), "writing out");
}

TEST_F(Accounts, ResetForgetsWhatTheLastWorkerSaid) {
    account.enter(limited(1), "serving");
    account.relayTurn = 3;
    account.outputError = 5;
    account.note(9);
    account.reset(limited(0), "");
    EXPECT_EQ(account.stageNumber(), 0U);
    EXPECT_EQ(account.relayTurn, 0U);
    EXPECT_EQ(account.outputError, 0);
    EXPECT_EQ(account.noted(), 0);
    EXPECT_FALSE(account.isNoted());
}

TEST_F(Accounts, GivingUpFailsWhenTheStageHasEndedMeanwhile) {
    account.enter(limited(1), "serving");
    const std::uint32_t number = account.stageNumber();
    account.leave();
    EXPECT_FALSE(account.giveUp(number));
    account.enter(limited(1), "serving");
    EXPECT_TRUE(account.giveUp(account.stageNumber()));
    EXPECT_FALSE(account.giveUp(number));
}

TEST_F(Accounts, LongTextsAreCutAndEndInside) {
    account.nowAt(std::string(PATH_MAX * 2, 'x'));
    EXPECT_EQ(account.subject(), std::string(PATH_MAX + 63, 'x'));
    account.nowAt("short");
    EXPECT_EQ(account.subject(), "short");
}

TEST_F(Accounts, SubjectIsNeverHalfOfTwo) {
    const std::string one(200, '1'), other(100, '2');
    account.nowAt(one);
    std::thread worker([&] {
        for (int i = 0; i < 20000; ++i) account.nowAt(i % 2 == 0 ? other : one);
    });
    for (int i = 0; i < 20000; ++i) {
        const std::string seen = account.subject();
        ASSERT_TRUE(seen == one || seen == other) << seen;
    }
    worker.join();
}

/// Runs the work in a process that shares the account; it is killed when it pauses.
struct SharedAccount {
    SharedAccount() {
        void* const memory =
            ::mmap(nullptr, sizeof(Account), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        account = new (memory) Account;
    }
    ~SharedAccount() { ::munmap(account, sizeof(Account)); }
    Account* account;
};

TEST(SharedAccounts, WorkerThatWasGivenUpDoesNotComeBack) {
    const SharedAccount shared;
    shared.account->enter(limited(1), "serving");
    ASSERT_TRUE(shared.account->giveUp(shared.account->stageNumber()));
    const pid_t worker = ::fork();
    if (worker == 0) {
        ::alarm(1);  // ends the pause
        shared.account->leave();
        ::_exit(0);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(worker, &status, 0), worker);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGALRM);
}

TEST(SharedAccounts, WhatAnotherProcessSaysIsSeenHere) {
    const SharedAccount shared;
    const pid_t worker = ::fork();
    if (worker == 0) {
        shared.account->enter(limited(4), "of the child");
        shared.account->note(3);
        ::_exit(0);
    }
    ASSERT_EQ(::waitpid(worker, nullptr, 0), worker);
    EXPECT_EQ(shared.account->stage(shared.account->stageNumber()).limitSeconds, 4);
    EXPECT_EQ(shared.account->subject(), "of the child");
    EXPECT_EQ(shared.account->noted(), 3);
}

TEST(Deadlines, EnterAStageWhileTheyLive) {
    account().reset(limited(0), "");
    {
        const Deadline deadline(2.5, {"measuring", ", so it is unknown", false, true, true});
        const Stage stage = account().stage(account().stageNumber());
        EXPECT_EQ(stage.limitSeconds, 2.5);
        EXPECT_STREQ(stage.consequence, ", so it is unknown");
        EXPECT_TRUE(!stage.isShown && stage.ofPlugin && stage.namesCall && stage.deliversKnown);
        EXPECT_EQ(account().subject(), "measuring");
        Deadline::nowAt("measuring /media");
        EXPECT_EQ(account().subject(), "measuring /media");
    }
    EXPECT_EQ(account().stageNumber(), 0U);
}

TEST_F(Accounts, KeepSentencesWhileThereIsRoom) {
    EXPECT_TRUE(account.keptRemarks().empty());
    account.keepRemark("first");
    account.keepRemark("");
    account.keepRemark("second\nline");
    EXPECT_EQ(account.keptRemarks(), (std::vector<std::string>{"first", "", "second\nline"}));
    account.keepRemark(std::string(100000, 'x'));
    account.keepRemark("too late");
    EXPECT_EQ(account.keptRemarks().size(), 3U);
    account.reset({}, "");
    EXPECT_TRUE(account.keptRemarks().empty());
}

}  // namespace
}  // namespace diskmgt::worker
