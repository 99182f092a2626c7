// One thread that compares passwords with their hashes, which is slow on purpose, so that the server's own thread need
// not wait for it.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

#include "serve/http/credentials.h"

namespace diskmgt::serve {

class PasswordChecker {
public:
    explicit PasswordChecker(std::size_t mostWaiting) : limit(mostWaiting) {}
    PasswordChecker(const PasswordChecker&) = delete;
    PasswordChecker& operator=(const PasswordChecker&) = delete;
    /// Waits for the check under way; those that wait are dropped.
    ~PasswordChecker();

    /// Starts the thread, and returns once it has computed a hash.
    void start();
    /// False when too many wait. `done` is called on the thread.
    bool check(std::shared_ptr<const Credentials> credentials, NameAndPassword given, std::function<void(bool)> done);

private:
    struct Task {
        std::shared_ptr<const Credentials> credentials;
        NameAndPassword given;
        std::function<void(bool)> done;
    };
    void work();

    const std::size_t limit;
    std::mutex mutex;
    std::condition_variable changed;
    std::deque<Task> waiting;  // under the mutex, like all below
    bool isReady = false;
    bool isEnding = false;
    std::thread thread;
};

}  // namespace diskmgt::serve
