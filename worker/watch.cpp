// One loop around poll(2). Order on a terminal is kept: what a worker says on standard error before data comes before
// it, and data that it has settled comes before what it says then.
#include "worker/watch.h"

#include <linux/futex.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>

#include "terminal/progress_line.h"
#include "terminal/remarks.h"
#include "worker/stalled_call.h"

namespace diskmgt::worker {

namespace {

constexpr std::int64_t kSecond = 1000000000;
constexpr std::int64_t kMillisecond = 1000000;
constexpr std::int64_t kSoon = 2 * kSecond;     // what is done by then is not shown
constexpr std::int64_t kToVanish = kSecond;     // for a process that has closed its pipes
constexpr std::int64_t kLongestWait = kSecond;  // so that a pause of this process is noticed as one

std::int64_t limitOf(const Stage& stage) {
    constexpr double kCentury = 3e18;
    return static_cast<std::int64_t>(std::min(stage.limitSeconds * static_cast<double>(kSecond), kCentury));
}

std::uint64_t bytesIn(int pipe) {
    int count = 0;
    return pipe >= 0 && ::ioctl(pipe, FIONREAD, &count) == 0 ? static_cast<std::uint64_t>(count) : 0;
}

}  // namespace

Watch::Watch(Worker& watched, const SignalInbox& signalInbox)
    : worker(watched),
      signals(signalInbox),
      errors(STDERR_FILENO),
      output(STDOUT_FILENO),
      showsProgress(progress_line::isWelcome()) {}

Outcome Watch::run() {
    while (!isInterrupted && !(isOver && isDrained())) {
        const bool waitsForErrors = errors.isHolding();
        const bool waitsForOutput = output.isHolding();
        pollfd asked[] = {
            {signals.descriptor(), POLLIN, 0},
            {waitsForErrors ? errors.target() : worker.errorEnd(),
             static_cast<short>(waitsForErrors ? POLLOUT : POLLIN), 0},
            {waitsForOutput ? (waitsForErrors ? -1 : output.target()) : worker.outputEnd(),
             static_cast<short>(waitsForOutput ? POLLOUT : POLLIN), 0},
            {worker.knownEnd(), POLLIN, 0},
        };
        const int patience = waitingTime();
        const std::int64_t before = steadyNanoseconds();
        if (::poll(asked, 4, patience) < 0) continue;  // interrupted
        if (asked[0].revents != 0) handleSignals();
        if (asked[3].revents != 0) takeKnown();
        relayErrors(asked[1].revents != 0);
        relayOutput(asked[2].revents != 0);
        if (!isOver) keepTime(patience * kMillisecond, before);
    }
    progress_line::erase();
    if (!isInterrupted)
        for (const std::string& sentence : account().keptRemarks()) writeRemark(sentence);
    return std::move(outcome);
}

/// In milliseconds, rounded up.
int Watch::waitingTime() const {
    if (isOver) return errors.isHolding() || output.isHolding() ? -1 : 0;
    std::int64_t wait = kLongestWait;
    const std::uint32_t number = account().stageNumber();
    if (number != 0) {
        const Stage stage = account().stage(number);
        const std::int64_t passed = steadyNanoseconds() - stage.startNs - (number == seenStage ? stoppedNs : 0);
        if (stage.limitSeconds > 0) wait = std::min(wait, limitOf(stage) - passedOfLimit(steadyNanoseconds()));
        if (showsProgress && number == seenStage) wait = std::min(wait, showNextNs - passed);
    }
    return static_cast<int>((std::max<std::int64_t>(wait, 0) + kMillisecond - 1) / kMillisecond);
}

/// Without the time in which this process was stopped.
std::int64_t Watch::passedOfLimit(std::int64_t now) const {
    const std::int64_t from = account().limitFrom();
    return now - from - (from == seenLimitNs ? stoppedNs - stoppedBeforeNs : 0);
}

void Watch::handleSignals() {
    while (const auto arrived = signals.next()) {
        if (arrived->number == SIGCHLD) {
            if (!isOver && worker.waitStatus()) noteEnd();
            continue;
        }
        outcome.how = Outcome::How::kInterrupted;
        outcome.signalNumber = arrived->number;
        isInterrupted = true;
        if (!isOver) worker.end(arrived->isOfTerminal);
        return;
    }
}

void Watch::noteEnd() {
    isOver = true;
    outcome.waitStatus = *worker.waitStatus();
    const std::uint32_t number = account().stageNumber();
    outcome.isInStage = number != 0;
    if (!outcome.isInStage) return;
    outcome.stage = account().stage(number);
    outcome.whatWasDone = account().subject();
}

void Watch::relayErrors(bool isReady) {
    if (!isReady) return;
    if (!errors.isHolding() && worker.errorEnd() >= 0 && errors.readFrom(worker.errorEnd()) == Relay::Read::kEnd)
        worker.closeErrorEnd();
    if (!errors.isHolding()) return;
    progress_line::erase();
    (void)errors.writeSome();  // where standard error fails, there is no place to say so
}

void Watch::relayOutput(bool isReady) {
    if (!isReady) return;
    if (!output.isHolding()) {
        readOutput();
        relayErrors(!errors.isHolding());  // what was said before these bytes is in the pipe by now
    }
    if (output.isHolding() && !errors.isHolding()) writeOutput();
}

void Watch::readOutput() {
    if (worker.outputEnd() < 0) return;
    account().relayTurn.fetch_add(1, std::memory_order_acq_rel);
    const Relay::Read result = output.readFrom(worker.outputEnd());
    if (result == Relay::Read::kSome) return;
    if (result == Relay::Read::kEnd) worker.closeOutputEnd();
    finishTurn();
}

void Watch::writeOutput() {
    progress_line::erase();
    if (const int error = output.writeSome()) {
        account().outputError.store(error, std::memory_order_release);
        worker.closeOutputEnd();
    }
    if (!output.isHolding()) finishTurn();
}

void Watch::finishTurn() {
    account().relayTurn.fetch_add(1, std::memory_order_acq_rel);
    (void)::syscall(SYS_futex, &account().relayTurn, FUTEX_WAKE, INT_MAX, nullptr, nullptr, 0);
}

void Watch::takeKnown() {
    char piece[16384];
    ssize_t count = 0;
    while (worker.knownEnd() >= 0 && (count = ::read(worker.knownEnd(), piece, sizeof piece)) > 0)
        outcome.known.append(piece, static_cast<std::size_t>(count));
    if (count == 0) worker.closeKnownEnd();
}

/// Whether nothing is left to relay of a worker that is over. What its own children write from then on does not count:
/// it may have no end.
bool Watch::isDrained() {
    takeKnown();
    if (errors.isHolding() || output.isHolding()) return false;
    if (!knowsRest) {
        errorsUpTo = errors.taken() + bytesIn(worker.errorEnd());
        outputUpTo = output.taken() + bytesIn(worker.outputEnd());
        knowsRest = true;
    }
    relayErrors(true);
    if (!errors.isHolding()) relayOutput(true);
    return !errors.isHolding() && !output.isHolding() && (worker.errorEnd() < 0 || errors.taken() >= errorsUpTo) &&
           (worker.outputEnd() < 0 || output.taken() >= outputUpTo);
}

void Watch::keepTime(std::int64_t asked, std::int64_t before) {
    const std::int64_t now = steadyNanoseconds();
    if (worker.outputEnd() >= 0 || worker.errorEnd() >= 0 || output.isHolding() || errors.isHolding()) {
        silentSinceNs = 0;
    } else if (silentSinceNs == 0) {
        silentSinceNs = now;
    } else if (now - silentSinceNs > kToVanish) {  // the kernel holds it while it ends
        worker.end();
        outcome.waitStatus = account().noted() << 8;  // an exit status as wait(2) says it
        isOver = true;
        return;
    }
    const std::uint32_t number = account().stageNumber();
    if (number != seenStage) {
        seenStage = number;
        stoppedNs = 0;
        showNextNs = kSoon;
        progress_line::erase();
    } else {
        // A little late is this process's share of a busy machine; the rest is a pause that the work had too.
        stoppedNs += std::max<std::int64_t>(now - before - asked - kSecond, 0);
    }
    if (number == 0) return;
    const Stage stage = account().stage(number);
    const std::int64_t passed = now - stage.startNs - stoppedNs;
    if (const std::int64_t from = account().limitFrom(); from != seenLimitNs) {
        seenLimitNs = from;
        stoppedBeforeNs = stoppedNs;
    }
    if (stage.limitSeconds > 0 && passedOfLimit(now) >= limitOf(stage)) {
        giveUp(number, stage);
    } else if (showsProgress && stage.isShown && passed >= showNextNs) {
        progress_line::show(std::to_string(passed / kSecond) + " s: " + whatIsUnderWay(stage));
        showNextNs = (passed / kSecond + 1) * kSecond;
    }
}

void Watch::giveUp(std::uint32_t number, const Stage& stage) {
    std::string doing = whatIsUnderWay(stage);
    if (!account().giveUp(number)) return;  // it has just been done
    outcome.how = Outcome::How::kGivenUp;
    outcome.isInStage = true;
    outcome.stage = stage;
    outcome.whatWasDone = std::move(doing);
    takeKnown();
    worker.end();
    isOver = true;
}

std::string Watch::whatIsUnderWay(const Stage& stage) const {
    const std::string subject = account().subject();
    const std::string call = stage.namesCall ? stalledCallOf(worker.process()) : "";
    if (subject.empty()) return !call.empty() ? call : stage.ofPlugin ? "waiting for the plug-in" : "doing its work";
    return subject + (call.empty() ? "" : ": " + call);
}

}  // namespace diskmgt::worker
