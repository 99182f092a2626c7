// One detached thread per limit, asleep until the work is done or the limit has passed.
#include "cli/deadline.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>

namespace diskmgt_cli {

struct Deadline::Watch {
    std::mutex lock;  // held while giving up, so that the work cannot be declared done meanwhile
    std::condition_variable changed;
    bool isDone = false;
};

Deadline::Deadline(double limitSeconds, std::function<void()> giveUp) {
    if (limitSeconds <= 0) return;
    const auto limit =
        std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::duration<double>(limitSeconds));
    const auto end = std::chrono::steady_clock::now() + limit;
    watch = std::make_shared<Watch>();
    std::thread([shared = watch, end, giveUp = std::move(giveUp)] {
        std::unique_lock<std::mutex> hold(shared->lock);
        if (!shared->changed.wait_until(hold, end, [&shared] { return shared->isDone; })) giveUp();
    }).detach();
}

Deadline::~Deadline() {
    if (!watch) return;
    {
        const std::lock_guard<std::mutex> hold(watch->lock);
        watch->isDone = true;
    }
    watch->changed.notify_one();
}

}  // namespace diskmgt_cli
