// What a worker says about its work, in memory that it shares with the process that watches it. Neither ever waits for
// the other here, but for a worker whose bytes are still on their way.
#pragma once

#include <limits.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace diskmgt::worker {

std::int64_t steadyNanoseconds();

/// Work that may never come back.
struct Stage {
    double limitSeconds = 0;     // from its start; 0: no limit
    bool isShown = true;         // false: something else writes to standard error meanwhile
    bool namesCall = false;      // what the worker asks the kernel for continues the sentence
    bool ofPlugin = false;       // the plug-in's code runs
    bool deliversKnown = false;  // past the limit what the worker made known is delivered
    char consequence[80] = "";   // continues the sentence about giving up
    std::int64_t startNs = 0;    // of the steady clock
};

class Account {
public:
    // The worker's side. Where the watching process has given up, these do not return: the end is near.
    /// `subject` continues the sentence "gave up after 30 s while ...".
    void enter(const Stage& stage, const std::string& subject);
    /// What is done from now on is not limited, unless there is a stage for whatever is no other stage.
    void leave();
    /// The stage's time limit counts from now on.
    void renewLimit() { limitFromNs.store(steadyNanoseconds(), std::memory_order_release); }
    /// Changes what the stage is at.
    void nowAt(const std::string& subject);
    /// A sentence that standard error cannot take. Past the room for a few of them they are lost.
    void keepRemark(const std::string& sentence);
    /// With what the worker is about to exit.
    void note(int exitStatus) {
        notedStatus.store(exitStatus, std::memory_order_relaxed);
        hasNoted.store(true, std::memory_order_release);
    }

    // The watching side.
    /// Before the worker starts: forgets all, and enters the stage of whatever is no other stage, if it has a limit.
    void reset(const Stage& usual, const std::string& usualSubject);
    /// 0: none; else changes with every stage.
    std::uint32_t stageNumber() const { return current.load(std::memory_order_acquire); }
    /// Of that number, unless it has changed meanwhile.
    Stage stage(std::uint32_t number) const { return stages[number % 2]; }
    /// From when on the limit of the present stage counts, on the steady clock.
    std::int64_t limitFrom() const { return limitFromNs.load(std::memory_order_acquire); }
    std::string subject() const;
    /// False when the stage has ended meanwhile.
    bool giveUp(std::uint32_t number);
    /// The sentences kept, once the worker has ended.
    std::vector<std::string> keptRemarks() const;
    int noted() const { return notedStatus.load(std::memory_order_acquire); }
    /// False: something else than the end of the work made the worker exit.
    bool isNoted() const { return hasNoted.load(std::memory_order_acquire); }

    std::atomic<std::uint32_t> relayTurn{0};    // odd while bytes of standard output are on their way; a futex
    std::atomic<bool> isPuttingInPlace{false};  // the output file: to kill the worker now would leave half of it
    std::atomic<int> outputError{0};            // why standard output cannot be written

private:
    void change(std::uint32_t to);

    std::atomic<std::uint32_t> current{0};
    std::atomic<std::int64_t> limitFromNs{0};
    std::atomic<int> notedStatus{0};
    std::atomic<bool> hasNoted{false};
    std::uint32_t latest = 0;
    Stage stages[2];  // one is read while the other is written
    Stage usualStage;
    bool hasUsual = false;
    // How many were said; the latest is in the place of that number. A reader orders its reading by writing it
    // unchanged.
    mutable std::atomic<std::uint32_t> subjectTurn{0};
    char subjectTexts[2][PATH_MAX + 64] = {};  // one is read while the other is written
    char usualText[PATH_MAX + 64] = "";
    std::atomic<std::size_t> remarksEnd{0};  // also counts those that did not fit
    char remarks[2 * PATH_MAX] = {};         // each with a zero byte behind it
};
static_assert(std::atomic<std::uint32_t>::is_always_lock_free && std::atomic<int>::is_always_lock_free);

/// This process's account; one that nobody reads where no worker was started.
Account& account();

/// Makes an account that processes forked from now on share; throws `CommandError`.
void shareAccount();

}  // namespace diskmgt::worker
