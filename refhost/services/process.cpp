#include "refhost/services/process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <optional>

#include "plugin/host/tal_exception.h"
#include "refhost/services/descriptor.h"

namespace refhost {

namespace {

using Clock = std::chrono::steady_clock;

/// How long to sleep between checks of the child where the kernel cannot signal its end (before Linux 5.3).
constexpr std::chrono::milliseconds kLookInterval{20};

[[noreturn]] void refuse(const std::string& program, int error) {
    throw NVEXTAL20::TTALException("cannot run \"" + program + "\": " + std::strerror(error));
}

struct SpawnActions {
    SpawnActions() { (void)posix_spawn_file_actions_init(&actions); }  // cannot fail on Linux
    ~SpawnActions() { (void)posix_spawn_file_actions_destroy(&actions); }
    SpawnActions(const SpawnActions&) = delete;
    SpawnActions& operator=(const SpawnActions&) = delete;
    posix_spawn_file_actions_t actions{};
};

struct SpawnAttributes {
    SpawnAttributes() { (void)posix_spawnattr_init(&attributes); }  // cannot fail on Linux
    ~SpawnAttributes() { (void)posix_spawnattr_destroy(&attributes); }
    SpawnAttributes(const SpawnAttributes&) = delete;
    SpawnAttributes& operator=(const SpawnAttributes&) = delete;
    posix_spawnattr_t attributes{};
};

pid_t start(const std::string& program, const std::vector<std::string>& arguments, int outputEnd) {
    SpawnActions files;
    int error = posix_spawn_file_actions_adddup2(&files.actions, outputEnd, STDOUT_FILENO);
    if (error == 0) error = posix_spawn_file_actions_adddup2(&files.actions, outputEnd, STDERR_FILENO);
    // Last: in a host without standard streams the pipe may be descriptor 0.
    if (error == 0) error = posix_spawn_file_actions_addopen(&files.actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    if (error != 0) refuse(program, error);

    SpawnAttributes settings;
    sigset_t none;
    sigset_t all;
    (void)sigemptyset(&none);
    (void)sigfillset(&all);
    (void)posix_spawnattr_setpgroup(&settings.attributes, 0);         // its own group, to be killed as a whole
    (void)posix_spawnattr_setsigmask(&settings.attributes, &none);    // signals that the host blocks
    (void)posix_spawnattr_setsigdefault(&settings.attributes, &all);  // or ignores are reset
    (void)posix_spawnattr_setflags(&settings.attributes,
                                   POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);

    std::vector<char*> words;
    words.push_back(const_cast<char*>(program.c_str()));  // posix_spawnp takes char* but changes nothing
    for (const std::string& argument : arguments) words.push_back(const_cast<char*>(argument.c_str()));
    words.push_back(nullptr);
    pid_t child = 0;
    error = posix_spawnp(&child, program.c_str(), &files.actions, &settings.attributes, words.data(), environ);
    if (error != 0) refuse(program, error);
    return child;
}

/// A started child. Its destructor kills it and waits for it, so no return leaves a process or a zombie.
class Child {
public:
    explicit Child(pid_t started) : pid(started), handle(static_cast<int>(::syscall(SYS_pidfd_open, started, 0))) {}
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;
    ~Child() {
        if (!hasEnded()) (void)::kill(-pid, SIGKILL);  // the whole group
        while (::waitpid(pid, nullptr, 0) < 0 && errno == EINTR) continue;
    }

    /// Readable once the child has ended; negative where the kernel does not offer this.
    int endSignal() const { return handle.get(); }

    bool hasEnded() const {
        siginfo_t state{};
        // Does not reap the child, so its number stays taken and cannot become another group's.
        const int answer = ::waitid(P_PID, static_cast<id_t>(pid), &state, WEXITED | WNOHANG | WNOWAIT);
        return answer != 0 || state.si_pid != 0;
    }

private:
    pid_t pid;
    Descriptor handle;
};

/// One read of up to `limit` bytes; false at the end of the stream.
bool readOnce(int fd, std::string& output, std::size_t limit) {
    char buffer[65536];
    const ssize_t count = ::read(fd, buffer, std::min(limit, sizeof buffer));
    if (count > 0) output.append(buffer, static_cast<std::size_t>(count));
    return count > 0 || (count < 0 && errno == EINTR);
}

/// Only what is in the pipe now: a process left behind may keep writing for ever.
void drain(int fd, std::string& output) {
    int waiting = 0;
    if (::ioctl(fd, FIONREAD, &waiting) != 0 || waiting <= 0) return;
    const std::size_t wanted = output.size() + static_cast<std::size_t>(waiting);
    while (output.size() < wanted && readOnce(fd, output, wanted - output.size())) continue;
}

/// Milliseconds to wait for the next event; negative: no end.
int patience(const std::optional<Clock::time_point>& deadline, bool mustLook) {
    if (!deadline) return mustLook ? static_cast<int>(kLookInterval.count()) : -1;
    auto left = std::chrono::duration_cast<std::chrono::milliseconds>(*deadline - Clock::now()).count() + 1;
    if (mustLook) left = std::min<decltype(left)>(left, kLookInterval.count());
    return static_cast<int>(std::clamp<decltype(left)>(left, 0, 3600L * 1000));
}

}  // namespace

std::string runProcess(const std::string& program, const std::vector<std::string>& arguments, int timeLimitSeconds) {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) refuse(program, errno);
    Descriptor outputEnd(ends[1]);
    Descriptor readingEnd(ends[0]);
    std::optional<Clock::time_point> deadline;
    if (timeLimitSeconds > 0) deadline = Clock::now() + std::chrono::seconds(timeLimitSeconds);

    const Child child(start(program, arguments, outputEnd.get()));
    outputEnd.close();  // else the stream would never end

    std::string output;
    bool streamOpen = true;
    while (!deadline || Clock::now() < *deadline) {
        pollfd events[] = {{streamOpen ? readingEnd.get() : -1, POLLIN, 0}, {child.endSignal(), POLLIN, 0}};
        (void)::poll(events, 2, patience(deadline, child.endSignal() < 0));  // interrupted: the loop checks again
        const bool ended = child.hasEnded();  // before reading: all it wrote is in the pipe by now
        if (ended) break;
        if (events[0].revents != 0) streamOpen = readOnce(readingEnd.get(), output, sizeof(char[65536]));
    }
    if (streamOpen) drain(readingEnd.get(), output);
    return output;
}

}  // namespace refhost
