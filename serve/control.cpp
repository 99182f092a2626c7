#include "serve/control.h"

#include <sys/socket.h>
#include <sys/uio.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

namespace diskmgt::serve {

namespace {

constexpr std::size_t kLongestText = 4096;

}  // namespace

bool sendControl(int channel, ControlKind kind, const std::string& text, int descriptor) {
    std::string bytes(1, static_cast<char>(kind));
    bytes.append(text, 0, kLongestText);
    iovec part{&bytes[0], bytes.size()};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    alignas(cmsghdr) char room[CMSG_SPACE(sizeof descriptor)] = {};
    if (descriptor >= 0) {
        message.msg_control = room;
        message.msg_controllen = sizeof room;
        cmsghdr* const header = CMSG_FIRSTHDR(&message);
        header->cmsg_level = SOL_SOCKET;
        header->cmsg_type = SCM_RIGHTS;
        header->cmsg_len = CMSG_LEN(sizeof descriptor);
        std::memcpy(CMSG_DATA(header), &descriptor, sizeof descriptor);
    }
    ssize_t sent = -1;
    do {
        sent = ::sendmsg(channel, &message, MSG_NOSIGNAL | MSG_DONTWAIT);
    } while (sent < 0 && errno == EINTR);
    return sent == static_cast<ssize_t>(bytes.size());
}

ControlReading receiveControl(int channel) {
    char bytes[1 + kLongestText];
    iovec part{bytes, sizeof bytes};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    alignas(cmsghdr) char room[CMSG_SPACE(sizeof(int))];
    message.msg_control = room;
    message.msg_controllen = CMSG_LEN(sizeof(int));  // one descriptor; the padding behind it has room for another
    ssize_t count = -1;
    do {
        count = ::recvmsg(channel, &message, MSG_DONTWAIT | MSG_CMSG_CLOEXEC);
    } while (count < 0 && errno == EINTR);
    if (count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) return {};
    int descriptor = -1;
    if (count > 0)
        for (cmsghdr* header = CMSG_FIRSTHDR(&message); header != nullptr; header = CMSG_NXTHDR(&message, header))
            if (header->cmsg_level == SOL_SOCKET && header->cmsg_type == SCM_RIGHTS)
                std::memcpy(&descriptor, CMSG_DATA(header), sizeof descriptor);
    Descriptor taken(descriptor);
    ControlReading reading;
    reading.hasEnded = count <= 0 || (message.msg_flags & (MSG_TRUNC | MSG_CTRUNC)) != 0;
    if (!reading.hasEnded)
        reading.message = ControlMessage{static_cast<ControlKind>(bytes[0]),
                                         std::string(bytes + 1, static_cast<std::size_t>(count) - 1), std::move(taken)};
    return reading;
}

}  // namespace diskmgt::serve
