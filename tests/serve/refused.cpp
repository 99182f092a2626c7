// What the front cannot do: gives up rights by the front's own functions, tries what the first argument says, and
// prints "done", or the name of the error.
#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <functional>
#include <map>
#include <string>

#include "serve/process/rights.h"

namespace {

std::string path;
int before = -1;  // a socket and a file that were there before the filter
int openFile = -1;

sockaddr_in someServer() {
    sockaddr_in there{};
    there.sin_family = AF_INET;
    there.sin_port = htons(9);
    there.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return there;
}

long connectSomewhere() {
    const sockaddr_in there = someServer();
    return ::connect(before, reinterpret_cast<const sockaddr*>(&there), sizeof there);
}

/// Sending that connects first.
long sendAtOnce() {
    const sockaddr_in there = someServer();
    return ::sendto(before, "x", 1, MSG_FASTOPEN, reinterpret_cast<const sockaddr*>(&there), sizeof there);
}

long sendMessageAtOnce() {
    sockaddr_in there = someServer();
    msghdr message{};
    message.msg_name = &there;
    message.msg_namelen = sizeof there;
    return ::sendmsg(before, &message, MSG_FASTOPEN);
}

long lingerOnClose() {
    const linger forLong{1, 1000};
    return ::setsockopt(before, SOL_SOCKET, SO_LINGER, &forLong, sizeof forLong);
}

long runProgram() {
    char program[] = "/bin/true";
    char* const words[] = {program, nullptr};
    return ::execv(program, words);
}

/// A child that comes to be says so by its number, which is never an error.
long ended(long process) {
    if (process == 0) ::_exit(0);
    return process;
}

long mapped(int protection, int flags, int descriptor) {
    return ::mmap(nullptr, 4096, protection, flags, descriptor, 0) == MAP_FAILED ? -1 : 0;
}

const std::map<std::string, std::function<long()>> attempts = {
    {"nothing", [] { return 0L; }},
    {"disk", [] { return static_cast<long>(::open("/dev/sda", O_RDONLY)); }},
    {"file", [] { return static_cast<long>(::open(path.c_str(), O_CREAT | O_WRONLY, 0600)); }},
    {"look",
     [] {
         struct stat found {};
         return static_cast<long>(::stat("/etc/passwd", &found));
     }},
    {"socket", [] { return static_cast<long>(::socket(AF_INET, SOCK_STREAM, 0)); }},
    {"connection", &connectSomewhere},
    {"connection-by-sending", &sendAtOnce},
    {"connection-by-a-message", &sendMessageAtOnce},
    {"deaf-listener", [] { return static_cast<long>(::shutdown(before, SHUT_RD)); }},
    {"lingering-socket", &lingerOnClose},
    {"program", &runProgram},
    {"process", [] { return ended(::fork()); }},
    {"executable-memory", [] { return mapped(PROT_READ | PROT_EXEC, MAP_PRIVATE | MAP_ANONYMOUS, -1); }},
    {"mapped-file", [] { return mapped(PROT_READ, MAP_PRIVATE, openFile); }},
    {"another-process", [] { return ::ptrace(PTRACE_ATTACH, ::getppid(), nullptr, nullptr); }},
    {"descriptor", [] { return static_cast<long>(::fcntl(before, F_DUPFD, 100)); }},
    {"more-rights", [] { return static_cast<long>(::prctl(PR_SET_DUMPABLE, 1, 0, 0, 0)); }},
};

}  // namespace

int main(int argumentCount, char** arguments) {
    if (argumentCount != 3) return 2;
    const auto attempt = attempts.find(arguments[1]);
    if (attempt == attempts.end()) return 2;
    path = arguments[2];
    before = ::socket(AF_INET, SOCK_STREAM, 0);
    openFile = ::open("/proc/self/exe", O_RDONLY);
    diskmgt::serve::closeInOnItself();
    diskmgt::serve::dropCapabilities();
    diskmgt::serve::limitResources();
    diskmgt::serve::filterSystemCalls();
    const long result = attempt->second();
    const char* const said = result >= 0 ? "done\n" : errno == EPERM ? "EPERM\n" : std::strerror(errno);
    (void)!::write(STDOUT_FILENO, said, std::strlen(said));
    ::_exit(0);
}
