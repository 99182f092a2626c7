// One detached thread per limit, asleep until the work is done, there is something to show or the limit has passed.
#include "cli/deadline.h"

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <exception>
#include <mutex>
#include <thread>
#include <utility>

#include "cli/failure.h"
#include "cli/progress_line.h"

namespace diskmgt_cli {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kSoon{2};  // what is done by then is not shown
constexpr std::chrono::seconds kStep{1};

std::string secondsText(double seconds) {
    char text[32];
    (void)std::snprintf(text, sizeof text, "%g s", seconds);
    return text;
}

[[noreturn]] void giveUp(double limitSeconds, const Deadline::Watched& work) {
    complain("gave up after " + secondsText(limitSeconds) + " while " + work.whatIsUnderWay() + work.consequence +
             "; allow more with --timeout SECONDS (0: no limit)");
    try {
        if (work.beforeLeaving) work.beforeLeaving();
    } catch (const std::exception& failure) {
        if (*failure.what() != '\0') complain(failure.what());
    }
    leaveNow(kTimedOut);
}

}  // namespace

struct Deadline::Watch {
    std::mutex lock;  // held while giving up, so that the work cannot be declared done meanwhile
    std::condition_variable changed;
    bool isDone = false;

    /// Whether the work is done by then; the lock is held.
    bool isDoneBy(std::unique_lock<std::mutex>& hold, Clock::time_point moment) {
        return changed.wait_until(hold, moment, [this] { return isDone; });
    }
};

Deadline::Deadline(double limitSeconds, Watched work) {
    const bool isShown = work.isShown && progress_line::isWelcome();
    const bool isLimited = limitSeconds > 0;
    if (!isLimited && !isShown) return;
    const auto start = Clock::now();
    const auto limit =
        std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::duration<double>(limitSeconds));
    const auto end = isLimited ? start + limit : Clock::time_point::max();
    watch = std::make_shared<Watch>();
    std::thread([shared = watch, start, end, limitSeconds, isShown, work = std::move(work)] {
        std::unique_lock<std::mutex> hold(shared->lock);
        for (auto next = start + kSoon; isShown && next < end; next += kStep) {
            if (shared->isDoneBy(hold, next)) return;
            const auto passed = std::chrono::duration_cast<std::chrono::seconds>(next - start);
            progress_line::show(std::to_string(passed.count()) + " s: " + work.whatIsUnderWay());
        }
        if (shared->isDoneBy(hold, end)) return;
        giveUp(limitSeconds, work);
    }).detach();
}

Deadline::~Deadline() {
    if (!watch) return;
    {
        const std::lock_guard<std::mutex> hold(watch->lock);
        watch->isDone = true;
        progress_line::erase();
    }
    watch->changed.notify_one();
}

}  // namespace diskmgt_cli
