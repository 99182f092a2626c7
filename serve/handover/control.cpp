#include "serve/handover/control.h"

#include <cerrno>
#include <utility>

#include "serve/handover/passed_descriptor.h"

namespace diskmgt::serve {

namespace {

constexpr std::size_t kLongestText = 4096;

}  // namespace

bool sendControl(int channel, ControlKind kind, const std::string& text, int descriptor) {
    std::string bytes(1, static_cast<char>(kind));
    bytes.append(text, 0, kLongestText);
    return sendWithDescriptor(channel, bytes, descriptor) == static_cast<ssize_t>(bytes.size());
}

ControlReading receiveControl(int channel) {
    char bytes[1 + kLongestText];
    ReceivedBytes received = receiveWithDescriptor(channel, bytes, sizeof bytes);
    if (received.count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) return {};
    ControlReading reading;
    reading.hasEnded = received.count <= 0 || received.isCut;
    if (!reading.hasEnded)
        reading.message = ControlMessage{static_cast<ControlKind>(bytes[0]),
                                         std::string(bytes + 1, static_cast<std::size_t>(received.count) - 1),
                                         std::move(received.descriptor)};
    return reading;
}

}  // namespace diskmgt::serve
