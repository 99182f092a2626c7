#include "serve/keeper/listeners.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/fsuid.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <utility>

#include "text/command_error.h"

namespace diskmgt::serve {

namespace {

constexpr int kBacklog = 128;
constexpr const char* kUnixPrefix = "unix:";

struct Address {
    sockaddr_storage bytes{};
    socklen_t size = 0;

    sockaddr* generic() { return reinterpret_cast<sockaddr*>(&bytes); }
    const sockaddr* generic() const { return reinterpret_cast<const sockaddr*>(&bytes); }
    int family() const { return bytes.ss_family; }
};

[[noreturn]] void cannotListen(const std::string& where, int error) {
    const char* const advice = error == EADDRINUSE ? "end what listens there, or name another place with --listen"
                               : error == EACCES ? "name a port above 1023 or a folder that you may write with --listen"
                                                 : "name another place with --listen";
    throw CommandError(kPluginUnusable, "cannot listen on " + where + ": " + std::strerror(error) + "; " + advice);
}

[[noreturn]] void noPlace(const std::string& text) {
    throw CommandError(kWrongUsage, "--listen takes ADDRESS:PORT, [ADDRESS]:PORT or unix:PATH, not \"" + text +
                                        R"("; see "diskmgt serve --help")");
}

Address internetAddress(const std::string& text) {
    const std::size_t colon = text.rfind(':');
    if (colon == std::string::npos) noPlace(text);
    std::string host = text.substr(0, colon);
    std::uint16_t port = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data() + colon + 1, end, port);
    if (error != std::errc() || stop != end) noPlace(text);
    Address address;
    auto& six = reinterpret_cast<sockaddr_in6&>(address.bytes);
    auto& four = reinterpret_cast<sockaddr_in&>(address.bytes);
    if (host.size() > 2 && host.front() == '[' && host.back() == ']') {
        host = host.substr(1, host.size() - 2);
        if (::inet_pton(AF_INET6, host.c_str(), &six.sin6_addr) != 1) noPlace(text);
        six.sin6_family = AF_INET6;
        six.sin6_port = htons(port);
        address.size = sizeof six;
    } else {
        if (::inet_pton(AF_INET, host.c_str(), &four.sin_addr) != 1) noPlace(text);
        four.sin_family = AF_INET;
        four.sin_port = htons(port);
        address.size = sizeof four;
    }
    return address;
}

std::optional<Address> unixAddress(const std::string& path) {
    Address address;
    auto& local = reinterpret_cast<sockaddr_un&>(address.bytes);
    if (path.empty() || path.size() >= sizeof local.sun_path) return std::nullopt;
    local.sun_family = AF_UNIX;
    std::memcpy(local.sun_path, path.c_str(), path.size() + 1);
    address.size = static_cast<socklen_t>(sizeof local);
    return address;
}

Address addressOf(int socket) {
    Address address;
    address.size = sizeof address.bytes;
    if (::getsockname(socket, address.generic(), &address.size) != 0) address.bytes.ss_family = AF_UNSPEC;
    return address;
}

bool isLoopback(const Address& address) {
    if (address.family() == AF_UNIX) return true;
    if (address.family() == AF_INET)
        return (ntohl(reinterpret_cast<const sockaddr_in&>(address.bytes).sin_addr.s_addr) >> 24) == 127;
    const in6_addr& six = reinterpret_cast<const sockaddr_in6&>(address.bytes).sin6_addr;
    return IN6_IS_ADDR_LOOPBACK(&six) || (IN6_IS_ADDR_V4MAPPED(&six) && six.s6_addr[12] == 127);
}

std::string textOf(const Address& address) {
    char text[INET6_ADDRSTRLEN] = "";
    if (address.family() == AF_UNIX) {
        const auto& local = reinterpret_cast<const sockaddr_un&>(address.bytes);
        if (address.size <= offsetof(sockaddr_un, sun_path)) return "";
        return local.sun_path[0] == '\0' ? std::string("@") + (local.sun_path + 1) : local.sun_path;
    }
    if (address.family() == AF_INET) {
        const auto& four = reinterpret_cast<const sockaddr_in&>(address.bytes);
        (void)::inet_ntop(AF_INET, &four.sin_addr, text, sizeof text);
        return std::string(text) + ":" + std::to_string(ntohs(four.sin_port));
    }
    const auto& six = reinterpret_cast<const sockaddr_in6&>(address.bytes);
    (void)::inet_ntop(AF_INET6, &six.sin6_addr, text, sizeof text);
    return "[" + std::string(text) + "]:" + std::to_string(ntohs(six.sin6_port));
}

Listener listenerOf(Descriptor socket) {
    const Address address = addressOf(socket.get());
    Listener listener;
    listener.where = textOf(address);
    listener.isUnix = address.family() == AF_UNIX;
    listener.isLoopback = isLoopback(address);
    listener.socket = std::move(socket);
    return listener;
}

/// The error number; 0: it listens.
int startListening(Descriptor& socket, const Address& address) {
    socket = Descriptor(::socket(address.family(), SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!socket.isOpen()) return errno;
    const int yes = 1;
    if (address.family() != AF_UNIX) (void)::setsockopt(socket.get(), SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    if (address.family() == AF_INET6) (void)::setsockopt(socket.get(), IPPROTO_IPV6, IPV6_V6ONLY, &yes, sizeof yes);
    if (::bind(socket.get(), address.generic(), address.size) != 0) return errno;
    return ::listen(socket.get(), kBacklog) == 0 ? 0 : errno;
}

/// Removes what an endpoint left that was killed. What is no socket, or answers, stays.
void removeAbandoned(const std::string& path, const Address& address) {
    struct stat found {};
    if (::lstat(path.c_str(), &found) != 0 || !S_ISSOCK(found.st_mode)) return;
    const Descriptor probe(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (::connect(probe.get(), address.generic(), address.size) != 0 && errno == ECONNREFUSED)
        (void)::unlink(path.c_str());
}

Listener unixListener(const std::string& path, unsigned group) {
    const std::optional<Address> address = unixAddress(path);
    if (!address) cannotListen(path, ENAMETOOLONG);
    Descriptor socket;
    // Mode and group are those that it is made with: by its path, another file could get them that is put in its place.
    const mode_t before = ::umask(0117);
    const int groupBefore = ::setfsgid(group);
    int error = startListening(socket, *address);
    if (error == EADDRINUSE) {
        removeAbandoned(path, *address);
        error = startListening(socket, *address);
    }
    (void)::setfsgid(static_cast<gid_t>(groupBefore));
    (void)::umask(before);
    if (error != 0) cannotListen(path, error);
    Listener listener = listenerOf(std::move(socket));
    listener.toRemove = path;
    return listener;
}

std::vector<Listener> usualListeners() {
    std::vector<Listener> all;
    int error = 0;
    for (const char* const place : {"127.0.0.1:5988", "[::1]:5988"}) {
        Descriptor socket;
        error = startListening(socket, internetAddress(place));
        if (error == 0)
            all.push_back(listenerOf(std::move(socket)));
        else if (error != EAFNOSUPPORT && error != EADDRNOTAVAIL)  // a machine without one of the two families
            cannotListen(place, error);
    }
    if (all.empty()) cannotListen("port 5988 of loopback", error);
    return all;
}

}  // namespace

std::vector<Listener> openListeners(const std::vector<std::string>& wanted, unsigned groupOfUnixSockets) {
    if (wanted.empty()) return usualListeners();
    std::vector<Listener> all;
    for (const std::string& place : wanted) {
        if (place.compare(0, std::strlen(kUnixPrefix), kUnixPrefix) == 0) {
            all.push_back(unixListener(place.substr(std::strlen(kUnixPrefix)), groupOfUnixSockets));
            continue;
        }
        Descriptor socket;
        const int error = startListening(socket, internetAddress(place));
        if (error != 0) cannotListen(place, error);
        all.push_back(listenerOf(std::move(socket)));
    }
    return all;
}

std::vector<Listener> inheritedListeners() {
    constexpr int kFirst = 3;
    std::vector<Listener> all;
    const char* const process = std::getenv("LISTEN_PID");
    const char* const count = std::getenv("LISTEN_FDS");
    const bool isForThis = process != nullptr && count != nullptr && std::to_string(::getpid()) == process;
    const long number = isForThis ? std::strtol(count, nullptr, 10) : 0;
    for (const char* const name : {"LISTEN_PID", "LISTEN_FDS", "LISTEN_FDNAMES"}) (void)::unsetenv(name);
    for (int descriptor = kFirst; descriptor < kFirst + number; ++descriptor) {
        int isListening = 0;
        socklen_t size = sizeof isListening;
        const bool isSocket = ::getsockopt(descriptor, SOL_SOCKET, SO_ACCEPTCONN, &isListening, &size) == 0;
        if (!isSocket || isListening == 0)
            throw CommandError(kPluginUnusable, "descriptor " + std::to_string(descriptor) +
                                                    ", which the service manager hands over, is no listening socket; "
                                                    "use Accept=no and ListenStream= in its socket unit");
        (void)::fcntl(descriptor, F_SETFD, FD_CLOEXEC);
        (void)::fcntl(descriptor, F_SETFL, ::fcntl(descriptor, F_GETFL) | O_NONBLOCK);
        all.push_back(listenerOf(Descriptor(descriptor)));
    }
    return all;
}

}  // namespace diskmgt::serve
