#include "serve/keeper/service_manager.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>

#include "serve/handover/descriptor.h"

namespace diskmgt::serve {

ServiceManager::ServiceManager() {
    if (const char* const given = std::getenv("NOTIFY_SOCKET")) path = given;
    (void)::unsetenv("NOTIFY_SOCKET");
}

void ServiceManager::sayReady() {
    sockaddr_un address{};
    if (path.empty() || path.size() >= sizeof address.sun_path) return;
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.data(), path.size());
    if (path.front() == '@') address.sun_path[0] = '\0';
    const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + path.size());
    const Descriptor socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    static const char ready[] = "READY=1";
    const ssize_t sent = ::sendto(socket.get(), ready, sizeof ready - 1, MSG_NOSIGNAL | MSG_DONTWAIT,
                                  reinterpret_cast<const sockaddr*>(&address), size);
    if (sent == static_cast<ssize_t>(sizeof ready - 1)) path.clear();
}

}  // namespace diskmgt::serve
