// A child process that does work which may never come back. The parent relays what it writes and can always leave it.
#pragma once

#include <sys/types.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace diskmgt::worker {

/// Owns the child and the reading ends of its pipes. The child has none of the caller's descriptors but those asked
/// for: its standard output and standard error are pipes, its standard input cannot be read. It dies with the parent.
class Worker {
public:
    struct Wants {
        bool makesKnown = false;           // a third pipe, for `makeKnown`
        std::vector<int> keptDescriptors;  // ascending; 0 keeps standard input
        std::function<void()> prepare;     // runs in the child first, such as to unblock signals
    };

    /// Forks. The child runs `work` and exits with what it returns. Throws `CommandError` when no process or pipe can
    /// be had.
    Worker(const std::function<int()>& work, const Wants& wants);
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;
    /// Ends the child unless it has ended.
    ~Worker();

    pid_t process() const { return child; }
    int outputEnd() const { return ends[0]; }
    int errorEnd() const { return ends[1]; }
    int knownEnd() const { return ends[2]; }  // negative: there is none
    /// The child's next write fails, if there is one.
    void closeOutputEnd() { close(ends[0]); }
    void closeErrorEnd() { close(ends[1]); }
    void closeKnownEnd() { close(ends[2]); }

    /// How it ended, as wait(2) says it; reaps it. Does not wait.
    std::optional<int> waitStatus();
    /// Asks it to end, kills it after a moment, and leaves it after another: one that the kernel holds may never end.
    /// `isAsked`: it has had such a signal already.
    void end(bool isAsked = false);
    /// Waits, but no longer; whether it has ended.
    bool endsWithin(int milliseconds);

private:
    static void close(int& which);

    pid_t child = -1;
    int ends[3] = {-1, -1, -1};
    std::optional<int> status;
    bool isLeft = false;  // it was killed and did not end in time: nothing more is tried
};

/// Ends this process without taking apart what ends with it, unless a tool that looks at the end is built in.
[[noreturn]] void endProcess(int exitStatus);

/// In a worker with that pipe: appends to what is known so far, which the parent keeps. Elsewhere of no effect.
void makeKnown(const std::string& piece);

}  // namespace diskmgt::worker
