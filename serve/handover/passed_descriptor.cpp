#include "serve/handover/passed_descriptor.h"

#include <sys/socket.h>
#include <sys/uio.h>

#include <cerrno>
#include <cstring>

namespace diskmgt::serve {

ssize_t sendWithDescriptor(int socket, const std::string& bytes, int descriptor) {
    iovec part{const_cast<char*>(bytes.data()), bytes.size()};
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
        sent = ::sendmsg(socket, &message, MSG_NOSIGNAL | MSG_DONTWAIT);
    } while (sent < 0 && errno == EINTR);
    return sent;
}

ReceivedBytes receiveWithDescriptor(int socket, char* room, std::size_t size) {
    iovec part{};
    part.iov_base = room;
    part.iov_len = size;
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    alignas(cmsghdr) char roomForOne[CMSG_SPACE(sizeof(int))];
    message.msg_control = roomForOne;
    message.msg_controllen = CMSG_LEN(sizeof(int));  // one descriptor; the padding behind it has room for another
    ReceivedBytes received;
    do {
        received.count = ::recvmsg(socket, &message, MSG_DONTWAIT | MSG_CMSG_CLOEXEC);
    } while (received.count < 0 && errno == EINTR);
    if (received.count < 0) return received;
    received.isCut = (message.msg_flags & (MSG_TRUNC | MSG_CTRUNC)) != 0;
    for (cmsghdr* header = CMSG_FIRSTHDR(&message); header != nullptr; header = CMSG_NXTHDR(&message, header)) {
        if (header->cmsg_level != SOL_SOCKET || header->cmsg_type != SCM_RIGHTS) continue;
        int descriptor = -1;
        std::memcpy(&descriptor, CMSG_DATA(header), sizeof descriptor);
        received.descriptor = Descriptor(descriptor);
    }
    return received;
}

}  // namespace diskmgt::serve
