// Watches one worker from its start to its end or to the moment when it is left.
#pragma once

#include <cstdint>
#include <string>

#include "worker/account.h"
#include "worker/relay.h"
#include "worker/signal_inbox.h"
#include "worker/worker.h"

namespace diskmgt::worker {

struct Outcome {
    enum class How { kEnded, kGivenUp, kInterrupted };
    How how = How::kEnded;
    int waitStatus = 0;       // of one that has ended, as wait(2) says it
    int signalNumber = 0;     // that interrupted
    bool isInStage = false;   // it was in one when it ended or was given up
    Stage stage;              // then
    std::string whatWasDone;  // continues "while"
    std::string known;        // what it made known
};

/// Relays the worker's standard output and standard error, shows progress on a terminal, and keeps the time limit. A
/// worker that is given up or interrupted has been ended, or left where the kernel holds it.
class Watch {
public:
    Watch(Worker& watched, const SignalInbox& signalInbox);
    Outcome run();

private:
    int waitingTime() const;
    std::int64_t passedOfLimit(std::int64_t now) const;
    void handleSignals();
    void relayErrors(bool isReady);
    void relayOutput(bool isReady);
    void takeKnown();
    void readOutput();
    void writeOutput();
    void finishTurn();
    void keepTime(std::int64_t asked, std::int64_t before);
    void giveUp(std::uint32_t number, const Stage& stage);
    void noteEnd();
    bool isDrained();
    std::string whatIsUnderWay(const Stage& stage) const;

    Worker& worker;
    const SignalInbox& signals;
    Relay errors, output;
    Outcome outcome;
    bool isOver = false;         // ended or left: what is still in its pipes is relayed
    bool isInterrupted = false;  // not even that
    bool knowsRest = false;      // of one that is over: how far its pipes are relayed, in all that is read of them
    std::uint64_t errorsUpTo = 0, outputUpTo = 0;
    bool showsProgress;
    std::uint32_t seenStage = 0;
    std::int64_t stoppedNs = 0;        // while the stage was on, this process was stopped or asleep for so long
    std::int64_t seenLimitNs = 0;      // from when on the limit counted when last looked at
    std::int64_t stoppedBeforeNs = 0;  // of `stoppedNs`, what came before that
    std::int64_t showNextNs = 0;       // into the stage
    std::int64_t silentSinceNs = 0;    // both pipes have ended, and yet it has not; 0: not so
};

}  // namespace diskmgt::worker
