#include "serve/keeper/kept_collector.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <utility>

#include "session/own_files.h"
#include "terminal/remarks.h"
#include "text/command_error.h"
#include "text/wording.h"
#include "worker/account.h"

namespace diskmgt::serve {

KeptCollector::KeptCollector(const CollectorOptions& asked, std::string socketPath)
    : options(asked), path(std::move(socketPath)), limitNs(static_cast<std::int64_t>(asked.limitSeconds * 1e9)) {}

void KeptCollector::startWhenDue(std::int64_t nowNs, std::size_t others) {
    if (isThere() || nowNs < pause.notBeforeNs()) return;
    const std::size_t known = others + held.size();
    const std::size_t children = countChildren();
    orphans = children > known ? children - known : 0;
    if (isHeldUp()) return;
    pause.started(nowNs);
    startedNs = nowNs;
    if (path.empty())
        startOne();
    else
        connectToOne();
}

void KeptCollector::startOne() {
    int ends[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
        throw CommandError(kPluginUnusable, std::string("cannot make a pair of sockets: ") + std::strerror(errno) +
                                                "; raise the limit of open files");
    connection = Descriptor(ends[0]);
    const Descriptor others(ends[1]);
    Program program{ownLibraryFolder() + "/diskmgt-collect", {"--limit", decimalText(options.limitSeconds)}, {}};
    if (!options.pluginFile.empty()) {
        program.arguments.emplace_back("--plugin");
        program.arguments.push_back(options.pluginFile);
    }
    for (const std::string& text : options.virtualDevices) {
        program.arguments.emplace_back("--virtual-device");
        program.arguments.push_back(text);
    }
    program.descriptors = {{others.get(), STDIN_FILENO}};
    process = start(program);
}

void KeptCollector::connectToOne() {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    int error = ENAMETOOLONG;
    if (path.size() < sizeof address.sun_path) {
        std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
        connection = Descriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
        error =
            ::connect(connection.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 ? 0 : errno;
    }
    if (error == 0) return;
    connection.close();
    if (!hasBeenReady)
        throw CommandError(kPluginUnusable, "cannot connect to the collector at " + path + ": " + std::strerror(error) +
                                                "; start diskmgt-collect.socket, or leave --collector out");
    pause.ended(worker::steadyNanoseconds());
}

bool KeptCollector::look(std::int64_t nowNs) {
    char first = 0;
    const ssize_t count = ::recv(connection.get(), &first, 1, MSG_PEEK | MSG_DONTWAIT);
    if (count < 0 && (errno == EAGAIN || errno == EINTR)) return false;
    if (count <= 0) {
        hasFailed = true;
        end(nowNs);
        return false;
    }
    isReady = hasBeenReady = true;
    return true;
}

void KeptCollector::endWhenLate(std::int64_t nowNs) {
    if (awaited() < 0 || limitNs == 0 || nowNs < lateNs()) return;
    char first = 0;
    if (::recv(connection.get(), &first, 1, MSG_PEEK | MSG_DONTWAIT) > 0) {  // it is ready, and waits for a front
        startedNs = nowNs;
        return;
    }
    writeRemark("the collector is not ready after " + decimalText(options.limitSeconds) +
                " s, probably because its plug-in does not come back from loading; it is ended");
    hasFailed = true;
    end(nowNs);
}

void KeptCollector::end(std::int64_t nowNs) {
    if (!isThere()) return;
    connection.close();
    isReady = false;
    pause.ended(nowNs);
    if (process <= 0) return;
    (void)::kill(process, SIGKILL);
    held.push_back(std::exchange(process, -1));
}

bool KeptCollector::reaped(pid_t ended, std::int64_t nowNs) {
    const auto one = std::find(held.begin(), held.end(), ended);
    if (one != held.end()) {
        held.erase(one);
        return true;
    }
    if (ended != process) return false;
    hasFailed = true;
    process = -1;
    connection.close();
    isReady = false;
    pause.ended(nowNs);
    return true;
}

std::int64_t KeptCollector::nextNs() const {
    if (awaited() >= 0 && limitNs > 0) return lateNs();
    return isThere() || isHeldUp() ? -1 : pause.notBeforeNs();
}

std::string KeptCollector::trouble() const {
    if (isThere() || !isHeldUp()) return "";
    return std::to_string(held.size() + orphans) +
           " processes of collectors cannot be ended, because the kernel holds them, so no collector is started; end "
           "what they wait for, such as a mount that does not answer";
}

std::vector<pid_t> KeptCollector::processes() const {
    std::vector<pid_t> all = held;
    if (process > 0) all.push_back(process);
    return all;
}

}  // namespace diskmgt::serve
