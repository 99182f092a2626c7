#include "serve/http/listener.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <string>
#include <utility>

#include "serve/http/at_end.h"
#include "serve/http/settings_error.h"

namespace asio = boost::asio;

namespace diskmgt::serve {

namespace {

constexpr int kUnsent = 128 * 1024;  // bytes that the kernel keeps for a reader who lags behind; else megabytes
constexpr std::chrono::milliseconds kPause{100};  // when the kernel has no room for one more
constexpr std::size_t kNetworkBytes = 8;          // of an IPv6 address; a client chooses the rest at will

union SocketAddress {
    sockaddr any;
    sockaddr_in four;
    sockaddr_in6 six;
    sockaddr_storage storage;
};

Peer peerAt(const SocketAddress& from) {
    char text[INET6_ADDRSTRLEN] = "";
    if (from.any.sa_family == AF_INET) {
        (void)::inet_ntop(AF_INET, &from.four.sin_addr, text, sizeof text);
        return {text, text, {}};
    }
    if (from.any.sa_family == AF_INET6) {
        in6_addr address = from.six.sin6_addr;
        if (IN6_IS_ADDR_V4MAPPED(&address)) {
            (void)::inet_ntop(AF_INET, &address.s6_addr[12], text, sizeof text);
            return {text, text, {}};
        }
        (void)::inet_ntop(AF_INET6, &address, text, sizeof text);
        Peer peer{text, {}, {}};
        std::memset(&address.s6_addr[kNetworkBytes], 0, sizeof address.s6_addr - kNetworkBytes);
        (void)::inet_ntop(AF_INET6, &address, text, sizeof text);
        peer.group = text;
        return peer;
    }
    Peer peer{"unix", "unix", {}};
    peer.arrival.isOverUnixSocket = true;
    return peer;
}

}  // namespace

Listener::Listener(asio::io_context& theLoop, int descriptor, Taken whenTaken)
    : loop(theLoop), listening(theLoop), pause(theLoop), taken(std::move(whenTaken)) {
    Transport::Error error;
    (void)listening.assign(descriptor, error);
    if (error) (void)::close(descriptor);
    SocketAddress own{};
    socklen_t size = sizeof own;
    int isListening = 0;
    socklen_t flagSize = sizeof isListening;
    if (error || ::getsockname(descriptor, &own.any, &size) != 0 ||
        ::getsockopt(descriptor, SOL_SOCKET, SO_ACCEPTCONN, &isListening, &flagSize) != 0 || isListening == 0)
        throw SettingsError("descriptor " + std::to_string(descriptor) + " is not a listening socket");
    family = own.any.sa_family;
    if (family != AF_INET && family != AF_INET6 && family != AF_UNIX)
        throw SettingsError("descriptor " + std::to_string(descriptor) +
                            " listens neither on TCP nor on a Unix socket");
    const int flags = ::fcntl(descriptor, F_GETFL);
    if (flags < 0 || ::fcntl(descriptor, F_SETFL, flags | O_NONBLOCK) != 0)
        throw SettingsError("descriptor " + std::to_string(descriptor) + " cannot be made not to wait");
    if (family == AF_UNIX) return;
    // What it accepts inherits both. A failure costs only time, or memory of the kernel.
    const int yes = 1;  // answers are written whole
    (void)::setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes);
    (void)::setsockopt(descriptor, IPPROTO_TCP, TCP_NOTSENT_LOWAT, &kUnsent, sizeof kUnsent);
}

void Listener::start() {
    listening.async_wait(asio::posix::stream_descriptor::wait_read,
                         [self = std::weak_ptr<Listener>(alive)](const Transport::Error& error) {
                             const auto present = self.lock();
                             if (!error && present) present->takeOne();
                         });
}

/// One alone, then those that are connected have their turn: what they have sent by now is read before the next
/// connection takes the place of one that has sent nothing.
void Listener::takeOne() {
    SocketAddress from{};
    socklen_t size = sizeof from;
    const int descriptor = ::accept4(listening.native_handle(), &from.any, &size, SOCK_NONBLOCK | SOCK_CLOEXEC);
    if (descriptor < 0) {
        if (errno != EMFILE && errno != ENFILE && errno != ENOBUFS && errno != ENOMEM) return start();
        pause.expires_after(kPause);
        return pause.async_wait([self = std::weak_ptr<Listener>(alive)](const Transport::Error& error) {
            const auto present = self.lock();
            if (!error && present) present->start();
        });
    }
    from.any.sa_family = static_cast<sa_family_t>(family);  // a Unix socket without a name has none
    Transport::Socket socket(loop);
    Transport::Error error;
    (void)socket.assign(asio::generic::stream_protocol(family, 0), descriptor, error);
    const AtEnd again([this] { start(); });  // also when there is no memory for this one
    if (error)
        (void)::close(descriptor);
    else
        taken(std::move(socket), peerAt(from));
}

}  // namespace diskmgt::serve
