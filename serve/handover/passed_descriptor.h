// Bytes over a Unix socket, and a descriptor with them.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <string>

#include "serve/handover/descriptor.h"

namespace diskmgt::serve {

/// As send(2), with a descriptor unless it is negative. Does not wait.
ssize_t sendWithDescriptor(int socket, const std::string& bytes, int descriptor);

struct ReceivedBytes {
    ssize_t count = -1;     // as of recv(2), with its `errno`
    bool isCut = false;     // a message was longer than the room, or a descriptor had no place here
    Descriptor descriptor;  // closed on exec
};
/// As recv(2), with the descriptor that came with it. Does not wait.
ReceivedBytes receiveWithDescriptor(int socket, char* room, std::size_t size);

}  // namespace diskmgt::serve
