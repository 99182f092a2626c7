#include "serve/keeper/child_process.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>

#include "serve/handover/descriptor.h"
#include "terminal/remarks.h"
#include "text/command_error.h"

namespace diskmgt::serve {

namespace {

[[noreturn]] void become(const Program& program) {
    sigset_t none;
    (void)sigemptyset(&none);
    (void)::sigprocmask(SIG_SETMASK, &none, nullptr);
    // What a terminal or a service manager sends to all processes is for the keeper, which lets answers be finished.
    for (const int number : {SIGINT, SIGHUP, SIGTERM}) (void)std::signal(number, SIG_IGN);
    (void)std::signal(SIGPIPE, SIG_IGN);
    (void)::dup2(STDERR_FILENO, STDOUT_FILENO);
    (void)::dup2(::open("/dev/null", O_RDONLY | O_CLOEXEC), STDIN_FILENO);  // what is typed is not for them
    int next = STDERR_FILENO + 1;
    // First out of the way of the numbers that they are to have.
    std::vector<std::pair<int, int>> moved;
    for (const auto& [from, to] : program.descriptors) moved.emplace_back(::fcntl(from, F_DUPFD, 64), to);
    for (const auto& [from, to] : moved) {
        (void)::dup2(from, to);
        next = std::max(next, to + 1);
    }
    (void)::close_range(static_cast<unsigned>(next), ~0U, 0);
    std::vector<char*> words{const_cast<char*>(program.file.c_str())};
    for (const std::string& argument : program.arguments) words.push_back(const_cast<char*>(argument.c_str()));
    words.push_back(nullptr);
    (void)::execv(program.file.c_str(), words.data());
    writeRemark("cannot run " + program.file + ": " + std::strerror(errno) + "; install it again");
    ::_exit(kPluginUnusable);
}

}  // namespace

pid_t start(const Program& program) {
    const pid_t process = ::fork();
    if (process == 0) become(program);
    if (process < 0)
        throw CommandError(kPluginUnusable, std::string("cannot start a process: ") + std::strerror(errno) +
                                                "; raise the limit, or try again when the machine is less busy");
    return process;
}

void adoptOrphans() { (void)::prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0); }  // cannot fail

std::size_t countChildren() {
    const Descriptor list(::open("/proc/thread-self/children", O_RDONLY | O_CLOEXEC));
    char text[4096];  // more than counts
    const ssize_t length = ::read(list.get(), text, sizeof text);
    return length <= 0 ? 0 : static_cast<std::size_t>(std::count(text, text + length, ' '));
}

void RestartPause::ended(std::int64_t nowNs) {
    constexpr std::int64_t kShortest = 100000000, kLongest = 30000000000;
    constexpr std::int64_t kLongLife = 60000000000;  // what lived that long did not end too soon
    const bool livedLong = nowNs - startedNs >= kLongLife;
    pauseNs = livedLong ? 0 : std::min(std::max(2 * pauseNs, kShortest), kLongest);
    nextNs = nowNs + pauseNs;
}

}  // namespace diskmgt::serve
