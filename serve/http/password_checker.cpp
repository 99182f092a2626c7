#include "serve/http/password_checker.h"

#include <openssl/crypto.h>
#include <pthread.h>
#include <signal.h>

#include <utility>

namespace diskmgt::serve {

PasswordChecker::~PasswordChecker() {
    {
        const std::lock_guard<std::mutex> lock(mutex);
        isEnding = true;
        waiting.clear();
    }
    changed.notify_all();
    if (thread.joinable()) thread.join();
}

void PasswordChecker::start() {
    if (thread.joinable()) return;
    sigset_t all;
    sigset_t before;
    (void)::sigfillset(&all);
    (void)::pthread_sigmask(SIG_SETMASK, &all, &before);  // signals are for the server's thread
    thread = std::thread([this] { work(); });
    (void)::pthread_sigmask(SIG_SETMASK, &before, nullptr);
    std::unique_lock<std::mutex> lock(mutex);
    changed.wait(lock, [this] { return isReady; });
}

bool PasswordChecker::check(std::shared_ptr<const Credentials> credentials, NameAndPassword given,
                            std::function<void(bool)> done) {
    {
        const std::lock_guard<std::mutex> lock(mutex);
        if (waiting.size() >= limit) return false;
        waiting.push_back({std::move(credentials), std::move(given), std::move(done)});
    }
    changed.notify_all();
    return true;
}

void PasswordChecker::work() {
    // So that what the C library sets up for the first memory of a thread and the first hash is there.
    (void)Credentials("somebody:$5$rounds=1000$salt$").matches({"somebody", "a password"});
    std::unique_lock<std::mutex> lock(mutex);
    isReady = true;
    changed.notify_all();
    for (;;) {
        changed.wait(lock, [this] { return isEnding || !waiting.empty(); });
        if (isEnding) return;
        Task task = std::move(waiting.front());
        waiting.pop_front();
        lock.unlock();
        const bool isRight = task.credentials->matches(task.given);
        ::OPENSSL_cleanse(task.given.password.data(), task.given.password.size());
        task.done(isRight);
        task = Task();
        lock.lock();
    }
}

}  // namespace diskmgt::serve
