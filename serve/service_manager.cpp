#include "serve/service_manager.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "serve/descriptor.h"

namespace diskmgt::serve {

ServiceManager::ServiceManager() {
    if (const char* const given = std::getenv("NOTIFY_SOCKET")) path = given;
    (void)::unsetenv("NOTIFY_SOCKET");
}

void ServiceManager::sayReady() {
    const std::string to = std::exchange(path, {});
    sockaddr_un address{};
    if (to.empty() || to.size() >= sizeof address.sun_path) return;
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, to.data(), to.size());
    if (to.front() == '@') address.sun_path[0] = '\0';
    const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + to.size());
    const Descriptor socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    static const char ready[] = "READY=1";
    // A manager that cannot be reached ends what it waits for by itself.
    (void)::sendto(socket.get(), ready, sizeof ready - 1, MSG_NOSIGNAL | MSG_DONTWAIT,
                   reinterpret_cast<const sockaddr*>(&address), size);
}

}  // namespace diskmgt::serve
